"""Runs the example of each language and compares what they print.

Each is started in an empty folder and knows nothing but the paths that it is given: as it should
be, and with a path that leads nowhere. Under Wine these are the C program and a Node.js for Windows.
"""

import argparse
import glob
import os
import re
import shutil
import subprocess
import sys
import tempfile

ANSWER = "chunk 0: 0.229\nchunk 1: 0.259\nchunk 2: 0.254\n"


def new_java():
    """A Java that has java.lang.foreign (22 or later), wherever the machine keeps it."""
    on_path = os.path.realpath(shutil.which("java") or "")
    for java in [os.environ.get("JAVA_HOME", "") + "/bin/java", on_path, *glob.glob("/usr/lib/jvm/*/bin/java")]:
        release = os.path.join(os.path.dirname(java), "../release")
        if os.path.exists(release):
            with open(release, encoding="utf-8") as file:
                version = re.search(r'JAVA_VERSION="(\d+)', file.read())
            if version and int(version[1]) >= 22:
                return java
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


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    for name in ("--examples", "--library", "--model", "--node-modules"):
        parser.add_argument(name, required=True)
    parser.add_argument("--c-program", help="the C example, built; it finds the library itself")
    parser.add_argument("--node", default="node")
    parser.add_argument("--wine", help="the program that runs Windows programs")
    given = parser.parse_args()
    given.drive = "Z:" if given.wine else ""
    model, library, nowhere = (given.drive + path for path in (given.model, given.library, "/nowhere/at.all"))
    environment = dict(os.environ, NODE_PATH=given.drive + given.node_modules, NODE_SKIP_PLATFORM_CHECK="1")
    refusal = f"detect: CreateSession failed: Load model from {nowhere}"
    # Name; paths; exit status, what it prints, and what stands in its complaint.
    cases = [("answer", [model, library], (0, ANSWER, "")), ("no model", [nowhere, library], (1, "", refusal))]
    cases += [("no library", [model, nowhere], (1, "", "detect: "))]

    failed = 0
    for language, command in commands(given):
        if not command:
            print(f"left out: {language}, which is not there")
            continue
        for name, paths, (status, answer, complaint) in cases[:2] if language == "C" else cases:
            with tempfile.TemporaryDirectory() as folder:
                paths = paths[:1] if language == "C" else paths
                run = subprocess.run([*command, *paths], cwd=folder, env=environment, capture_output=True, text=True)
            good = (run.returncode, run.stdout.replace("\r", "")) == (status, answer) and complaint in run.stderr
            failed += not good
            print(f"{'ok' if good else 'FAILED'}: {language}: {name}" + ("" if good else f"\n  {run}"))
    sys.exit(1 if failed else 0)


main()
