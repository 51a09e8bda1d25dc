"""Measures threads, containers, starts and fork for docs/hosting.md.

    hosting.py LIBRARY DETECT [TABLE...]

DETECT is the C example. Every row is measured in a separate process.
"""
import concurrent.futures
import itertools
import multiprocessing
import os
import pathlib
import re
import signal
import statistics
import subprocess
import sys
import time

from page import ROOT, number, replace, table

sys.path.insert(0, str(ROOT / "modules/python"))
from onnxruntime_vornic import Library, feed_json, tensor

LIBRARY, EXAMPLE = sys.argv[1:3]
MODEL = str(ROOT / ".deps/models/silero_vad.onnx")
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


def isolated(function, *arguments):
    """What a function returns in a new process."""
    with multiprocessing.get_context("fork").Pool(1) as pool:
        return pool.apply(function, arguments)


def threads_row(count, threads):
    """Runs a second and MB."""
    before = own_megabytes()
    sessions = [open_session(threads) for _ in range(count)]
    begin = time.perf_counter()

    def keep_running(thread):
        for runs in itertools.count():
            if time.perf_counter() > begin + 2:
                return runs
            run(sessions[(thread + runs * 8) % count])

    with concurrent.futures.ThreadPoolExecutor(8) as pool:
        runs = sum(pool.map(keep_running, range(8)))
    return runs / (time.perf_counter() - begin), own_megabytes() - before


def threads():
    rows = []
    for count in (1, 8, 64):
        one, default = (
            max(isolated(threads_row, count, each) for _ in range(2)) for each in (1, 0)
        )
        rows.append([str(count), number(one[0]), number(default[0]), number(one[1])])
    return table(["sessions", "runs/s, 1 thread each", "default threads", "MB"], rows)


def cpus(threads):
    """The CPUs that ONNX Runtime's threads may use in a process restricted to CPU 0."""
    os.sched_setaffinity(0, [0])
    with open_session(threads):
        tasks = pathlib.Path("/proc/self/task").glob("*/status")
        texts = [task.read_text() for task in tasks if task.parent.name != str(os.getpid())]
    return ", ".join(re.search(r"Cpus_allowed_list:\s+(\S+)", text)[1] for text in texts)


def containers():
    heads = ["CPUs of the process", "threads requested", "CPUs of ONNX Runtime's threads"]
    rows = (["0", str(threads or "default"), isolated(cpus, threads)] for threads in (0, 2))
    return table(heads, rows, names=3)


def starts():
    commands = {
        "C": [EXAMPLE, MODEL],
        "Python": ["/usr/bin/python3", "examples/python/detect.py", MODEL, LIBRARY],
        "Node.js, koffi": ["node", "examples/node/detect.js", MODEL, LIBRARY],
    }
    settings = {"cwd": ROOT, "check": True, "capture_output": True}
    settings["env"] = {"NODE_PATH": ".deps/node/node_modules", "PATH": "/usr/bin"}
    times = {name: [] for name in commands}
    for _ in range(21):  # interleaved, so that a slow moment of the machine affects all of them
        for name, command in commands.items():
            begin = time.perf_counter()
            subprocess.run(command, **settings)
            times[name].append(1e3 * (time.perf_counter() - begin))
    rows = ([name, number(statistics.median(values))] for name, values in times.items())
    return table(["`detect`, start to end", "ms"], rows)


def child(session):
    for _ in range(1000):
        run(session)
    signal.alarm(10)  # a release takes milliseconds, or never returns
    # Not close(), which does not release the parent's session in a child.
    session.library.functions.release_session(session.handle)
    os._exit(0)


def fork_row(is_before, threads):
    """How 16 children ended, with a session created before fork or in each of them."""
    session = open_session(threads) if is_before else None
    time.sleep(1)  # a server is idle when it forks
    pids = []
    for _ in range(16):
        pids.append(os.fork())
        if pids[-1] == 0:
            try:
                child(session or open_session(threads))
            finally:
                os._exit(1)
    statuses = [os.waitpid(pid, 0)[1] for pid in pids]
    ends = {"right": statuses.count(0), "hung": statuses.count(signal.SIGALRM)}
    ends["crashed"] = len(pids) - sum(ends.values())
    return ", ".join(f"{count} {end}" for end, count in ends.items() if count)


def forks():
    rows = [["in each child", "1", isolated(fork_row, False, 1)]]
    for threads in (1, 2, 0, 4):
        ended = isolated(fork_row, True, threads)
        rows.append(["before `fork`", str(threads or "default"), ended])
    return table(["session created", "threads", "children ended"], rows, names=2)


TABLES = {"threads": threads, "containers": containers, "starts": starts, "forks": forks}
for marker in sys.argv[3:] or TABLES:
    replace("hosting.md", marker, TABLES[marker]())
