#!/usr/bin/env python3
"""Runs a speech detector on three 32 ms chunks of a 125 Hz buzz. The chunks are alike; the answers
differ because of the detector's state, which each run passes on.

usage: detect.py MODEL [LIBRARY]
"""
import os
import sys

# In a checkout or an archive, where the module need not be installed.
sys.path.append(os.path.join(os.path.dirname(os.path.realpath(__file__)), "../../modules/python"))
from onnxruntime_vornic import Library, VornicError, tensor


def detect(library, model):
    zeros = tensor("float32", [2, 1, 64], [0] * 128)
    feed = {
        "input": tensor("float32", [1, 512], [(i % 128 - 64) / 128 for i in range(512)]),
        "sr": tensor("int64", [], [16000]),
        "h": zeros,
        "c": zeros,
    }
    with library.session(model) as session:
        for chunk in range(3):
            with session.run(feed) as result:
                print(f"chunk {chunk}: {result['output']['data'][0]:.3f}")
                feed["h"], feed["c"] = result["hn"], result["cn"]


if __name__ == "__main__":
    if len(sys.argv) not in (2, 3):
        sys.exit("usage: detect.py MODEL [LIBRARY]")
    try:
        detect(Library(*sys.argv[2:]), sys.argv[1])
    except VornicError as error:
        sys.exit(f"detect: {error}")
