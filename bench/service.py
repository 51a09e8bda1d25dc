"""Checks and measures a service for the detector: service.py MODEL [COUNT [COMMAND...]]

COUNT requests come over 16 connections, every hundredth malformed. Answers must be the model's, or
400 with a reason. COMMAND gets MODEL, prints its address and has its workers as children. Without
COMMAND the service is examples/python/service.py: two of its workers are killed in turn under load,
then it is terminated.
"""
import array
import collections
import concurrent.futures
import contextlib
import json
import os
import pathlib
import random
import re
import signal
import subprocess
import sys
import threading
import time
from http.client import HTTPConnection, HTTPException

ROOT = pathlib.Path(__file__).resolve().parents[1]
os.environ["PYTHONPATH"] = str(ROOT / "modules/python")
sys.path.insert(0, os.environ["PYTHONPATH"])
from onnxruntime_vornic import Library, tensor

MODEL, COUNT = os.path.abspath(sys.argv[1]), int((sys.argv[2:] or [100000])[0])
SERVICE = [sys.executable, str(ROOT / "examples/python/service.py"), "--port=0", "--workers=2"]
ZEROS = tensor("float32", [2, 1, 64], [0] * 128)
OTHERS = {"h": ZEROS, "c": ZEROS, "sr": tensor("int64", [], [16000])}
# Inputs that the library would run if they were not checked, most of them on the wrong numbers.
MALFORMED = (
    {"sr": {"dtype": "int64", "shape": [], "data": "16000"}},
    {"h": {}},
    {"h": {"note": {"data": [9]}, **ZEROS}},
    {"h": tensor("string", [64000000], ["a"])},
    {"input": tensor("float32", [1, 256], [0] * 512)},
    {"more": tensor("int64", [0], [])},
)
LIMITS = (200, "", "GET", "/healthz"), (413, "", "POST", "/", {"Content-Length": 2**20 + 1})
failures = []


def check(what, passed, got):
    print(f"{'ok' if passed else 'FAILED'}: {what}: {got}", flush=True)
    failures.extend([what] * (not passed))


def float32_outputs(outputs):
    """All outputs of the model are float32; some services write more digits."""
    return {name: array.array("f", output["data"]) for name, output in outputs.items()}


def requests():
    """Request bodies, each with the expected outputs, or True if it must be refused."""
    good = []
    random.seed(1)
    with Library().session(MODEL, threads=1) as session:
        for _ in range(8):
            noise = [round(random.uniform(-1, 1), 6) for _ in range(512)]
            feed = {**OTHERS, "input": tensor("float32", [1, 512], noise)}
            with session.run(feed) as result:
                good.append((json.dumps(feed), float32_outputs(result.outputs)))
    bad = [good[0][0][:-1], *(json.dumps({**feed, **change}) for change in MALFORMED)]
    return [(text, True) if i == 99 else good[i % 8] for text in bad for i in range(100)]


def exchange(connection, body, method="POST", path="/", headers={}):
    connection.request(method, path, body, headers)
    response = connection.getresponse()
    return response.status, json.loads(response.read())


def load(what, port, cases, count=10**9, at_each_tenth=lambda number: None, may_break=True):
    """Checks count requests, or all until connections are refused; reopens broken ones."""
    numbers, times, outcomes = iter(range(1, count + 1)), [], []

    def client(_):
        connection = HTTPConnection("127.0.0.1", port, timeout=10)
        for number in numbers:
            (body, expected), status = cases[number % len(cases)], None
            begin = time.perf_counter()
            while status is None:
                try:
                    status, got = exchange(connection, body)
                except ConnectionRefusedError:
                    return
                except (OSError, HTTPException):
                    connection.close()
                    outcomes.append("broken connection")
            times.append(time.perf_counter() - begin)
            refused = status == 400 and bool(got["error"])
            right = (float32_outputs(got["outputs"]) if status == 200 else refused) == expected
            outcomes.append("right" if right else f"wrong: {status} {str(got)[:200]}")
            if number % (count // 10) == 0:
                at_each_tenth(number)

    begin = time.perf_counter()
    with concurrent.futures.ThreadPoolExecutor(16) as pool:
        list(pool.map(client, range(16)))
    rate, seen = len(times) / (time.perf_counter() - begin), collections.Counter(outcomes)
    median, slow = (1e3 * sorted(times)[len(times) * percent // 100] for percent in (50, 99))
    passed = seen.keys() <= {"right", "broken connection" if may_break else "right"}
    passed &= count == 10**9 or seen["right"] == count
    got = f"{rate:.0f} a second, median {median:.1f} ms, 99th percentile {slow:.1f}; {dict(seen)}"
    check(what, passed, got)


def workers(service):
    return pathlib.Path(f"/proc/{service.pid}/task/{service.pid}/children").read_text().split()


def workers_megabytes(service):
    texts = (pathlib.Path(f"/proc/{pid}/status").read_text() for pid in workers(service))
    return round(sum(int(re.search(r"VmRSS:\s+(\d+)", text)[1]) for text in texts) / 1024, 1)


@contextlib.contextmanager
def serving(*command):
    """The service and its port."""
    with subprocess.Popen([*command, MODEL], stdout=subprocess.PIPE, text=True) as service:
        try:
            yield service, int(service.stdout.readline().rpartition(":")[2])
        finally:
            service.terminate()


def disturb(service, port, cases):
    killed = []

    def kill(number):
        if number * 100 // COUNT in (3, 6):
            killed.append(next(pid for pid in workers(service) if pid not in killed))
            os.kill(int(killed[-1]), signal.SIGKILL)

    load("two workers killed in turn", port, cases, COUNT // 10, kill)
    check("workers", len(killed) == len(workers(service)) == 2, f"{len(killed)} killed")
    threading.Timer(1, service.terminate).start()
    load("terminated under load", port, cases)
    check("end", service.wait() == 0, f"exit status {service.returncode}")


def main():
    cases, sizes, command = requests(), [], sys.argv[3:]
    with serving(*(command or (*SERVICE, "--timeout=60"))) as (service, port):
        note = lambda _: sizes.append(workers_megabytes(service))
        load(f"{COUNT} requests", port, cases, COUNT, note, may_break=False)
        check("memory, MB at each tenth", sizes[-1] < 1.05 * sizes[1] + 1, sizes)
        if not command:
            disturb(service, port, cases)
    if not command:
        with serving(*SERVICE, "--timeout=0") as (_, port):
            for expected, *request in ((504, cases[0][0]), *LIMITS):
                status, answer = exchange(HTTPConnection("127.0.0.1", port), *request)
                check(f"status {expected}", status == expected, answer)
    sys.exit(len(failures) > 0)


main()
