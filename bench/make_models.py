"""Makes the models that the benchmarks run, from x0 to y0: make_models.py FOLDER"""
import sys

from onnx import TensorProto, helper, save

# Twice each float; token ids as floats.
for name, element_type, node in (
    ("double", TensorProto.FLOAT, helper.make_node("Sum", ["x0", "x0"], ["y0"])),
    ("ids", TensorProto.INT64, helper.make_node("Cast", ["x0"], ["y0"], to=TensorProto.FLOAT)),
):
    x0 = helper.make_tensor_value_info("x0", element_type, ["n"])
    y0 = helper.make_tensor_value_info("y0", TensorProto.FLOAT, ["n"])
    model = helper.make_model(
        helper.make_graph([node], name, [x0], [y0]),
        ir_version=8,
        opset_imports=[helper.make_opsetid("", 14)],
    )
    save(model, f"{sys.argv[1]}/{name}.onnx")
