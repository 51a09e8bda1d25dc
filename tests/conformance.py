"""Runs ONNX's own node tests through the library: conformance.py LIBRARY RUNTIME FOLDER [NAME]

Every data set of every model goes through the JSON run; one whose only input is a float32 tensor also
goes through the tensor run, the fast run and a binding. Nothing is skipped by its name.
"""
import array
import collections
import ctypes
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
RUN, CREATE_ENV, CREATE_SESSION, CREATE_OPTIONS, CREATE_TENSOR, GET_DATA, CREATE_MEMORY = 9, 3, 7, 10, 49, 51, 69


class Skip(Exception):
    """The reason why a test cannot be run to its end."""


class Runtime:
    """The runtime without the library, for its own verdict on a model and its own numbers."""

    def __init__(self, path):
        entry = ctypes.CDLL(path).OrtGetApiBase
        entry.restype = ctypes.POINTER(ctypes.CFUNCTYPE(ctypes.POINTER(ctypes.c_void_p), ctypes.c_uint32))
        self.table = entry()[0](24)
        self.environment, self.options = self.make(CREATE_ENV, 3, b"conformance"), self.make(CREATE_OPTIONS)
        self.memory = self.make(CREATE_MEMORY, 0, 0)

    def make(self, place, *arguments):
        made = ctypes.c_void_p()
        if ctypes.CFUNCTYPE(ctypes.c_void_p)(self.table[place])(*arguments, ctypes.byref(made)):
            raise Skip("the runtime by itself refuses the model")
        return made

    def answers(self, session, inputs, outputs):
        """Its outputs, in the types and shapes of those given."""
        def names(tensors):
            return (ctypes.c_char_p * len(tensors))(*[name.encode() for name, _, _ in tensors])

        def value(values):
            code = onnx.helper.mapping.NP_TYPE_TO_TENSOR_TYPE[values.dtype]
            dims = (ctypes.c_int64 * values.ndim)(*values.shape)
            return self.make(CREATE_TENSOR, self.memory, values.ctypes.data_as(ctypes.c_void_p),
                             ctypes.c_size_t(values.nbytes), dims, ctypes.c_size_t(values.ndim), code).value

        given = (ctypes.c_void_p * len(inputs))(*[value(values) for _, _, values in inputs])
        got = (ctypes.c_void_p * len(outputs))()
        run = ctypes.CFUNCTYPE(ctypes.c_void_p)(self.table[RUN])
        run(session, None, names(inputs), given, ctypes.c_size_t(len(inputs)), names(outputs), ctypes.c_size_t(len(outputs)), got)
        read = [ctypes.string_at(self.make(GET_DATA, ctypes.c_void_p(at)), like.nbytes) for at, (_, _, like) in zip(got, outputs)]
        return [(name, dtype, numpy.frombuffer(data, like.dtype).reshape(like.shape))
                for data, (name, dtype, like) in zip(read, outputs)]


def read_tensors(folder, kind, infos):
    """The data set's tensors as (name, dtype, array)."""
    for number, info in enumerate(infos):
        form = info.type.WhichOneof("value")
        if form != "tensor_type":
            raise Skip(f"{form.split('_')[0]} as {kind}")
        name = onnx.TensorProto.DataType.Name(info.type.tensor_type.elem_type).lower()
        dtype = {"float": "float32", "double": "float64"}.get(name, name)
        if dtype not in CARRIED:
            raise Skip(f"element type {dtype} is not carried")
        made = onnx.load_tensor(str(folder / f"{kind}_{number}.pb"))
        yield info.name, dtype, numpy.array(numpy_helper.to_array(made), order="C")


def as_item(dtype, values):
    if values.size > 65536:
        raise Skip("an input has more than 65,536 elements")
    return tensor(dtype, list(values.shape), values.ravel().tolist())


def check_values(got, values, exact):
    if values.dtype.kind == "f" and not exact:
        numpy.testing.assert_allclose(got, values, rtol=1e-3, atol=1e-7)
    else:
        numpy.testing.assert_array_equal(got, values)


