"""Makes the models that the tests run: make_models.py FOLDER [NAME...]"""
import sys
import numpy
from onnx import TensorProto as T, helper, save

NAMED = {
    "float32": T.FLOAT, "float64": T.DOUBLE, "int8": T.INT8, "int16": T.INT16, "int32": T.INT32,
    "int64": T.INT64, "uint8": T.UINT8, "uint16": T.UINT16, "uint32": T.UINT32,
    "uint64": T.UINT64, "bool": T.BOOL, "string": T.STRING,
}
value = helper.make_tensor_value_info
node = helper.make_node


def model(name, nodes, inputs, outputs, initializers=(), **metadata):
    graph = helper.make_graph(nodes, "graph of " + name, inputs, outputs, list(initializers))
    made = helper.make_model(graph, producer_name='the "tests"', ir_version=8,
                             opset_imports=[helper.make_opsetid("", 14)])
    helper.set_model_props(made, metadata)
    made.domain, made.doc_string, made.model_version = "example.test", "back\\slash", 7
    if name in (sys.argv[2:] or [name]):
        save(made, f"{sys.argv[1]}/{name}.onnx")


def identities(name, pairs, shape):
    """One output for each input, under its own name."""
    model(name, [node("Identity", [i], [o]) for i, o, _ in pairs],
          [value(i, t, shape) for i, _, t in pairs], [value(o, t, shape) for _, o, t in pairs])


def ints(name, *numbers):
    return helper.make_tensor(name, T.INT64, [len(numbers)], numbers)


model("double", [node("Add", ["x", "x"], ["y"])], [value("x", T.FLOAT, ["batch", 3])],
      [value("y", T.FLOAT, ["batch", 3])], key='va"lue')
model("sum", [node("Add", ["a", "b" * 200], ["y"])], [value(i, T.FLOAT, ["n"]) for i in ("a", "b" * 200)],
      [value("y", T.FLOAT, ["n"])])
model("casts", [node("Cast", ["text"], ["number"], to=T.FLOAT), node("Cast", ["number"], ["same"], to=T.STRING)],
      [value("text", T.STRING, ["n"])], [value(o, t, ["n"]) for o, t in (("number", T.FLOAT), ("same", T.STRING))])
model("long", [node("Add", ["x", "x"], ["y"])], [value("x", T.FLOAT, ["n"])],
      [value("y", T.FLOAT, ["n"])])
model("large", [node("ReduceMax", ["x"], ["y"])], [value("x", T.FLOAT, [1, 3, 224, 224])], [value("y", T.FLOAT, None)])
identities("words", [("x", "same x", T.INT64), ("data", "same data", T.STRING)], ["n", 2])
identities("types", [("in_" + n, "out_" + n, t) for n, t in NAMED.items()], ["n"])
identities("wide", [(f"i{k:02}", f"o{k:02}", T.FLOAT) for k in range(20)], [1])
identities("sixteen", [(f"i{k:02}", f"o{k:02}", T.FLOAT) for k in range(16)], [1])
identities("quotes", [('a"b\\c', 'd"e\\f', T.FLOAT)], [1])
identities("wordy", [(f"{k:02}" + "i" * 148, f"{k:02}" + "o" * 198, T.FLOAT) for k in range(12)], [1])
identities("rank8", [("x", "y", T.FLOAT)], [1] * 7 + [2])
identities("doubles", [("x", "y", T.DOUBLE)], ["n"])
model("ranks", [node("Identity", [f"rank{r}"], [f"same{r}"]) for r in (16, 17)],
      [value(f"rank{r}", T.FLOAT, [1] * r) for r in (16, 17)],
      [value(f"same{r}", T.FLOAT, [1] * r) for r in (16, 17)])
model("outputs",  # every kind of output that the library treats in a way of its own
      [node("ReduceSum", ["x"], ["scalar"], keepdims=0),
       node("Slice", ["x", "zero", "zero"], ["empty"]),
       node("Cast", ["x"], ["half"], to=T.FLOAT16),
       node("Cast", ["x"], ["whole"], to=T.INT64),
       node("Reshape", ["x", "nine"], ["rank9"]),
       node("Cast", ["whole"], ["text"], to=T.STRING),
       node("Add", ["x", "x"], ["twice"]), node("Mul", ["x", "x"], ["square"])],
      [value("x", T.FLOAT, [2, 3])],
      [value("scalar", T.FLOAT, []), value("empty", T.FLOAT, None), value("half", T.FLOAT16, [2, 3]),
       value("whole", T.INT64, [2, 3]), value("rank9", T.FLOAT, [1] * 7 + [2, 3]),
       value("text", T.STRING, [2, 3]), value("twice", T.FLOAT, [2, 3]),
       value("square", T.FLOAT, [2, 3])],
      [ints("zero", 0), ints("nine", *[1] * 7, 2, 3)])
model("constant", [node("Constant", [], ["y"], value_floats=[0.5, 1.0])], [],
      [value("y", T.FLOAT, [2])])
model("sequence", [node("SequenceLength", ["s"], ["y"])],
      [helper.make_tensor_sequence_value_info("s", T.FLOAT, None)], [value("y", T.INT64, [])])
model("hardswish", [node("HardSwish", ["x"], ["y"])], [value("x", T.FLOAT, ["n"])],
      [value("y", T.FLOAT, ["n"])])
