"""Ownership of the library's objects."""
import os
import weakref
from typing import TYPE_CHECKING, Any, Callable, Optional, TypeVar

from ._errors import VornicError

if TYPE_CHECKING:
    from ._library import Library

_Self = TypeVar("_Self", bound="Handle")


def _release(release: Callable[[int], None], handle: int, process: int, _used: Any) -> None:
    # Not in a forked child, which does not have the session's threads.
    if os.getpid() == process:
        release(handle)


class Owner:
    """When this is collected, its object is released.

    An object that uses another keeps the other's owner. The collector may find both at once, in any
    order, but the user is released first.
    """


class Handle:
    """An object of the library, and a context manager that releases it at the end of its block.

    An object that was not closed is released with the last reference to it, but not at interpreter
    exit.

    >>> with library.run_options() as options:
    ...     pass
    >>> options.terminate()
    Traceback (most recent call last):
    onnxruntime_vornic.VornicError: this RunOptions is closed
    """

    def __init__(
        self, library: "Library", handle: Optional[int], release: Any, used: Optional[Owner] = None
    ) -> None:
        self.library = library
        self._used = used
        self._handle: Optional[int] = library.check(handle)
        self._release = release
        self._owner = Owner()
        self._release_with(self._owner)

    def _release_with(self, owner: Any) -> None:
        """Releases the handle when owner is collected."""
        arguments = self._release, self.handle, os.getpid(), self._used
        self._finalizer = weakref.finalize(owner, _release, *arguments)
        self._finalizer.atexit = False

    @property
    def handle(self) -> int:
        """The address, to pass to Library.functions."""
        if self._handle is None:
            raise VornicError(f"this {type(self).__name__} is closed")
        return self._handle

    def __enter__(self: _Self) -> _Self:
        return self

    def __exit__(self, *_: Any) -> None:
        self.close()

    def close(self) -> None:
        """Releases the object; idempotent. No other thread may be using it."""
        if self._handle is not None:
            self._finalizer.detach()
            handle, self._handle = self._handle, None
            self._release(handle)

    def _text(self, function: Any) -> str:
        """The string that a function returns for this handle."""
        text: bytes = function(self.handle)
        return text.decode(errors="replace")
