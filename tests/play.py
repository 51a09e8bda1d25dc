"""Plays scripts of calls (see script/calls.txt) through a program (see caller.cpp)."""
import argparse
import array
import contextlib
import fileinput
import itertools
import os
import pathlib
import re
import signal
import subprocess
import sys
import tempfile

CALL = re.compile(
    r"(?:\$(?P<kind>\w+) = )?(?P<name>\w+)"
    r"(?P<arguments>(?: '[^']*'| null| \$\w+| (?:f32:|i64:)?[\d.,-]+)*?)"
    r"(?: -> (?P<begins>\.\.\.)?(?P<answer>'[^']*'|[\w:.,+-]+?)(?P<goes_on>\.\.\.)?)?"
    r"(?P<fails> !(?: (?P<error>.*))?)?",
    re.DOTALL,
)
EARLIER = "invalid shape_json"  # the last error that is set before each call
APPEND = "session_options_append_execution_provider"
CLEARS_ERROR = "(run_json|run_tensor|run_with_|tensor_|create_session$|session_end_profiling).*"
NOT_IN_THREADS = ("get_available_providers_json", "session_end_profiling")
TO_WIRE, FROM_WIRE = str.maketrans("\t\n\r", "\1\2\3"), str.maketrans("\1\2\3", "\t\n\r")


def floats(numbers):
    return array.array("f", map(float, numbers.split(","))).tobytes()


def shown(text, most=600):
    """The text, shortened, with unprintable bytes as scripts write them."""
    text = text if len(text) <= most else text[: most - 200] + " ... " + text[-150:]
    return re.sub("[^ -~]", lambda byte: f"<x{ord(byte[0]):02x}>", text)


def difference(one, other, names=("expected", "got")):
    """Both texts around the first byte that differs, and a mark below it."""
    at = len(os.path.commonprefix([one, other]))
    same = "... " * (at > 60) + shown(one[max(at - 60, 0) : at])
    lines = [f"  {name:<10}{same}" for name in names]
    ends = [shown(text[at : at + 140]) for text in (one, other)]
    return f"{lines[0]}{ends[0]}\n{lines[1]}{ends[1]}\n{' ' * len(lines[0])}^ byte {at}"


class Program:
    """A program that answers requests. It is killed if an answer takes 300 seconds."""

    def __init__(self, command, **settings):
        pipes = dict(stdin=subprocess.PIPE, stdout=subprocess.PIPE, encoding="latin-1")
        self.where = "before the first scene"
        self.log = tempfile.TemporaryFile("w+", encoding="latin-1")
        self.process = subprocess.Popen(command, stderr=self.log, **pipes, **settings)

    def ask(self, requests):
        self.send(requests)
        return [self.answer() for _ in requests]

    def send(self, requests):
        lines = ("\t".join(field.translate(TO_WIRE) for field in each) + "\n" for each in requests)
        with contextlib.suppress(OSError):  # if the program has ended, answer() reports it
            self.process.stdin.writelines(lines)
            self.process.stdin.flush()

    def answer(self):
        if hasattr(signal, "alarm"):  # Windows has none
            signal.signal(signal.SIGALRM, lambda *_: self.process.kill())
            signal.alarm(300)
        line = self.process.stdout.readline()
        if not line.endswith("\n"):
            sys.exit(f"FAILED: {self.where}\n  got       {line!r}, and exit status {self.end()}")
        return line[:-1].translate(FROM_WIRE)

    def close(self):
        with contextlib.suppress(OSError):
            self.process.stdin.close()

    def end(self):
        """The exit status; if it is not 0, what the program and ONNX Runtime logged is printed."""
        self.close()
        status = self.process.wait()
        self.log.seek(0)
        if status:
            print(self.log.read(), flush=True)
        return status


