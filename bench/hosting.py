"""Runs bench/hosting.c row by row and writes its figures into docs/hosting.md and docs/hosting.svg:
hosting.py FOLDER DOCS [TABLE...]"""
import pathlib
import re
import statistics
import subprocess
import sys
import time

import plot

FOLDER, DOCS = map(pathlib.Path, sys.argv[1:3])
ROOT = DOCS.resolve().parent
DETECTOR = ROOT / ".deps/models/silero_vad.onnx"
MODELS = (FOLDER / "models").resolve()
PROGRAMS = {"Linux": [FOLDER / "linux/hosting"], "Wine": ["wine", FOLDER / "windows/hosting.exe"]}
THREADS = [(1, 1), (8, 1), (64, 1), (1, 0), (8, 0), (64, 0), (8, 8)]  # Sessions, threads of each.


def lines(*arguments, target="Linux", before=()):
    """What a part prints: a list of figures for each line."""
    done = subprocess.run(
        [*before, *PROGRAMS[target], *map(str, arguments)],
        text=True,
        stdout=subprocess.PIPE,
        stderr=subprocess.DEVNULL,
        check=True,
    )
    return [line.strip("\n").split("\t") for line in done.stdout.splitlines()]


def figures(*arguments, **settings):
    return [float(figure) for figure in lines(*arguments, **settings)[0]]


def number(value):
    return f"{value:,.0f}" if value >= 30 else f"{value:.1f}" if value >= 1 else f"{value:.2f}"


def table(heads, rows):
    yield "| " + " | ".join(heads) + " |"
    yield "| --- |" + " ---: |" * (len(heads) - 1)
    yield from ("| " + " | ".join(row) + " |" for row in rows)


def named(sessions, threads):
    many = f"{sessions} session{'s' * (sessions > 1)}"
    return many + (f" of {threads} thread{'s' * (threads > 1)}" if threads else ", default")


def threads():
    best = {}
    for _ in range(2):
        for target in PROGRAMS:
            for row in THREADS:
                got = figures("threads", DETECTOR, *row, target=target)
                best[target, row] = max(best.get((target, row), [0]), got)

    def cells(row):
        for target in PROGRAMS:
            rate, busy, own = best[target, row]
            yield number(rate)
            yield f"{rate / best[target, THREADS[0]][0]:.2f}"
            if target == "Linux":
                yield from (number(busy), number(own))

    svg = plot.bars(
        [(named(*row), [best[t, row][0] for t in PROGRAMS]) for row in THREADS],
        list(PROGRAMS),
        "runs a second, 8 host threads",
    )
    (DOCS / "hosting.svg").write_text(svg)
    return table(
        [
            "8 host threads",
            "runs/s",
            "of the first",
            "CPU µs a run",
            "MB",
            "Wine: runs/s",
            "of the first",
        ],
        ([named(*row), *cells(row)] for row in THREADS),
    )


def pins():
    rows = [
        ("alone", "default", [], 0),
        ("`taskset -c 0`", "default", ["taskset", "-c", "0"], 0),
        ("`taskset -c 0`", "2", ["taskset", "-c", "0"], 2),
    ]
    for where, count, before, intra in rows:
        host, *workers = lines("pins", DETECTOR, intra, before=before)[0][1:]
        yield [where, count, host, ", ".join(workers)]


def whole_process(*command):
    """The time of a process, ms."""
    begin = time.perf_counter()
    subprocess.run(
        command,
        check=True,
        stdout=subprocess.DEVNULL,
        stderr=subprocess.DEVNULL,
        env={"NODE_PATH": str(ROOT / ".deps/node/node_modules"), "PATH": "/usr/bin"},
    )
    return 1000 * (time.perf_counter() - begin)


def starts():
    library = FOLDER / "linux/libonnxruntime_vornic.so.1"
    examples = ROOT / "examples"
    rows = [
        ("C, direct calls of ONNX Runtime", [*PROGRAMS["Linux"], "start", DETECTOR, "direct"]),
        ("C, this library", [*PROGRAMS["Linux"], "start", DETECTOR, "library"]),
        ("Python", ["/usr/bin/python3", examples / "python/detect.py", DETECTOR, library]),
        ("Node.js, koffi", ["node", examples / "node/detect.js", DETECTOR, library]),
    ]
    # They take turns, so that a slow moment of the machine meets them all.
    rounds = [[whole_process(*command) for _, command in rows] for _ in range(21)]
    times = list(map(statistics.median, zip(*rounds)))
    return (
        [name, number(taken), f"{taken / times[0]:.2f}"] for (name, _), taken in zip(rows, times)
    )


