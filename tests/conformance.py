"""Runs ONNX's own node tests through the Python module: conformance.py LIBRARY FOLDER [NAME]

Every data set goes through the JSON run; one whose only input is a float32 tensor also through a
binding and the tensor runs.
"""
import collections
import json
import pathlib
import re
import sys

import numpy
import onnx
from onnx import numpy_helper

sys.path.append(str(pathlib.Path(__file__).resolve().parents[1] / "modules/python"))
from onnxruntime_vornic import Library, VornicError, tensor

CARRIED = "float32 float64 int8 int16 int32 int64 uint8 uint16 uint32 uint64 bool string".split()
# ONNX Runtime without the library differs from the data too, by the same bits, or is random.
OTHERWISE = """test_(bernoulli(_double|_seed)?(_expanded)?|dft(_axis|_inverse)?|stft(_with_window)?
|maxunpool_export_with_output_shape|resize_downsample_scales_(cubic|linear)_align_corners
|training_dropout(_default)?(_mask)?)"""
NUMBER = re.compile(r"[-\d.e]+|nan|-?inf", re.I)


class Skip(Exception):
    """The reason why a test cannot be completed."""


def read_tensors(folder, kind, infos):
    """The data set's tensors as (name, dtype, array)."""
    for number, info in enumerate(infos):
        if not info.type.HasField("tensor_type"):
            raise Skip(f"{info.type.WhichOneof('value').split('_')[0]} as {kind}")
        name = onnx.TensorProto.DataType.Name(info.type.tensor_type.elem_type).lower()
        dtype = {"float": "float32", "double": "float64"}.get(name, name)
        if dtype not in CARRIED:
            raise Skip(f"element type {dtype} is not supported")
        proto = onnx.load_tensor(str(folder / f"{kind}_{number}.pb"))
        values = numpy.array(numpy_helper.to_array(proto), order="C")
        if kind == "input" and values.size > 65536:
            raise Skip("an input has more than 65,536 elements")
        yield info.name, dtype, values


def check_values(got, values):
    if values.dtype == object and all(map(NUMBER.fullmatch, values)):
        got, values = got.astype(float), values.astype(float)  # a number has several spellings
    if values.dtype.kind == "f":
        numpy.testing.assert_allclose(got, values, rtol=1e-3, atol=1e-7)
    else:
        numpy.testing.assert_array_equal(got, values)


def check(result, expected):
    """Compares a result's text with the expected outputs."""
    if len(result.text.encode()) == 65535:
        raise Skip("the result's text is cut")
    # json reads these numbers under other names. A quoted string is matched and left as it is.
    names = {"inf": "Infinity", "-inf": "-Infinity", "nan": "NaN"}
    numbers = r'"(?:\\.|[^"\\])*"|-?inf|nan'
    text = re.sub(numbers, lambda match: names.get(match[0], match[0]), result.text)
    outputs = json.loads(text, strict=False)["outputs"]
    assert list(outputs) == [name for name, _, _ in expected], f"outputs {list(outputs)}"
    for name, dtype, values in expected:
        got = outputs[name]
        if "error" in got:
            raise Skip(f"an output carries the error '{got['error']}'")
        assert (got["dtype"], got["shape"]) == (dtype, [*values.shape]), (got, values.shape)
        check_values(numpy.array(got["data"], values.dtype), values.ravel())


def run_json(session, inputs, expected):
    with session.run({name: tensor(t, v.shape, v) for name, t, v in inputs}) as result:
        check(result, expected)


def run_binding(session, inputs, expected):
    with session.binding() as binding:
        for name, dtype, values in inputs:
            binding.bind_input(name, tensor(dtype, values.shape, values))
        for output, _, _ in expected:
            binding.bind_output(output)
        with binding.run() as result:
            check(result, expected)


def run_tensor(session, inputs, expected):
    ((name, _, values),) = inputs
    floats = [v.ravel() for _, dtype, v in expected if dtype == "float32" and v.ndim and v.size]
    with session.library.tensor(values) as given:
        for fast in (False, True):
            with session.run_tensor(name, given, fast=fast) as result:
                if not fast:
                    check(result, expected)
                first = floats[0] if floats else numpy.array([], "float32")
                check_values(numpy.array(result.floats), first)


def run_test(folder):
    graph = onnx.load(str(folder / "model.onnx")).graph
    for data in sorted(folder.glob("test_data_set_*")):
        inputs = list(read_tensors(data, "input", graph.input))
        expected = list(read_tensors(data, "output", graph.output))
        is_one_float = [dtype for _, dtype, _ in inputs] == ["float32"]
        has_items = is_one_float and inputs[0][2].ndim > 0 and inputs[0][2].size > 0
        for run in [run_json] + [run_binding] * is_one_float + [run_tensor] * has_items:
            with library.session(folder / "model.onnx", threads=1) as session:
                run(session, inputs, expected)
            counts[run.__name__] += 1


def outcome(test):
    """Whether a test passed or failed, or why it was skipped."""
    try:
        run_test(test)
        return "passed"
    except Skip as reason:
        return str(reason)
    except (AssertionError, VornicError) as error:
        if str(error).startswith("CreateSession failed"):
            return "ONNX Runtime refuses the model"
        if isinstance(error, AssertionError) and re.fullmatch(OTHERWISE, test.name, re.X):
            return "ONNX Runtime alone differs too, or is random"
        print(f"FAILED: {test.name}: {error}")
        return "failed"


library, counts, outcomes = Library(sys.argv[1]), collections.Counter(), collections.Counter()
for model in pathlib.Path(sys.argv[2]).glob("".join(sys.argv[3:] or "*") + "/model.onnx"):
    outcomes[outcome(model.parent)] += 1
print(f"data sets: {dict(counts)}", *outcomes.most_common(), sep="\n")
sys.exit(outcomes["failed"] > 0 or not outcomes["passed"])
