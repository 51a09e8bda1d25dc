#!/usr/bin/env python3
"""Times four ways of running a model, side by side on one recording."""
import array
import statistics
import time

import inputs
from onnxruntime_vornic import Library, VornicError, feed_json, tensor

MODEL = "melspectrogram.onnx"
SECONDS = 1  # of the recording: the spectrogram of 1.4 s would fill the JSON of a result
ROUNDS = 50


def ways_to_run(library, session, samples, whole, binding):
    """The name, the call alone, and the call from Python numbers to Python numbers, of each run."""
    name, output = session.inputs[0]["name"], session.outputs[0]["name"]
    feed = {name: tensor("float32", [1, len(samples)], samples)}
    text = feed_json(feed)
    binding.bind_input(name, feed[name])
    binding.bind_output(output)

    def numbers_of(result):
        with result:
            return array.array("f", result.outputs[output]["data"])

    def by_tensor(fast):
        with library.tensor(samples, [1, len(samples)]) as fresh:
            result = session.run_tensor(name, fresh, fast=fast)
            if not fast:
                return numbers_of(result)
            with result:
                return result.floats

    return [
        ("JSON", lambda: session.run(text).close(), lambda: numbers_of(session.run(feed))),
        ("tensor", lambda: session.run_tensor(name, whole).close(), lambda: by_tensor(False)),
        (
            "fast",
            lambda: session.run_tensor(name, whole, fast=True).close(),
            lambda: by_tensor(True),
        ),
        ("binding", lambda: binding.run().close(), lambda: numbers_of(binding.run())),
    ]


def milliseconds(call):
    begin = time.perf_counter()
    call()
    return 1000 * (time.perf_counter() - begin)


def compare(library, model, path):
    # This model expects the range of 16-bit samples.
    samples = [32768 * sample for sample in inputs.load(path)[: SECONDS * inputs.RATE]]
    if not samples:
        raise inputs.RecordingError(f"{path} contains no samples")
    samples = array.array("f", samples)
    with library.session(model, threads=1) as session, session.binding() as binding:
        with library.tensor(samples, [1, len(samples)]) as whole:
            ways = ways_to_run(library, session, samples, whole, binding)
            answers = [numbers() for _, _, numbers in ways]
            if any(answer != answers[0] for answer in answers):
                raise VornicError("the runs give different numbers")
            # Interleaved, so that a busy machine slows all of them alike.
            times = [
                [(milliseconds(call), milliseconds(numbers)) for _, call, numbers in ways]
                for _ in range(ROUNDS)
            ]
    medians = [[statistics.median(column) for column in zip(*way)] for way in zip(*times)]
    print(
        f"{model}\n{len(samples)} numbers in, {len(answers[0])} out, the same each way; "
        f"one thread, median of {ROUNDS} rounds, ms\n\n  run       call alone   numbers to numbers"
    )
    slowest = max(numbers for _, numbers in medians)
    for (name, _, _), (call, numbers) in zip(ways, medians):
        print(f"  {name:8}  {call:10.2f}   {numbers:8.2f}  {'█' * round(28 * numbers / slowest)}")
    print(
        "\n  Numbers to numbers includes the time in which Python writes and reads JSON.\n"
        "  A binding keeps its input, so its time includes reading the output only."
    )


def main():
    parser = inputs.parser("compare", __doc__, MODEL)
    parser.add_argument("recording", nargs="?", default=inputs.RECORDING, help=inputs.FORMAT)
    given = parser.parse_args()
    compare(Library(given.library), given.model or inputs.find_model(MODEL), given.recording)


if __name__ == "__main__":
    inputs.run("compare", main)
