"""Exceptions, and checks of plain arguments."""
import operator
from typing import Any


class VornicError(Exception):
    """A failure, with the message of the library or of this package.

    >>> library.session("absent.onnx")  # doctest: +ELLIPSIS
    Traceback (most recent call last):
    onnxruntime_vornic.VornicError: CreateSession failed: ...
    """

    __module__ = "onnxruntime_vornic"


class VornicTimeout(VornicError, TimeoutError):
    """A run was terminated at its deadline.

    >>> session.run({"x": tensor("float32", [1, 3], [1, 2, 3])}, timeout=0)
    Traceback (most recent call last):
    onnxruntime_vornic.VornicTimeout: the run was ended after 0 s
    """

    __module__ = "onnxruntime_vornic"


def c_text(text: str, what: str) -> bytes:
    """Encodes a string for the library."""
    try:
        encoded = text.encode()
    except (AttributeError, UnicodeEncodeError) as error:
        raise VornicError(f"{what} is not valid text: {error}") from None
    if b"\0" in encoded:
        raise VornicError(f"{what} contains a zero byte, which would end it early")
    return encoded


def int32(value: Any, what: str) -> int:
    """A value as an int32; ctypes would silently drop its upper bits."""
    try:
        number = operator.index(value)
    except TypeError:
        raise VornicError(f"{what} must be a whole number") from None
    if not -(2**31) <= number < 2**31:
        raise VornicError(f"{what} must fit in 32 bits")
    return number
