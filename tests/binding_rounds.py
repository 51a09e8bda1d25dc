"""Writes scenes for watched.py: the lives of bindings, with binds, refusals, clears and runs in any order, and
the answers that a plain model of a binding gives. binding_rounds.py ROUNDS SEED"""
import random
import sys

CALLS = ("CreateCpuMemoryInfo", "CreateTensorWithDataAsOrtValue", "BindInput")  # of a bind
STEPS = ["bind"] * 6 + ["refused", "unknown", "malformed", "lost", "clear", "run", "run"]
NAMES = (
    "a",
    "<200*b>",
)  # the inputs of sum.onnx; the second is longer than what a record keeps of it
random.seed(int(sys.argv[2]))


def life():
    """Of a binding, in lines."""
    places, lost = (
        [],
        -1,
    )  # name and number of each accepted bind; the one refused as it was bound anew
    yield "$iobinding = create_iobinding $session\niobinding_bind_output $iobinding 'y' -> 1"
    for step in random.choices(STEPS, k=20):
        name, number, refused, full = (
            random.choice(NAMES),
            random.randrange(10),
            None,
            len(places) == 16,
        )
        if step == "clear":
            places, lost = [], -1
            yield "iobinding_clear_inputs $iobinding -> 1"
        elif step == "run":
            bound = dict(place for k, place in enumerate(places) if k != lost)
            outputs = '{"outputs":{"y":{"dtype":"float32","shape":[1],"data":[%d]}}}' % sum(
                bound.values()
            )
            yield "$result = run_with_iobinding $session $iobinding null " + (
                f"-> '{outputs}'" if len(bound) == 2 else "! RunWithBinding failed"
            )
        elif step == "malformed":
            yield "iobinding_bind_cpu_input_json $iobinding 'a' '[' -> 0" + " ! tensor_json must be an object" * (
                not full
            )
        else:
            if step in ("unknown", "lost"):
                name = "nope"
            if not full and (
                step == "refused" or step == "lost" and places
            ):  # a call of the bind, or of those bound anew
                refused = (
                    random.randrange(3) if step == "refused" else 3 + random.randrange(len(places))
                )
                yield f"refuse {refused + 1} 'injected'"
            answer = (
                "-> 0"
                if full
                else f"-> 0 ! {CALLS[refused]} failed: injected"
                if step == "refused"
                else "-> 0 ! BindInput failed"
                if name == "nope"
                else "-> 1"
            )
            yield f"""iobinding_bind_cpu_input_json $iobinding '{name}' '{{"dtype":"float","shape":[1],"data":[{number}]}}' {answer}"""
            if answer == "-> 1":
                places.append((name, number))
            elif "BindInput" in answer:
                lost = refused - 3 if refused else -1


for number in range(int(sys.argv[1])):
    print(f"== Round {number} (sum.onnx)", *life(), sep="\n")
