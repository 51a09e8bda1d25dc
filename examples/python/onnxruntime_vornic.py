"""A small Python binding of onnxruntime_vornic: the standard library and ctypes, nothing else.

    with Library().session("model.onnx") as session:
        with session.run({"x": tensor("float32", [1, 2], [0.5, 1])}) as result:
            print(result.outputs["y"]["data"])

Texts that the library lends are copied at once, a failure raises VornicError with the library's
own words, and everything that has to be released is a context manager.
"""
import array
import ctypes
import json
import os
import pathlib
import sys
from ctypes import POINTER, c_char_p, c_int32, c_int64, c_void_p

# Results and arguments of the functions used here, without their common prefix. A char pointer as a
# result is turned into a Python bytes object, that is copied, before the call returns.
_FUNCTIONS = {
    "last_error": (c_char_p,),
    "available": (c_int32,),
    "get_version_string": (c_char_p,),
    "get_available_providers_json": (c_char_p,),
    "create_session_options": (c_void_p,),
    "session_options_set_intra_op_num_threads": (c_int32, c_void_p, c_int32),
    "release_session_options": (None, c_void_p),
    "create_session": (c_void_p, c_char_p, c_void_p),
    "get_inputs_json": (c_char_p, c_void_p),
    "get_outputs_json": (c_char_p, c_void_p),
    "get_modelmeta_json": (c_char_p, c_void_p),
    "release_session": (None, c_void_p),
    "run_json": (c_void_p, c_void_p, c_char_p, c_char_p),
    "result_json": (c_char_p, c_void_p),
    "result_float_count": (c_int32, c_void_p),
    "result_float_data": (c_void_p, c_void_p),
    "release_result": (None, c_void_p),
    "tensor_from_f32": (c_void_p, c_void_p, c_int32, POINTER(c_int64), c_int32),
    "tensor_zeros_f32": (c_void_p, c_char_p),
    "release_tensor": (None, c_void_p),
    "run_tensor": (c_void_p, c_void_p, c_char_p, c_void_p, c_char_p),
    "run_tensor_fast": (c_void_p, c_void_p, c_char_p, c_void_p, c_char_p),
    "create_iobinding": (c_void_p, c_void_p),
    "iobinding_bind_cpu_input_json": (c_int32, c_void_p, c_char_p, c_char_p),
    "iobinding_bind_output": (c_int32, c_void_p, c_char_p),
    "run_with_iobinding": (c_void_p, c_void_p, c_void_p, c_void_p),
    "release_iobinding": (None, c_void_p),
}

CHECKOUT = pathlib.Path(__file__).resolve().parents[2]


class VornicError(Exception):
    """What went wrong, in the library's words."""


def tensor(dtype, shape, data):
    """An input tensor for a feed. An output of a run has the same form and can be fed as it is."""
    # The library reads numbers only, also for bool: true and false would be refused.
    data = [int(v) for v in data] if dtype == "bool" else list(data)
    return {"dtype": dtype, "shape": shape, "data": data}


def feed_json(feed):
    """The feed text of a dict of tensors by input name."""
    # The library takes the first { after the first place where an input's quoted name stands. So
    # inputs named like a word of the tensors themselves ("data" is a popular one) go first, and
    # strings, which may spell any name, go last.
    words = {"dtype", "shape", "data"}.union(item.get("dtype") for item in feed.values())
    names = sorted(feed, key=lambda name: (feed[name].get("dtype") == "string", name not in words))
    items = {name: _json(feed[name]) for name in names}
    text = "{" + ",".join(f'"{name}":{item}' for name, item in items.items()) + "}"
    for name, item in items.items():
        if not text.startswith(item, text.index("{", text.index(f'"{name}"'))):
            raise VornicError(f"input '{name}' would be mistaken for other words of the feed")
    return text


def _json(value):
    # Text beyond ASCII is not written as \u, which the library does not decode. Control characters
    # other than \n, \t and \r still are (or as \b, \f): in a string tensor they arrive changed.
    return json.dumps(value, ensure_ascii=False, separators=(",", ":"))


def _parsed(text, what):
    try:
        return json.loads(text.decode(errors="replace"), strict=False)
    except ValueError:
        # The library cuts a text at its limit, and inf and nan have no JSON form.
        raise VornicError(f"the text of the {what} is cut or holds inf or nan") from None


def _names(names):
    return _json(names).encode() if names else None


