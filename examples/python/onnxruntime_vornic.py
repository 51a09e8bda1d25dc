"""A small Python binding of onnxruntime_vornic: one file to copy, for Python 3.8 or later.

    with Library().session("model.onnx") as session:
        with session.run({"x": tensor("float32", [1, 2], [0.5, 1])}) as result:
            print(result.outputs["y"]["data"])

Texts that the library lends are copied at once, a failure raises VornicError with the reason, and
everything that has to be released is a context manager. A feed that somebody else made goes through
check_feed first. NumPy is not needed, but its arrays are taken wherever numbers are.
"""
import array
import ctypes
import json
import math
import operator
import os
import pathlib
import sys
import weakref
from ctypes import POINTER, c_char, c_char_p, c_float, c_int32, c_int64, c_void_p

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

_WINDOWS = sys.platform == "win32"
_FILE = "onnxruntime_vornic.dll" if _WINDOWS else "libonnxruntime_vornic.so.1"
_MEMBERS = ("dtype", "shape", "data")
_STRINGS = ("string", "str")

# What the numbers of a feed may be, from lowest to highest. A float32 may be as large as what still
# rounds to one, since writers of shortest digits round the largest up.
_LARGEST_FLOAT32 = 2.0**128 - 2.0**103 - 2.0**75
_RANGES = {
    "float32": (-_LARGEST_FLOAT32, _LARGEST_FLOAT32),
    "float64": (-sys.float_info.max, sys.float_info.max),
    "bool": (0, 1),
    **{f"int{bits}": (-(2 ** (bits - 1)), 2 ** (bits - 1) - 1) for bits in (8, 16, 32, 64)},
    **{f"uint{bits}": (0, 2**bits - 1) for bits in (8, 16, 32, 64)},
}


class VornicError(Exception):
    """What went wrong, in the library's words or in those of this file."""


def tensor(dtype, shape, data):
    """An input tensor for a feed. An output of a run has the same form and can be fed as it is."""
    try:
        return {"dtype": dtype, "shape": list(shape), "data": list(_flat(data))}
    except TypeError as error:
        raise VornicError(f"no tensor can be made of that: {error}") from None


def _flat(values):
    """The items of a NumPy array as Python's own in row-major order; anything else as it is."""
    return values.ravel().tolist() if hasattr(values, "ravel") else values


def feed_json(feed):
    """The feed text of a dict of tensors by input name.

    Every tensor arrives as its own input: a feed that the library would read in another way is
    refused. Whether the tensors suit the model is not looked at; see check_feed.
    """
    if not isinstance(feed, dict):
        raise VornicError("a feed must be a dict of tensors by input name, or its text")
    items = {name: _tensor_json(name, item) for name, item in feed.items()}
    # The library looks for an input's quoted name first, and begins its tensor at the next {. So
    # inputs named like a word of the tensors themselves ("data" is a popular one) go first, and
    # strings, which may spell any name, last. An input that is both may do in either place.
    words = {*_MEMBERS, *(item["dtype"] for item in feed.values())}
    orders = (
        lambda name: (feed[name]["dtype"] in _STRINGS, name not in words),
        lambda name: (name not in words, feed[name]["dtype"] in _STRINGS),
    )
    for order in orders:
        text, mistaken = _joined(items, sorted(items, key=order))
        if mistaken is None:
            return text
    raise _unfit(mistaken, "its name would be found among other words of the feed; bind it instead")


def check_feed(feed, inputs):
    """The text of a feed that somebody else made, checked against a description: Session.inputs.

    The feed is a dict as json.loads gives it. Raises VornicError, with the input's name and what is
    wrong with it, unless every input of the description is there and no other, each an object of
    dtype, shape and data and nothing else, with the described dtype, dimensions that fit, as many
    numbers or strings as they call for, and none that would arrive changed, but for the rounding of
    fractions to float32 or float64. NaN and infinities are refused: JSON has none.
    """
    if not isinstance(feed, dict):
        raise VornicError("a feed must be an object of tensors by input name")
    # From 2,040 bytes on a description may lack entries, so the model may have more inputs.
    if len(inputs) > 16 or len(_plain_json(inputs).encode()) >= 2040:
        raise VornicError("the model has more inputs than a feed can be checked for")
    described = {entry["name"]: entry for entry in inputs}
    for name in feed:
        if name not in described:
            raise _unfit(name, "the model has no such input")
    for name, entry in described.items():
        if entry["dtype"] != "string" and entry["dtype"] not in _RANGES:
            raise _unfit(name, "what the model takes there has no JSON form")
        if len(name.encode()) > 127:
            raise _unfit(name, "a feed cannot hold names of more than 127 bytes")
        if name not in feed:
            raise _unfit(name, "it is missing")
        item = feed[name]
        _check_members(name, item)
        if item["dtype"] != entry["dtype"]:
            raise _unfit(name, f"its dtype must be {entry['dtype']}")
        count = _checked_count(name, item["shape"], entry["shape"])
        if len(item["data"]) != count:
            raise _unfit(
                name, f"data must have {count} items, as shape says, not {len(item['data'])}"
            )
        check = _check_strings if entry["dtype"] == "string" else _check_numbers
        check(name, item["data"], entry["dtype"])
    return feed_json(feed)


