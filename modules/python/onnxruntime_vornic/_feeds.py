"""Feeds: tensors as dicts, their text, and the check of feeds that others send."""
import json
import math
import operator
import sys
from typing import Any, Dict, Iterable, List, NoReturn, Optional, Sequence, Tuple, TypedDict, Union

from ._errors import VornicError, c_text

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


class Tensor(TypedDict):
    """A tensor of a feed: its element type, its shape, and its items in row-major order."""

    dtype: str
    shape: List[int]
    data: List[Any]


class Output(Tensor, total=False):
    """An output of a run, which can be fed as it is; one that has no text form is an error alone."""

    error: str


class Description(TypedDict):
    """What a model says of an input or an output; -1 in its shape is for each run to choose."""

    name: str
    type: str
    dtype: str
    shape: List[int]
    shape_symbols: List[str]


Feed = Dict[str, Tensor]


def tensor(dtype: str, shape: Iterable[int], data: Iterable[Any]) -> Tensor:
    """An input tensor for a feed, from flat items or a NumPy array of any shape.

    >>> tensor("int64", [2, 1], (1, 2))
    {'dtype': 'int64', 'shape': [2, 1], 'data': [1, 2]}
    """
    try:
        return {"dtype": dtype, "shape": list(shape), "data": list(flat(data))}
    except TypeError as error:
        raise VornicError(f"no tensor can be made of that: {error}") from None


def flat(values: Any) -> Any:
    """The items of a NumPy array as Python's own in row-major order; anything else as it is."""
    return values.ravel().tolist() if hasattr(values, "ravel") else values


def feed_json(feed: Feed) -> str:
    """The feed text of a dict of tensors by input name.

    Every tensor arrives as its own input: a feed that the library would read in another way is
    refused. Whether the tensors suit the model is not looked at; see check_feed.

    >>> feed_json({"x": tensor("float32", [1, 3], [1, 2.5, 3])})
    '{"x":{"dtype":"float32","shape":[1,3],"data":[1,2.5,3]}}'
    """
    if not isinstance(feed, dict):
        raise VornicError("a feed must be a dict of tensors by input name, or its text")
    items = {name: tensor_json(name, item) for name, item in feed.items()}
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


def check_feed(feed: Any, inputs: Sequence[Description]) -> str:
    """The text of a feed that somebody else made, checked against a description: Session.inputs.

    The feed is a dict as json.loads gives it. Raises VornicError, with the input's name and what is
    wrong with it, unless every input of the description is there and no other, each an object of
    dtype, shape and data and nothing else, with the described dtype, dimensions that fit, as many
    numbers or strings as they call for, and none that would arrive changed, but for the rounding of
    fractions to float32 or float64. NaN and infinities are refused: JSON has none.

    >>> check_feed({"x": {"dtype": "float32", "shape": [1, 3], "data": [1, 2]}}, session.inputs)
    Traceback (most recent call last):
    onnxruntime_vornic.VornicError: input 'x': data must have 3 items, as shape says, not 2
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
    """How many items a shape calls for, which the library holds in 8 dimensions of 65,536 at most."""
    if len(shape) > 8:
        raise _unfit(name, "shape must have at most 8 dimensions")
    if not all(type(size) is int and 0 <= size <= 65536 for size in shape):
        raise _unfit(name, "shape must be whole numbers from 0 to 65536")
    # An empty description may also be that of an unknown rank, for which ONNX Runtime takes any.
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
            raise _unfit(name, "data must be strings alone")
        try:
            length = len(text.encode())
        except UnicodeEncodeError:
            raise _unfit(name, "data holds a lone surrogate, which has no UTF-8") from None
        if length > 4095:
            raise _unfit(name, "data holds a string of more than 4095 bytes")
        if "\0" in text:
            raise _unfit(name, "data holds a zero byte, which no string can have")


def _check_numbers(name: str, data: Sequence[Any], dtype: str) -> None:
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


def _joined(items: Dict[str, str], order: Iterable[str]) -> Tuple[str, Optional[str]]:
    """A feed's text, and an input whose name the library would find elsewhere first, or None."""
    text = "{"
    braces: Dict[str, int] = {}
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


def tensor_json(name: Any, item: Any) -> str:
    """The text of one tensor, dtype and shape first: strings could spell the members' names."""
    if not isinstance(name, str):
        raise _unfit(name, "its name must be a str")
    _check_members(name, item)
    data = item["data"]
    if item["dtype"] in ("bool", "boolean"):  # true and false are written, but not read
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
    # Everything but these two arrives as it is, control characters too; \u would not be decoded.
    if not isinstance(text, str):
        raise TypeError("a string tensor holds strings alone")
    return '"' + text.replace("\\", "\\\\").replace('"', '\\"') + '"'


def parsed(text: bytes, what: str) -> Any:
    try:
        return json.loads(text.decode(errors="replace"), strict=False)
    except ValueError:
        # The library cuts a text at its limit, and inf and nan have no JSON form.
        raise VornicError(f"the text of the {what} is cut or holds inf or nan") from None


def names_json(names: Optional[Sequence[str]]) -> Optional[bytes]:
    """The text that asks for these outputs; nothing asks for all."""
    if not names:
        return None
    if not isinstance(names, (list, tuple)) or not all(isinstance(name, str) for name in names):
        raise VornicError("outputs must be a list of names")
    return c_text("[" + ",".join(map(quoted, names)) + "]", "a name")
