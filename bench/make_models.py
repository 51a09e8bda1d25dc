"""Makes the models that the benchmarks run: make_models.py FOLDER"""
import sys
from onnx import TensorProto, helper, save


def model(name, nodes, inputs, outputs, input_type=TensorProto.FLOAT):
    def values(names, element_type):
        return [helper.make_tensor_value_info(n, element_type, ["n"]) for n in names]

    types = (values(inputs, input_type), values(outputs, TensorProto.FLOAT))
    graph = helper.make_graph(nodes, name, *types)
    save(helper.make_model(graph, ir_version=8, opset_imports=[helper.make_opsetid("", 14)]),
         f"{sys.argv[1]}/{name}.onnx")


for count in (1, 2, 4, 8, 16):
    inputs = [f"x{k}" for k in range(count)]
    outputs = [f"y{k}" for k in range(count)]
    # The sum of so many inputs (twice the one), and so many times the double of one.
    model(f"inputs{count}", [helper.make_node("Sum", inputs if count > 1 else ["x0", "x0"], ["y0"])],
          inputs, ["y0"])
    model(f"outputs{count}", [helper.make_node("Add", ["x0", "x0"], [y]) for y in outputs],
          ["x0"], outputs)
# Token ids, as the floats that they are.
cast = helper.make_node("Cast", ["x0"], ["y0"], to=TensorProto.FLOAT)
model("ids", [cast], ["x0"], ["y0"], TensorProto.INT64)
