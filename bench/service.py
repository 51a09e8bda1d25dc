"""Checks and measures a service for the detector, examples/python/service.py unless COMMAND is given:

service.py MODEL [COUNT [COMMAND...]]

COUNT requests come over 16 connections, a hundredth of them malformed; then, without a COMMAND, as many as a
tenth while two workers are killed in turn, and it is told to end while requests come. Answers must be those
of the model, or 400 with a reason. COMMAND is given MODEL, prints its address, and has its workers as
children.
"""
import array
import asyncio
import collections
import contextlib
import json
import os
import pathlib
import random
import re
import signal
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parents[1]
sys.path.insert(0, str(ROOT / "modules/python"))
import onnxruntime_vornic

MODEL, COUNT = os.path.abspath(sys.argv[1]), int((sys.argv[2:] or ["100000"])[0])
COMMAND = sys.argv[3:] or [
    sys.executable,
    str(ROOT / "examples/python/service.py"),
    "--port=0",
    "--workers=2",
    "--timeout=60",
]
CONNECTIONS = 16
failures = []


def feeds():
    """Some feeds, as text, and the outputs of the model for each."""
    zeros = {"dtype": "float32", "shape": [2, 1, 64], "data": [0] * 128}
    random.seed(1)
    with onnxruntime_vornic.Library().session(MODEL, threads=1) as session:
        for _ in range(8):
            noise = [round(random.uniform(-1, 1), 6) for _ in range(512)]
            feed = {
                "input": {"dtype": "float32", "shape": [1, 512], "data": noise},
                "h": zeros,
                "c": zeros,
            }
            feed["sr"] = {"dtype": "int64", "shape": [], "data": [16000]}
            with session.run(feed) as result:
                yield json.dumps(feed), numbers(result.outputs)


def numbers(outputs):
    """Their items, of which all are float32 here: others write more digits."""
    return {name: array.array("f", output["data"]) for name, output in outputs.items()}


def malformed(feed):
    """Feeds that the library would run, most of them on other numbers, if nobody checked them."""
    yield feed[:-1]
    for name, wrong in (
        ("sr", {"dtype": "int64", "shape": [], "data": "16000"}),
        ("h", {}),
        ("h", {"note": {"data": [9]}, "dtype": "float32", "shape": [2, 1, 64], "data": [0] * 128}),
        ("input", {"dtype": "float32", "shape": [1, 256], "data": [0] * 512}),
        ("h", {"dtype": "string", "shape": [64000000], "data": ["a"]}),
        ("more", {"dtype": "int64", "shape": [0], "data": []}),
    ):
        yield json.dumps({**json.loads(feed), name: wrong})


def check(what, good, got):
    print(f"ok: {what}: {got}" if good else f"FAILED: {what}: {got}", flush=True)
    failures.extend([what] * (not good))


