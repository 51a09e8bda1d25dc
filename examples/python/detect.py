#!/usr/bin/env python3
"""How much a 125 Hz buzz sounds like speech: three chunks of 32 ms through a speech detector.

usage: detect.py MODEL LIBRARY

Every chunk is the same; the answers differ by the detector's state, which each run hands on.
"""
import contextlib
import ctypes
import json
import os
import sys
from ctypes import c_char_p, c_int32, c_void_p

# Result and arguments of each function. Without them ctypes takes a pointer for an int and loses
# its upper half. A result of c_char_p is copied into a bytes object before the call returns.
FUNCTIONS = {
    "last_error": (c_char_p,),
    "available": (c_int32,),
    "create_session": (c_void_p, c_char_p, c_void_p),
    "release_session": (None, c_void_p),
    "run_json": (c_void_p, c_void_p, c_char_p, c_char_p),
    "result_json": (c_char_p, c_void_p),
    "release_result": (None, c_void_p),
}


class Library:
    def __init__(self, path):
        # By full path, so that no other library of this name, and no other runtime, is found.
        loaded = ctypes.CDLL(os.path.abspath(path))
        for name, (result, *arguments) in FUNCTIONS.items():
            function = getattr(loaded, "onnxruntime_vn_" + name)
            function.restype, function.argtypes = result, arguments
            setattr(self, name, function)
        self.check(self.available())

    def check(self, outcome):
        """Hands on a handle or a 1. The error text means something after a failure only."""
        if not outcome:
            text = self.last_error().decode(errors="replace")
            raise RuntimeError(text or "refused without a reason")
        return outcome

    @contextlib.contextmanager
    def owned(self, handle, release):
        try:
            yield self.check(handle)
        finally:
            release(handle)


def detect(library, model):
    sawtooth = [(i % 128 - 64) / 128 for i in range(512)]
    zeros = {"dtype": "float32", "shape": [2, 1, 64], "data": [0] * 128}
    feed = {
        "input": {"dtype": "float32", "shape": [1, 512], "data": sawtooth},
        "sr": {"dtype": "int64", "shape": [], "data": [16000]},
        "h": zeros,
        "c": zeros,
    }
    session = library.create_session(os.fsencode(model), None)
    with library.owned(session, library.release_session):
        for chunk in range(3):
            result = library.run_json(session, None, json.dumps(feed).encode())
            with library.owned(result, library.release_result):
                outputs = json.loads(library.result_json(result))["outputs"]
            print(f"chunk {chunk}: {outputs['output']['data'][0]:.3f}")
            feed["h"], feed["c"] = outputs["hn"], outputs["cn"]


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit("usage: detect.py MODEL LIBRARY")
    try:
        detect(Library(sys.argv[2]), sys.argv[1])
    except (OSError, RuntimeError) as error:
        sys.exit(f"detect: {error}")
