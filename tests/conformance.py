"""Runs ONNX's own node tests through the library: conformance.py LIBRARY RUNTIME FOLDER [NAME]

Every data set of every model goes through the JSON run; one whose only input is a float32 tensor
also goes through the tensor run, the fast run and a binding. Nothing is skipped by its name: the
reason is seen in the test's own data, in the library's text for an output, or in what the runtime
does with the same test without the library.
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
from onnx import helper, numpy_helper
from ctypes import byref, c_char_p, c_size_t, c_void_p

sys.path.append(str(pathlib.Path(__file__).resolve().parents[1] / "examples" / "python"))
from onnxruntime_vornic import Library, VornicError, feed_json, tensor

CARRIED = {"float32", "float64", "int8", "int16", "int32", "int64", "uint8", "uint16", "uint32",
           "uint64", "bool", "string"}


class Skip(Exception):
    """The reason why a test cannot be run to its end."""


class Refused(Exception):
    """The runtime's words, without the library."""


class Runtime:
    """The runtime without the library, for its own verdict on a model and its own answers."""

    # Places in its table of functions.
    GetErrorMessage, CreateEnv, CreateSession, Run, CreateSessionOptions = 2, 3, 7, 9, 10
    CreateEmptyTensor, CreateTensor, GetTensorMutableData, FillStringTensor = 48, 49, 51, 52
    GetStringLength, GetStringContent, CreateCpuMemoryInfo, GetAllocator = 53, 54, 69, 78

    def __init__(self, path):
        entry = ctypes.CDLL(path).OrtGetApiBase
        table = ctypes.POINTER(c_void_p)
        entry.restype = ctypes.POINTER(ctypes.CFUNCTYPE(table, ctypes.c_uint32))
        self.table = entry()[0](24)
        self.environment = self.make(self.CreateEnv, 3, b"conformance")
        self.options = self.make(self.CreateSessionOptions)
        self.memory = self.make(self.CreateCpuMemoryInfo, 0, 0)
        self.allocator = self.make(self.GetAllocator)

    def call(self, index, *arguments):
        status = ctypes.CFUNCTYPE(c_void_p)(self.table[index])(*arguments)
        if status:
            words = ctypes.CFUNCTYPE(ctypes.c_char_p)(self.table[self.GetErrorMessage])
            raise Refused(words(c_void_p(status)).decode())

    def make(self, index, *arguments):
        made = c_void_p()
        self.call(index, *arguments, ctypes.byref(made))
        return made

    def load(self, model):
        return self.make(self.CreateSession, self.environment, str(model).encode(), self.options)

    def answers(self, session, inputs, outputs):
        """Its outputs, in the types and shapes of those given."""
        def names(tensors):
            return (c_char_p * len(tensors))(*[name.encode() for name, _, _ in tensors])

        values = (c_void_p * len(inputs))(*[self.write(v).value for _, _, v in inputs])
        got = (c_void_p * len(outputs))()
        self.call(self.Run, session, None, names(inputs), values, c_size_t(len(inputs)),
                  names(outputs), c_size_t(len(outputs)), got)
        return [(*given[:2], self.read(c_void_p(value), given[2]))
                for value, given in zip(got, outputs)]

    def write(self, values):
        dims = (ctypes.c_int64 * values.ndim)(*values.shape)
        rank = c_size_t(values.ndim)
        if values.dtype == object:
            code = onnx.TensorProto.STRING
            made = self.make(self.CreateEmptyTensor, self.allocator, dims, rank, code)
            texts = (c_char_p * values.size)(*[text.encode() for text in values.flat])
            self.call(self.FillStringTensor, made, texts, c_size_t(values.size))
            return made
        code = helper.mapping.NP_TYPE_TO_TENSOR_TYPE[values.dtype]
        return self.make(self.CreateTensor, self.memory, values.ctypes.data_as(c_void_p),
                         c_size_t(values.nbytes), dims, rank, code)

    def read(self, value, like):
        if like.dtype != object:
            data = ctypes.string_at(self.make(self.GetTensorMutableData, value), like.nbytes)
            return numpy.frombuffer(data, like.dtype).reshape(like.shape)
        length = self.make(self.GetStringLength, value).value
        text, starts = ctypes.create_string_buffer(length), (c_size_t * like.size)()
        self.call(self.GetStringContent, value, text, c_size_t(length), starts, c_size_t(like.size))
        ends = [*starts[1:], length]
        strings = [text.raw[start:end].decode() for start, end in zip(starts, ends)]
        return numpy.array(strings, object).reshape(like.shape)


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
        try:
            made = onnx.load_tensor(str(folder / f"{kind}_{number}.pb"))
            yield info.name, dtype, numpy.array(numpy_helper.to_array(made), order="C")
        except UnicodeDecodeError:
            raise Skip("strings that are not UTF-8")


