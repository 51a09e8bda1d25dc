"""Runs the example of each language in an empty folder and compares what they print; also where a
path leads nowhere. Under Wine these are the C program and a Node.js for Windows."""

import argparse
import glob
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

ANSWER = "chunk 0: 0.229\nchunk 1: 0.259\nchunk 2: 0.254\n"


def new_java():
    """A Java that has java.lang.foreign (22 or later), wherever the machine keeps it."""
    first = os.environ.get("JAVA_HOME") or os.path.dirname(os.path.dirname(os.path.realpath(shutil.which("java") or "")))
    for release in [*glob.glob(f"{first}/release"), *glob.glob("/usr/lib/jvm/*/release")]:
        version = re.search(r'JAVA_VERSION="(\d+)', pathlib.Path(release).read_text(encoding="utf-8"))
        if version and int(version[1]) >= 22:
            return os.path.dirname(release) + "/bin/java"
    return None


def commands(given):
    """Each language with its command, none where the machine lacks it."""
    wine, folder, java = [given.wine] * bool(given.wine), given.examples, new_java()
    yield "C", given.c_program and [*wine, given.c_program]
    yield "Node.js", [*wine, given.node, f"{given.drive}{folder}/node/detect.js"]
    if not wine:
        yield "Python", [sys.executable, f"{folder}/python/detect.py"]
        yield "LuaJIT", ["luajit", f"{folder}/luajit/detect.lua"]
        yield "Ruby", ["ruby", f"{folder}/ruby/detect.rb"]
        yield "PHP", ["php", f"{folder}/php/detect.php"]
        yield "Java", java and [java, "--enable-native-access=ALL-UNNAMED", f"{folder}/java/Detect.java"]


def run(line, environment):
    """What a program answers: through a file, since Node.js under Wine cannot open pipes of Linux."""
    with tempfile.TemporaryDirectory() as empty, tempfile.TemporaryFile("w+") as out, tempfile.TemporaryFile("w+") as err:
        status = subprocess.run(line, cwd=empty, env=environment, stdout=out, stderr=err).returncode
        return status, *(file.seek(0) or file.read() for file in (out, err))


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    for name in ("--examples", "--library", "--model", "--node-modules"):
        parser.add_argument(name, required=True)
    parser.add_argument("--c-program", help="the C example, built; it finds the library by itself")
    parser.add_argument("--node", default="node")
    parser.add_argument("--wine", help="the program that runs Windows programs")
    given = parser.parse_args()
    given.drive = "Z:" if given.wine else ""
    model, library, nowhere = (given.drive + path for path in (given.model, given.library, "/nowhere/at.all"))
    environment = dict(os.environ, NODE_PATH=given.drive + given.node_modules, NODE_SKIP_PLATFORM_CHECK="1")
    # Name; paths; exit status, what it prints, and what stands in its complaint.
    cases = [
        ("answer", [model, library], (0, ANSWER, "")),
        ("no model", [nowhere, library], (1, "", f"detect: CreateSession failed: Load model from {nowhere}")),
        ("no library", [model, nowhere], (1, "", "detect: ")),
    ]
    failed = 0
    for language, command in commands(given):
        count = 0 if not command else 2 if language == "C" else 3
        print(f"{language}: {count} cases" if count else f"{language} is left out: it is not there")
        for name, paths, expected in cases[:count]:
            line = [*command, *paths[: count - 1]]
            got = run(line, environment)
            if got[:2] != expected[:2] or expected[2] not in got[2]:
                failed += 1
                print(f"FAILED: {name}: {line}\n  expected {expected}\n  got      {got}")
    sys.exit(1 if failed else 0)


main()
