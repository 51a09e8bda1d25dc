"""What is raised, and the checks of plain arguments."""
import operator
from typing import Any


class VornicError(Exception):
    """What went wrong, in the library's words or in those of this package.

    >>> library.session("absent.onnx")  # doctest: +ELLIPSIS
    Traceback (most recent call last):
    onnxruntime_vornic.VornicError: CreateSession failed: ...
    """

    __module__ = "onnxruntime_vornic"


class VornicTimeout(VornicError, TimeoutError):
    """A run was ended at its deadline.

    >>> session.run({"x": tensor("float32", [1, 3], [1, 2, 3])}, timeout=0)
    Traceback (most recent call last):
    onnxruntime_vornic.VornicTimeout: the run was ended after 0 s
    """

    __module__ = "onnxruntime_vornic"


def c_text(text: str, what: str) -> bytes:
    """A text as the library takes it. A zero byte would end it early."""
    try:
        encoded = text.encode()
    except (AttributeError, UnicodeEncodeError) as error:
        raise VornicError(f"{what} is no text: {error}") from None
    if b"\0" in encoded:
        raise VornicError(f"{what} holds a zero byte, where the library would take it to end")
    return encoded


def int32(value: Any, what: str) -> int:
    """A number that fits, since ctypes would drop its upper bits."""
    try:
        number = operator.index(value)
    except TypeError:
        raise VornicError(f"{what} must be a whole number") from None
    if not -(2**31) <= number < 2**31:
        raise VornicError(f"{what} must fit in 32 bits")
    return number
