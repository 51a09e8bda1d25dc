"""Measures threads, containers, starts and fork for docs/hosting.md: hosting.py LIBRARY DETECT [TABLE...]

DETECT is the C example. Every row is measured in a process of its own.
"""
import multiprocessing
import os
import pathlib
import re
import signal
import statistics
import subprocess
import sys
import threading
import time

from page import ROOT, number, replace, table

sys.path.insert(0, str(ROOT / "modules/python"))
from onnxruntime_vornic import Library, feed_json, tensor

LIBRARY, EXAMPLE = sys.argv[1:3]
MODEL = str(ROOT / ".deps/models/silero_vad.onnx")
HOST_THREADS, CHILDREN = 8, 16
ZEROS = tensor("float32", [2, 1, 64], [0] * 128)
SAMPLES = tensor("float32", [1, 512], [(i % 128 - 64) / 128 for i in range(512)])
RATE = tensor("int64", [], [16000])
FEED = feed_json({"input": SAMPLES, "sr": RATE, "h": ZEROS, "c": ZEROS})
answers = set()  # one for all runs


def open_session(threads):
    session = Library(LIBRARY).session(MODEL, threads)
    run(session)
    return session


def run(session):
    with session.run(FEED) as result:
        answers.add(result.text)
    assert len(answers) == 1, answers


def own_megabytes():
    """Memory that this process shares with no other."""
    text = pathlib.Path("/proc/self/smaps_rollup").read_text()
    return int(re.search(r"Private_Dirty: +(\d+)", text)[1]) * 1.024e-3


def milliseconds(call):
    begin = time.perf_counter()
    call()
    return 1e3 * (time.perf_counter() - begin)


def isolated(function, *arguments):
    """What a function returns in a new process."""
    with multiprocessing.get_context("fork").Pool(1) as pool:
        return pool.apply(function, arguments)


def threads_row(count, threads):
    """Runs a second and MB."""
    before = own_megabytes()
    sessions = [open_session(threads) for _ in range(count)]
    runs, end = [0] * HOST_THREADS, time.perf_counter() + 2

    def keep_running(index):
        while time.perf_counter() < end:
            run(sessions[(index + runs[index] * HOST_THREADS) % count])
            runs[index] += 1

    hosts = [threading.Thread(target=keep_running, args=[i]) for i in range(HOST_THREADS)]
    begin = time.perf_counter()
    for host in hosts:
        host.start()
    for host in hosts:
        host.join()
    return sum(runs) / (time.perf_counter() - begin), own_megabytes() - before


def threads():
    rows = []
    for count in (1, 8, 64):
        one, default = (
            max(isolated(threads_row, count, each) for _ in range(2)) for each in (1, 0)
        )
        rows.append([str(count), number(one[0]), number(default[0]), number(one[1])])
    return table(["sessions", "runs/s, 1 thread each", "default threads", "MB"], rows)


def cpus(threads):
    """The CPUs that ONNX Runtime's threads may use, of a process that may use CPU 0."""
    os.sched_setaffinity(0, [0])
    with open_session(threads):
        tasks = pathlib.Path("/proc/self/task").glob("*/status")
        texts = [task.read_text() for task in tasks if task.parent.name != str(os.getpid())]
    return ", ".join(re.search(r"Cpus_allowed_list:\s+(\S+)", text)[1] for text in texts)


def containers():
    heads = ["CPUs of the process", "threads asked for", "CPUs of ONNX Runtime's"]
    rows = (["0", str(threads or "default"), isolated(cpus, threads)] for threads in (0, 2))
    return table(heads, rows, names=3)


def starts():
    commands = {
        "C": [EXAMPLE, MODEL],
        "Python": ["/usr/bin/python3", "examples/python/detect.py", MODEL, LIBRARY],
        "Node.js, koffi": ["node", "examples/node/detect.js", MODEL, LIBRARY],
    }
    environment = {"NODE_PATH": ".deps/node/node_modules", "PATH": "/usr/bin"}

    def start(command):
        subprocess.run(command, cwd=ROOT, env=environment, check=True, capture_output=True)

    # Interleaved, so that a slow moment of the machine affects all of them.
    rounds = [[milliseconds(lambda: start(c)) for c in commands.values()] for _ in range(21)]
    times = map(statistics.median, zip(*rounds))
    return table(["`detect`, start to end", "ms"], zip(commands, map(number, times)))


def child(session, threads, pipe):
    signal.alarm(60)
    begin = time.perf_counter()
    if session is None:
        session = open_session(threads)
    run(session)
    first = 1e3 * (time.perf_counter() - begin)
    for _ in range(1000):
        run(session)
    time.sleep(1)  # until all children have run, to measure what they share
    os.write(pipe, f"{first} {own_megabytes()}\n".encode())
    signal.alarm(10)  # a release takes milliseconds, or never returns
    # Not by close(), which releases nothing of the parent's in a child.
    session.library.functions.release_session(session.handle)
    os._exit(0)


def fork_row(when, threads):
    session = open_session(threads) if when == "before `fork`" else None
    time.sleep(1)  # a server is at rest when it forks
    end, pipe = os.pipe()
    pids = []
    for _ in range(CHILDREN):
        pids.append(os.fork())
        if pids[-1] == 0:
            try:
                child(session, threads, pipe)
            finally:
                os._exit(1)
    statuses = [os.waitpid(pid, 0)[1] for pid in pids]
    figures = [map(float, line.split()) for line in os.read(end, 65536).decode().splitlines()]
    ends = {"right": statuses.count(0), "hung": statuses.count(signal.SIGALRM)}
    ends["crashed"] = CHILDREN - sum(ends.values())
    medians = [number(statistics.median(column)) for column in zip(*figures)]
    return [*medians, ", ".join(f"{count} {end}" for end, count in ends.items() if count)]


def forks():
    heads = ["session made", "threads", "first answer, ms", "MB each", f"{CHILDREN} children ended"]
    cases = [("in each child", 1), *(("before `fork`", threads) for threads in (1, 2, 0, 4))]
    rows = ([when, str(n or "default"), *isolated(fork_row, when, n)] for when, n in cases)
    return table(heads, rows, names=2)


TABLES = {"threads": threads, "containers": containers, "starts": starts, "forks": forks}
for marker in sys.argv[3:] or TABLES:
    text = TABLES[marker]()
    print(f"{text}\n", flush=True)
    replace("hosting.md", marker, text)
