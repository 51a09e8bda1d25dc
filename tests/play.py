"""Plays a script of calls, as the head of script.txt says, through the Python module, or through a program
that takes requests as caller.cpp says: play.py [OPTION...] SCRIPT MODELS LIBRARY|PROGRAM...

--provider NAME  appended to the options of sessions that have none of their own
--threads N      without the others: the program makes all calls in so many threads; the last error is a hint then, and not judged
--rounds N       so many times
--then WHAT      behind each time: leave (the last scene's handles stay) or unload (the library is)"""
import array
import contextlib
import ctypes
import importlib
import itertools
import pathlib
import re
import signal
import subprocess
import sys

LINE = re.compile(r"(?:\$(\w+) = )?(\w+)((?: '[^']*'| [\w$:.,-]+)*?)(?: -> (\.\.\.)?('[^']*'|[\w:.,+-]+?)(\.\.\.)?)?( !(?: (.*))?)?", re.DOTALL)
EARLIER = "invalid shape_json"  # what a call that must not touch the last error finds there
EMPTIES_ERROR = "(run_json|run_tensor|run_with_|tensor_|create_session$|session_end_profiling).*"
FIELDS, WIRE = "\t\n\r", "\1\2\3"


def block_of(kind, numbers):
    return array.array("fq"[kind == "i64"], map((float, int)[kind == "i64"], numbers.split(","))).tobytes()


class Bound:
    """The library through the Python module: what another language's player would have instead."""

    def __init__(self, path):
        sys.path.append(str(pathlib.Path(__file__).resolve().parents[1] / "modules/python"))
        module = importlib.import_module("onnxruntime_vornic")
        self.functions, self.libc, self.handles = module.Library(path).functions, ctypes.CDLL(None), {}
        self.libc.malloc.restype = ctypes.c_void_p

    def ask(self, requests):
        return [self.call(*request) for request in requests]

    where, end = "", int  # there is nothing to end, and no status but 0

    def call(self, handle, comes, name, *arguments):
        given = [self.argument(word) for word in arguments]
        if name == "tensor_adopt_f32" and given[0]:  # memory of malloc's
            given[0] = ctypes.memmove(self.libc.malloc(len(given[0])), given[0], len(given[0]))
        got = self.handles["$" + handle] = getattr(self.functions, name)(*given)
        if comes == "p" or got is None:
            return "something" if got else "nothing"
        if comes.isdigit():
            return ",".join(map(repr, array.array("f", ctypes.string_at(got, 4 * int(comes)))))
        return "'" + got.decode("latin-1") if comes == "t" else repr(got)

    def argument(self, word):
        if word[3:4] == ":":
            return block_of(*word.split(":"))
        return word[1:].encode("latin-1") if word[0] == "'" else self.handles[word] if word[0] == "$" else None if word == "null" else int(word)


class Program:
    """The library through a program, which is ended when no answer comes for 300 seconds."""
    where = "before the first scene"

    def __init__(self, command, **settings):
        self.process = subprocess.Popen(command, stdin=-1, stdout=-1, text=True, encoding="latin-1", **settings)

    def ask(self, requests):
        self.send(requests)
        return [self.answer() for _ in requests]

    def send(self, requests):
        wired = str.maketrans(FIELDS, WIRE)
        with contextlib.suppress(OSError):  # where the program has ended, which shows by its answer
            self.process.stdin.writelines("\t".join(field.translate(wired) for field in request) + "\n" for request in requests)
            self.process.stdin.flush()

    def answer(self):
        if hasattr(signal, "alarm"):  # Windows has none
            signal.signal(signal.SIGALRM, lambda *_: self.process.kill())
            signal.alarm(300)
        line = self.process.stdout.readline()
        if not line.endswith("\n"):
            print(f"{self.where}\nthe program said {line!r} and ended with {self.process.wait()}", flush=True)
            sys.exit(1)
        return line[:-1].translate(str.maketrans(WIRE, FIELDS))

    def close(self):
        with contextlib.suppress(OSError):
            self.process.stdin.close()

    def end(self):
        self.close()
        return self.process.wait()


