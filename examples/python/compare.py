"""Times four ways of running a model, side by side on one recording, for speech.py."""
import array
import statistics
import time

import inputs
from onnxruntime_vornic import VornicError, feed_json, tensor

MODEL = "melspectrogram.onnx"
SECONDS = 1  # of the recording: the spectrogram of 1.4 s would fill the JSON of a result
ROUNDS = 50


def ways_to_run(library, session, samples, binding):
    """By name of a run, the call alone and the call from Python numbers to Python numbers."""
    name, output, shape = session.inputs[0]["name"], session.outputs[0]["name"], [1, len(samples)]
    feed = {name: tensor("float32", shape, samples)}
    text, whole = feed_json(feed), library.tensor(samples, shape)
    binding.bind_input(name, feed[name])
    binding.bind_output(output)

    def numbers_of(result):
        with result:
            return array.array("f", result.outputs[output]["data"])

    def by_tensor(fast):
        with library.tensor(samples, shape) as fresh:
            with session.run_tensor(name, fresh, fast=fast) as result:
                return result.floats if fast else numbers_of(result)

    # A result that is not closed is released with the last reference to it, here at once.
    return {
        "JSON": (lambda: session.run(text), lambda: numbers_of(session.run(feed))),
        "tensor": (lambda: session.run_tensor(name, whole), lambda: by_tensor(False)),
        "fast": (lambda: session.run_tensor(name, whole, fast=True), lambda: by_tensor(True)),
        "binding": (binding.run, lambda: numbers_of(binding.run())),
    }


def milliseconds(call):
    begin = time.perf_counter()
    call()
    return 1000 * (time.perf_counter() - begin)


def compare(library, model, path):
    # This model expects the range of 16-bit samples.
    samples = inputs.load(path)[: SECONDS * inputs.RATE]
    samples = array.array("f", [32768 * sample for sample in samples])
    with library.session(model, threads=1) as session, session.binding() as binding:
        ways = ways_to_run(library, session, samples, binding)
        answers = [numbers() for _, numbers in ways.values()]
        if any(answer != answers[0] for answer in answers):
            raise VornicError("the runs give different numbers")
        # Interleaved, so that a busy machine slows all of them alike.
        times = [[tuple(map(milliseconds, way)) for way in ways.values()] for _ in range(ROUNDS)]
    medians = [[statistics.median(column) for column in zip(*way)] for way in zip(*times)]
    print(
        f"{model}\n{len(samples)} numbers in, {len(answers[0])} out, the same each way; "
        f"one thread, median of {ROUNDS} rounds, ms\n\n  run       call alone   numbers to numbers"
    )
    slowest = max(numbers for _, numbers in medians)
    for name, (call, numbers) in zip(ways, medians):
        print(f"  {name:8}  {call:10.2f}   {numbers:8.2f}  {'█' * round(28 * numbers / slowest)}")
    print(
        "\n  Numbers to numbers includes the time in which Python writes and reads JSON.\n"
        "  A binding keeps its input, so its time includes reading the output only."
    )
