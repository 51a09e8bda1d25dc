"""What owns an object of the library's."""
import os
import weakref
from typing import TYPE_CHECKING, Any, Callable, Optional, TypeVar

from ._errors import VornicError

if TYPE_CHECKING:
    from ._library import Library

_Self = TypeVar("_Self", bound="Handle")


def _release(release: Callable[[int], None], handle: int, process: int) -> None:
    # Not in a forked child: the threads of a session are the parent's.
    if os.getpid() == process:
        release(handle)


class Handle:
    """An object of the library's: a context manager that releases it at the end of its block.

    What nobody has closed is released when the last reference to it goes, but not when Python ends.

    >>> with library.run_options() as options:
    ...     pass
    >>> options.terminate()
    Traceback (most recent call last):
    onnxruntime_vornic.VornicError: this RunOptions is closed
    """

    def __init__(self, library: "Library", handle: Optional[int], release: Any) -> None:
        self.library = library
        self._handle: Optional[int] = library.check(handle)
        self._release = release
        self._net = self._released_after(self)

    def _released_after(self, last: Any) -> Any:
        net = weakref.finalize(last, _release, self._release, self.handle, os.getpid())
        net.atexit = False
        return net

    @property
    def handle(self) -> int:
        """The address, for calls of Library.functions."""
        if self._handle is None:
            raise VornicError(f"this {type(self).__name__} is closed")
        return self._handle

    def __enter__(self: _Self) -> _Self:
        return self

    def __exit__(self, *_: Any) -> None:
        self.close()

    def close(self) -> None:
        """Releases it; a second time does nothing. No other thread may be using it."""
        if self._handle is not None:
            self._net.detach()
            handle, self._handle = self._handle, None
            self._release(handle)
