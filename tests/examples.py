"""Checks the example of each language whose compiler or interpreter is installed."""
import glob
import re
import shutil
import sys
import tempfile

from delivery import DETECTS, check, detector, drive, exe, finish, given, models, run

library, nowhere = f"{drive}{given.library}", f"{drive}/nowhere/at.all"
other, tool = given.build / "other", given.build / "onnxruntime_vornic-run"
java = glob.glob("/usr/lib/jvm/*-2[2-9]-*/bin/java") or ["Java 22"]
has_cffi = glob.glob("/usr/share/common-lisp/source/cl-cffi")
LINKED = [[given.build / f"detect_example{exe}"]]  # with the library, which is no argument then
LOADING = []
if not given.runner:
    LINKED += [[other / "detect_pascal"], [other / "detect_fortran"]]
    LOADING = [
        [sys.executable, "python/detect.py"],
        ["luajit", "luajit/detect.lua"],
        ["perl", "perl/detect.pl"],
        ["php", "php/detect.php"],
        ["racket", "racket/detect.rkt"],
        ["ruby", "ruby/detect.rb"],
        ["sbcl" if has_cffi else "CFFI", "--script", "lisp/detect.lisp"],
        [java[0], "--enable-native-access=ALL-UNNAMED", "java/Detect.java"],
        [other / "detect_ocaml"],
        ["mono" if (other / "detect.exe").exists() else "mcs", other / "detect.exe"],
        ["escript" if tool.exists() else "tool", "erlang/detect.erl"],
    ]
no_model = (1, "", f".*: CreateSession failed: Load model from {re.escape(nowhere)}.*")


def check_example(*command, cases):
    *command, example = command
    if not shutil.which((*command, example)[0]):
        return print(f"{example} is left out: {(*command, example)[0]} is not installed")
    for paths, expected in cases:
        if example == "erlang/detect.erl":  # which starts the tool
            paths = [path.replace(library, str(tool)) for path in paths]
        with tempfile.TemporaryDirectory() as empty:
            source = given.source / "examples" / example
            got = run(*command, drive + str(source), *paths, cwd=empty)
            check(f"{example} {paths}", expected, got)


for command in LINKED:
    cases = [([detector], DETECTS), ([nowhere], no_model)]
    check_example(*given.runner, *command, cases=cases)
for command in LOADING:
    cases = [([detector, library], DETECTS), ([nowhere, library], no_model)]
    check_example(*command, cases=[*cases, ([detector, nowhere], (1, "", ".*detect: .*"))])
if (other / "double_fortran").exists():
    doubled = "  2.000  5.000  6.000\n -8.000  0.250 12.000\n"
    got = run(other / "double_fortran", models / "double.onnx")
    check("Fortran's array", (0, doubled, ".*"), got)
finish()
