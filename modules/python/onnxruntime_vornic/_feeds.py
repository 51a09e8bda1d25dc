"""Feeds: tensors as dicts, their JSON text, and the check of untrusted feeds."""
import json
import math
import operator
import sys
from typing import Any, Dict, Iterable, List, NoReturn, Optional, Sequence, Tuple, TypedDict, Union

from ._errors import VornicError, c_text

_MEMBERS = ("dtype", "shape", "data")
_STRINGS = ("string", "str")

# The lowest and the highest number of each type in a feed. The limit of float32 is the largest
# number that rounds to a finite one: the shortest decimal form of the largest float32 is greater
# than the float itself.
_LARGEST_FLOAT32 = 2.0**128 - 2.0**103 - 2.0**75
_RANGES = {
    "float32": (-_LARGEST_FLOAT32, _LARGEST_FLOAT32),
    "float64": (-sys.float_info.max, sys.float_info.max),
    "bool": (0, 1),
    **{f"int{bits}": (-(2 ** (bits - 1)), 2 ** (bits - 1) - 1) for bits in (8, 16, 32, 64)},
    **{f"uint{bits}": (0, 2**bits - 1) for bits in (8, 16, 32, 64)},
}


class Tensor(TypedDict):
    """A tensor of a feed; data holds its elements in row-major order."""

    dtype: str
    shape: List[int]
    data: List[Any]


class Output(Tensor, total=False):
    """An output of a run, which can be fed as it is; one that has no JSON form has only error."""

    error: str


class Description(TypedDict):
    """An input or output of a model; -1 in its shape is a dimension that each run chooses."""

    name: str
    type: str
    dtype: str
    shape: List[int]
    shape_symbols: List[str]


Feed = Dict[str, Tensor]


def tensor(dtype: str, shape: Iterable[int], data: Iterable[Any]) -> Tensor:
    """An input tensor for a feed, from flat elements or a NumPy array of any shape.

    >>> tensor("int64", [2, 1], (1, 2))
    {'dtype': 'int64', 'shape': [2, 1], 'data': [1, 2]}
    """
    try:
        return {"dtype": dtype, "shape": list(shape), "data": list(flat(data))}
    except TypeError as error:
        raise VornicError(f"cannot make a tensor: {error}") from None


def flat(values: Any) -> Any:
    """The elements of a NumPy array as a list in row-major order; anything else as it is."""
    return values.ravel().tolist() if hasattr(values, "ravel") else values


def feed_json(feed: Feed) -> str:
    """The JSON text of a feed.

    Feeds that the library would misread are refused. Whether the tensors fit the model is not
    checked; see check_feed.

    >>> feed_json({"x": tensor("float32", [1, 3], [1, 2.5, 3])})
    '{"x":{"dtype":"float32","shape":[1,3],"data":[1,2.5,3]}}'
    """
    if not isinstance(feed, dict):
        raise VornicError("a feed must be a dict of tensors by input name, or its text")
    items = {name: tensor_json(name, item) for name, item in feed.items()}
    # The library finds an input by the first occurrence of its quoted name and starts its tensor at
    # the next {. So inputs named like a word inside a tensor ("data" is common) go first, and
    # string tensors, which may contain any name, last. Inputs that are both are tried in either
    # position.
    words = {*_MEMBERS, *(item["dtype"] for item in feed.values())}
    orders = (
        lambda name: (feed[name]["dtype"] in _STRINGS, name not in words),
        lambda name: (name not in words, feed[name]["dtype"] in _STRINGS),
    )
    for order in orders:
        text, misread = _joined(items, sorted(items, key=order))
        if misread is None:
            return text
    raise _unfit(misread, "its name also occurs earlier in the feed; bind it instead")


def check_feed(feed: Any, inputs: Sequence[Description]) -> str:
    """The JSON text of an untrusted feed, checked against Session.inputs.

    The feed is what json.loads returned. It must have exactly the inputs described, each an object
    with only dtype, shape and data: the dtype described, dimensions that fit, and as many elements
    as they require. Elements that would arrive changed are refused, apart from fractions rounded to
    float32 or float64; so are NaN and infinities, which JSON lacks. The VornicError names the input
    and says what is wrong with it.

    >>> check_feed({"x": {"dtype": "float32", "shape": [1, 3], "data": [1, 2]}}, session.inputs)
    Traceback (most recent call last):
    onnxruntime_vornic.VornicError: input 'x': data must have 3 items, as shape says, not 2
    """
    if not isinstance(feed, dict):
        raise VornicError("a feed must be an object of tensors by input name")
    # A description of 2,040 bytes or more may be truncated: inputs may be missing from it.
    if len(inputs) > 16 or len(_plain_json(inputs).encode()) >= 2040:
        raise VornicError("the model has too many inputs for a feed to be checked")
    described = {entry["name"]: entry for entry in inputs}
    for name in feed:
        if name not in described:
            raise _unfit(name, "the model has no such input")
    for name, entry in described.items():
        if entry["dtype"] != "string" and entry["dtype"] not in _RANGES:
            raise _unfit(name, "its type in the model has no JSON form")
        if len(name.encode()) > 127:
            raise _unfit(name, "a feed cannot hold names longer than 127 bytes")
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


