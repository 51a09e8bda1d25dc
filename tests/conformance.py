"""Runs ONNX's own node tests through the library: conformance.py LIBRARY FOLDER [NAME]. Every data set of every
model goes through the JSON run; one whose only input is a float32 tensor also through the other runs."""
import array
import collections
import json
import pathlib
import re
import sys
import numpy
import onnx
from onnx import numpy_helper

sys.path.append(str(pathlib.Path(__file__).resolve().parents[1] / "examples" / "python"))
from onnxruntime_vornic import Library, VornicError, feed_json, tensor

CARRIED = "float32 float64 int8 int16 int32 int64 uint8 uint16 uint32 uint64 bool string".split()
# ONNX Runtime by itself answers these otherwise than their data, to the bit as through the library, or at random.
OTHERWISE = r"""test_(bernoulli(_double|_seed)?(_expanded)?|dft(_axis|_inverse)?|maxunpool_export_with_output_shape|stft(_with_window)?|
resize_downsample_scales_(cubic|linear)_align_corners|training_dropout(_default)?(_mask)?)""".replace(
    "\n", ""
)


class Skip(Exception):
    """The reason why a test cannot be run to its end."""


def read_tensors(folder, kind, infos):
    """The data set's tensors as (name, dtype, array)."""
    for number, info in enumerate(infos):
        if not info.type.HasField("tensor_type"):
            raise Skip(f"{info.type.WhichOneof('value').split('_')[0]} as {kind}")
        name = onnx.TensorProto.DataType.Name(info.type.tensor_type.elem_type).lower()
        dtype = {"float": "float32", "double": "float64"}.get(name, name)
        if dtype not in CARRIED:
            raise Skip(f"element type {dtype} is not carried")
        values = numpy.array(
            numpy_helper.to_array(onnx.load_tensor(str(folder / f"{kind}_{number}.pb"))), order="C"
        )
        if kind == "input" and values.size > 65536:
            raise Skip("an input has more than 65,536 elements")
        yield info.name, dtype, values


def check_values(got, values):
    if values.dtype == object and all(
        re.fullmatch(r"[-\d.e]+|nan|-?inf", text, re.IGNORECASE) for text in values
    ):
        got, values = got.astype(float), values.astype(float)  # a number may have several texts
    if values.dtype.kind == "f":
        numpy.testing.assert_allclose(got, values, rtol=1e-3, atol=1e-7)
    else:
        numpy.testing.assert_array_equal(got, values)


def check(result, expected):
    """Compares a result's text with the expected outputs."""
    text = result.library._result_json(result.handle)
    if len(text) == 65535:
        raise Skip("the result's text is cut")
    # Numbers as the library writes them; a quoted string is matched whole and left as it is.
    words = {"inf": "Infinity", "-inf": "-Infinity", "nan": "NaN"}
    got = json.loads(
        re.sub(r'"(?:\\.|[^"\\])*"|-?inf|nan', lambda m: words.get(m[0], m[0]), text.decode()),
        strict=False,
    )["outputs"]
    assert list(got) == [name for name, _, _ in expected], f"outputs {list(got)}"
    for name, dtype, values in expected:
        if "error" in got[name]:
            raise Skip(f"an output carries the error '{got[name]['error']}'")
        assert (got[name]["dtype"], got[name]["shape"]) == (dtype, list(values.shape)), (
            got[name],
            values.shape,
        )
        check_values(numpy.array(got[name]["data"], values.dtype), values.ravel())


def run_json(session, inputs, expected):
    items = {
        name: tensor(dtype, list(values.shape), values.ravel().tolist())
        for name, dtype, values in inputs
    }
    with session.run(feed_json(items) if items else "{}") as result:
        check(result, expected)


def run_binding(session, inputs, expected):
    with session.binding() as binding:
        for name, dtype, values in inputs:
            binding.bind_input(name, tensor(dtype, list(values.shape), values.ravel().tolist()))
        for output, _, _ in expected:
            binding.bind_output(output)
        with binding.run() as result:
            check(result, expected)


def run_tensor(session, inputs, expected):
    ((name, _, values),) = inputs
    floats = [
        v.ravel() for _, dtype, v in expected if dtype == "float32" and v.ndim > 0 and v.size > 0
    ]
    with session.library.tensor(array.array("f", values.tobytes()), values.shape) as given:
        for fast in (False, True):
            with session.run_tensor(name, given, fast=fast) as result:
                if not fast:
                    check(result, expected)
                check_values(
                    numpy.array(result.floats, "float32"),
                    (floats or [numpy.array([], "float32")])[0],
                )


def run_test(library, folder, counts):
    model = onnx.load(str(folder / "model.onnx"))
    for data in sorted(folder.glob("test_data_set_*")):
        inputs, expected = list(read_tensors(data, "input", model.graph.input)), list(
            read_tensors(data, "output", model.graph.output)
        )
        only_floats = len(inputs) == 1 and inputs[0][1] == "float32"
        has_elements = only_floats and inputs[0][2].ndim > 0 and inputs[0][2].size > 0
        for run in [run_json] + [run_binding] * only_floats + [run_tensor] * has_elements:
            with library.session(folder / "model.onnx", threads=1) as session:
                run(session, inputs, expected)
            counts[run.__name__] += 1


library, counts, skipped, passed = (
    Library(sys.argv[1]),
    collections.Counter(),
    collections.defaultdict(list),
    0,
)
for model in sorted(pathlib.Path(sys.argv[2]).glob(f"{(sys.argv[3:] or ['*'])[0]}/model.onnx")):
    test = model.parent.name
    try:
        run_test(library, model.parent, counts)
        passed += 1
    except (AssertionError, Skip, UnicodeDecodeError, VornicError) as error:
        reason = (
            str(error)
            if isinstance(error, Skip)
            else "ONNX Runtime refuses the model"
            if str(error).startswith("CreateSession failed")
            else None
        )
        if isinstance(error, AssertionError) and re.fullmatch(OTHERWISE, test):
            reason = "ONNX Runtime by itself answers otherwise, or at random"
        skipped[reason].append(test)
        if not reason:
            print(f"FAILED {test}: {error}")
failed = len(skipped.pop(None, []))
for reason, tests in sorted(skipped.items(), key=lambda row: -len(row[1])):
    print(f"skipped {len(tests)}: {reason} (the first is {tests[0]})")
print(
    f"data sets: {dict(counts)}\n{passed} passed, {failed} failed, {sum(map(len, skipped.values()))} skipped"
)
sys.exit(not passed or failed > 0)