class Step:
    """A line that is spelled out, and what must come of it."""

    def __init__(self, place, line):
        self.place, self.line = place, line
        self.kind, self.name, arguments, self.begins, answer, self.goes_on, fails, error = LINE.fullmatch(line).groups()
        self.arguments = re.findall(r"'[^']*'|[^ ]+", arguments)
        is_nothing = answer == "null" or self.kind and fails and not answer
        is_empty = re.fullmatch(EMPTIES_ERROR, self.name) and not is_nothing
        self.error = (error or "") if fails else "" if is_empty else EARLIER
        self.before = "session_end_profiling" if error == EARLIER else "tensor_zeros_f32"
        self.answer = "nothing" if is_nothing else answer or ("0" if fails else "something" if self.kind else "anything")
        self.is_text = self.answer[0] == "'"
        self.comes = "p" if self.kind or is_nothing else "t" if self.is_text else "i"
        if self.answer.startswith("f32:"):
            self.answer = self.answer[4:]
            self.comes = "f" if self.name == "result_float_at" else str(self.answer.count(",") + 1)

    def matches(self, got):
        if self.is_text:
            whole = self.answer[:-1]
            return got.startswith(whole) if self.goes_on else got.endswith(whole[1:]) if self.begins else got == whole
        if self.comes in "pit":
            return self.answer in (got, "anything")
        return got != "nothing" and block_of("f32", got) == block_of("f32", self.answer)

    def judge(self, got, error):
        """Whether this came; says what is otherwise. ONNX Runtime's own words in an error may be left out."""
        if self.matches(got) and (error is None or self.error in (error, error.partition(" failed: ")[0] + " failed")):
            return True
        both = [f"{text}; the last error {'as it was' if last == EARLIER else last or 'empty'}" for text, last in ((self.answer, self.error), (got + got[:1] * self.is_text, error))]
        at = next((k for k, (a, b) in enumerate(zip(*both)) if a != b), 0)
        expected, got = ("... " * (at > 60) + text[max(at - 60, 0):][:200] for text in both)
        print(f"{self.place}: not as expected, from byte {at} on\n  call      {self.line[:200]}\n  expected  {expected}\n  got       {got}", flush=True)


class Player:
    """Spells lines out, asks for their calls, and judges what comes."""

    def __init__(self, caller, models, provider="", threads=0):
        self.caller, self.provider, self.threads, self.words = caller, provider, threads, {"models": models}
        self.handles, self.new, self.waiting, self.profiles, self.played, self.failed = {}, map("h{}".format, itertools.count()), [], set(), 0, 0

    def release(self):
        self.caller.where = "releasing what is left behind " + self.caller.where
        self.ask([("", "p", "release_" + kind, "$" + handle) for kind, handle in sorted(self.handles.items()) if handle != "shared"])
        self.handles.clear()

    def play(self, place, line):
        if definition := re.fullmatch(r"([\w|]+): (.*)", line):
            self.words.update(dict.fromkeys(definition[1].split("|"), definition[2]))
            return
        times, line = re.fullmatch(r"(?:(\d+)x )?(.*)", line).groups()
        choice, choices = 0, 1
        while choice < choices:
            spelled, choices = self.spell(line, choice)
            for _ in range(int(times or 1)):
                self.call(Step(place, spelled))
            choice += 1

    def spell(self, text, choice):
        """The text spelled out from the inside, in one of its choices, and how many there are."""
        choices = 1
        while part := re.search("<((?:[^<>-]|-(?!>)|->)*)>", text):
            parts, (times, star, piece) = part[1].split("|"), part[1].partition("*")
            choices = max(choices, len(parts))
            byte = re.fullmatch("x([0-9a-f]{2})", times)
            made = parts[choice % len(parts)] if len(parts) > 1 else int(times) * piece if star else chr(int(byte[1], 16)) if byte else self.words[times]
            text = text[: part.start()] + made + text[part.end():]
        return text, choices

    def call(self, step):
        if self.threads and step.name in ("get_available_providers_json", "session_end_profiling"):
            return  # one thread at a time
        if self.threads and step.line.endswith("/double.onnx' null"):
            return self.handles.update(session="shared")
        old, new, arguments = self.handles.get(step.kind), next(self.new), [self.argument(word) for word in step.arguments]
        if self.provider and step.name == "create_session" and arguments[1] == "null":
            arguments[1] = "$provided"
        if step.name == "session_options_enable_profiling" and step.answer == "1":
            self.profiles.add("onnxruntime_profile" if arguments[1] == "null" else arguments[1][1:])
        requests = [("", "p", step.before, "null"), (step.kind and new or "", step.comes, step.name, *arguments), ("", "t", "last_error")]
        requests += [("", "t", "result_json", "$" + new)] * bool(step.kind and step.is_text) + [("", "p", f"release_{step.kind}", f"${old}")] * (old not in (None, "shared"))
        self.handles.update({step.kind: new} if step.kind else {})
        self.caller.where = f"{step.place}: {step.line[:200]}"
        self.ask(requests, lambda answers: self.look(step, *answers[1:]))

    def argument(self, word):
        return word.removesuffix("'") if word[0] != "$" else "$" + self.handles[word[1:]] if word[1:] in self.handles else "null"

    def ask(self, requests, look=lambda answers: None):
        self.played += 1
        if not self.threads:
            return look(self.caller.ask(requests))
        self.caller.send(requests)
        self.waiting.append((len(requests), look))

    def look(self, step, got, error, json="", *_):
        got = json if step.is_text and step.kind else got
        if step.name == "session_end_profiling" and step.goes_on and "_profile_" in got:
            got = got[: len(step.answer) - 1]  # a time follows
        self.came(step, got, None if self.threads else error[1:])

    def came(self, step, got, error):
        self.failed += not step.judge(got, error)

    def end(self):
        """Whether all was as expected, the answers of the threads and the end of the program included."""
        for _ in range(self.threads):
            self.caller.where = "in the threads"
            self.caller.close()
            for count, look in self.waiting:
                look([self.caller.answer() for _ in range(count)])
        status = self.caller.end()
        for profile in [path for prefix in self.profiles for path in pathlib.Path().glob(prefix + "_2*.json")]:
            profile.unlink(missing_ok=True)
        print(f"{self.played} calls played, {self.failed} not as expected, the program ended with {status}")
        return self.played > 0 and self.failed == status == 0


