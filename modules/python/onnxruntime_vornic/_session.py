"""Sessions, float32 tensors and bindings."""
import array
import ctypes
import os
import sys
from ctypes import c_char, c_int64
from typing import TYPE_CHECKING, Any, Dict, List, Optional, Sequence, Union, cast

from ._errors import VornicError, c_text
from ._feeds import (
    Description,
    Feed,
    Output,
    Tensor,
    feed_json,
    flat,
    names_json,
    parsed,
    tensor_json,
)
from ._handle import Handle
from ._options import RunOptions, SessionOptions, limited
from ._result import Result

if TYPE_CHECKING:
    from ._library import Library


class Session(Handle):
    """A loaded model. Several threads may run it at once.

    >>> with library.session("double.onnx", threads=1) as session:
    ...     with session.run({"x": tensor("float32", [1, 3], [1, 2.5, 3])}) as result:
    ...         print(result["y"]["data"])
    [2, 5, 6]
    """

    def __init__(
        self,
        library: "Library",
        model: Union[str, bytes, "os.PathLike[Any]"],
        options: SessionOptions,
    ) -> None:
        functions, path = library.functions, os.fsencode(model)
        if b"\0" in path:
            raise VornicError("the model's path contains a zero byte")
        handle = functions.create_session(path, options.handle)
        super().__init__(library, handle, functions.release_session)

    @property
    def inputs(self) -> List[Description]:
        """The model's inputs.

        >>> [(entry["name"], entry["dtype"], entry["shape"]) for entry in session.inputs]
        [('x', 'float32', [-1, 3])]
        """
        text = self._text(self.library.functions.get_inputs_json)
        return cast(List[Description], parsed(text, "inputs"))

    @property
    def outputs(self) -> List[Description]:
        """The model's outputs."""
        text = self._text(self.library.functions.get_outputs_json)
        return cast(List[Description], parsed(text, "outputs"))

    @property
    def metadata(self) -> Dict[str, Any]:
        """The model's metadata: its producer, version, description and custom entries.

        >>> session.metadata["producer_name"], session.metadata["version"]
        ('the "tests"', 7)
        """
        text = self._text(self.library.functions.get_modelmeta_json)
        return cast(Dict[str, Any], parsed(text, "metadata"))

    def run(
        self,
        feed: Union[Feed, str],
        outputs: Optional[Sequence[str]] = None,
        *,
        options: Optional[RunOptions] = None,
        timeout: Optional[float] = None,
    ) -> Result:
        """Runs the model on a feed: a dict of tensors, or its JSON text. outputs selects by name.

        After timeout seconds, the run and all others with the same options end with VornicTimeout.

        >>> x = tensor("float32", [1, 3], [1, 2, 3])
        >>> with session.run({"x": x}, ["y"], timeout=10) as result:
        ...     print(result.text)
        {"outputs":{"y":{"dtype":"float32","shape":[1,3],"data":[2,4,6]}}}
        """
        functions, names = self.library.functions, names_json(outputs)
        text = c_text(feed if isinstance(feed, str) else feed_json(feed), "the feed")
        if options is None and timeout is None:
            return Result(self.library, functions.run_json(self.handle, names, text))
        with limited(self.library, options, timeout) as limits:
            run = functions.run_json_with_options
            return Result(self.library, run(self.handle, names, text, limits))

    def run_tensor(
        self,
        name: str,
        values: "FloatTensor",
        outputs: Optional[Sequence[str]] = None,
        fast: bool = False,
    ) -> Result:
        """Runs a model with one float32 input, called name, on a FloatTensor.

        A fast run does not convert numbers to text: read them from Result.floats.

        >>> with library.tensor([1, 2.5, 3], [1, 3]) as values:
        ...     with session.run_tensor("x", values, fast=True) as result:
        ...         print(list(result.floats))
        [2.0, 5.0, 6.0]
        """
        if not isinstance(values, FloatTensor):
            raise VornicError("run_tensor takes a FloatTensor; see Library.tensor")
        functions = self.library.functions
        run = functions.run_tensor_fast if fast else functions.run_tensor
        handle = run(self.handle, c_text(name, "the name"), values.handle, names_json(outputs))
        return Result(self.library, handle)

    def binding(self) -> "Binding":
        """An empty binding. Close it before its session."""
        return Binding(self)

    def end_profiling(self) -> str:
        """Ends profiling and returns the path of the profile, "" if the session was not profiling.

        >>> with library.session("double.onnx", profiling="mine") as profiled:
        ...     path = profiled.end_profiling()
        >>> os.remove(path)
        """
        functions = self.library.functions
        path: bytes = functions.session_end_profiling(self.handle)
        if not path and functions.last_error():  # success clears it
            self.library.check(0)
        return os.fsdecode(path)


