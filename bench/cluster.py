"""Checks and measures examples/python/cluster.py: cluster.py LIBRARY

All answers must be those of one process without a cluster, even if a worker is killed halfway.
"""
import os
import pathlib
import signal
import statistics
import sys
import tempfile
import time
import wave

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "examples/python"))
import cluster
import distributed
import inputs
import speech
from onnxruntime_vornic import Library

LIBRARY, MODEL = os.path.abspath(sys.argv[1]), inputs.find_model(speech.MODEL)
COUNT = 400
LOCAL = {"threads_per_worker": 1, "host": "127.0.0.1", "dashboard_address": None}


def make_recordings(folder):
    """Recordings of one second, cut from Debian's, and two files that are not recordings."""
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
    with Library(LIBRARY).session(MODEL, threads=1) as session:
        cluster.share_of_speech(session, paths[0])  # the first runs are slower
        begin = time.perf_counter()
        answers = {path: cluster.share_of_speech(session, path) for path in paths}
        return answers, time.perf_counter() - begin


def in_cluster(workers, paths, batch, kill_at=-1):
    """The answers, the seconds that they took, and the longest wait for one."""
    answers, times = {}, []
    with distributed.LocalCluster(workers, **LOCAL) as local, distributed.Client(local) as client:
        # Creates the sessions.
        list(cluster.detect(client, LIBRARY, MODEL, paths[: 2 * workers], 1))
        times.append(time.perf_counter())
        for path, answer in cluster.detect(client, LIBRARY, MODEL, paths, batch):
            times.append(time.perf_counter())
            if path in answers:
                sys.exit(f"FAILED: two answers for {path}")
            answers[path] = answer
            if len(answers) == kill_at:
                os.kill(next(iter(client.run(os.getpid).values())), signal.SIGKILL)
        waits = [end - begin for begin, end in zip(times, times[1:])]
        return answers, sum(waits), max(waits)


def main():
    with tempfile.TemporaryDirectory() as folder:
        paths = list(make_recordings(folder))
        expected, alone = in_one_process(paths)
        shares = [share for share in expected.values() if isinstance(share, float)]
        if len(shares) != COUNT or statistics.pstdev(shares) < 0.1:
            sys.exit("FAILED: the shares of speech do not vary as expected")
        print(f"one process, no cluster: {len(paths) / alone:.0f} recordings/s")
        for workers, batch, *kill_at in ((1, 1), (1, 10), (1, 50), (2, 10), (2, 10, COUNT // 3)):
            name = f"{workers} workers, {batch} recordings per task" + ", one killed" * len(kill_at)
            answers, seconds, wait = in_cluster(workers, paths, batch, *kill_at)
            if answers != expected:
                sys.exit(f"FAILED: {name}: {len(answers)} answers, not those of one process")
            rate = f"{len(paths) / seconds:.0f} recordings/s, {alone / seconds:.2f} of one process"
            print(f"{name}: {rate}, longest wait {wait:.2f} s", flush=True)


if __name__ == "__main__":
    main()
