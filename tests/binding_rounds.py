"""Writes scenes for watch: binds, refusals, clears and runs of one binding in any order, with the answers
that a plain model of it gives. binding_rounds.py ROUNDS SEED"""
import random
import sys

CALLS = ("CreateCpuMemoryInfo", "CreateTensorWithDataAsOrtValue", "BindInput")  # of a bind
STEPS = ["bind"] * 6 + ["refused", "unknown", "malformed", "lost", "clear", "run", "run"]
NAMES = ("a", "<200*b>")  # the second is longer than what a record keeps of it
pick = random.Random(int(sys.argv[2])).choice


class Binding:
    """Of sum.onnx, whose output is the sum of its two inputs."""

    def __init__(self):
        self.places = []  # name and number of each accepted bind
        self.lost = None  # the one that was refused when it was bound anew

    def bind(self, name, refused=None, known=True):
        """Of the calls from here on, the one with this number is refused."""
        number = pick(range(10))
        if refused is not None:
            print(f"refuse {refused + 1} 'injected'")
        answer = "-> 1"
        if len(self.places) == 16:
            answer = "-> 0"
        elif refused is not None and refused < len(CALLS):
            answer = f"-> 0 ! {CALLS[refused]} failed: injected"
        elif not known:
            answer = "-> 0 ! BindInput failed"
        item = f'{{"dtype":"float","shape":[1],"data":[{number}]}}'
        print(f"iobinding_bind_cpu_input_json $iobinding '{name}' '{item}' {answer}")
        if answer == "-> 1":
            self.places.append((name, number))
        elif "BindInput" in answer:
            self.lost = refused - len(CALLS) if refused is not None else None

    def run(self):
        bound = {name: number for k, (name, number) in enumerate(self.places) if k != self.lost}
        outputs = '{"outputs":{"y":{"dtype":"float32","shape":[1],"data":[%d]}}}' % sum(bound.values())
        answer = f"-> '{outputs}'" if len(bound) == 2 else "! RunWithBinding failed"
        print(f"$result = run_with_iobinding $session $iobinding null {answer}")

    def step(self):
        full, step = len(self.places) == 16, pick(STEPS)
        if step == "bind" or full and step in ("refused", "lost"):
            self.bind(pick(NAMES))
        elif step == "refused":
            self.bind(pick(NAMES), refused=pick(range(len(CALLS))))
        elif step == "unknown":
            self.bind("nope", known=False)
        elif step == "lost" and self.places:
            self.bind("nope", refused=len(CALLS) + pick(range(len(self.places))), known=False)
        elif step == "malformed":
            error = "" if full else " ! tensor_json must be an object"
            print(f"iobinding_bind_cpu_input_json $iobinding 'a' '[' -> 0{error}")
        elif step == "clear":
            print("iobinding_clear_inputs $iobinding -> 1")
            self.__init__()
        elif step == "run":
            self.run()


for number in range(int(sys.argv[1])):
    print(f"== Round {number}\n$session = create_session '<models>/sum.onnx' null\n"
          "$iobinding = create_iobinding $session\niobinding_bind_output $iobinding 'y' -> 1")
    binding = Binding()
    for _ in range(20):
        binding.step()