def scenes(path):
    """Each scene's title, and its lines with their places."""
    title, lines = "", []
    for number, line in enumerate(open(path, encoding="latin-1"), 1):
        if line.startswith("== "):
            yield title, lines
            title, model = f"{path}:{number}: {line[3:-1]}", re.search(r"\((\w+\.onnx)\)", line)
            lines = [(title, f"$session = create_session '<models>/{model[1]}' null")] if model else []
        elif line[0] not in "#\n":
            lines.append((f"{path}:{number}", line.rstrip("\n")))
    yield title, lines


def main():
    options, given = {"--provider": "", "--threads": 0, "--rounds": 1, "--then": ""}, sys.argv[1:]
    while given and given[0] in options:
        options[given[0]] = type(options[given[0]])(given[1])
        del given[:2]
    others = options["--provider"] or options["--rounds"] > 1 or options["--then"]
    script, models, *command = given if len(given) > 2 and not (options["--threads"] and others) else sys.exit(__doc__)
    if not pathlib.Path(models.removeprefix("Z:"), "double.onnx").exists():  # Wine's name of the root
        sys.exit(f"play: {models} holds no double.onnx: make_models.py FOLDER makes the models")
    caller = Program(command) if command[1:] else Bound(command[0])
    player = Player(caller, models, options["--provider"], options["--threads"])
    for number in range(options["--rounds"]):
        # For all threads. To bind ONNX Runtime empties the last error; and it needs a CPU session beside WebGPU's.
        caller.ask([("shared", "p", "create_session", f"'{models}/double.onnx", "null")])
        if player.provider:
            caller.ask([("provided", "p", "create_session_options"), ("", "i", "session_options_append_execution_provider", "$provided", "'" + player.provider)])
        for _, lines in scenes(script):
            player.release()
            for line in lines:
                player.play(*line)
        if options["--then"] != "leave":
            player.release()
        if not player.threads and not player.provider:
            caller.ask([("", "p", "release_session", "$shared")])
        if options["--then"] == "unload":
            player.ask([("", "p", "unload")])
        print("round", number + 1, flush=True)
    return 0 if player.end() else 1


if __name__ == "__main__":
    sys.exit(main())