def check(result, expected, exact):
    """Compares a result's text with the expected outputs."""
    text = result.library._result_json(result.handle)
    if len(text) == 65535:
        raise Skip("the result's text is cut")
    # Numbers as the library writes them; a quoted string is matched whole and left as it is.
    words = {"inf": "Infinity", "-inf": "-Infinity", "nan": "NaN"}
    text = re.sub(r'"(?:\\.|[^"\\])*"|-?inf|nan', lambda m: words.get(m[0], m[0]), text.decode())
    got = json.loads(text, strict=False)["outputs"]
    assert list(got) == [name for name, _, _ in expected], f"outputs {list(got)}"
    for name, dtype, values in expected:
        if "error" in got[name]:
            raise Skip(f"an output carries the error '{got[name]['error']}'")
        assert (got[name]["dtype"], got[name]["shape"]) == (dtype, list(values.shape)), (got[name], values.shape)
        check_values(numpy.array(got[name]["data"], values.dtype), values.ravel(), exact)


def run_json(session, inputs, expected, exact):
    feed = {name: as_item(dtype, values) for name, dtype, values in inputs}
    with session.run(feed_json(feed) if feed else "{}") as result:
        check(result, expected, exact)


def run_binding(session, inputs, expected, exact):
    with session.binding() as binding:
        for name, dtype, values in inputs:
            binding.bind_input(name, as_item(dtype, values))
        for output, _, _ in expected:
            binding.bind_output(output)
        with binding.run() as result:
            check(result, expected, exact)


def run_tensor(session, inputs, expected, exact):
    ((name, _, values),) = inputs
    floats = [v.ravel() for _, dtype, v in expected if dtype == "float32" and v.ndim > 0 and v.size > 0]
    with session.library.tensor(array.array("f", values.tobytes()), values.shape) as given:
        for fast in (False, True):
            with session.run_tensor(name, given, fast=fast) as result:
                if not fast:
                    check(result, expected, exact)
                check_values(numpy.array(result.floats, "float32"), (floats or [numpy.array([], "float32")])[0], exact)


def run_test(library, runtime, folder, counts):
    model = onnx.load(str(folder / "model.onnx"))
    bare = runtime.make(CREATE_SESSION, runtime.environment, str(folder / "model.onnx").encode(), runtime.options)
    for data in sorted(folder.glob("test_data_set_*")):
        inputs = list(read_tensors(data, "input", model.graph.input))
        expected = list(read_tensors(data, "output", model.graph.output))
        only_floats = len(inputs) == 1 and inputs[0][1] == "float32"
        has_elements = only_floats and inputs[0][2].ndim > 0 and inputs[0][2].size > 0
        for run in [run_json] + [run_binding] * only_floats + [run_tensor] * has_elements:
            with library.session(folder / "model.onnx", threads=1) as session:
                try:
                    run(session, inputs, expected, exact=False)
                except AssertionError:  # then it must be, to the bit, what the runtime gives by itself
                    own = [runtime.answers(bare, inputs, expected) for _ in range(2)]
                    if any(not numpy.array_equal(a[2], b[2], True) for a, b in zip(*own)):
                        raise Skip("the outputs are random")
                    run(session, inputs, own[0], exact=True)
                    raise Skip("the runtime by itself answers otherwise, and the library the same")
            counts[run.__name__] += 1


runtime, library = Runtime(sys.argv[2]), Library(sys.argv[1])
counts, skipped, failed, passed = collections.Counter(), collections.defaultdict(list), 0, 0
for model in sorted(pathlib.Path(sys.argv[3]).glob(f"{(sys.argv[4:] or ['*'])[0]}/model.onnx")):
    try:
        run_test(library, runtime, model.parent, counts)
        passed += 1
    except Skip as reason:
        skipped[str(reason)].append(model.parent.name)
    except (AssertionError, UnicodeDecodeError, VornicError) as error:
        failed += 1
        print(f"FAILED {model.parent.name}: {error}")
for reason, tests in sorted(skipped.items(), key=lambda row: -len(row[1])):
    print(f"skipped {len(tests)}: {reason} (the first is {tests[0]})")
print("data sets:", ", ".join(f"{run} {count}" for run, count in counts.items()))
print(f"{passed} passed, {failed} failed, {sum(map(len, skipped.values()))} skipped")
sys.exit(not passed or failed > 0)