def _unfit(name: Any, reason: str) -> VornicError:
    shown = repr(name)
    return VornicError(f"input {shown if len(shown) < 140 else shown[:140] + '...'}: {reason}")


def _check_members(name: Any, item: Any) -> None:
    if not isinstance(item, dict) or set(item) != set(_MEMBERS):
        raise _unfit(name, "a tensor must have dtype, shape and data, and nothing else")
    if not isinstance(item["dtype"], str):
        raise _unfit(name, "dtype must be a string")
    for member in ("shape", "data"):
        if not isinstance(item[member], (list, tuple)):
            raise _unfit(name, f"{member} must be an array")


def _checked_count(name: str, shape: Sequence[Any], described: Sequence[int]) -> int:
    """The number of elements of a shape, at most 65,536 in 8 dimensions as in the library."""
    if len(shape) > 8:
        raise _unfit(name, "shape must have at most 8 dimensions")
    if not all(type(size) is int and 0 <= size <= 65536 for size in shape):
        raise _unfit(name, "shape must be whole numbers from 0 to 65536")
    # An empty description may stand for an unknown rank, for which ONNX Runtime accepts any.
    fits = len(shape) == len(described) and all(d < 0 or d == s for s, d in zip(shape, described))
    if described and not fits:
        raise _unfit(name, f"shape must be {described}, with any size for -1")
    count: int = math.prod(shape)
    if count > 65536:
        raise _unfit(name, "shape calls for more than 65536 items")
    return count


def _check_strings(name: str, data: Sequence[Any], _: str) -> None:
    for text in data:
        if type(text) is not str:
            raise _unfit(name, "data must contain only strings")
        try:
            length = len(text.encode())
        except UnicodeEncodeError:
            raise _unfit(name, "data holds a lone surrogate, which UTF-8 cannot encode") from None
        if length > 4095:
            raise _unfit(name, "data holds a string of more than 4095 bytes")
        if "\0" in text:
            raise _unfit(name, "data holds a zero byte, which strings cannot contain")


def _check_numbers(name: str, data: Sequence[Any], dtype: str) -> None:
    if not set(map(type, data)) <= ({bool, int, float} if dtype == "bool" else {int, float}):
        raise _unfit(name, "data must contain only numbers")
    lowest, highest = _RANGES[dtype]
    # min and max may miss NaN, and isfinite raises on huge integers, so the ranges come first.
    if data and not (
        lowest <= min(data) and max(data) <= highest and all(map(math.isfinite, data))
    ):
        raise _unfit(name, f"data must be finite numbers from {lowest} to {highest}")
    if "float" not in dtype:
        if any(map(operator.ne, data, map(int, data))):
            raise _unfit(name, f"data must be whole numbers, as its dtype is {dtype}")
        if any(map(operator.ne, data, map(float, data))):
            raise _unfit(name, "data holds a number beyond 2^53 that would be rounded")


def _joined(items: Dict[str, str], order: Iterable[str]) -> Tuple[str, Optional[str]]:
    """A feed's text, and an input that the library would find elsewhere first, or None."""
    text = "{"
    braces: Dict[str, int] = {}
    for name in order:
        text += f'"{name}":'  # not escaped: the library searches for the plain name
        braces[name] = len(text)
        text += items[name] + ","
    text = text.rstrip(",") + "}"
    for name, brace in braces.items():
        quoted = f'"{name}"'
        if text.index("{", text.index(quoted) + len(quoted)) != brace:
            return text, name
    return text, None


def tensor_json(name: Any, item: Any) -> str:
    """One tensor as JSON; data comes last, since its strings may contain the members' names."""
    if not isinstance(name, str):
        raise _unfit(name, "its name must be a str")
    _check_members(name, item)
    data = item["data"]
    if item["dtype"] in ("bool", "boolean"):  # the library does not read true and false
        data = [int(value) if isinstance(value, bool) else value for value in data]
    try:
        if item["dtype"] in _STRINGS:
            numbers = "[" + ",".join(map(quoted, data)) + "]"
        else:
            numbers = _plain_json(data)
        shape = _plain_json(item["shape"])
    except (TypeError, ValueError, RecursionError) as error:
        raise _unfit(name, f"its tensor has no JSON form: {error}") from None
    return f'{{"dtype":{quoted(item["dtype"])},"shape":{shape},"data":{numbers}}}'


def _plain_json(value: Any) -> str:
    return json.dumps(value, ensure_ascii=False, separators=(",", ":"))


def quoted(text: str) -> str:
    # The library takes characters other than these two as they are, and does not decode \u.
    if not isinstance(text, str):
        raise TypeError("a string tensor must contain only strings")
    return '"' + text.replace("\\", "\\\\").replace('"', '\\"') + '"'


def parsed(text: str, what: str) -> Any:
    try:
        return json.loads(text, strict=False)  # the library does not escape control characters
    except ValueError:
        raise VornicError(f"the JSON of the {what} is truncated or holds inf or nan") from None


def names_json(names: Optional[Sequence[str]]) -> Optional[bytes]:
    """A selection of outputs for the library; None selects all."""
    if not names:
        return None
    if not isinstance(names, (list, tuple)) or not all(isinstance(name, str) for name in names):
        raise VornicError("outputs must be a list of names")
    return c_text("[" + ",".join(map(quoted, names)) + "]", "a name")