def _unfit(name, reason):
    shown = repr(name)
    return VornicError(f"input {shown if len(shown) < 140 else shown[:140] + '...'}: {reason}")


def _check_members(name, item):
    if not isinstance(item, dict) or set(item) != set(_MEMBERS):
        raise _unfit(name, "a tensor must have dtype, shape and data, and nothing else")
    if not isinstance(item["dtype"], str):
        raise _unfit(name, "dtype must be a string")
    for member in ("shape", "data"):
        if not isinstance(item[member], (list, tuple)):
            raise _unfit(name, f"{member} must be an array")


def _checked_count(name, shape, described):
    """How many items a shape calls for, which the library holds in 8 dimensions of 65,536 at most."""
    if len(shape) > 8:
        raise _unfit(name, "shape must have at most 8 dimensions")
    if not all(type(size) is int and 0 <= size <= 65536 for size in shape):
        raise _unfit(name, "shape must be whole numbers from 0 to 65536")
    # An empty description may also be that of an unknown rank, for which ONNX Runtime takes any.
    fits = len(shape) == len(described) and all(d < 0 or d == s for s, d in zip(shape, described))
    if described and not fits:
        raise _unfit(name, f"shape must be {described}, with any size for -1")
    count = math.prod(shape)
    if count > 65536:
        raise _unfit(name, "shape calls for more than 65536 items")
    return count


def _check_strings(name, data, _):
    for text in data:
        if type(text) is not str:
            raise _unfit(name, "data must be strings alone")
        try:
            length = len(text.encode())
        except UnicodeEncodeError:
            raise _unfit(name, "data holds a lone surrogate, which has no UTF-8") from None
        if length > 4095:
            raise _unfit(name, "data holds a string of more than 4095 bytes")
        if "\0" in text:
            raise _unfit(name, "data holds a zero byte, which no string can have")


def _check_numbers(name, data, dtype):
    if not set(map(type, data)) <= ({bool, int, float} if dtype == "bool" else {int, float}):
        raise _unfit(name, "data must be numbers alone")
    lowest, highest = _RANGES[dtype]
    # NaN may hide from min and max, and isfinite is not for numbers beyond every range.
    if data and not (
        lowest <= min(data) and max(data) <= highest and all(map(math.isfinite, data))
    ):
        raise _unfit(name, f"data must be finite numbers from {lowest} to {highest}")
    if "float" not in dtype:
        if any(map(operator.ne, data, map(int, data))):
            raise _unfit(name, f"data must be whole numbers, as its dtype is {dtype}")
        if any(map(operator.ne, data, map(float, data))):
            raise _unfit(name, "data holds a number beyond 2^53 that would be rounded")


def _joined(items, order):
    """A feed's text, and an input whose name the library would find elsewhere first, or None."""
    text, braces = "{", {}
    for name in order:
        text += f'"{name}":'  # as it is: the library looks for names unescaped
        braces[name] = len(text)
        text += items[name] + ","
    text = text.rstrip(",") + "}"
    for name, brace in braces.items():
        quoted = f'"{name}"'
        if text.index("{", text.index(quoted) + len(quoted)) != brace:
            return text, name
    return text, None


def _tensor_json(name, item):
    """The text of one tensor, dtype and shape first: strings could spell the members' names."""
    if not isinstance(name, str):
        raise _unfit(name, "its name must be a str")
    _check_members(name, item)
    data = item["data"]
    if item["dtype"] in ("bool", "boolean"):  # true and false are written, but not read
        data = [int(value) if isinstance(value, bool) else value for value in data]
    try:
        if item["dtype"] in _STRINGS:
            numbers = "[" + ",".join(map(_quoted, data)) + "]"
        else:
            numbers = _plain_json(data)
        shape = _plain_json(item["shape"])
    except (TypeError, ValueError, RecursionError) as error:
        raise _unfit(name, f"its tensor has no JSON form: {error}") from None
    return f'{{"dtype":{_quoted(item["dtype"])},"shape":{shape},"data":{numbers}}}'


