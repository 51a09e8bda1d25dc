#!/usr/bin/env python3
"""Where is speech in a recording? A detector run through onnxruntime_vornic, 32 ms at a time."""
import argparse
import json
import sys
import time

import recording
import roads
from onnxruntime_vornic import Library, VornicError, feed_json, tensor

MODEL = "silero_vad.onnx"
CHUNK = 512  # Samples; the detector was trained on chunks of this size.
BLOCKS = "▁▂▃▄▅▆▇█"
LINE = 75  # Chunks on a line, 2.4 s.
NO_VERSION = 2**63 - 1  # How ONNX Runtime says that a model has none.


def table(rows):
    """Rows of texts as columns of even width."""
    widths = [max(map(len, column)) for column in zip(*rows)]
    for row in rows:
        print("  " + "  ".join(text.ljust(width) for text, width in zip(row, widths)).rstrip())


def describe(library, session, model):
    print(f"ONNX Runtime {library.version}, {', '.join(library.providers)}\n{model}")
    rows = []
    for kind, values in (("input", session.inputs), ("output", session.outputs)):
        for value in values:
            sizes = zip(value["shape"], value["shape_symbols"])
            shape = ", ".join(symbol or ("?" if size < 0 else str(size)) for size, symbol in sizes)
            rows.append((kind, value["name"], value["dtype"], f"[{shape}]"))
    table(rows)
    metadata = session.metadata
    metadata.update(metadata.pop("custom_metadata_map", {}))
    if metadata.get("version") == NO_VERSION:
        metadata["version"] = ""
    table([(key, " ".join(str(value).split()) or "-") for key, value in metadata.items()])


def output_text(result, name):
    """An output as it stands in a result's text, which can be fed to the next run as it is."""
    begin = result.index("{", result.index(f'"{name}":'))
    text = result[begin : result.index("}", begin) + 1]
    if text.startswith('{"error"'):
        raise VornicError(text)
    return text


def detect(session, samples):
    """The probability of speech in each whole chunk, and the seconds spent in the library."""
    probabilities, inside = [], 0.0
    rate = tensor("int64", [], [recording.RATE])
    h = c = json.dumps(tensor("float32", [2, 1, 64], [0] * 128))
    for start in range(0, len(samples) - CHUNK + 1, CHUNK):
        chunk = tensor("float32", [1, CHUNK], samples[start : start + CHUNK])
        # The state goes in as the text that came out: reading and writing it here would take longer
        # than the run.
        feed = feed_json({"input": chunk, "sr": rate})[:-1] + f',"h":{h},"c":{c}}}'
        begin = time.perf_counter()
        with session.run(feed, ["output", "hn", "cn"]) as result:
            inside += time.perf_counter() - begin
            probabilities += result.floats
            text = result.text
        h, c = output_text(text, "hn"), output_text(text, "cn")
    return probabilities, inside


def time_marks(first, count):
    """The line below count chunks: a mark where each half second begins."""
    line, half = "", recording.RATE // 2
    for sample in range(0, (first + count) * CHUNK, half):
        place = sample // CHUNK - first
        if place >= 0:
            line = line.ljust(place) + f"|{sample / recording.RATE:g}s"
    return line


def show(probabilities):
    line = "".join(BLOCKS[min(max(int(p * 8), 0), 7)] for p in probabilities)
    for first in range(0, len(line), LINE):
        part = line[first : first + LINE]
        print(f"\n  {part}\n  {time_marks(first, len(part))}")


def speech(library, model, path):
    samples = recording.load(path)
    length = 1000 * CHUNK // recording.RATE
    if len(samples) < CHUNK:
        raise recording.RecordingError(f"{path} is shorter than one chunk of {length} ms")
    with library.session(model, threads=1) as session:
        describe(library, session, model)
        begin = time.perf_counter()
        probabilities, inside = detect(session, samples)
        whole = time.perf_counter() - begin
    chunks = len(samples) // CHUNK
    print(f"\nSpeech in {path}, {chunks} chunks of {length} ms")
    show(probabilities)
    print(
        f"\n{1000 * whole / chunks:.2f} ms a chunk, {1000 * inside / chunks:.2f} ms of it in the "
        f"library: {chunks * length / 1000 / whole:.0f} times faster than real time"
    )


def arguments():
    parser = argparse.ArgumentParser(
        prog="speech",
        description=__doc__,
        epilog="Without --model, four ways of running a model are timed afterwards (roads.py).",
    )
    recording.add_argument(parser)
    parser.add_argument(
        "--model",
        help="another speech detector with the same inputs and outputs "
        f"(default: {MODEL}, where scripts/demo has put it)",
    )
    parser.add_argument("--library", help=roads.LIBRARY)
    return parser.parse_args()


def main():
    sys.stdout.reconfigure(encoding="utf-8")
    given = arguments()
    try:
        library = Library(given.library)
        speech(library, given.model or roads.fetched(MODEL), given.recording)
        if given.model is None:
            print()
            roads.compare(library, roads.fetched(roads.MODEL), given.recording)
    except (VornicError, recording.RecordingError) as error:
        sys.stdout.flush()
        print(f"speech: {error}", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
