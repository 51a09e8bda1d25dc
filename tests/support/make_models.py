"""Makes the models that the tests run, and the folder for them: make_models.py FOLDER [NAME...]"""
import os
import sys
from onnx import TensorProto as T, helper, parser, save

GRAPHS = """
double (float[batch,3] x) => (float[batch,3] y) { y = Add(x, x) }
long (float[n] x) => (float[n] y) { y = Add(x, x) }
large (float[1,3,224,224] x) => (float[1,1,1,1] y) { y = ReduceMax(x) }
image (float[1,3,224,224] x) => (float[1,3] colour) {
    square = Constant<value_ints = [3, 3]>() ones = ConstantOfShape(square) eye = EyeLike(ones)
    one = Constant<value_ints = [3, 3, 1, 1]>() thin = Reshape(eye, one) all = Constant<value_ints = [3, 3, 3, 3]>() kernel = Expand(thin, all)
    blurred = Conv<strides = [2, 2]>(x, kernel) lit = Relu(blurred) pooled = GlobalAveragePool(lit) colour = Flatten(pooled) }
constant () => (float[2] y) { y = Constant<value_floats = [0.5, 1.0]>() }
commas (string[n] text, float[n] x) => (float[n] number, string[n] same, float[n] y) {
    number = Cast<to = 1>(text) same = Cast<to = 8>(number) y = HardSwish(x) }
pair (float[n] a, float[n] b) => (float[n] y) { y = Add(a, b) }
sum (float[n] a, float[n] B) => (float[n] y) { y = Add(a, B) }
outputs (float[2,3] x) => (float[] scalar, float[0,3] empty, float16[2,3] half, int64[2,3] whole, float[1,1,1,1,1,1,1,2,3] rank9,
                           string[2,3] text, float[2,3] twice, float[2,3] square) {
    scalar = ReduceSum<keepdims = 0>(x) zero = Constant<value_ints = [0]>() empty = Slice(x, zero, zero) half = Cast<to = 10>(x)
    whole = Cast<to = 7>(x) nine = Constant<value_ints = [1, 1, 1, 1, 1, 1, 1, 2, 3]>() rank9 = Reshape(x, nine)
    text = Cast<to = 8>(whole) twice = Add(x, x) square = Mul(x, x) }
"""
TYPES = dict(float32=T.FLOAT, float64=T.DOUBLE, int8=T.INT8, int16=T.INT16, int32=T.INT32, int64=T.INT64, uint8=T.UINT8,
             uint16=T.UINT16, uint32=T.UINT32, uint64=T.UINT64, bool=T.BOOL, string=T.STRING)
value, node = helper.make_tensor_value_info, helper.make_node

folder, *wanted = sys.argv[1:] or sys.exit(__doc__)
os.makedirs(folder, exist_ok=True)


def model(graph):
    name, graph.name = graph.name, "graph of " + graph.name
    made = helper.make_model(graph, producer_name='the "tests"', ir_version=8, opset_imports=[helper.make_opsetid("", 14)])
    made.domain, made.doc_string, made.model_version = "example.test", {"long": 5000 * "d"}.get(name, "back\\slash"), 7
    helper.set_model_props(made, {"double": {"key": 'va"lue'}, "words": {"one": "1", "two": "1"}}.get(name, {}))
    if name in (wanted or [name]):
        save(made, f"{folder}/{name}.onnx")


def identities(name, pairs, shape):
    """One output for each input, under its own name."""
    model(helper.make_graph([node("Identity", [i], [o]) for i, o, _ in pairs], name,
                            [value(i, t, shape) for i, _, t in pairs], [value(o, t, shape) for _, o, t in pairs]))


for text in GRAPHS.strip().replace("B", "b" * 200).replace(" }\n", " }|").split("|"):
    model(parser.parse_graph(text))
model(helper.make_graph([node("SequenceLength", ["s"], ["y"])] + [node("Identity", [i], ["same " + i]) for i in ("rank16", "rank17")], "kinds", [
    helper.make_tensor_sequence_value_info("s", T.FLOAT, None), *(value(f"rank{r}", T.FLOAT, [1] * r) for r in (16, 17))],
    [value("y", T.INT64, []), *(value(f"same rank{r}", T.FLOAT, [1] * r) for r in (16, 17))]))
identities("words", [("x", "same x", T.INT64), ("data", "same data", T.STRING)], ["n", 2])
identities("types", [("in_" + n, "out_" + n, t) for n, t in TYPES.items()], ["n"])
identities("wide", [(f"i{k:02}", f"o{k:02}", T.FLOAT) for k in range(20)], [1])
identities("sixteen", [(f"i{k:02}", f"o{k:02}", T.FLOAT) for k in range(16)], [1])
identities("quotes", [('a"b\\c', 'd"e\\f', T.FLOAT)], [1])
identities("wordy", [(f"{k:02}" + "i" * 148, f"{k:02}" + "o" * 198, T.FLOAT) for k in range(12)], [1])
identities("odd", [
    ("shape", "0", T.INT8), ("a{b", "1", T.INT64), ('q"\\', "2", T.FLOAT), ("tail\\", "3", T.STRING),
    ("é,", "4", T.STRING), ("bool", "5", T.BOOL), ("x", "6", T.STRING)], ["n"])
identities("rank8", [("x", "y", T.FLOAT)], [1] * 7 + [2])
identities("doubles", [("x", "y", T.DOUBLE)], ["n"])
