"""Results of runs."""
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
    """The outputs of a run, by name. They are copies and outlive the session.

    >>> with session.run({"x": tensor("float32", [1, 3], [1, 2.5, 3])}) as result:
    ...     print(list(result), result["y"]["shape"], result.floats[1])
    ['y'] [1, 3] 5.0
    """

    def __init__(self, library: "Library", handle: Optional[int]) -> None:
        super().__init__(library, handle, library.functions.release_result)
        self._outputs: Optional[Dict[str, Output]] = None
        self._floats: Any = None  # a weak reference to the array that all float views share

    @property
    def text(self) -> str:
        """The outputs as JSON, as the library wrote them."""
        return self._text(self.library.functions.result_json)

    @property
    def outputs(self) -> Dict[str, Output]:
        """The outputs by name, each with dtype, shape and data, or with error alone."""
        self.handle  # raises after close()
        if self._outputs is None:
            self._outputs = parsed(self.text, "result")["outputs"]
        return self._outputs

    def __getitem__(self, name: str) -> Output:
        return self.outputs[name]

    def __iter__(self) -> Iterator[str]:
        return iter(self.outputs)

    def __len__(self) -> int:
        return len(self.outputs)

    @property
    def float_shape(self) -> List[int]:
        """The shape of the first float32 output; [] if there is none."""
        functions = self.library.functions
        shape: List[int] = parsed(self._text(functions.result_float_shape_json), "shape")
        return shape

    def float_at(self, index: int) -> float:
        """One element of the first float32 output; 0 if the index is out of range."""
        at = self.library.functions.result_float_at
        number: float = at(self.handle, int32(index, "an index"))
        return number

    @property
    def floats(self) -> "array.array[float]":
        """A copy of the first float32 output, as an array('f') in row-major order.

        Empty if there is none: scalars do not count, and a run with a binding has none.
        """
        copy = array.array("f")
        copy.frombytes(self.float_view.cast("B"))
        return copy

    @property
    def float_view(self) -> memoryview:
        """The same without a copy, as a flat memoryview:
        numpy.asarray(result.float_view).reshape(result.float_shape).

        It stays valid after close(): the memory is released with the last view of it.
        """
        functions = self.library.functions
        count = functions.result_float_count(self.handle)
        if not count:
            return memoryview(array.array("f"))
        floats = self._floats and self._floats()
        if floats is None:
            floats = (c_float * count).from_address(functions.result_float_data(self.handle))
            floats.result = self  # keeps the memory
            self._floats = weakref.ref(floats)
        return memoryview(floats).cast("B").cast("f").toreadonly()

    def close(self) -> None:
        """Releases the result, or leaves that to the last float view."""
        floats = self._floats and self._floats()
        if floats is None:
            super().close()
        elif self._handle is not None:
            self._finalizer.detach()
            self._release_with(floats)
            self._handle = None
