"""Prints scenes for watched.py: bindings that live randomly, with the answers of a simple model.

    binding_rounds.py ROUNDS SEED
"""
import random
import sys

CALLS = ("CreateCpuMemoryInfo", "CreateTensorWithDataAsOrtValue", "BindInput")  # of each bind
STEPS = ["bind"] * 6 + ["refused", "unknown", "malformed", "lost", "clear", "run", "run"]
NAMES = ("a", "<200*b>")  # the inputs of sum.onnx; a slot cannot keep all of the second
BIND = "iobinding_bind_cpu_input_json $iobinding '%s' '%s' "
ITEM = '{"dtype":"float","shape":[1],"data":[%d]}'
RUN = "$result = run_with_iobinding $session $iobinding null "
RESULT = '{"outputs":{"y":{"dtype":"float32","shape":[1],"data":[%d]}}}'


def answer_of_run(slots, lost):
    bound = dict(slot for k, slot in enumerate(slots) if k != lost)
    return f"-> '{RESULT % sum(bound.values())}'" if len(bound) == 2 else "! RunWithBinding failed"


def life():
    """The lines of one binding."""
    slots, lost = [], None  # every accepted bind, and the one that was refused when bound again
    yield "$iobinding = create_iobinding $session\niobinding_bind_output $iobinding 'y' -> 1"
    for step in random.choices(STEPS, k=20):
        name, number, is_full = random.choice(NAMES), random.randrange(10), len(slots) == 16
        line = BIND % ("nope" if step in ("unknown", "lost") else name, ITEM % number)
        if step == "clear":
            slots, lost = [], None
            yield "iobinding_clear_inputs $iobinding -> 1"
        elif step == "run":
            yield RUN + answer_of_run(slots, lost)
        elif is_full:
            yield (BIND % ("a", "[") if step == "malformed" else line) + "-> 0"
        elif step == "malformed":
            yield BIND % ("a", "[") + "! tensor_json must be an object"
        elif step == "refused":
            call = random.randrange(3)
            yield f"refuse {call + 1} 'injected'\n{line}! {CALLS[call]} failed: injected"
            lost = None if call == 2 else lost
        elif step == "bind":
            slots.append((name, number))
            yield line + "-> 1"
        else:  # an unknown name, after which all are bound again, one of them perhaps in vain
            lost = random.randrange(len(slots)) if step == "lost" and slots else None
            if lost is not None:
                yield f"refuse {4 + lost} 'injected'"
            yield line + "! BindInput failed"


random.seed(int(sys.argv[2]))
for number in range(int(sys.argv[1])):
    print(f"== Round {number} (sum.onnx)", *life(), sep="\n")
