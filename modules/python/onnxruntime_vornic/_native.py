"""The ctypes declarations of the C functions, and the search for their library."""
import ctypes
import os
import pathlib
import sys
from ctypes import c_char_p, c_float, c_int32, c_void_p
from typing import Any, List, Optional, Tuple, Union

from ._errors import VornicError

WINDOWS = sys.platform == "win32"
FILE = "onnxruntime_vornic.dll" if WINDOWS else "libonnxruntime_vornic.so.1"
PREFIX = "onnxruntime_vn_"

# The result and argument types of each function. ctypes copies a returned string into a bytes
# object before the call returns.
SIGNATURES = {
    "available": (c_int32,),
    "get_version_string": (c_char_p,),
    "last_error": (c_char_p,),
    "get_available_providers_json": (c_char_p,),
    "create_session_options": (c_void_p,),
    "session_options_set_intra_op_num_threads": (c_int32, c_void_p, c_int32),
    "session_options_set_inter_op_num_threads": (c_int32, c_void_p, c_int32),
    "session_options_set_graph_optimization_level": (c_int32, c_void_p, c_int32),
    "session_options_set_execution_mode": (c_int32, c_void_p, c_int32),
    "session_options_enable_profiling": (c_int32, c_void_p, c_char_p),
    "session_options_disable_profiling": (c_int32, c_void_p),
    "session_options_enable_cpu_mem_arena": (c_int32, c_void_p),
    "session_options_disable_cpu_mem_arena": (c_int32, c_void_p),
    "session_options_enable_mem_pattern": (c_int32, c_void_p),
    "session_options_disable_mem_pattern": (c_int32, c_void_p),
    "session_options_set_log_id": (c_int32, c_void_p, c_char_p),
    "session_options_set_log_verbosity_level": (c_int32, c_void_p, c_int32),
    "session_options_set_log_severity_level": (c_int32, c_void_p, c_int32),
    "session_options_append_execution_provider": (c_int32, c_void_p, c_char_p),
    "session_options_append_execution_provider_with_options": (
        c_int32,
        c_void_p,
        c_char_p,
        c_char_p,
    ),
    "release_session_options": (None, c_void_p),
    "create_session": (c_void_p, c_char_p, c_void_p),
    "get_inputs_json": (c_char_p, c_void_p),
    "get_outputs_json": (c_char_p, c_void_p),
    "get_modelmeta_json": (c_char_p, c_void_p),
    "session_end_profiling": (c_char_p, c_void_p),
    "release_session": (None, c_void_p),
    "create_run_options": (c_void_p,),
    "run_options_set_log_verbosity_level": (c_int32, c_void_p, c_int32),
    "run_options_set_log_severity_level": (c_int32, c_void_p, c_int32),
    "run_options_set_run_tag": (c_int32, c_void_p, c_char_p),
    "run_options_set_terminate": (c_int32, c_void_p),
    "run_options_unset_terminate": (c_int32, c_void_p),
    "release_run_options": (None, c_void_p),
    "run_json": (c_void_p, c_void_p, c_char_p, c_char_p),
    "run_json_with_options": (c_void_p, c_void_p, c_char_p, c_char_p, c_void_p),
    "result_json": (c_char_p, c_void_p),
    "result_float_shape_json": (c_char_p, c_void_p),
    "result_float_count": (c_int32, c_void_p),
    "result_float_at": (c_float, c_void_p, c_int32),
    "result_float_data": (c_void_p, c_void_p),
    "release_result": (None, c_void_p),
    "tensor_from_f32": (c_void_p, c_void_p, c_int32, c_void_p, c_int32),
    "tensor_adopt_f32": (c_void_p, c_void_p, c_int32, c_void_p, c_int32),
    "tensor_zeros_f32": (c_void_p, c_char_p),
    "release_tensor": (None, c_void_p),
    "run_tensor": (c_void_p, c_void_p, c_char_p, c_void_p, c_char_p),
    "run_tensor_fast": (c_void_p, c_void_p, c_char_p, c_void_p, c_char_p),
    "create_iobinding": (c_void_p, c_void_p),
    "iobinding_bind_cpu_input_json": (c_int32, c_void_p, c_char_p, c_char_p),
    "iobinding_bind_output": (c_int32, c_void_p, c_char_p),
    "iobinding_clear_inputs": (c_int32, c_void_p),
    "iobinding_clear_outputs": (c_int32, c_void_p),
    "iobinding_synchronize_inputs": (c_int32, c_void_p),
    "iobinding_synchronize_outputs": (c_int32, c_void_p),
    "run_with_iobinding": (c_void_p, c_void_p, c_void_p, c_void_p),
    "iobinding_outputs_json": (c_char_p, c_void_p),
    "release_iobinding": (None, c_void_p),
}


class Functions:
    """Every C function as a method, by its name without ``onnxruntime_vn_``.

    For what the classes of this package do not cover. Handles are integers, strings are bytes, and
    nothing is checked: see onnxruntime_vornic.h.

    >>> library.functions.get_version_string()[:2]
    b'1.'
    """

    def __init__(self, file: str) -> None:
        loaded = ctypes.CDLL(file)
        for name, (result, *arguments) in SIGNATURES.items():
            function = getattr(loaded, PREFIX + name)
            function.restype, function.argtypes = result, arguments
            setattr(self, name, function)

    def __getattr__(self, name: str) -> Any:  # for type checkers; __init__ sets the functions
        raise AttributeError(name)


def bundled_files() -> List[pathlib.Path]:
    """Where this package's own library may be: in its wheel, its checkout or its archive."""
    here = pathlib.Path(__file__).resolve().parent
    folders = [here / "lib"]
    if here.parts[-3:-1] == ("modules", "python"):
        root = here.parents[2]
        folders.append(root / "build" / ("windows" if WINDOWS else "linux"))
        if root.parts[-3:-1] == ("share", "doc"):
            folders.append(root.parents[2] / ("bin" if WINDOWS else "lib"))
    return [folder / FILE for folder in folders]


def choose(path: Union[str, bytes, "os.PathLike[Any]", None]) -> Tuple[str, List[pathlib.Path]]:
    """The file to load, and the paths already tried if only its name is known."""
    named = path or os.environ.get("ONNXRUNTIME_VORNIC_LIBRARY")
    if named:
        text = os.fsdecode(named)
        # By full path: the loader could find another library of that name, next to another ONNX
        # Runtime (Windows ships an old one).
        return (os.path.abspath(text) if os.path.dirname(text) else text), []
    bundled = bundled_files()
    found = next(filter(pathlib.Path.exists, bundled), None)
    return (str(found), []) if found else (FILE, bundled)


def load(path: Union[str, bytes, "os.PathLike[Any]", None] = None) -> Functions:
    """Loads the library at path, or the one that is found."""
    chosen, tried = choose(path)
    try:
        return Functions(chosen)
    except (OSError, AttributeError) as error:
        reason = f"{chosen} is not a usable onnxruntime_vornic: {error}"
        if tried:
            reason += "; nor does any of these exist: " + ", ".join(map(str, tried))
            reason += "; pass its path to Library(path) or set ONNXRUNTIME_VORNIC_LIBRARY"
        raise VornicError(reason) from None
