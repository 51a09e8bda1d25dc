"""What the checks of delivered files and docs share: CMake's settings, check() and run()."""
import argparse
import os
import pathlib
import re
import shlex
import subprocess
import sys
import tempfile

parser = argparse.ArgumentParser()
for name in "build source library runtime old cmake cc nm objdump readelf doxygen".split():
    parser.add_argument("--" + name, type=pathlib.Path)
parser.add_argument("--runner", type=shlex.split)  # what runs the target's programs
parser.add_argument("--toolchain")
parser.add_argument("--objects", nargs="*")  # of which the library is made
parser.add_argument("--feeds", nargs=2, type=int, default=(3000, 1))  # random ones, and their seed
given = parser.parse_args()
windows = given.library.suffix == ".dll"
drive, exe = ("Z:", ".exe") if windows else ("", "")
models, detector = given.build / "models", f"{drive}{given.source}/.deps/models/silero_vad.onnx"
DETECTS = (0, "chunk 0: 0.229\nchunk 1: 0.259\nchunk 2: 0.254\n", ".*")
DOUBLES = r'\{"outputs":\{"y":\{"dtype":"float32","shape":\[1,3\],"data":\[2,5,6\]\}\}\}\n'
failures = []


def check(what, expected, got):
    """Texts are patterns, in tuples too; anything else must be equal."""
    pairs = zip(expected, got) if isinstance(expected, tuple) else [(expected, got)]
    if all(re.fullmatch(e, g, re.DOTALL) if isinstance(e, str) else e == g for e, g in pairs):
        print(f"ok: {what}")
    else:
        failures.append(what)
        print(f"FAILED: {what}\n  expected  {expected!r:.1000}\n  got       {got!r:.1000}")


def run(*command, feed="", **settings):
    """Exit status, output and errors. Windows programs cannot open Linux's pipes, but files."""
    with tempfile.TemporaryFile() as out, tempfile.TemporaryFile() as err:
        settings |= dict(input=feed.encode(), stdout=out, stderr=err)
        texts = [subprocess.run(command, **settings).returncode]
        for file in (out, err):
            file.seek(0)
            texts.append(file.read().decode().replace("\r\n", "\n"))
        return tuple(texts)


def words(template, **values):
    """The template's words, with {NAME} replaced by a value or a setting, with its spaces."""
    return [word.format(**{**vars(given), **values}) for word in template.split()]


def output(template, *more, cwd=None, env={}, **values):
    """The output of a command, which must succeed."""
    command = [*words(template, **values), *more]
    status, out, err = run(*command, cwd=cwd, env={**os.environ, **env})
    return out if status == 0 else sys.exit(f"FAILED: {command} exited with {status}: {out}{err}")


def declared():
    """The functions that the header declares, with the number of pointers in each declaration."""
    cdef = (given.build / "onnxruntime_vornic.cdef").read_text()
    found = re.findall(r"(.*(onnxruntime_vn_\w+)\(.*)", cdef)
    return dict(sorted((name, line.count("*")) for line, name in found))


def finish():
    sys.exit(len(failures) > 0)