def as_item(dtype, values):
    if values.size > 65536:
        raise Skip("an input has more than 65,536 elements")
    return tensor(dtype, list(values.shape), values.ravel().tolist())


def check_values(got, values, exact):
    if values.dtype.kind == "f" and not exact:
        numpy.testing.assert_allclose(got, values, rtol=1e-3, atol=1e-7)
    else:
        numpy.testing.assert_array_equal(got, values)


def check(text, expected, exact):
    """Compares a result's text with the expected outputs."""
    if len(text) == 65535:
        raise Skip("the result's text is cut")
    # Numbers as the library writes them; a quoted string is matched whole and left as it is.
    words = {"inf": "Infinity", "-inf": "-Infinity", "nan": "NaN"}
    text = re.sub(r'"(?:\\.|[^"\\])*"|-?inf|nan', lambda m: words.get(m[0], m[0]), text.decode())
    got = json.loads(text, strict=False)["outputs"]
    assert list(got) == [name for name, _, _ in expected], f"outputs {list(got)}"
    for name, dtype, values in expected:
        item = got[name]
        if "error" in item:
            raise Skip(f"an output carries the error '{item['error']}'")
        assert (item["dtype"], item["shape"]) == (dtype, list(values.shape)), (item, values.shape)
        check_values(numpy.array(item["data"], values.dtype), values.ravel(), exact)


def run_json(session, inputs, expected, exact):
    feed = {name: as_item(dtype, values) for name, dtype, values in inputs}
    with session.run(feed_json(feed) if feed else "{}") as result:
        check(result.library._result_json(result.handle), expected, exact)


def run_binding(session, inputs, expected, exact):
    with session.binding() as binding:
        for name, dtype, values in inputs:
            binding.bind_input(name, as_item(dtype, values))
        for output, _, _ in expected:
            binding.bind_output(output)
        with binding.run() as result:
            check(result.library._result_json(result.handle), expected, exact)


def run_tensor(session, inputs, expected, exact):
    (name, _, values), = inputs
    floats = [v for _, dtype, v in expected if dtype == "float32" and v.ndim > 0 and v.size > 0]
    with session.library.tensor(array.array("f", values.tobytes()), values.shape) as given:
        for fast in (False, True):
            with session.run_tensor(name, given, fast=fast) as result:
                if not fast:
                    check(result.library._result_json(result.handle), expected, exact)
                wanted = floats[0].ravel() if floats else numpy.array([], "float32")
                check_values(numpy.array(result.floats, "float32"), wanted, exact)


def run_test(library, runtime, folder, counts):
    model = onnx.load(str(folder / "model.onnx"))
    try:
        bare = runtime.load(folder / "model.onnx")
    except Refused:
        raise Skip("the runtime by itself refuses the model")
    for data in sorted(folder.glob("test_data_set_*")):
        inputs = list(read_tensors(data, "input", model.graph.input))
        expected = list(read_tensors(data, "output", model.graph.output))
        runs = [run_json]
        if len(inputs) == 1 and inputs[0][1] == "float32":
            values = inputs[0][2]
            runs += [run_binding] + [run_tensor] * (values.ndim > 0 and values.size > 0)
        for run in runs:
            with library.session(folder / "model.onnx", threads=1) as session:
                try:
                    run(session, inputs, expected, exact=False)
                except AssertionError:
                    blame_runtime(runtime, bare, session, run, inputs, expected)
            counts[run.__name__] += 1


def blame_runtime(runtime, bare, session, run, inputs, expected):
    """What differs from the test's data must be, to the bit, what the runtime gives by itself."""
    own = [runtime.answers(bare, inputs, expected) for _ in range(2)]
    if any(not numpy.array_equal(a[2], b[2], a[1] != "string") for a, b in zip(*own)):
        raise Skip("the outputs are random")
    run(session, inputs, own[0], exact=True)
    raise Skip("the runtime by itself answers otherwise, and the library the same")


def main(library_path, runtime_path, folder, name="*"):
    runtime, library = Runtime(runtime_path), Library(library_path)
    counts, skipped, failed = collections.Counter(), collections.defaultdict(list), 0
    for model in sorted(pathlib.Path(folder).glob(f"{name}/model.onnx")):
        test = model.parent.name
        try:
            run_test(library, runtime, model.parent, counts)
            counts["passed"] += 1
        except Skip as reason:
            skipped[str(reason)].append(test)
        except (AssertionError, Refused, VornicError) as error:
            failed += 1
            print(f"FAILED {test}: {error}")
    for reason, tests in sorted(skipped.items(), key=lambda row: -len(row[1])):
        print(f"skipped {len(tests)}: {reason} (the first is {tests[0]})")
    passed = counts.pop("passed", 0)
    print("data sets:", ", ".join(f"{run} {count}" for run, count in counts.items()))
    print(f"{passed} passed, {failed} failed, {sum(map(len, skipped.values()))} skipped")
    return 0 if passed and not failed else 1


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
