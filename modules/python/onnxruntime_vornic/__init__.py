"""ONNX Runtime inference, for Python 3.8 or later.

    from onnxruntime_vornic import Library, tensor

    with Library().session("model.onnx") as session:
        with session.run({"x": tensor("float32", [1, 2], [0.5, 1])}) as result:
            print(result["y"]["data"])

Failures raise VornicError with the reason. Objects that hold native resources are context
managers. Check feeds from untrusted sources with check_feed. NumPy is not required, but its arrays
are accepted wherever numbers are.
"""
from ._errors import VornicError, VornicTimeout
from ._feeds import Description, Feed, Output, Tensor, check_feed, feed_json, tensor
from ._handle import Handle
from ._library import Library
from ._native import Functions
from ._options import ExecutionMode, GraphOptimizationLevel, RunOptions, SessionOptions, Severity
from ._result import Result
from ._session import Binding, FloatTensor, Session

__version__ = "1.0.0"
__all__ = [
    "Binding",
    "Description",
    "ExecutionMode",
    "Feed",
    "FloatTensor",
    "Functions",
    "GraphOptimizationLevel",
    "Handle",
    "Library",
    "Output",
    "Result",
    "RunOptions",
    "Session",
    "SessionOptions",
    "Severity",
    "Tensor",
    "VornicError",
    "VornicTimeout",
    "check_feed",
    "feed_json",
    "tensor",
]
