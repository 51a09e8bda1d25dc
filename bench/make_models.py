"""Makes the models that the benchmarks run, from x0 to y0: make_models.py FOLDER"""
import sys

from onnx import parser, save

MODELS = {
    "double": "(float[n] x0) => (float[n] y0) { y0 = Sum(x0, x0) }",
    "ids": "(int64[n] x0) => (float[n] y0) { y0 = Cast<to = 1>(x0) }",  # token ids as floats
}
for name, graph in MODELS.items():
    model = parser.parse_model(f'<ir_version: 8, opset_import: ["": 14]> {name} {graph}')
    save(model, f"{sys.argv[1]}/{name}.onnx")
