"""Settings of sessions and of runs."""
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

    >>> library.session("double.onnx", graph_optimization_level=GraphOptimizationLevel.BASIC).close()
    """

    NONE = 0
    BASIC = 1
    EXTENDED = 2
    LAYOUT = 3
    ALL = 99


class ExecutionMode(enum.IntEnum):
    """Whether a session runs operators side by side.

    >>> library.session("double.onnx", execution_mode=ExecutionMode.PARALLEL).close()
    """

    SEQUENTIAL = 0
    PARALLEL = 1


class Severity(enum.IntEnum):
    """What is logged: messages of this severity and of those after it.

    >>> library.run_options(log_severity_level=Severity.ERROR).close()
    """

    VERBOSE = 0
    INFO = 1
    WARNING = 2
    ERROR = 3
    FATAL = 4


def _provider_options_json(options: Mapping[str, Any]) -> bytes:
    """A flat object of strings, of which the library would cut what it cannot keep."""
    pairs = (
        f"{quoted(str(key))}:{quoted(str(int(value) if isinstance(value, bool) else value))}"
        for key, value in options.items()
    )
    text = c_text("{" + ",".join(pairs) + "}", "a provider's option")
    if len(text) > 1023:
        raise VornicError("a provider's options take at most 1023 bytes")
    return text


class SessionOptions(Handle):
    """Settings for any number of sessions, which take effect when a session is created.

    What is not given, or None, is left as it is, at first to ONNX Runtime. Library.session takes
    the same settings directly.

    >>> with library.session_options(intra_op_num_threads=1, providers=["CPU"]) as options:
    ...     sessions = [library.session("double.onnx", options=options) for _ in range(2)]
    """

    def __init__(self, library: "Library", **settings: Any) -> None:
        functions = library.functions
        handle = functions.create_session_options()
        super().__init__(library, handle, functions.release_session_options)
        try:
            self.set(**settings)
        except BaseException:
            self.close()
            raise

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

        intra_op_num_threads are those inside one operator, inter_op_num_threads those that run operators
        side by side in ExecutionMode.PARALLEL. profiling is True or the beginning of the path of the
        profile, see Session.end_profiling. providers are appended in their order, each a name or
        a name with its options.

        >>> with library.session_options() as options:
        ...     options.set(graph_optimization_level=GraphOptimizationLevel.ALL, mem_pattern=False)
        ...     options.set(providers=[("CPU", {"use_arena": False})])
        """
        f, check, handle = self.library.functions, self.library.check, self.handle
        numbers = (
            (
                f.session_options_set_intra_op_num_threads,
                intra_op_num_threads,
                "intra_op_num_threads",
            ),
            (
                f.session_options_set_inter_op_num_threads,
                inter_op_num_threads,
                "inter_op_num_threads",
            ),
            (
                f.session_options_set_graph_optimization_level,
                graph_optimization_level,
                "graph_optimization_level",
            ),
            (f.session_options_set_execution_mode, execution_mode, "execution_mode"),
            (f.session_options_set_log_verbosity_level, log_verbosity_level, "log_verbosity_level"),
            (f.session_options_set_log_severity_level, log_severity_level, "log_severity_level"),
        )
        for setter, value, name in numbers:
            if value is not None:
                check(setter(handle, int32(value, name)))
        switches = (
            (
                cpu_mem_arena,
                f.session_options_disable_cpu_mem_arena,
                f.session_options_enable_cpu_mem_arena,
            ),
            (
                mem_pattern,
                f.session_options_disable_mem_pattern,
                f.session_options_enable_mem_pattern,
            ),
        )
        for value, off, on in switches:
            if value is not None:
                check((on if value else off)(handle))
        if profiling is False:
            check(f.session_options_disable_profiling(handle))
        elif profiling is not None:
            prefix = None if profiling is True else c_text(profiling, "profiling")
            check(f.session_options_enable_profiling(handle, prefix))
        if log_id is not None:
            check(f.session_options_set_log_id(handle, c_text(log_id, "log_id")))
        for provider in providers:
            if isinstance(provider, str):
                self.append_provider(provider)
            else:
                self.append_provider(*provider)

    def append_provider(self, name: str, options: Optional[Mapping[str, Any]] = None) -> None:
        """Appends an execution provider; providers are asked in this order, the CPU's last.

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
            raise VornicError("a provider needs a name, and a session has at most 8 of them")


class RunOptions(Handle):
    """Settings for runs, which runs may share. They end runs early, and tag what runs log.

    >>> with library.run_options(tag="request 7") as options:
    ...     session.run({"x": tensor("float32", [1, 3], [1, 2, 3])}, options=options).close()
    """

    def __init__(
        self,
        library: "Library",
        *,
        tag: Optional[str] = None,
        log_verbosity_level: Optional[int] = None,
        log_severity_level: Optional[int] = None,
    ) -> None:
        functions = library.functions
        super().__init__(library, functions.create_run_options(), functions.release_run_options)
        try:
            self.set(
                tag=tag,
                log_verbosity_level=log_verbosity_level,
                log_severity_level=log_severity_level,
            )
        except BaseException:
            self.close()
            raise

    def set(
        self,
        *,
        tag: Optional[str] = None,
        log_verbosity_level: Optional[int] = None,
        log_severity_level: Optional[int] = None,
    ) -> None:
        """Changes what is given; a log_severity_level of -1 is the session's.

        >>> with library.run_options() as options:
        ...     options.set(tag="request 7", log_severity_level=Severity.ERROR)
        """
        f, check, handle = self.library.functions, self.library.check, self.handle
        if tag is not None:
            check(f.run_options_set_run_tag(handle, c_text(tag, "the tag")))
        if log_verbosity_level is not None:
            level = int32(log_verbosity_level, "log_verbosity_level")
            check(f.run_options_set_log_verbosity_level(handle, level))
        if log_severity_level is not None:
            level = int32(log_severity_level, "log_severity_level")
            check(f.run_options_set_log_severity_level(handle, level))

    def terminate(self) -> None:
        """Ends every run that uses these options, as soon as it can; any thread may call this.

        >>> with library.run_options() as options:
        ...     options.terminate()  # runs with them fail now
        ...     options.resume()  # and no longer
        """
        self.library.check(self.library.functions.run_options_set_terminate(self.handle))

    def resume(self) -> None:
        """Takes terminate back."""
        self.library.check(self.library.functions.run_options_unset_terminate(self.handle))

    @contextlib.contextmanager
    def deadline(self, seconds: float) -> Iterator["RunOptions"]:
        """A block whose runs with these options end, once the seconds have passed, at their next
        node, with a VornicTimeout.

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
    """The run options of one run, or None."""
    if timeout is None:
        yield None if options is None else options.handle
    elif options is None:
        with RunOptions(library) as own, own.deadline(timeout):
            yield own.handle
    else:
        with options.deadline(timeout):
            yield options.handle