class FloatTensor(Handle):
    """A float32 tensor for Session.run_tensor; see Library.tensor, zeros and adopt."""

    def __init__(self, library: "Library", handle: Optional[int]) -> None:
        super().__init__(library, handle, library.functions.release_tensor)


def float_tensor(library: "Library", values: Any, shape: Optional[Sequence[int]]) -> FloatTensor:
    """A tensor over a copy of the numbers."""
    try:
        numbers = _float32_buffer(values)
        if shape is None:
            shape = getattr(values, "shape", None)
        dims = array.array("q", (numbers.nbytes // 4,) if shape is None else shape)
    except (TypeError, ValueError, OverflowError) as error:
        raise VornicError(f"cannot make a float32 tensor: {error}") from None
    count = numbers.nbytes // 4
    if count > 2**31 - 1:
        raise VornicError("a float32 tensor holds at most 2147483647 numbers")
    try:
        data = (c_char * 0).from_buffer(numbers)
    except TypeError:  # read-only: ctypes does not give its address
        data = (c_char * numbers.nbytes).from_buffer_copy(numbers)
    sizes = (c_int64 * len(dims))(*dims)
    make = library.functions.tensor_from_f32
    return FloatTensor(library, make(ctypes.addressof(data), count, sizes, len(dims)))


def _float32_buffer(values: Any) -> memoryview:
    """The values as float32 in C order, without a copy if they already are."""
    if isinstance(values, (bytes, bytearray)):
        return memoryview(values).cast("f")
    try:
        view = memoryview(values)
    except (TypeError, ValueError):
        view = None
    if view is None or view.format.lstrip("@=" + "<>"[sys.byteorder == "big"]) != "f":
        return memoryview(array.array("f", flat(values)))
    return view if view.c_contiguous else memoryview(view.tobytes())


class Binding(Handle):
    """Inputs and outputs bound once for many runs. Close it before its session.

    >>> with session.binding() as binding:
    ...     binding.bind_input("x", tensor("float32", [1, 3], [1, 2, 3]))
    ...     binding.bind_output("y")
    ...     binding.run(timeout=10).close()
    ...     print(binding.outputs["y"]["data"])
    ...     binding.clear_inputs()
    [2, 4, 6]
    """

    def __init__(self, session: Session) -> None:
        self._session, functions = session, session.library.functions
        handle = functions.create_iobinding(session.handle)
        super().__init__(session.library, handle, functions.release_iobinding, session._owner)

    def bind_input(self, name: str, values: Tensor) -> None:
        """Binds a tensor to an input, for all runs until clear_inputs."""
        bind = self.library.functions.iobinding_bind_cpu_input_json
        text = c_text(tensor_json(name, values), "the tensor")
        self.library.check(bind(self.handle, c_text(name, "the name"), text))

    def bind_output(self, name: str) -> None:
        """Selects an output."""
        bind = self.library.functions.iobinding_bind_output
        self.library.check(bind(self.handle, c_text(name, "the name")))

    def clear_inputs(self) -> None:
        """Unbinds all inputs."""
        self.library.check(self.library.functions.iobinding_clear_inputs(self.handle))

    def clear_outputs(self) -> None:
        """Unbinds all outputs: required when a new input changes their shape."""
        self.library.check(self.library.functions.iobinding_clear_outputs(self.handle))

    def synchronize_inputs(self) -> None:
        """Waits until the inputs have reached their device."""
        self.library.check(self.library.functions.iobinding_synchronize_inputs(self.handle))

    def synchronize_outputs(self) -> None:
        """Waits until the outputs have left their device."""
        self.library.check(self.library.functions.iobinding_synchronize_outputs(self.handle))

    @property
    def text(self) -> str:
        """The outputs of the last run as JSON; "{}" before the first."""
        return self._text(self.library.functions.iobinding_outputs_json)

    @property
    def outputs(self) -> Dict[str, Output]:
        """The outputs of the last run by name; empty before the first."""
        return cast(Dict[str, Output], parsed(self.text, "outputs").get("outputs", {}))

    def run(
        self, *, options: Optional[RunOptions] = None, timeout: Optional[float] = None
    ) -> Result:
        """Runs the session with what is bound; see Session.run for options and timeout."""
        run = self.library.functions.run_with_iobinding
        with limited(self.library, options, timeout) as limits:
            return Result(self.library, run(self._session.handle, self.handle, limits))