class Call:
    """A call of a script with the answer and the last error that are expected."""

    def __init__(self, place, text):
        parts = CALL.fullmatch(text) or sys.exit(f"FAILED: {place}: this is not a call: {text}")
        vars(self).update(parts.groupdict(), place=place, text=text)
        self.arguments = re.findall(r"'[^']*'|[^ ]+", self.arguments)
        is_null = self.answer == "null" or self.kind and self.fails and not self.answer
        clears = re.fullmatch(CLEARS_ERROR, self.name) and not is_null
        # This call sets EARLIER; where EARLIER is expected, the other sets something else.
        self.setter = "session_end_profiling" if self.error == EARLIER else "tensor_zeros_f32"
        self.error = (self.error or "") if self.fails else "" if clears else EARLIER
        default = "0" if self.fails else "something" if self.kind else "anything"
        self.answer = "nothing" if is_null else self.answer or default
        self.is_text = self.answer[0] == "'"
        self.type = "p" if self.kind or is_null else "t" if self.is_text else "i"
        if self.answer.startswith("f32:"):
            self.answer = self.answer[4:]
            self.type = "f" if self.name == "result_float_at" else str(self.answer.count(",") + 1)

    def matches(self, got):
        if self.type not in "pit":
            return got != "nothing" and floats(got) == floats(self.answer)
        if self.begins:
            return got.endswith(self.answer[1:])
        return (
            got.startswith(self.answer[:-1]) if self.goes_on else self.answer in (got, "anything")
        )

    def check(self, got, error):
        """Whether both are as expected; prints what is not. ONNX Runtime's words are optional."""
        wrong = [] if self.matches(got) else [(self.answer, got)]
        if self.error not in (error, error.partition(" failed: ")[0] + " failed"):
            wrong.append(("last error: " + (text or "none") for text in (self.error, error)))
        if wrong:
            print(f"FAILED: {self.place}\n  call      {shown(self.text)}")
            print(*itertools.starmap(difference, wrong), sep="\n", flush=True)
        return not wrong


class Player:
    """Makes the calls of a script through a program and checks what they answer."""

    def __init__(self, program, threads=0, provider=None):
        self.program, self.threads, self.provider = program, threads, provider
        self.handles = {}  # the latest of each kind
        self.names = map("h{}".format, itertools.count())
        self.pending = []  # calls whose answers come when the threads have ended
        self.played = self.failed = 0

    def release(self):
        self.program.where = "releasing the handles of the scene of " + self.program.where
        for kind, handle in sorted(self.handles.items()):
            if handle != "shared":
                self.ask([("", "p", "release_" + kind, "$" + handle)])
        self.handles.clear()

    def play(self, call):
        if self.threads and call.name in NOT_IN_THREADS:
            return
        if self.threads and call.text.endswith("/double.onnx' null"):
            return self.handles.update(session="shared")
        new, old = next(self.names), self.handles.get(call.kind, "shared")
        arguments = [self.argument(word) for word in call.arguments]
        if self.provider and call.name == "create_session" and arguments[1] == "null":
            arguments[1] = "$provided"
        requests = [
            ("", "p", call.setter, "null"),
            (new if call.kind else "", call.type, call.name, *arguments),
            ("", "t", "last_error"),
        ]
        if call.kind and call.is_text:
            requests.append(("", "t", "result_json", "$" + new))
        if old != "shared":
            requests.append(("", "p", "release_" + call.kind, "$" + old))
        if call.kind:
            self.handles[call.kind] = new
        self.program.where = f"{call.place}\n  call      {shown(call.text)}"
        self.ask(requests, call)

    def argument(self, word):
        if word[0] == "$":
            return "$" + self.handles[word[1:]] if word[1:] in self.handles else "null"
        return word.removesuffix("'")

    def ask(self, requests, call=None):
        self.played += 1
        if self.threads:
            self.program.send(requests)
            self.pending.append((len(requests), call))
        else:
            self.look(call, self.program.ask(requests))

    def look(self, call, answers):
        if call:
            got = answers[3] if call.kind and call.is_text else answers[1]
            # Other threads set the last error too.
            error = call.error if self.threads else answers[2][1:]
            self.check(call, got + "'" * call.is_text, error)

    def check(self, call, got, error):
        self.failed += not call.check(got, error)

    def end(self):
        """Whether every answer, those of the threads included, and the exit status were right."""
        self.program.close()
        for _ in range(self.threads):
            for count, call in self.pending:
                self.look(call, [self.program.answer() for _ in range(count)])
        status = self.program.end()
        for profile in pathlib.Path().glob("*_profile_2*.json"):
            profile.unlink(missing_ok=True)
        print(f"{self.played} calls played, {self.failed} failed, exit status {status}")
        return self.played > 0 and self.failed == status == 0


