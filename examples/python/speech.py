#!/usr/bin/env python3
"""Finds speech in a recording with a detector, 32 ms at a time. Without --model, four ways of
running a model are timed afterwards (compare.py)."""
import json
import time

import compare
import inputs
from onnxruntime_vornic import Library, VornicError, feed_json, tensor

MODEL = "silero_vad.onnx"
CHUNK = 512  # samples; the detector was trained on chunks of this size
BLOCKS = "▁▂▃▄▅▆▇█"
LINE = 75  # chunks on a line, 2.4 s


def describe(library, session, model):
    print(f"ONNX Runtime {library.version}\n{model}")
    for kind, values in (("inputs", session.inputs), ("outputs", session.outputs)):
        texts = (f"{value['name']} {value['dtype']} {value['shape']}" for value in values)
        print(f"  {kind}: {', '.join(texts)}")


def output_text(result, name):
    """An output as JSON, cut from a result. The next run takes it as an input."""
    begin = result.index("{", result.index(f'"{name}":'))
    text = result[begin : result.index("}", begin) + 1]
    if text.startswith('{"error"'):
        raise VornicError(text)
    return text


def detect(session, samples):
    """The probability of speech in each whole chunk, and the seconds spent in the library."""
    probabilities, inside = [], 0.0
    rate = tensor("int64", [], [inputs.RATE])
    h = c = json.dumps(tensor("float32", [2, 1, 64], [0] * 128))
    for start in range(0, len(samples) - CHUNK + 1, CHUNK):
        chunk = tensor("float32", [1, CHUNK], samples[start : start + CHUNK])
        # The state stays text: converting it in Python would take longer than the run.
        feed = feed_json({"input": chunk, "sr": rate})[:-1] + f',"h":{h},"c":{c}}}'
        begin = time.perf_counter()
        with session.run(feed, ["output", "hn", "cn"]) as result:
            inside += time.perf_counter() - begin
            probabilities += result.floats
            text = result.text
        h, c = output_text(text, "hn"), output_text(text, "cn")
    return probabilities, inside


def show(probabilities):
    """Prints a block for each chunk, and below it a mark at every half second."""
    half = inputs.RATE // 2
    for first in range(0, len(probabilities), LINE):
        part, marks = probabilities[first : first + LINE], ""
        for sample in range(0, (first + len(part)) * CHUNK, half):
            if sample // CHUNK >= first:
                marks = marks.ljust(sample // CHUNK - first) + f"|{sample / inputs.RATE:g}s"
        blocks = "".join(BLOCKS[min(max(int(p * 8), 0), 7)] for p in part)
        print(f"\n  {blocks}\n  {marks}")


def speech(library, model, path):
    samples = inputs.load(path)
    chunks, length = len(samples) // CHUNK, 1000 * CHUNK // inputs.RATE
    if chunks == 0:
        raise inputs.RecordingError(f"{path} is shorter than one chunk of {length} ms")
    with library.session(model, threads=1) as session:
        describe(library, session, model)
        begin = time.perf_counter()
        probabilities, inside = detect(session, samples)
        total = time.perf_counter() - begin
    print(f"\nSpeech in {path}, {chunks} chunks of {length} ms")
    show(probabilities)
    print(
        f"\n{1000 * total / chunks:.2f} ms per chunk, {1000 * inside / chunks:.2f} ms of it in the "
        f"library: {chunks * length / 1000 / total:.0f} times faster than real time"
    )


def main():
    parser = inputs.parser("speech", __doc__, MODEL)
    parser.add_argument("recording", nargs="?", default=inputs.RECORDING, help=inputs.FORMAT)
    given = parser.parse_args()
    library = Library(given.library)
    speech(library, given.model or inputs.find_model(MODEL), given.recording)
    if given.model is None:
        print()
        compare.compare(library, inputs.find_model(compare.MODEL), given.recording)


if __name__ == "__main__":
    inputs.run("speech", main)