def sessions():
    for name, model, level in [
        ("a model of one node", MODELS / "inputs1.onnx", 99),
        ("the detector", DETECTOR, 99),
        ("the detector, optimisation level 0", DETECTOR, 0),
    ]:
        tries = [figures("sessions", model, 1, level) for _ in range(5)]
        first, further, first_run, later = map(min, zip(*tries))
        yield [name, number(first), number(further), f"{first_run:.3f}", f"{later:.3f}"]


def memory():
    for name, model in [
        ("a model of one node", MODELS / "inputs1.onnx"),
        ("the detector", DETECTOR),
    ]:
        none, one, all16, released, given = figures("memory", model, 1)
        further = (all16 - one) / 15
        yield [name, *map(number, (one - none, further, all16, released, given))]


def large():
    for name, model in [
        ("table, inside the model", "table_inside"),
        ("table, in a file beside it", "table_beside"),
        ("factor of a MatMul, inside", "factor_inside"),
        ("factor of a MatMul, beside it", "factor_beside"),
    ]:
        path = MODELS / f"{model}.onnx"
        own = statistics.median(float(row[1]) for row in lines("large", path) if row[0].isdigit())
        yield [name, number(figures("sessions", path, 1, 99)[1]), number(own)]


def forks():
    before = [
        (f"before `fork`, {f'{intra} threads' if intra else 'default'}", intra, "before")
        for intra in (2, 3, 0, 4, 8)
    ]
    for name, intra, when in [
        ("in each child, 1 thread", 1, "after"),
        ("before `fork`, 1 thread", 1, "before"),
        *before,
    ]:
        rows = lines("fork", DETECTOR, intra, when)
        first = statistics.median(float(row[1]) for row in rows if row[0] == "first")
        own = statistics.median(float(row[1]) for row in rows if row[0].isdigit())
        _, count, good, crashed, hung = rows[-1]
        yield [name, number(first), number(own), f"{good} of {count}", crashed, hung]


def deadlines():
    for name, model in [("400 nodes", "chain"), ("1 node", "factor_inside")]:
        for target in PROGRAMS:
            whole, ended, late, latest = lines("deadline", MODELS / f"{model}.onnx", target=target)[
                0
            ]
            yield [f"{name}, {target}", whole, ended, *([late, latest] if float(latest) else "––")]


TABLES = {
    "threads": threads,
    "pins": lambda: table(
        ["started", "threads asked for", "host's thread may use", "ONNX Runtime's may use"], pins()
    ),
    "starts": lambda: table(["Process, from start to end", "ms", "of the first"], starts()),
    "sessions": lambda: table(
        ["ms", "first session", "each further", "first run", "later runs"], sessions()
    ),
    "memory": lambda: table(
        ["MB", "first session", "each further", "16 sessions", "released", "given back"], memory()
    ),
    "large": lambda: table(
        ["128 MiB of weights, 4 processes", "load, ms", "MB of its own, each"], large()
    ),
    "forks": lambda: table(
        [
            "Session made",
            "first answer, ms",
            "MB of its own, each",
            "right to the end",
            "crashed",
            "hung",
        ],
        forks(),
    ),
    "deadlines": lambda: table(
        ["A model of", "a run, ms", "ended early", "ms after the call, median", "most"], deadlines()
    ),
}

page = DOCS / "hosting.md"
for marker in sys.argv[3:] or TABLES:
    rows = "\n".join(TABLES[marker]())
    print(f"{rows}\n", flush=True)
    text = page.read_text(encoding="utf-8")
    text, count = re.subn(
        f"(<!-- {marker} -->\n\n).*?(\n\n<!-- end -->)",
        lambda found: found[1] + rows + found[2],
        text,
        flags=re.DOTALL,
    )
    if count != 1:
        sys.exit(f"docs/hosting.md lacks the place of {marker}")
    page.write_text(text, encoding="utf-8")
