#!/usr/bin/env python3
"""Finds the share of speech in each recording, with a detector in every process of a Dask cluster.

Without --scheduler the cluster runs on this machine and ends with the program. For a larger one,
start `dask-scheduler` on one machine and `dask-worker ADDRESS --nthreads 1 --nworkers CORES` on
each, with this folder and the module in PYTHONPATH. Workers read library, model and recordings by
the paths given here.
"""
import os

import distributed
import inputs
import speech
from onnxruntime_vornic import Library, VornicError


class Detector(distributed.WorkerPlugin):
    """Creates a session in every worker process, including those that replace others."""

    name = "detector"

    def __init__(self, library, model):
        self.library, self.model = library, model

    def setup(self, worker):
        # In parallel, sessions with one thread each are fastest.
        worker.detector = Library(self.library).session(self.model, threads=1)


def share_of_speech(session, path):
    try:
        chunks, _ = speech.detect(session, inputs.load(path))
    except (VornicError, inputs.RecordingError) as error:
        return str(error)
    return sum(p > 0.5 for p in chunks) / len(chunks) if chunks else "too short"


def shares_of_speech(paths):
    session = distributed.get_worker().detector
    return {path: share_of_speech(session, path) for path in paths}


def detect(client, library, model, paths, batch):
    """Yields each recording with its share of speech, or the reason why there is none."""
    client.register_worker_plugin(Detector(library, model))
    tasks = {f"batch {i}": paths[i : i + batch] for i in range(0, len(paths), batch)}
    # Only the iterator holds the futures, and it drops each one that is done. If a result were
    # still held when its worker dies, Dask would compute it again.
    done = distributed.as_completed(
        client.map(shares_of_speech, list(tasks.values()), key=list(tasks), pure=False),
        with_results=True,
        raise_errors=False,
    )
    for future, answers in done:
        if future.status == "finished":
            yield from answers.items()
        else:  # Dask gives up a batch whose workers died several times.
            yield from ((path, "its workers died") for path in tasks[future.key])


def main():
    parser = inputs.parser("cluster", __doc__, speech.MODEL)
    parser.add_argument("recordings", nargs="+", help=inputs.FORMAT)
    parser.add_argument("--scheduler", metavar="ADDRESS", help="of a running cluster")
    parser.add_argument("--workers", type=int, default=os.cpu_count(), help="processes, without it")
    parser.add_argument("--batch", type=int, default=10, help="recordings per task (default: 10)")
    given = parser.parse_args()
    model = given.model or inputs.find_model(speech.MODEL)
    cluster = given.scheduler or distributed.LocalCluster(
        n_workers=given.workers, threads_per_worker=1, host="127.0.0.1", dashboard_address=None
    )
    with distributed.Client(cluster) as client:
        for path, share in detect(client, given.library, model, given.recordings, given.batch):
            print(
                f"{share:6.0%}  {path}" if isinstance(share, float) else f"     -  {path}: {share}"
            )


if __name__ == "__main__":
    inputs.run("cluster", main)