def _plain_json(value):
    return json.dumps(value, ensure_ascii=False, separators=(",", ":"))


def _quoted(text):
    # Everything but these two arrives as it is, control characters too; \u would not be decoded.
    if not isinstance(text, str):
        raise TypeError("a string tensor holds strings alone")
    return '"' + text.replace("\\", "\\\\").replace('"', '\\"') + '"'


def _c_text(text, what):
    """A text as the library takes it, which must not end before its end."""
    try:
        encoded = text.encode()
    except (AttributeError, UnicodeEncodeError) as error:
        raise VornicError(f"{what} is no text: {error}") from None
    if b"\0" in encoded:
        raise VornicError(f"{what} holds a zero byte, where the library would take it to end")
    return encoded


def _parsed(text, what):
    try:
        return json.loads(text.decode(errors="replace"), strict=False)
    except ValueError:
        # The library cuts a text at its limit, and inf and nan have no JSON form.
        raise VornicError(f"the text of the {what} is cut or holds inf or nan") from None


def _names(names):
    if not names:
        return None
    if not isinstance(names, (list, tuple)) or not all(isinstance(name, str) for name in names):
        raise VornicError("outputs must be a list of names")
    return _c_text("[" + ",".join(map(_quoted, names)) + "]", "a name")


def _own_places():
    """Where a library of this file's own may be: beside it, in its checkout's build, in its package."""
    here = pathlib.Path(__file__).resolve().parent
    folders = [here]
    if here.parts[-2:] == ("examples", "python"):
        root = here.parents[1]
        folders.append(root / "build" / ("windows" if _WINDOWS else "linux"))
        if root.parts[-3:-1] == ("share", "doc"):
            prefix = root.parents[2]
            system = getattr(sys.implementation, "_multiarch", "")
            folders += [
                prefix / f for f in (["bin"] if _WINDOWS else ["lib", f"lib/{system}", "lib64"])
            ]
    return list(dict.fromkeys(folder / _FILE for folder in folders))


def _choice(path):
    """What is loaded, and the places where there was nothing."""
    path = path or os.environ.get("ONNXRUNTIME_VORNIC_LIBRARY")
    if path:
        path = os.fsdecode(path)
        # By full path: the loader could find another library of that name, and beside it another
        # ONNX Runtime (Windows brings an old one of its own).
        return (os.path.abspath(path) if os.path.dirname(path) else path), []
    places = _own_places()
    return next((str(place) for place in places if place.exists()), _FILE), places


class Library:
    """The library: the file given, else that of $ONNXRUNTIME_VORNIC_LIBRARY, else one that lies where
    this file came with it (beside it, in its checkout's build/linux, in its package), else what the
    system's loader finds. A given name without a folder is the loader's to find too.
    """

    def __init__(self, path=None):
        chosen, places = _choice(path)
        try:
            loaded = ctypes.CDLL(chosen)
            for name, (result, *arguments) in _FUNCTIONS.items():
                function = getattr(loaded, "onnxruntime_vn_" + name)
                function.restype, function.argtypes = result, arguments
                setattr(self, "_" + name, function)
        except (OSError, AttributeError) as error:
            reason = f"{chosen} is not a usable onnxruntime_vornic: {error}"
            if chosen == _FILE and places:
                reason += "; nor is there any of " + ", ".join(map(str, places))
                reason += "; name it in Library(path) or ONNXRUNTIME_VORNIC_LIBRARY"
            raise VornicError(reason) from None
        self.check(self._available())

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
        """A float32 tensor for Session.run_tensor, from flat numbers or an array of any shape.

        Quickest is float32 in C order with the buffer protocol, such as an ndarray or array("f"),
        which only the library copies. Anything else is converted; bytes are raw float32.
        """
        return FloatTensor(self, values, shape)


