"""The loaded library, which creates all other objects."""
import ctypes
import os
from typing import Any, Iterable, List, Optional, Sequence, TypeVar, Union

from ._errors import VornicError
from ._feeds import parsed
from ._native import load
from ._options import RunOptions, SessionOptions
from ._session import FloatTensor, Session, float_tensor

_Outcome = TypeVar("_Outcome")
Path = Union[str, bytes, "os.PathLike[Any]"]


class Library:
    """The native library, loaded from path, else from $ONNXRUNTIME_VORNIC_LIBRARY, else from this
    package (its wheel, archive or checkout), else from wherever the system's loader finds it. The
    loader also searches for a path without a directory.

    >>> library = Library()
    >>> library.providers[-1]
    'CPUExecutionProvider'
    """

    def __init__(self, path: Optional[Path] = None) -> None:
        self.functions = load(path)
        self.check(self.functions.available())

    def check(self, outcome: Optional[_Outcome]) -> _Outcome:
        """Returns the handle or 1 that a function returned; raises VornicError for null or 0.

        >>> library.check(library.functions.available())
        1
        """
        if outcome:
            return outcome
        text = self.functions.last_error().decode(errors="replace")
        # Some calls fail without setting the error text. Creating a tensor clears it, so that they
        # never report the reason of an earlier failure.
        self.functions.release_tensor(self.functions.tensor_zeros_f32(b"[1]"))
        raise VornicError(text or "the library refused the call without a reason")

    @property
    def version(self) -> str:
        """The version of ONNX Runtime."""
        text: bytes = self.functions.get_version_string()
        return text.decode()

    @property
    def providers(self) -> List[str]:
        """The execution providers of this ONNX Runtime. Two threads must not read this at once."""
        text: bytes = self.functions.get_available_providers_json()
        providers: List[str] = parsed(text.decode(), "providers")
        return providers

    def session(
        self,
        model: Path,
        threads: int = 0,
        *,
        options: Optional[SessionOptions] = None,
        **settings: Any,
    ) -> Session:
        """Loads a model file, either with the settings of SessionOptions.set or with options.

        threads is intra_op_num_threads; 0 lets ONNX Runtime choose.

        >>> with library.session("double.onnx", threads=1, providers=["CPU"]) as session:
        ...     print(session.outputs[0]["name"])
        y
        """
        if options is not None:
            if threads or settings:
                raise VornicError("a session takes options or settings, not both")
            return Session(self, model, options)
        with self.session_options(**{"intra_op_num_threads": threads, **settings}) as own:
            return Session(self, model, own)

    def session_options(self, **settings: Any) -> SessionOptions:
        """Settings for several sessions; see SessionOptions.set."""
        return SessionOptions(self, **settings)

    def run_options(self, **settings: Any) -> RunOptions:
        """Settings for runs; see RunOptions.set."""
        return RunOptions(self, **settings)

    def tensor(self, values: Any, shape: Optional[Sequence[int]] = None) -> FloatTensor:
        """A float32 tensor for Session.run_tensor, from flat numbers or an array of any shape.

        The shape defaults to that of values. A float32 buffer in C order, such as an ndarray or
        array("f"), is fastest: it is copied once. Anything else is converted first; bytes are raw
        float32.

        >>> library.tensor([1, 2.5, 3], [1, 3]).close()
        """
        return float_tensor(self, values, shape)

    def zeros(self, shape: Iterable[int]) -> FloatTensor:
        """A float32 tensor of zeros.

        >>> with library.zeros([1, 3]) as values, session.run_tensor("x", values) as result:
        ...     print(result["y"]["data"])
        [0, 0, 0]
        """
        text = "[" + ",".join(map(str, shape)) + "]"
        return FloatTensor(self, self.functions.tensor_zeros_f32(text.encode()))

    def adopt(self, address: int, shape: Sequence[int]) -> FloatTensor:
        """A float32 tensor over memory from malloc, which the tensor will free.

        On failure the memory still belongs to the caller. On Windows it must come from msvcrt.dll's
        malloc.

        >>> malloc = ctypes.CDLL(None).malloc
        >>> malloc.restype = ctypes.c_void_p
        >>> memory = ctypes.memmove(malloc(12), (ctypes.c_float * 3)(1, 2, 3), 12)
        >>> with library.adopt(memory, [1, 3]) as values:
        ...     with session.run_tensor("x", values) as result:
        ...         print(result.float_shape, result.float_at(1))
        [1, 3] 4.0
        """
        sizes = (ctypes.c_int64 * len(shape))(*shape)
        count = 1
        for size in shape:
            count *= size
        if not 0 < count < 2**31:
            raise VornicError("a float32 tensor holds 1 to 2147483647 numbers")
        make = self.functions.tensor_adopt_f32
        return FloatTensor(self, make(address, count, sizes, len(shape)))
