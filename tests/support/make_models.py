"""Makes the models of the tests: make_models.py FOLDER [NAME...]"""
import os
import sys

from onnx import TensorProto, helper, parser, save

GRAPHS = """
double (float[batch,3] x) => (float[batch,3] y) { y = Add(x, x) }
long (float[n] x) => (float[n] y) { y = Add(x, x) }
large (float[1,3,224,224] x) => (float[1,1,1,1] y) { y = ReduceMax(x) }
image (float[1,3,224,224] x) => (float[1,3] colour) {
    square = Constant<value_ints = [3, 3]>() ones = ConstantOfShape(square) eye = EyeLike(ones)
    one = Constant<value_ints = [3, 3, 1, 1]>() thin = Reshape(eye, one)
    all = Constant<value_ints = [3, 3, 3, 3]>() kernel = Expand(thin, all)
    blurred = Conv<strides = [2, 2]>(x, kernel) lit = Relu(blurred)
    pooled = GlobalAveragePool(lit) colour = Flatten(pooled) }
constant () => (float[2] y) { y = Constant<value_floats = [0.5, 1.0]>() }
commas (string[n] text, float[n] x) => (float[n] number, string[n] same, float[n] y) {
    number = Cast<to = 1>(text) same = Cast<to = 8>(number) y = HardSwish(x) }
pair (float[n] a, float[n] b) => (float[n] y) { y = Add(a, b) }
sum (float[n] a, float[n] B) => (float[n] y) { y = Add(a, B) }
rank8 (float[1,1,1,1,1,1,1,2] x) => (float[1,1,1,1,1,1,1,2] y) { y = Identity(x) }
doubles (double[n] x) => (double[n] y) { y = Identity(x) }
outputs (float[2,3] x) => (float[] scalar, float[0,3] empty, float16[2,3] half, int64[2,3] whole,
        float[1,1,1,1,1,1,1,2,3] rank9, string[2,3] text, float[2,3] twice, float[2,3] square) {
    scalar = ReduceSum<keepdims = 0>(x) zero = Constant<value_ints = [0]>()
    empty = Slice(x, zero, zero) half = Cast<to = 10>(x) whole = Cast<to = 7>(x)
    nine = Constant<value_ints = [1, 1, 1, 1, 1, 1, 1, 2, 3]>() rank9 = Reshape(x, nine)
    text = Cast<to = 8>(whole) twice = Add(x, x) square = Mul(x, x) }
"""
NUMBERS = "float32 float64 int8 int16 int32 int64 uint8 uint16 uint32 uint64".split()
# Names that begin or look like other parts of a feed.
ODD = {"shape": "int8", "a{b": "int64", 'q"\\': "float32", "tail\\": "string"}
ODD.update({"é,": "string", "bool": "bool", "x": "string"})
PROPERTIES = {"double": {"key": 'va"lue'}, "words": {"one": "1", "two": "1"}}


def value(name, dtype, shape):
    kind = {"float32": "FLOAT", "float64": "DOUBLE"}.get(dtype) or dtype.upper()
    return helper.make_tensor_value_info(name, TensorProto.DataType.Value(kind), shape)


def model(graph):
    name, graph.name = graph.name, "graph of " + graph.name
    opset = [helper.make_opsetid("", 14)]
    made = helper.make_model(graph, producer_name='the "tests"', ir_version=8, opset_imports=opset)
    made.domain, made.model_version = "example.test", 7
    made.doc_string = 5000 * "d" if name == "long" else "back\\slash"
    helper.set_model_props(made, PROPERTIES.get(name, {}))
    if name in (wanted or [name]):
        save(made, f"{folder}/{name}.onnx")


def identities(name, ports, shape):
    """A model with an output for each input, from (input, output, dtype)."""
    nodes = [helper.make_node("Identity", [i], [o]) for i, o, _ in ports]
    inputs = [value(i, dtype, shape) for i, _, dtype in ports]
    outputs = [value(o, dtype, shape) for _, o, dtype in ports]
    model(helper.make_graph(nodes, name, inputs, outputs))


folder, *wanted = sys.argv[1:] or sys.exit(__doc__)
os.makedirs(folder, exist_ok=True)
for text in GRAPHS.strip().replace("B", "b" * 200).replace(" }\n", " }|").split("|"):
    model(parser.parse_graph(text))
# A sequence, and tensors of the highest rank that has a description and of one more.
inputs = [helper.make_tensor_sequence_value_info("s", TensorProto.FLOAT, None)]
inputs += [value(f"rank{rank}", "float32", [1] * rank) for rank in (16, 17)]
node = helper.make_node("SequenceLength", ["s"], ["y"])
model(helper.make_graph([node], "kinds", inputs, [value("y", "int64", [])]))
identities("words", [("x", "same x", "int64"), ("data", "same data", "string")], ["n", 2])
identities("types", [("in_" + t, "out_" + t, t) for t in [*NUMBERS, "bool", "string"]], ["n"])
for name, count in (("wide", 20), ("sixteen", 16)):
    identities(name, [(f"i{k:02}", f"o{k:02}", "float32") for k in range(count)], [1])
identities("quotes", [('a"b\\c', 'd"e\\f', "float32")], [1])
long_names = [(f"{k:02}" + "i" * 148, f"{k:02}" + "o" * 198, "float32") for k in range(12)]
identities("wordy", long_names, [1])
identities("odd", [(name, str(k), t) for k, (name, t) in enumerate(ODD.items())], ["n"])
