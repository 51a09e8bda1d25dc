"""Options of sessions and runs."""
import contextlib
import enum
import threading
from typing import TYPE_CHECKING, Any, Iterable, Iterator, Mapping, Optional, Tuple, Union

from ._errors import VornicError, VornicTimeout, c_text, int32
from ._feeds import quoted
from ._handle import Handle

if TYPE_CHECKING:
    from ._library import Library

Provider = Union[str, Tuple[str, Mapping[str, Any]]]


class GraphOptimizationLevel(enum.IntEnum):
    """How far a session optimises its model's graph.

    >>> level = GraphOptimizationLevel.BASIC
    >>> library.session("double.onnx", graph_optimization_level=level).close()
    """

    NONE = 0
    BASIC = 1
    EXTENDED = 2
    LAYOUT = 3
    ALL = 99


class ExecutionMode(enum.IntEnum):
    """Whether a session runs independent operators in parallel.

    >>> library.session("double.onnx", execution_mode=ExecutionMode.PARALLEL).close()
    """

    SEQUENTIAL = 0
    PARALLEL = 1


class Severity(enum.IntEnum):
    """The least severe messages that are logged.

    >>> library.run_options(log_severity_level=Severity.ERROR).close()
    """

    VERBOSE = 0
    INFO = 1
    WARNING = 2
    ERROR = 3
    FATAL = 4


def _provider_options_json(options: Mapping[str, Any]) -> bytes:
    """A flat object of strings; the library would truncate a longer one."""
    pairs = (
        f"{quoted(str(key))}:{quoted(str(int(value) if isinstance(value, bool) else value))}"
        for key, value in options.items()
    )
    text = c_text("{" + ",".join(pairs) + "}", "a provider's option")
    if len(text) > 1023:
        raise VornicError("a provider's options take at most 1023 bytes")
    return text


class _Options(Handle):
    _kind: str  # as in the names of the C functions
    set: Any

    def __init__(self, library: "Library", **settings: Any) -> None:
        create = getattr(library.functions, f"create_{self._kind}")
        super().__init__(library, create(), getattr(library.functions, f"release_{self._kind}"))
        try:
            self.set(**settings)
        except BaseException:
            self.close()
            raise

    def _call(self, name: str, *arguments: Any) -> None:
        function = getattr(self.library.functions, f"{self._kind}_{name}")
        self.library.check(function(self.handle, *arguments))

    def _set_numbers(self, **numbers: Optional[int]) -> None:
        for name, value in numbers.items():
            if value is not None:
                self._call(f"set_{name}", int32(value, name))


class SessionOptions(_Options):
    """Settings for any number of sessions, applied when a session is created.

    Settings that are omitted or None keep their value, at first ONNX Runtime's default.
    Library.session takes the same settings directly.

    >>> with library.session_options(intra_op_num_threads=1, providers=["CPU"]) as options:
    ...     sessions = [library.session("double.onnx", options=options) for _ in range(2)]
    """

    _kind = "session_options"

    def set(
        self,
        *,
        intra_op_num_threads: Optional[int] = None,
        inter_op_num_threads: Optional[int] = None,
        graph_optimization_level: Optional[int] = None,
        execution_mode: Optional[int] = None,
        profiling: Union[str, bool, None] = None,
        cpu_mem_arena: Optional[bool] = None,
        mem_pattern: Optional[bool] = None,
        log_id: Optional[str] = None,
        log_verbosity_level: Optional[int] = None,
        log_severity_level: Optional[int] = None,
        providers: Iterable[Provider] = (),
    ) -> None:
        """Changes settings.

        intra_op_num_threads is the number of threads that one operator uses, inter_op_num_threads
        the number that run operators in parallel in ExecutionMode.PARALLEL. profiling is True or a
        prefix for the profile's path; see Session.end_profiling. providers are appended in order,
        each as a name or a name with its options.

        >>> with library.session_options() as options:
        ...     options.set(graph_optimization_level=GraphOptimizationLevel.ALL, mem_pattern=False)
        ...     options.set(providers=[("CPU", {"use_arena": False})])
        """
        self._set_numbers(
            intra_op_num_threads=intra_op_num_threads,
            inter_op_num_threads=inter_op_num_threads,
            graph_optimization_level=graph_optimization_level,
            execution_mode=execution_mode,
            log_verbosity_level=log_verbosity_level,
            log_severity_level=log_severity_level,
        )
        for name, enabled in (("cpu_mem_arena", cpu_mem_arena), ("mem_pattern", mem_pattern)):
            if enabled is not None:
                self._call(f"{'enable' if enabled else 'disable'}_{name}")
        if profiling is False:
            self._call("disable_profiling")
        elif profiling is not None:
            prefix = None if profiling is True else c_text(profiling, "profiling")
            self._call("enable_profiling", prefix)
        if log_id is not None:
            self._call("set_log_id", c_text(log_id, "log_id"))
        for provider in providers:
            if isinstance(provider, str):
                self.append_provider(provider)
            else:
                self.append_provider(*provider)

    def append_provider(self, name: str, options: Optional[Mapping[str, Any]] = None) -> None:
        """Appends an execution provider. ONNX Runtime tries them in order, the CPU's last.

        >>> with library.session_options() as options:
        ...     options.append_provider("CPU", {"use_arena": False})
        """
        functions, text = self.library.functions, c_text(name, "a provider's name")
        if options is None:
            append = functions.session_options_append_execution_provider
            accepted = append(self.handle, text)
        else:
            append = functions.session_options_append_execution_provider_with_options
            accepted = append(self.handle, text, _provider_options_json(options))
        if not accepted:
            raise VornicError("a provider needs a name, and a session takes at most 8 of them")