class Load:
    """Requests over connections that are made anew where they break; stops after count, or where nobody listens."""

    def __init__(self, port, cases, count):
        self.port, self.cases, self.count = port, cases, count
        self.times, self.came, self.begun, self.on_progress = (
            [],
            collections.Counter(),
            0,
            lambda share: None,
        )

    async def connection(self):
        reader = writer = None
        while self.begun < self.count:
            self.begun += 1
            # The hundredth is malformed, each kind in its turn.
            good, bad = self.cases
            k = self.begun // 100 if self.begun % 100 == 0 else self.begun
            body, expected = bad[k % len(bad)] if self.begun % 100 == 0 else good[k % len(good)]
            begin = time.perf_counter()
            while True:
                try:
                    if writer is None:
                        reader, writer = await asyncio.open_connection("127.0.0.1", self.port)
                    status, answer = await asyncio.wait_for(exchange(reader, writer, body), 10)
                    break
                except ConnectionRefusedError:
                    return
                except (OSError, asyncio.IncompleteReadError, asyncio.TimeoutError):
                    self.came["broken off"] += 1
                    writer = writer and writer.close()
            self.times.append(time.perf_counter() - begin)
            if expected:
                as_expected = status == 200 and numbers(answer["outputs"]) == expected
            else:
                as_expected = status == 400 and answer["error"]
            self.came["right" if as_expected else f"wrong: {status} {str(answer)[:200]}"] += 1
            if len(self.times) % max(self.count // 10, 1) == 0:
                self.on_progress(len(self.times))
        if writer:
            writer.close()

    async def run(self):
        begin = time.perf_counter()
        await asyncio.gather(*(self.connection() for _ in range(CONNECTIONS)))
        return len(self.times) / (time.perf_counter() - begin)


async def exchange(reader, writer, body, head="POST /"):
    writer.write(
        f"{head} HTTP/1.1\r\nHost: localhost\r\nContent-Length: {len(body)}\r\n\r\n{body}".encode()
    )
    answer = (await reader.readuntil(b"\r\n\r\n")).decode()
    length = int(re.search(r"(?i)content-length: (\d+)", answer)[1])
    return int(answer.split()[1]), json.loads(await reader.readexactly(length))


def workers(service):
    return [
        int(pid)
        for pid in pathlib.Path(f"/proc/{service.pid}/task/{service.pid}/children")
        .read_text()
        .split()
    ]


def resident(service):
    """Of its workers, in MB."""
    texts = (pathlib.Path(f"/proc/{pid}/status").read_text() for pid in workers(service))
    return sum(int(re.search(r"VmRSS:\s+(\d+)", text)[1]) for text in texts) / 1024


def summary(load, rate):
    times = sorted(load.times)
    return f"{rate:.0f} a second, median {1e3 * times[len(times) // 2]:.1f} ms, 99th percentile {1e3 * times[len(times) * 99 // 100]:.1f} ms; {dict(load.came)}"


def all_right(load, count):
    return (
        load.came["right"] == count and sum(load.came.values()) == count + load.came["broken off"]
    )


async def measure(service, port, cases):
    sizes, load = [], Load(port, cases, COUNT)
    load.on_progress = lambda _: sizes.append(resident(service))
    rate = await load.run()
    check(
        f"{COUNT} requests",
        all_right(load, COUNT) and not load.came["broken off"],
        summary(load, rate),
    )
    check(
        "memory, MB at each tenth",
        sizes[-1] < 1.05 * sizes[1] + 1,
        [round(size, 1) for size in sizes],
    )

    if COMMAND == sys.argv[3:]:
        return

    load, killed = Load(port, cases, COUNT // 10), []

    def kill(begun):
        if len(killed) < 2 and begun >= (len(killed) + 1) * COUNT // 40:
            killed.append(next(pid for pid in workers(service) if pid not in killed))
            os.kill(killed[-1], signal.SIGKILL)

    load.on_progress = kill
    rate = await load.run()
    check(
        "two workers killed in turn",
        all_right(load, COUNT // 10) and len(killed) == 2 and len(workers(service)) == 2,
        summary(load, rate),
    )

    reader, writer = await asyncio.open_connection("127.0.0.1", port)
    status, _ = await exchange(reader, writer, "", "GET /healthz")
    check("health", status == 200, status)
    status, answer = await exchange(reader, writer, " " * 2**20 + " ")
    check("a request above the limit", status == 413, answer)
    writer.close()

    load = Load(port, cases, 10**9)
    asyncio.get_running_loop().call_later(1, service.terminate)
    rate = await load.run()
    wrong = any(came.startswith("wrong") for came in load.came)
    status = service.wait()
    check(
        "told to end under load",
        not wrong and status == 0,
        f"exit status {status}, {summary(load, rate)}",
    )


async def too_late(port, feed):
    reader, writer = await asyncio.open_connection("127.0.0.1", port)
    status, answer = await exchange(reader, writer, feed)
    writer.close()
    check("a run beyond its deadline", status == 504, answer)


@contextlib.contextmanager
def serving(*options):
    """The service and its port."""
    settings = {"stdout": subprocess.PIPE, "text": True}
    settings["env"] = {**os.environ, "PYTHONPATH": str(ROOT / "modules/python")}
    with subprocess.Popen([*COMMAND, MODEL, *options], **settings) as service:
        try:
            yield service, int(re.search(r":(\d+)$", service.stdout.readline().strip())[1])
        finally:
            service.terminate()


def main():
    good = list(feeds())
    cases = good, [(feed, None) for feed in malformed(good[0][0])]
    with serving() as (service, port):
        asyncio.run(measure(service, port, cases))
    if COMMAND != sys.argv[3:]:
        with serving("--timeout=0") as (_, port):
            asyncio.run(too_late(port, good[0][0]))
    sys.exit(len(failures) > 0)


main()
