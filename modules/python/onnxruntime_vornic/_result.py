"""What a run gave."""
import array
import weakref
from ctypes import c_float
from typing import TYPE_CHECKING, Any, Dict, Iterator, List, Optional

from ._errors import int32
from ._feeds import Output, parsed
from ._handle import Handle

if TYPE_CHECKING:
    from ._library import Library


class Result(Handle):
    """Copies of a run's outputs, which outlive the session. Also the outputs by name, as a mapping.

    >>> with session.run({"x": tensor("float32", [1, 3], [1, 2.5, 3])}) as result:
    ...     print(list(result), result["y"]["shape"], result.floats[1])
    ['y'] [1, 3] 5.0
    """

    def __init__(self, library: "Library", handle: Optional[int]) -> None:
        super().__init__(library, handle, library.functions.release_result)
        self._outputs: Optional[Dict[str, Output]] = None
        self._lent: Any = None  # a weak reference to the array that the views of the floats look at

    @property
    def text(self) -> str:
        """The outputs as the library wrote them."""
        text: bytes = self.library.functions.result_json(self.handle)
        return text.decode(errors="replace")

    @property
    def outputs(self) -> Dict[str, Output]:
        """Every output by name: dtype, shape and data, or error."""
        handle = self.handle
        if self._outputs is None:
            text: bytes = self.library.functions.result_json(handle)
            self._outputs = parsed(text, "result")["outputs"]
        return self._outputs

    def __getitem__(self, name: str) -> Output:
        return self.outputs[name]

    def __iter__(self) -> Iterator[str]:
        return iter(self.outputs)

    def __len__(self) -> int:
        return len(self.outputs)

    @property
    def float_shape(self) -> List[int]:
        """The shape of the first float32 output, [] where there is none."""
        text: bytes = self.library.functions.result_float_shape_json(self.handle)
        shape: List[int] = parsed(text, "shape")
        return shape

    def float_at(self, index: int) -> float:
        """One number of the first float32 output, 0 where there is none at that index."""
        at = self.library.functions.result_float_at
        number: float = at(self.handle, int32(index, "an index"))
        return number

    @property
    def floats(self) -> "array.array[float]":
        """The first float32 output as an array('f') of its own, in row-major order.

        Empty where there is none: scalars do not count, and a run with a binding has none.
        """
        copy = array.array("f")
        copy.frombytes(self.float_view.cast("B"))
        return copy

    @property
    def float_view(self) -> memoryview:
        """The same without a copy, as a flat memoryview:
        numpy.asarray(result.float_view).reshape(result.float_shape).

        It may be used after close(): the library's result lives until the last use of it has gone.
        """
        functions = self.library.functions
        count = functions.result_float_count(self.handle)
        if not count:
            return memoryview(array.array("f"))
        lent = self._lent() if self._lent else None
        if lent is None:
            lent = (c_float * count).from_address(functions.result_float_data(self.handle))
            lent.result = self  # which is not released before
            self._lent = weakref.ref(lent)
        return memoryview(lent).cast("B").cast("f").toreadonly()

    def close(self) -> None:
        """Releases it, or lets the last view of the floats do so."""
        lent = self._lent() if self._lent else None
        if lent is None:
            super().close()
        elif self._handle is not None:
            self._net.detach()
            self._net = self._released_after(lent)
            self._handle = None