class RunOptions(_Options):
    """Settings that any number of runs may share, to end them early and to tag their log messages.

    >>> with library.run_options(tag="request 7") as options:
    ...     session.run({"x": tensor("float32", [1, 3], [1, 2, 3])}, options=options).close()
    """

    _kind = "run_options"

    def set(
        self,
        *,
        tag: Optional[str] = None,
        log_verbosity_level: Optional[int] = None,
        log_severity_level: Optional[int] = None,
    ) -> None:
        """Changes the settings given; a log_severity_level of -1 is the session's.

        >>> with library.run_options() as options:
        ...     options.set(tag="request 7", log_severity_level=Severity.ERROR)
        """
        if tag is not None:
            self._call("set_run_tag", c_text(tag, "the tag"))
        self._set_numbers(
            log_verbosity_level=log_verbosity_level, log_severity_level=log_severity_level
        )

    def terminate(self) -> None:
        """Ends every run with these options at its next node. Any thread may call this.

        >>> with library.run_options() as options:
        ...     options.terminate()  # runs fail
        ...     options.resume()  # runs work again
        """
        self._call("set_terminate")

    def resume(self) -> None:
        """Undoes terminate."""
        self._call("unset_terminate")

    @contextlib.contextmanager
    def deadline(self, seconds: float) -> Iterator["RunOptions"]:
        """A block in which runs with these options end with VornicTimeout at their next node once
        the seconds have passed.

        >>> feed = {"x": tensor("float32", [1, 3], [1, 2, 3])}
        >>> with library.run_options() as options, options.deadline(10):
        ...     results = [session.run(feed, options=options) for _ in range(3)]
        """
        expired = threading.Event()

        def expire() -> None:
            expired.set()
            self.terminate()

        timer = threading.Timer(seconds, expire)
        timer.daemon = True
        if seconds > 0:
            timer.start()
        else:
            expire()
        try:
            yield self
        except VornicError as error:
            if not expired.is_set():
                raise
            raise VornicTimeout(f"the run was ended after {max(seconds, 0):.3g} s") from error
        finally:
            timer.cancel()
            if seconds > 0:
                timer.join()
            if expired.is_set():
                self.resume()


@contextlib.contextmanager
def limited(
    library: "Library", options: Optional[RunOptions], timeout: Optional[float]
) -> Iterator[Optional[int]]:
    """The handle of the options for one run, or None."""
    if timeout is None:
        yield None if options is None else options.handle
    elif options is None:
        with RunOptions(library) as own, own.deadline(timeout):
            yield own.handle
    else:
        with options.deadline(timeout):
            yield options.handle
