"""Runs ONNX's own test models through the Python module, by ONNX's test runner.

    conformance.py LIBRARY [PATTERN]
"""
import collections
import json
import pathlib
import re
import sys
import tempfile
import unittest

import numpy

numpy.object = object  # a name that the runner of ONNX 1.12 uses and NumPy 1.24 lacks
import onnx
from onnx.backend.base import Backend
from onnx.backend.test import BackendTest

sys.path.append(str(pathlib.Path(__file__).resolve().parents[1] / "modules/python"))
from onnxruntime_vornic import Library, VornicError, tensor

# ONNX Runtime without the library differs from the data too, by the same bits, or is random. A
# number that is cast to a string has several spellings.
OTHERWISE = r"""(?x)test_(bernoulli(_double|_seed)?(_expanded)?|dft(_axis|_inverse)?
|stft(_with_window)?|maxunpool_export_with_output_shape
|resize_downsample_scales_(cubic|linear)_align_corners
|training_dropout(_default)?(_mask)?|cast(like)?_FLOAT_to_STRING(_expanded)?)_cpu$"""


def arrays(text):
    """The outputs in a result's text."""
    if len(text.encode()) == 65535:
        raise unittest.SkipTest("the result's text is cut")
    # json reads these numbers under other names. A quoted string is matched and left as it is.
    names = {"inf": "Infinity", "-inf": "-Infinity", "nan": "NaN"}
    numbers = r'"(?:\\.|[^"\\])*"|-?inf|nan'
    text = re.sub(numbers, lambda match: names.get(match[0], match[0]), text)
    for output in json.loads(text, strict=False)["outputs"].values():
        if "error" in output:
            raise unittest.SkipTest(f"an output carries the error '{output['error']}'")
        dtype = {"string": object}.get(output["dtype"], output["dtype"])
        yield numpy.array(output["data"], dtype).reshape(output["shape"])


class Vornic(Backend):
    @classmethod
    def supports_device(cls, device):
        return device == "CPU"

    @classmethod
    def prepare(cls, model, device="CPU", **_):
        return cls(model)

    def __init__(self, model):
        with tempfile.NamedTemporaryFile(suffix=".onnx") as file:
            onnx.save(model, file.name)
            try:
                self.session = library.session(file.name, threads=1)
            except VornicError:
                raise unittest.SkipTest("ONNX Runtime refuses the model")
        for entry in [*self.session.inputs, *self.session.outputs]:
            if entry["dtype"] == "unknown":
                raise unittest.SkipTest(f"a {entry['type']} without a JSON form")

    def run(self, inputs):
        feed = {}
        for entry, values in zip(self.session.inputs, inputs):
            values = numpy.array(values, order="C")
            feed[entry["name"]] = tensor(entry["dtype"], values.shape, values)
            if values.size > 65536:
                raise unittest.SkipTest("an input has more than 65,536 elements")
        with self.session, self.session.run(feed) as result:
            return [*arrays(result.text)]


library = Library(sys.argv[1])
cases = BackendTest(Vornic).include("".join(sys.argv[2:]) or ".").exclude(OTHERWISE).test_cases
del cases["OnnxBackendRealModelTest"]  # large models, which the runner would download
load = unittest.defaultTestLoader.loadTestsFromTestCase
suite = unittest.TestSuite(map(load, cases.values()))
outcome = unittest.TextTestRunner(sys.stdout, verbosity=0).run(suite)
reasons = collections.Counter(reason[:50] for _, reason in outcome.skipped)
del reasons["Backend doesn't support device CUDA"]
passed = outcome.testsRun - len(outcome.skipped) - len(outcome.failures + outcome.errors)
print(f"passed: {passed}; skipped:", *reasons.most_common(), sep="\n")
sys.exit(not outcome.wasSuccessful() or not passed)