class Library:
    """The library in the file given, in $ONNXRUNTIME_VORNIC_LIBRARY or in the checkout's build."""

    def __init__(self, path=None):
        path = path or os.environ.get("ONNXRUNTIME_VORNIC_LIBRARY") or self._built()
        try:
            # By full path: a bare name could find another library of that name, and beside it
            # another ONNX Runtime (Windows brings an old one of its own).
            loaded = ctypes.CDLL(os.path.abspath(path))
            for name, (result, *arguments) in _FUNCTIONS.items():
                function = getattr(loaded, "onnxruntime_vn_" + name)
                function.restype, function.argtypes = result, arguments
                setattr(self, "_" + name, function)
        except (OSError, AttributeError) as error:
            raise VornicError(f"{path} is not a usable onnxruntime_vornic: {error}") from None
        self.check(self._available())

    @staticmethod
    def _built():
        """Where the build of this checkout has it, or the package that this file came with."""
        prefix = CHECKOUT.parents[min(2, len(CHECKOUT.parents) - 1)]
        system = getattr(sys.implementation, "_multiarch", "")
        if sys.platform == "win32":
            name, folders = "onnxruntime_vornic.dll", [CHECKOUT / "build/windows", prefix / "bin"]
        else:
            name = "libonnxruntime_vornic.so.1"
            folders = [CHECKOUT / "build/linux", prefix / "lib", prefix / "lib" / system]
        return next((folder / name for folder in folders if (folder / name).exists()), folders[0] / name)

    def check(self, outcome):
        """Hands on a handle or a 1; raises VornicError for a null or a 0."""
        if outcome:
            return outcome
        text = self._last_error().decode(errors="replace")
        # Some refusals are silent and leave the text as it was. Making a tensor empties it, so that
        # such a refusal never shows the reason of an earlier one.
        self._release_tensor(self._tensor_zeros_f32(b"[1]"))
        raise VornicError(text or "the library refused the call without a reason")

    @property
    def version(self):
        """The version of ONNX Runtime."""
        return self._get_version_string().decode()

    @property
    def providers(self):
        return _parsed(self._get_available_providers_json(), "providers")

    def session(self, model, threads=0):
        """A session for a model file; 0 threads leaves their number to ONNX Runtime."""
        return Session(self, model, threads)

    def tensor(self, values, shape):
        """A float32 tensor for Session.run_tensor, from any numbers (quickest: an array("f"))."""
        return FloatTensor(self, values, shape)


class _Handle:
    """Something of the library's that is released at the end of a with block."""

    def __init__(self, library, handle, release):
        self.library, self.handle, self._release = library, library.check(handle), release

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def close(self):
        self._release(self.handle)
        self.handle = None  # The library takes null everywhere, so a late call is harmless.


class Session(_Handle):
    def __init__(self, library, model, threads):
        options = library.check(library._create_session_options())
        try:
            library._session_options_set_intra_op_num_threads(options, threads)
            handle = library._create_session(os.fsencode(model), options)
            super().__init__(library, handle, library._release_session)
        finally:
            library._release_session_options(options)

    @property
    def inputs(self):
        return _parsed(self.library._get_inputs_json(self.handle), "inputs")

    @property
    def outputs(self):
        return _parsed(self.library._get_outputs_json(self.handle), "outputs")

    @property
    def metadata(self):
        return _parsed(self.library._get_modelmeta_json(self.handle), "metadata")

    def run(self, feed, outputs=None):
        """Runs on a feed, a dict of tensors or its text ready made; outputs names those wanted."""
        text = (feed if isinstance(feed, str) else feed_json(feed)).encode()
        return Result(self.library, self.library._run_json(self.handle, _names(outputs), text))

    def run_tensor(self, name, values, outputs=None, fast=False):
        """Runs on one FloatTensor. A fast run writes no numbers as text: see Result.floats."""
        run = self.library._run_tensor_fast if fast else self.library._run_tensor
        handle = run(self.handle, name.encode(), values.handle, _names(outputs))
        return Result(self.library, handle)

    def binding(self):
        return Binding(self)


class Result(_Handle):
    def __init__(self, library, handle):
        super().__init__(library, handle, library._release_result)

    @property
    def text(self):
        """The outputs as the library wrote them."""
        return self.library._result_json(self.handle).decode(errors="replace")

    @property
    def outputs(self):
        """Every output by name: dtype, shape and data, or error."""
        return _parsed(self.library._result_json(self.handle), "result")["outputs"]

    @property
    def floats(self):
        """The first float32 output as an array('f') of its own; a run with a binding has none."""
        count = self.library._result_float_count(self.handle)
        copy = array.array("f")
        if count:
            data = self.library._result_float_data(self.handle)
            copy.frombytes(ctypes.string_at(data, count * copy.itemsize))
        return copy


class FloatTensor(_Handle):
    def __init__(self, library, values, shape):
        is_float32 = isinstance(values, array.array) and values.typecode == "f"
        numbers = values if is_float32 else array.array("f", values)
        sizes = (c_int64 * len(shape))(*shape)
        handle = library._tensor_from_f32(*numbers.buffer_info(), sizes, len(shape))
        super().__init__(library, handle, library._release_tensor)


class Binding(_Handle):
    """Inputs and outputs attached once for many runs. Close it before its session."""

    def __init__(self, session):
        self._session, library = session, session.library
        handle = library._create_iobinding(session.handle)
        super().__init__(library, handle, library._release_iobinding)

    def bind_input(self, name, values):
        bind = self.library._iobinding_bind_cpu_input_json
        self.library.check(bind(self.handle, name.encode(), _json(values).encode()))

    def bind_output(self, name):
        self.library.check(self.library._iobinding_bind_output(self.handle, name.encode()))

    def run(self):
        run = self.library._run_with_iobinding
        return Result(self.library, run(self._session.handle, self.handle, None))