class _Handle:
    """Something of the library's that is released at the end of a with block."""

    def __init__(self, library, handle, release):
        self.library, self._handle, self._release = library, library.check(handle), release

    @property
    def handle(self):
        if self._handle is None:
            raise VornicError(f"this {type(self).__name__} is closed")
        return self._handle

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def close(self):
        """Releases it; a second time does nothing."""
        handle, self._handle = self._handle, None
        self._release(handle)


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
        """The description of each: name, dtype and shape, where -1 is for each run to choose."""
        return _parsed(self.library._get_inputs_json(self.handle), "inputs")

    @property
    def outputs(self):
        return _parsed(self.library._get_outputs_json(self.handle), "outputs")

    @property
    def metadata(self):
        return _parsed(self.library._get_modelmeta_json(self.handle), "metadata")

    def run(self, feed, outputs=None):
        """Runs on a feed, a dict of tensors or its text ready made; outputs lists those wanted."""
        text = _c_text(feed if isinstance(feed, str) else feed_json(feed), "the feed")
        return Result(self.library, self.library._run_json(self.handle, _names(outputs), text))

    def run_tensor(self, name, values, outputs=None, fast=False):
        """Runs on one FloatTensor. A fast run writes no numbers as text: see Result.floats."""
        if not isinstance(values, FloatTensor):
            raise VornicError("run_tensor takes a tensor that Library.tensor has made")
        run = self.library._run_tensor_fast if fast else self.library._run_tensor
        handle = run(self.handle, _c_text(name, "the name"), values.handle, _names(outputs))
        return Result(self.library, handle)

    def binding(self):
        return Binding(self)


class Result(_Handle):
    def __init__(self, library, handle):
        super().__init__(library, handle, library._release_result)
        self._lent = None  # a weak reference to the array that the views of the floats look at

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
        """The first float32 output as an array('f') of its own, in row-major order.

        Empty where there is none: scalars do not count, and a run with a binding has none.
        """
        copy = array.array("f")
        copy.frombytes(self.float_view.cast("B"))
        return copy

    @property
    def float_view(self):
        """The same without a copy, as a memoryview: numpy.asarray(result.float_view).

        It may be used after close(): the library's result lives until the last use of it has gone.
        """
        count = self.library._result_float_count(self.handle)
        if not count:
            return memoryview(array.array("f"))
        lent = self._lent() if self._lent else None
        if lent is None:
            address = self.library._result_float_data(self.handle)
            lent = (c_float * count).from_address(address)
            self._lent = weakref.ref(lent)
        return memoryview(lent).cast("B").cast("f").toreadonly()

    def close(self):
        lent = self._lent() if self._lent else None
        if lent is None:
            super().close()
        elif self._handle is not None:
            handle, self._handle = self._handle, None
            weakref.finalize(lent, self._release, handle)


class FloatTensor(_Handle):
    def __init__(self, library, values, shape):
        try:
            dims = array.array("q", shape)
            numbers = _float32_buffer(values)
        except (TypeError, ValueError, OverflowError) as error:
            raise VornicError(f"no float32 tensor can be made of that: {error}") from None
        count = numbers.nbytes // 4
        if count > 2**31 - 1:
            raise VornicError("a float32 tensor holds at most 2147483647 numbers")
        try:
            data = (c_char * 0).from_buffer(numbers)
        except TypeError:  # Read-only: ctypes gives no address of that.
            data = (c_char * numbers.nbytes).from_buffer_copy(numbers)
        sizes = (c_int64 * len(dims))(*dims)
        handle = library._tensor_from_f32(ctypes.addressof(data), count, sizes, len(dims))
        super().__init__(library, handle, library._release_tensor)


def _float32_buffer(values):
    """Numbers as float32 in C order: the values' own buffer where it is that."""
    if isinstance(values, (bytes, bytearray)):
        return memoryview(values).cast("f")
    try:
        view = memoryview(values)
    except (TypeError, ValueError):
        view = None
    if view is None or view.format.lstrip("@=" + "<>"[sys.byteorder == "big"]) != "f":
        return memoryview(array.array("f", _flat(values)))
    return view if view.c_contiguous else memoryview(view.tobytes())


class Binding(_Handle):
    """Inputs and outputs attached once for many runs. Close it before its session."""

    def __init__(self, session):
        self._session, library = session, session.library
        handle = library._create_iobinding(session.handle)
        super().__init__(library, handle, library._release_iobinding)

    def bind_input(self, name, values):
        bind = self.library._iobinding_bind_cpu_input_json
        text = _c_text(_tensor_json(name, values), "the tensor")
        self.library.check(bind(self.handle, _c_text(name, "the name"), text))

    def bind_output(self, name):
        self.library.check(
            self.library._iobinding_bind_output(self.handle, _c_text(name, "the name"))
        )

    def run(self):
        run = self.library._run_with_iobinding
        return Result(self.library, run(self._session.handle, self.handle, None))
