#!/usr/bin/env python3
"""A web service that runs a model, for Linux: POST a feed to / to get the outputs; GET /healthz.

Each worker is a process with a single-threaded session; a worker that is killed is replaced. On
SIGTERM, or when the parent process is gone, workers answer what they have received and exit within
5 s."""
import argparse
import http.server
import json
import os
import signal
import threading
import time

from onnxruntime_vornic import Library, VornicError, VornicTimeout, check_feed

# Each worker has its own. Runs take turns, so that the error text belongs to the run that failed.
TURN, ENDING = threading.Lock(), threading.Event()
SIGNALS = {signal.SIGTERM, signal.SIGINT, signal.SIGCHLD}


class Handler(http.server.BaseHTTPRequestHandler):
    protocol_version, timeout, wbufsize = "HTTP/1.1", 5, 65536
    log_request = lambda *_: None

    def do_GET(self):
        self.reply(200 if self.path == "/healthz" else 404, {"worker": os.getpid()})

    def do_POST(self):
        length, limit = self.headers.get("Content-Length", ""), self.given.limit
        size = int(length) if length.isdecimal() and len(length) < 13 else -1
        if "Transfer-Encoding" in self.headers or not 0 <= size <= limit:
            self.close_connection = True  # the body is not read
            self.reply(413, {"error": f"a request must state its length, at most {limit} bytes"})
        elif len(body := self.rfile.read(size)) == size:
            self.reply(*self.answer(body, time.monotonic() + self.given.timeout))

    def answer(self, body, end):
        try:
            text = check_feed(json.loads(body), self.inputs)
            with TURN, self.session.run(text, timeout=end - time.monotonic()) as result:
                return 200, {"outputs": result.outputs}
        except (VornicError, ValueError, RecursionError) as error:
            return 504 if isinstance(error, VornicTimeout) else 400, {"error": str(error)}

    def reply(self, status, value):
        text = json.dumps(value).encode()
        self.close_connection |= ENDING.is_set()
        self.send_response(status)
        self.send_header("Content-Type", "application/json")
        self.send_header("Content-Length", str(len(text)))
        self.end_headers()
        self.wfile.write(text)


def work(server, given, parent):
    Handler.given, Handler.session = given, Library().session(given.model, threads=1)
    Handler.inputs, server.daemon_threads = Handler.session.inputs, False
    end = lambda: (os.read(parent, 1), ENDING.set(), server.shutdown())
    threading.Thread(target=end, daemon=True).start()  # when the parent process is gone
    server.serve_forever(0.1)
    server.server_close()  # waits for the connections


def serve(given):
    signal.pthread_sigmask(signal.SIG_BLOCK, SIGNALS)
    server = http.server.ThreadingHTTPServer(("127.0.0.1", given.port), Handler)
    server.socket.listen(1024)
    server.socket.setblocking(False)  # another worker may have accepted the connection
    print(f"service: http://127.0.0.1:{server.server_port}", flush=True)
    (parent, alive), workers, failed = os.pipe(), set(), False
    while not failed:
        while len(workers) < given.workers:
            if (worker := os.fork()) == 0:
                raise SystemExit(os.close(alive) or work(server, given, parent))
            workers.add(worker)
        if signal.sigwait(SIGNALS) != signal.SIGCHLD:
            break
        ended = dict(filter(any, [os.waitpid(worker, os.WNOHANG) for worker in workers]))
        workers -= set(ended)
        # One that exited, rather than being killed, could not start.
        failed = any(map(os.WIFEXITED, ended.values()))
    os.close(alive)
    return any([failed, *(os.waitpid(worker, 0)[1] for worker in workers)])


if __name__ == "__main__":
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("model")
    for name, value in dict(port=8080, workers=os.cpu_count(), limit=2**20, timeout=1.0).items():
        parser.add_argument("--" + name, type=type(value), default=value)
    raise SystemExit(serve(parser.parse_args()))
