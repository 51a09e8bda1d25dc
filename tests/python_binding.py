"""Checks the Python module.

The examples of its docs run, its classes call every function of the header, and the script of calls
is played through those functions. Of random feeds, most of them damaged, each that check_feed
accepts must run, on exactly its tensors.
"""
import array
import ctypes
import doctest
import gc
import json
import math
import os
import random
import sys

import play
from delivery import check, declared, finish, given, models

sys.path.insert(0, str(given.source / "modules/python"))
import onnxruntime_vornic as binding
from onnxruntime_vornic import _feeds, _native

library, tensor, (count, seed) = binding.Library(given.library), binding.tensor, given.feeds
random.seed(seed)
WORDS = ["dtype", "data", '"shape":[9]', '{"data":[9]}', "\\", "é\n\1", "n" * 4095]
JUNK = [None, True, -1, 256, 1.0, 0.5, 2**53 + 1, 10**400, 1e39, math.nan, [], [1], [[1]], {}]
JUNK += [{"data": [9]}, "\0", "\ud800", "é" * 2048, *WORDS]
FEED = {"x": tensor("float32", [1, 3], [1, 2, 3])}
SETTINGS = dict(inter_op_num_threads=1, execution_mode=0, profiling=False, mem_pattern=True)
SETTINGS.update(cpu_mem_arena=True, log_id="me", log_verbosity_level=0, log_severity_level=3)
ARRAYS = {"f32": (ctypes.c_float, float), "i64": (ctypes.c_int64, int)}
# An input of types.onnx, what replaces its tensor, and how the refusal begins.
BAD = """in_float32 {"dtype":"float32","shape":[1],"data":"16000"} ! data must be an array
in_float32 {"dtype":"float32","shape":[1]} ! a tensor must have dtype, shape and data
in_float32 {"note":{"data":[9]},"dtype":"float32","shape":[1],"data":[1]} ! a tensor must have
in_float32 {"dtype":"float32","shape":[1],"data":[1,2]} ! data must have 1 items
in_float32 {} ! a tensor must have dtype, shape and data
in_float32 {"dtype":"string","shape":[64000000],"data":["a"]} ! its dtype must be float32
in_string {"dtype":"string","shape":[64000000],"data":["a"]} ! shape must be whole numbers
in_string {"dtype":"string","shape":[1],"data":["LONG"]} ! data holds a string of more than 4095
in_int32 {"dtype":"int32","shape":[1],"data":[0.5]} ! data must be whole numbers
more {"dtype":"int32","shape":[0],"data":[]} ! the model has no such input"""
called = []
malloc = ctypes.CDLL(None).malloc
malloc.restype = ctypes.c_void_p


def counted(name, function):
    return lambda *arguments: called.append(_native.PREFIX + name) or function(*arguments)


def model(name, **settings):
    return library.session(models / f"{name}.onnx", **settings)


def allocated(numbers):
    """The address of a copy that free() releases."""
    size = ctypes.sizeof(numbers)
    return ctypes.memmove(malloc(size), numbers, size)


def refusal(call, *arguments):
    try:
        return f"none, but {call(*arguments)}"
    except binding.VornicError as error:
        return str(error)


def random_tensor(entry, names):
    dtype, shape = entry["dtype"], [random.randrange(4) if s < 0 else s for s in entry["shape"]]
    lowest, highest = _feeds._RANGES.get(dtype, (0, 0))
    numbers = [0, dtype == "bool" or 1, lowest, min(highest, 2**53)]
    numbers += [0.1, 3.4028235e38] * ("float" in dtype)
    pool = [*names, *WORDS] if dtype == "string" else numbers
    return tensor(dtype, shape, random.choices(pool, k=math.prod(shape)))


def damage(node, names):
    """Leaves out, adds, changes or moves something in an object or an array."""
    keys = list(node) if isinstance(node, dict) else list(range(len(node)))
    deeper = [key for key in keys if isinstance(node[key], (dict, list))]
    if deeper and random.random() < 0.8:
        damage(node[random.choice(deeper)], names)
    elif isinstance(node, dict) and random.random() < 0.3:
        node[random.choice([*WORDS, *names])] = random.choice(JUNK)
    elif isinstance(node, list) and random.random() < 0.3:
        node.append(random.choice([*JUNK, *names]))
    elif keys:
        key, other, junk = *random.choices(keys, k=2), random.choice(JUNK)
        node[key], node[other] = random.choice([(node[other], node[key]), (junk, junk)])
        if random.random() < 0.3:
            del node[key]


def arrived(item):
    change = {"float32": lambda n: array.array("f", [n])[0], "float64": float, "string": str}
    return [item["dtype"], item["shape"], [*map(change.get(item["dtype"], int), item["data"])]]


def fuzz(session, rounds):
    """How many feeds were accepted; stops at one that arrives changed."""
    inputs, outputs = session.inputs, [output["name"] for output in session.outputs]
    names, accepted = [entry["name"] for entry in inputs], 0
    for _ in range(rounds):
        entries = random.sample(inputs, len(inputs))
        feed = {entry["name"]: random_tensor(entry, names) for entry in entries}
        for _ in range(random.choice([0, 1, 1, 3])):
            damage(feed, names)
        try:
            text = binding.check_feed(feed, inputs)
        except binding.VornicError:
            continue
        with session.run(text) as result:
            got = [arrived(result.outputs[name]) for name in outputs]
        if got != [arrived(feed[name]) for name in names]:
            return check(f"seed {seed}: {text}", [arrived(feed[name]) for name in names], got) or 0
        accepted += 1
    return accepted