def lines_of(script):
    """Every line of a file or a folder's files, as [place, text, rows], continuations joined."""
    lines, files = [], sorted(pathlib.Path(script).glob("*.txt")) or [script]
    for text in (given := fileinput.FileInput(files, encoding="latin-1")):
        text, place = text.rstrip("\n"), f"{given.filename()}:{given.filelineno()}"
        if text.startswith(8 * " "):
            last = (lines[-1][2] or lines)[-1]
            is_outside = last is lines[-1] and not re.match(r"[\w|]+: ", last[1])
            last[1] += " " * (is_outside and last[1].count("'") % 2 == 0) + text[8:]
        elif text.startswith(4 * " "):
            lines[-1][2].append([place, text[4:]])
        elif text[:1] not in ("", "#"):
            lines.append([place, text, []])
    return lines


def spelled(text, words):
    """The text in each of its choices, with every <...> replaced, the innermost first."""
    choice, choices = 0, 1
    while choice < choices:
        made = text
        while part := re.search("<((?:[^<>-]|-(?!>)|->)*)>", made):
            options, (times, star, piece) = part[1].split("|"), part[1].partition("*")
            choices = max(choices, len(options))
            if len(options) > 1:
                new = options[choice % len(options)]
            elif re.fullmatch("x[0-9a-f]{2}", times):
                new = chr(int(times[1:], 16))
            else:
                new = int(times) * piece if star else words[times]
            made = made[: part.start()] + new + made[part.end() :]
        yield made
        choice += 1


def scenes(script, models):
    """Each scene as its title, its calls with their places, and the words that are defined."""
    words, title, calls = {"models": models}, "", []
    for place, text, rows in lines_of(script):
        if bool(rows) != ("<1>" in text):
            sys.exit(f"FAILED: {place}: a line with <1> needs rows, and no other may have any")
        if text.startswith("== "):
            yield title, calls, words.copy()
            title, calls = f"{place}: {text[3:]}", []
            for model in re.findall(r"\((\w+\.onnx)\)", text):
                calls.append((place, f"$session = create_session '{models}/{model}' null"))
        elif definition := re.fullmatch(r"([\w|]+): (.*)", text):
            words.update(dict.fromkeys(definition[1].split("|"), definition[2]))
        else:
            times, text = re.fullmatch(r"(?:(\d+)x )?(.*)", text).groups()
            for place, row in rows or [(place, "")]:
                cells = row.split(" | ")
                filled = re.sub(r"<(\d)>", lambda column: cells[int(column[1]) - 1], text)
                calls += [(place, made) for made in spelled(filled, words)] * int(times or 1)
    yield title, calls, words


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    add = parser.add_argument
    add("--provider", help="is appended to the options of sessions without any")
    add("--threads", type=int, default=0, help="the number that PROGRAM is told to start")
    add("--rounds", type=int, default=1, help="how often the script is played")
    add("--then", choices=["leave", "unload"], help="what is done after each round")
    add("script", help="a file, or a folder whose files are played in the order of their names")
    add("models", help="a folder that make_models.py has filled")
    add("program", nargs=argparse.REMAINDER, help="with its arguments")
    given = parser.parse_args()
    player = Player(Program(given.program), given.threads, given.provider)
    ask = player.program.ask
    for number in range(given.rounds):
        # Threads share this session, WebGPU needs one on the CPU besides its own, and the call
        # binds ONNX Runtime, which clears the last error.
        ask([("shared", "p", "create_session", f"'{given.models}/double.onnx", "null")])
        if given.provider:
            ask([("provided", "p", "create_session_options")])
            ask([("", "i", APPEND, "$provided", "'" + given.provider)])
        for _, calls, _ in scenes(given.script, given.models):
            player.release()
            for call in calls:
                player.play(Call(*call))
        if given.then != "leave":
            player.release()
        if not given.threads and not given.provider:
            ask([("", "p", "release_session", "$shared")])
        if given.then == "unload":
            player.ask([("", "p", "unload")])
        print("round", number + 1, flush=True)
    return 0 if player.end() else 1


if __name__ == "__main__":
    sys.exit(main())
