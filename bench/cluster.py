"""Checks and measures examples/python/cluster.py: cluster.py LIBRARY. All answers must be those of
one process without a cluster, also where a worker is killed in the middle."""
import os
import pathlib
import signal
import statistics
import sys
import tempfile
import time
import wave

ROOT = pathlib.Path(__file__).resolve().parents[1]
sys.path[:0] = [str(ROOT / "examples/python"), str(ROOT / "modules/python")]

import cluster
import distributed
import inputs
import speech

LIBRARY, MODEL = os.path.abspath(sys.argv[1]), inputs.find_model(speech.MODEL)
COUNT = 400


def make_recordings(folder):
    """A second from somewhere in Debian's recordings each, and two that are none."""
    sources = sorted(pathlib.Path("/usr/share/sounds/alsa").glob("*.wav"))
    for i in range(COUNT):
        with wave.open(str(sources[i % len(sources)])) as source:
            source.setpos(i * 97 % max(source.getnframes() - source.getframerate(), 1))
            with wave.open(f"{folder}/{i:04}.wav", "wb") as made:
                made.setparams(source.getparams())
                made.writeframes(source.readframes(source.getframerate()))
        yield f"{folder}/{i:04}.wav"
    pathlib.Path(folder, "text.wav").write_text("no recording")
    yield from (f"{folder}/text.wav", f"{folder}/absent.wav")


def in_one_process(paths):
    class Worker:
        pass

    worker = Worker()
    cluster.Detector(LIBRARY, MODEL).setup(worker)
    cluster.distributed.get_worker, real = lambda: worker, cluster.distributed.get_worker
    begin = time.perf_counter()
    answers = cluster.shares_of_speech(paths)
    cluster.distributed.get_worker = real
    return answers, time.perf_counter() - begin


def in_cluster(workers, paths, batch, kill_at=None):
    """The answers, the seconds they took, and the longest wait for one."""
    answers, longest, before = {}, 0, None
    with distributed.LocalCluster(
        n_workers=workers, threads_per_worker=1, host="127.0.0.1", dashboard_address=None
    ) as made, distributed.Client(made) as client:
        dict(cluster.detect(client, LIBRARY, MODEL, paths[: 2 * workers], 1))  # sessions stand
        begin = before = time.perf_counter()
        for path, answer in cluster.detect(client, LIBRARY, MODEL, paths, batch):
            longest, before = max(longest, time.perf_counter() - before), time.perf_counter()
            if path in answers:
                sys.exit(f"FAILED: two answers for {path}")
            answers[path] = answer
            if kill_at is not None and len(answers) >= kill_at:
                os.kill(next(iter(client.run(os.getpid).values())), signal.SIGKILL)
                kill_at = None
        seconds = time.perf_counter() - begin
        if kill_at is not None and kill_at > 0:
            sys.exit("FAILED: no worker was killed")
        return answers, seconds, longest


def report(name, expected, answers, seconds, alone, longest=None):
    if answers != expected:
        sys.exit(f"FAILED: {name}: {len(answers)} answers, not those of one process")
    waited = f", longest wait {longest:.2f} s" if longest is not None else ""
    print(
        f"{name}: {len(answers) / seconds:.0f} recordings/s, {alone / seconds:.2f} of one "
        f"process{waited}",
        flush=True,
    )


def main():
    with tempfile.TemporaryDirectory() as folder:
        paths = list(make_recordings(folder))
        in_one_process(paths[:20])
        expected, alone = in_one_process(paths)
        shares = [share for share in expected.values() if isinstance(share, float)]
        if len(shares) != COUNT or statistics.pstdev(shares) < 0.1:
            sys.exit("FAILED: the recordings are not what they should be")
        report("one process, no cluster", expected, expected, alone, alone)
        taken = {}
        for batch in (1, 10, 50):
            answers, taken[batch], _ = in_cluster(1, paths, batch)
            report(f"1 worker, batches of {batch}", expected, answers, taken[batch], alone)
        tasks = len(paths) - len(paths) // 50
        print(f"a task: {1000 * (taken[1] - taken[50]) / tasks:.1f} ms")
        for kills in ("never", "in the middle"):
            kill_at = COUNT // 3 if kills == "in the middle" else None
            answers, seconds, longest = in_cluster(2, paths, 10, kill_at)
            report(
                f"2 workers, batches of 10, one killed {kills}",
                expected,
                answers,
                seconds,
                alone,
                longest,
            )


if __name__ == "__main__":
    main()
