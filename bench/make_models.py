"""Makes the models that the benchmarks run: make_models.py FOLDER"""
import sys
from onnx import TensorProto, helper, save


def model(name, nodes, inputs, outputs):
    def values(names):
        return [helper.make_tensor_value_info(n, TensorProto.FLOAT, ["n"]) for n in names]

    graph = helper.make_graph(nodes, name, values(inputs), values(outputs))
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
