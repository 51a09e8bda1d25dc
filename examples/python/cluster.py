#!/usr/bin/env python3
"""How much of each recording is speech? A detector in every process of a cluster, of Dask's making.

Without --scheduler the cluster is on this machine and ends with the program. For a larger one, start
`dask-scheduler` on one machine and on each, with this folder and the module in PYTHONPATH, `dask-worker ADDRESS
--nthreads 1 --nworkers CORES`. Library, model and recordings are read there, by the paths given here.
"""
import argparse
import os
import sys

import distributed
import recording
import roads
import speech
from onnxruntime_vornic import Library, VornicError


class Detector(distributed.WorkerPlugin):
    """Makes the session of each process that joins, also of one that takes the place of another."""

    name = "detector"

    def __init__(self, library, model):
        self.library, self.model = library, model

    def setup(self, worker):
        # Side by side, sessions of one thread are the quickest.
        worker.detector = Library(self.library).session(self.model, threads=1)


def share_of_speech(path):
    session = distributed.get_worker().detector
    try:
        chunks, _ = speech.detect(session, recording.load(path))
    except (VornicError, recording.RecordingError) as error:
        return str(error)
    return sum(p > 0.5 for p in chunks) / len(chunks) if chunks else "too short"


def shares_of_speech(paths):
    return {path: share_of_speech(path) for path in paths}


def detect(client, library, model, paths, batch):
    """The share of speech in each recording, or why there is none, in the order of their coming."""
    client.register_worker_plugin(Detector(library, model))
    tasks = {f"batch {i}": paths[i : i + batch] for i in range(0, len(paths), batch)}
    # The futures are nobody's but the iterator's, which lets go of each that is done. A result that
    # is held on to would be worked out again when the worker that has it dies.
    done = distributed.as_completed(
        client.map(shares_of_speech, list(tasks.values()), key=list(tasks), pure=False),
        with_results=True,
        raise_errors=False,
    )
    for future, answers in done:
        if future.status == "finished":
            yield from answers.items()
        else:  # Dask gives a batch up whose workers died several times.
            yield from ((path, "its workers died") for path in tasks[future.key])


def main():
    parser = argparse.ArgumentParser(prog="cluster", description=__doc__)
    parser.add_argument("recordings", nargs="+", help=recording.TAKES)
    parser.add_argument("--library", help="the library's file")
    parser.add_argument(
        "--model", help=f"another detector (default: {speech.MODEL}, where scripts/demo has put it)"
    )
    parser.add_argument(
        "--scheduler", metavar="ADDRESS", help="that of a cluster which runs already"
    )
    parser.add_argument("--workers", type=int, default=os.cpu_count(), help="processes, without it")
    parser.add_argument("--batch", type=int, default=10, help="recordings a task, 10 unless given")
    given = parser.parse_args()
    model = given.model or roads.fetched(speech.MODEL)
    cluster = given.scheduler or distributed.LocalCluster(
        n_workers=given.workers, threads_per_worker=1, host="127.0.0.1", dashboard_address=None
    )
    with distributed.Client(cluster) as client:
        for path, share in detect(client, given.library, model, given.recordings, given.batch):
            print(
                f"{share:6.0%}  {path}" if isinstance(share, float) else f"     -  {path}: {share}"
            )


if __name__ == "__main__":
    try:
        main()
    except VornicError as error:
        sys.exit(f"cluster: {error}")
