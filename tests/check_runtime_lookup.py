"""Checks which ONNX Runtime the library takes, and that a missing or useless one harms nobody.

Each case lays out a host program's folder and a library's folder, starts the host, and compares
what it says; then, in some cases, puts other files there while the host lives and asks again.
"""

import argparse
import contextlib
import os
import shutil
import subprocess
import sys
import tempfile

FOUND = "1 [] [1.24.3]"
NONE = "0 [OrtGetApiBase returned NULL] []"
OLD = "0 [GetApi returned NULL] []"

# Name; where a runtime of which kind stands; the answer; the same for later, if asked again.
WINDOWS_CASES = [
    ("beside the library", {"library": "right"}, FOUND, {}, None),
    ("nowhere, then beside", {}, NONE, {"library": "right"}, FOUND),
    ("nowhere, then with the host", {}, NONE, {"host": "right"}, FOUND),
    ("no entry point, then replaced", {"library": "no entry"}, NONE, {"library": "right"}, FOUND),
    ("damaged, then replaced", {"library": "damaged"}, NONE, {"library": "right"}, FOUND),
    ("no entry point anywhere", {"library": "no entry", "host": "no entry"}, NONE, {}, None),
    ("no entry point, right with host", {"library": "no entry", "host": "right"}, FOUND, {}, None),
    ("too old", {"library": "old"}, OLD, {}, None),
    ("too old with the host", {"library": "right", "host": "old"}, FOUND, {}, None),
    ("too old in System32", {"library": "right", "system": "old"}, FOUND, {}, None),
    ("only System32's, too old, then beside", {"system": "old"}, OLD, {"library": "right"}, FOUND),
    ("in a folder whose path is long", {"library": "right", "system": "old"}, FOUND, {}, None),
]
LINUX_CASES = [
    ("beside the library", {"library": "right"}, FOUND, {}, None),
    ("too old", {"library": "old"}, OLD, {}, None),
    ("too old with the host", {"library": "right", "host": "old"}, FOUND, {}, None),
    ("nowhere: the loader refuses the library", {}, "", {}, None),
]


class Layout:
    """The folders of one case."""

    def __init__(self, arguments, root, long_path):
        self.root = root
        self.sources = {
            "right": arguments.runtime,
            "old": arguments.old,
            "no entry": arguments.library,
        }
        self.runtime_name = os.path.basename(arguments.runtime)
        library = os.path.join("Bücherei", *["library" * 20] * 3) if long_path else "a library"
        self.folders = {"host": os.path.join(root, "host"), "library": os.path.join(root, library)}
        if arguments.wine:
            windows = os.path.join(os.environ["WINEPREFIX"], "drive_c", "windows")
            self.folders["system"] = os.path.join(windows, "system32")
        for folder in self.folders.values():
            os.makedirs(folder, exist_ok=True)
        self.host = shutil.copy(arguments.host, self.folders["host"])
        self.library = shutil.copy(arguments.library, self.folders["library"])

    def put(self, runtimes):
        for place, kind in runtimes.items():
            target = os.path.join(self.folders[place], self.runtime_name)
            if kind == "damaged":
                with open(target, "wb") as file:
                    file.write(b"not a library")
                continue
            shutil.copy(self.sources[kind], target + ".new")
            os.replace(target + ".new", target)

    def clear_system(self):
        if "system" in self.folders:
            with contextlib.suppress(FileNotFoundError):
                os.remove(os.path.join(self.folders["system"], self.runtime_name))


def ask(process):
    with contextlib.suppress(BrokenPipeError):  # a host that has ended answers with nothing
        process.stdin.write("\n")
        process.stdin.flush()
    return process.stdout.readline().strip()


def run_case(arguments, layout, first, answer, later, later_answer):
    layout.put(first)
    if arguments.wine:
        # The library's folder is on the path only: the host's folder and System32 come before it.
        command = [arguments.wine, layout.host]
        environment = dict(os.environ, WINEPATH="Z:" + layout.folders["library"].replace("/", "\\"))
    else:
        command = [layout.host]
        environment = dict(os.environ, LD_LIBRARY_PATH=layout.folders["library"])
    # Started where no runtime is: Windows searches the current folder too.
    pipes = dict.fromkeys(("stdin", "stdout", "stderr"), subprocess.PIPE)
    with subprocess.Popen(
        command, cwd=layout.root, env=environment, text=True, **pipes
    ) as process:
        got = [process.stdout.readline().strip()]
        expected = [answer]
        if later:
            layout.put(later)
            expected.append(later_answer)
            got.append(ask(process))
        _, complaint = process.communicate()
    if answer == "":
        expected.append(True)
        got.append(process.returncode != 0 and layout.runtime_name in complaint)
    else:
        expected.append(0)
        got.append(process.returncode)
    return expected, got


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--host", required=True, help="the program that asks")
    parser.add_argument("--library", required=True)
    parser.add_argument("--runtime", required=True, help="a runtime that the library takes")
    parser.add_argument("--old", required=True, help="a runtime that is too old")
    parser.add_argument("--wine", help="the program that runs Windows programs")
    arguments = parser.parse_args()

    failed = 0
    cases = WINDOWS_CASES if arguments.wine else LINUX_CASES
    for name, *case in cases:
        with tempfile.TemporaryDirectory(dir=os.path.dirname(arguments.host)) as root:
            layout = Layout(arguments, root, long_path="path is long" in name)
            try:
                expected, got = run_case(arguments, layout, *case)
            finally:
                layout.clear_system()
        failed += expected != got
        print(f"{'ok' if expected == got else 'FAILED'}: {name}")
        if expected != got:
            print(f"  expected {expected}\n  got      {got}")
    print(f"{len(cases)} cases, {failed} failures")
    sys.exit(1 if failed else 0)


main()
