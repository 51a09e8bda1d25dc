"""Times whole calls from Python, with lists and NumPy arrays: host.py LIBRARY MODEL DTYPE COUNT

Each program in this folder prints the minimum time of a whole call in µs: making the feed from the
language's own numbers, the run, and reading the output into its own numbers.
"""
import json
import pathlib
import platform
import sys
import time

import numpy

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "modules/python"))
from onnxruntime_vornic import Library

path, model, dtype, count = sys.argv[1:]
library = Library(path)
session = library.session(model)
if dtype == "float32":
    array = numpy.sin(numpy.arange(int(count))).astype(numpy.float32)
else:
    array = numpy.arange(int(count)) * 7919 % 30522
numbers = array.tolist()


def run_json(data):
    feed = f'{{"x0":{{"dtype":"{dtype}","shape":[{count}],"data":{data}}}}}'
    with session.run(feed) as result:
        return result.floats.tolist()


def run_tensor():
    with library.tensor(numbers, [len(numbers)]) as tensor:
        with session.run_tensor("x0", tensor, fast=True) as result:
            return result.floats.tolist()


def run_array():
    with library.tensor(array, array.shape) as tensor:
        with session.run_tensor("x0", tensor, fast=True) as result:
            return numpy.array(result.float_view)


item = "%.9g," if dtype == "float32" else "%d,"
ways = {
    "json.dumps": lambda: run_json(json.dumps(numbers)),
    "% formatting": lambda: run_json(f"[{(item * len(numbers) % tuple(numbers))[:-1]}]"),
}
if dtype == "float32":
    ways |= {"tensor": run_tensor, "NumPy tensor": run_array}
for way, run in ways.items():
    times = []
    for _ in range(20):
        begin = time.perf_counter()
        answer = run()
        times.append(time.perf_counter() - begin)
    assert numpy.array_equal(answer, array * (2 if dtype == "float32" else 1)), way
    print(f"Python {platform.python_version()}", way, f"{1e6 * min(times):.1f}", sep="\t")
