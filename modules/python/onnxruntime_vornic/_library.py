"""The library, from which everything else is made."""
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
    """The library: the file given, else that of $ONNXRUNTIME_VORNIC_LIBRARY, else the one that came
    with this package (in its wheel, its checkout's build/linux or its archive), else what the
    system's loader finds. A given name without a folder is the loader's to find too.

    >>> library = Library()
    >>> library.providers[-1]
    'CPUExecutionProvider'
    """

    def __init__(self, path: Optional[Path] = None) -> None:
        self.functions = load(path)
        self.check(self.functions.available())

    def check(self, outcome: Optional[_Outcome]) -> _Outcome:
        """Hands on a handle or a 1 of Library.functions; raises VornicError for a null or a 0.

        >>> library.check(library.functions.available())
        1
        """
        if outcome:
            return outcome
        text = self.functions.last_error().decode(errors="replace")
        # Some refusals are silent and leave the text as it was. Making a tensor empties it, so that
        # such a refusal never shows the reason of an earlier one.
        self.functions.release_tensor(self.functions.tensor_zeros_f32(b"[1]"))
        raise VornicError(text or "the library refused the call without a reason")

    @property
    def version(self) -> str:
        """The version of ONNX Runtime."""
        text: bytes = self.functions.get_version_string()
        return text.decode()

    @property
    def providers(self) -> List[str]:
        """The execution providers that ONNX Runtime offers. One thread at a time may ask."""
        text: bytes = self.functions.get_available_providers_json()
        providers: List[str] = parsed(text, "providers")
        return providers

    def session(
        self,
        model: Path,
        threads: int = 0,
        *,
        options: Optional[SessionOptions] = None,
        **settings: Any,
    ) -> Session:
        """A session for a model file, with settings as of SessionOptions.set, or with options.

        threads are intra_op_num_threads; 0 leaves their number to ONNX Runtime.

        >>> with library.session("double.onnx", threads=1, providers=["CPU"]) as session:
        ...     print(session.outputs[0]["name"])
        y
        """
        if options is not None:
            if threads or settings:
                raise VornicError("a session takes either options or settings of its own")
            return Session(self, model, options)
        with self.session_options(**{"intra_op_num_threads": threads, **settings}) as own:
            return Session(self, model, own)

    def session_options(self, **settings: Any) -> SessionOptions:
        """Settings for several sessions, as of SessionOptions.set."""
        return SessionOptions(self, **settings)

    def run_options(self, **settings: Any) -> RunOptions:
        """Settings for runs, as of RunOptions.set."""
        return RunOptions(self, **settings)

    def tensor(self, values: Any, shape: Optional[Sequence[int]] = None) -> FloatTensor:
        """A float32 tensor for Session.run_tensor, from flat numbers or an array of any shape.

        Without a shape, that of values. Quickest is float32 in C order with the buffer protocol,
        such as an ndarray or array("f"), which only the library copies. Anything else is converted;
        bytes are raw float32.

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
        """A float32 tensor over memory of malloc's, which the tensor frees from then on.

        Where this fails the memory stays the caller's. On Windows it must be msvcrt.dll's malloc.
        """
        sizes = (ctypes.c_int64 * len(shape))(*shape)
        count = 1
        for size in shape:
            count *= size
        if not 0 < count < 2**31:
            raise VornicError("a float32 tensor holds 1 to 2147483647 numbers")
        make = self.functions.tensor_adopt_f32
        return FloatTensor(self, make(address, count, sizes, len(shape)))