def check_feeds():
    for name in ("types", "odd", "words", "quotes", "rank8"):
        with model(name) as session:
            accepted = fuzz(session, count // 5)
            share = count / 50 < accepted < count / 5
            check(f"a tenth to all of {count // 5} feeds of {name}: {accepted}", True, share)
    with model("types") as session:
        empty = {entry["name"]: tensor(entry["dtype"], [0], []) for entry in session.inputs}
        for line in BAD.splitlines():
            name, text, reason = line.replace(" ", " ! ", 1).split(" ! ")
            feed = {**empty, name: json.loads(text.replace("LONG", 2048 * "é"))}
            said = refusal(binding.check_feed, feed, session.inputs)
            check(f"{name} {text}", f"input '{name}': {reason}.*", said)


def check_lifetimes():
    item = tensor("float32", [1], [2])
    with model("pair") as session:
        cut = binding.feed_json({"a": item, "b": item}) + "\0"
        for feed in (None, [], b"{}", {"a": None}, {"a": item, 1: item}, cut, "\ud800"):
            said = refusal(session.run, feed)
            check(f"{feed!r} is refused: {said}", False, said.startswith("none"))
        with session.run({"a": item, "b": item}) as result:
            view = result.float_view
        check("floats of a closed result", [4], view.tolist())
        check("outputs of it", "this Result is closed", refusal(lambda: result.outputs))
    with model("double") as session:
        session.run(FEED)
        check("a result that nobody closed", "onnxruntime_vn_release_result", called[-1])
    session = model("double")
    session.bound = session.binding()  # in a cycle
    del session
    gc.collect()
    released = [_native.PREFIX + "release_" + kind for kind in ("iobinding", "session")]
    check("released by the collector, in this order", released, called[-2:])


def check_tensors():
    flat, shape = array.array("f", [0, 7]) * 75264, (1, 3, 224, 224)
    with model("large") as session:
        view = memoryview(flat).cast("B").cast("f", shape)
        for image in (flat, view, bytes(flat), flat.tolist()):
            with library.tensor(image, shape) as fed, session.run_tensor("x", fed) as result:
                check(f"an image as {type(image)}", [7], result.floats.tolist())
    check("a tensor of the array's shape", True, library.tensor(memoryview(flat)).handle > 0)


def check_options():
    with library.session_options(**SETTINGS) as options:
        options.set(cpu_mem_arena=False)
        with model("double", options=options) as session, session.binding() as bound:
            bound.synchronize_inputs(), bound.synchronize_outputs(), bound.clear_outputs()
            check("the profile where there is none", "", session.end_profiling())
    check("providers", True, "CPUExecutionProvider" in library.providers)
    with model("double") as session, library.run_options(log_verbosity_level=0) as options:
        said = refusal(run_until, options, session, 0.05)
        check("a deadline", "the run was ended after 0.05 s", said)
        check("a run after it", [2, 4, 6], session.run(FEED, options=options)["y"]["data"])


def run_until(options, session, seconds):
    with options.deadline(seconds):
        while True:
            session.run(FEED, options=options)


def check_examples():
    os.environ["ONNXRUNTIME_VORNIC_LIBRARY"] = str(given.library)
    os.chdir(models)
    with library.session("double.onnx") as session:
        names = {**vars(binding), "library": library, "session": session, "os": os}
        for name in [name for name in sorted(sys.modules) if name.startswith("onnxruntime_vornic")]:
            wrong, run = doctest.testmod(sys.modules[name], extraglobs=names)
            check(f"{run} examples in {name}", 0, wrong)


class Module:
    """Answers what caller.cpp answers, through the functions of the module."""

    def __init__(self):
        self.where = ""
        self.handles = {}

    def argument(self, word):
        kind, _, numbers = word.partition(":")
        if kind in ARRAYS:
            ctype, number = ARRAYS[kind]
            numbers = [*map(number, numbers.split(","))]
            return (ctype * len(numbers))(*numbers)
        if word[0] == "'":
            return word[1:].encode("latin-1")
        return self.handles[word[1:]] if word[0] == "$" else None if word == "null" else int(word)

    def answer(self, handle, kind, name, *words):
        arguments = [*map(self.argument, words)]
        if name == "tensor_adopt_f32" and arguments[0]:
            arguments[0] = allocated(arguments[0])
        got = self.handles[handle] = getattr(library.functions, name)(*arguments)
        if kind == "i":
            return str(got or 0)
        if kind == "p" or got is None:
            return "something" if got else "nothing"
        if kind == "t":
            return "'" + got.decode("latin-1")
        floats = [got] if kind == "f" else (ctypes.c_float * int(kind)).from_address(got)
        return ",".join(map(str, floats))

    def ask(self, requests):
        return [self.answer(*request) for request in requests]

    def end(self):
        return 0

    close = end


def check_script():
    player = play.Player(Module())
    for _, calls, _ in play.scenes(given.source / "tests/script", str(models)):
        player.release()
        for call in calls:
            player.play(play.Call(*call))
    check("the script of calls", True, player.end())


for name in _native.SIGNATURES:
    setattr(library.functions, name, counted(name, getattr(library.functions, name)))
for part in (check_feeds, check_lifetimes, check_tensors, check_options, check_examples):
    part()
check("what the classes call", [*declared()], sorted({*called}))
signatures = [types for _, types in sorted(_native.SIGNATURES.items())]
pointers = [types.count(ctypes.c_char_p) + types.count(ctypes.c_void_p) for types in signatures]
check("pointers in the declarations", [*declared().values()], pointers)
check_script()
finish()
