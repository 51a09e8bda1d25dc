"""Makes the models of which bench/hosting.c measures more than runs: make_hosting_models.py FOLDER"""
import sys
import numpy
from onnx import TensorProto, helper, numpy_helper, save

MEGABYTES = 128
value = helper.make_tensor_value_info


def model(name, nodes, weights=(), beside=False):
    graph = helper.make_graph(nodes, name, [value("x", TensorProto.FLOAT, ["n"])],
                              [value("y", TensorProto.FLOAT, None)],
                              [numpy_helper.from_array(weight, key) for key, weight in weights])
    made = helper.make_model(graph, ir_version=8, opset_imports=[helper.make_opsetid("", 14)])
    save(made, f"{sys.argv[1]}/{name}.onnx", save_as_external_data=beside,
         location=f"{name}.weights" if beside else None)


# 400 nodes one behind the other.
model("chain", [helper.make_node("Erf", [f"x{k}" if k else "x"], [f"x{k + 1}" if k < 399 else "y"])
                for k in range(400)])

# A table of which a run reads eight rows, and a factor, which ONNX Runtime lays out anew.
rows = MEGABYTES * 2**20 // 4 // 64
table = numpy.arange(rows * 64, dtype=numpy.float32).reshape(rows, 64)
pick = [helper.make_node("Cast", ["x"], ["i"], to=TensorProto.INT64),
        helper.make_node("Gather", ["table", "i"], ["y"])]
multiply = [helper.make_node("MatMul", ["x", "factor"], ["y"])]
for beside in (False, True):
    where = "beside" if beside else "inside"
    model(f"table_{where}", pick, [("table", table)], beside)
    model(f"factor_{where}", multiply, [("factor", table.reshape(8, -1))], beside)
