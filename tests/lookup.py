"""Checks which ONNX Runtime the library takes, from runtimes put into folders around it."""
import contextlib
import os
import pathlib
import shutil
import tempfile

import play
from delivery import check, drive, exe, finish, given, windows

FOUND, NONE = "available", "OrtGetApiBase returned NULL"
OLD = "GetApi returned NULL"
# Which runtime is in which folder, and the library's answer; in some rows, then a runtime that is
# added while the host runs, and the answer after that.
LOOKUPS = [
    ({"library": "right"}, FOUND),
    ({"library": "old"}, OLD),
    ({"library": "right", "host": "old"}, FOUND),
] + windows * [
    ({}, NONE, {"library": "right"}, FOUND),
    ({}, NONE, {"host": "right"}, FOUND),
    ({"library": "no entry"}, NONE, {"library": "right"}, FOUND),
    ({"library": "damaged"}, NONE, {"library": "right"}, FOUND),
    ({"library": "no entry", "host": "right"}, FOUND),
    ({"library": "right", "system": "old"}, FOUND),
    ({"system": "old"}, OLD, {"library": "right"}, FOUND),
    ({"deep library": "right", "system": "old"}, FOUND),
]
RUNTIMES = dict(right=given.runtime, old=given.old, damaged=__file__)
RUNTIMES["no entry"] = given.library
SYSTEM = pathlib.Path(os.environ.get("WINEPREFIX", "/nowhere"), "drive_c/windows/system32")


def made_folders(root):
    folders = {"host": root / "host", "library": root / "a library"}
    folders["deep library"] = root.joinpath("Bücherei", *["deep" * 30] * 3)
    for folder in folders.values():
        folder.mkdir(parents=True)
    return {**folders, "system": SYSTEM}


def answers(folders, steps):
    """The library's answers to a program in the host's folder, after each change of runtimes."""
    folder = folders["deep library" if "deep library" in steps[0] else "library"]
    library = shutil.copy(given.library, folder)
    host = shutil.copy(given.build / f"caller{exe}", folders["host"])
    path = {"WINEPATH": drive + str(folder).replace("/", "\\"), "LD_LIBRARY_PATH": folder}
    # Started in a folder without any runtime, since Windows searches the current folder too.
    settings = dict(cwd=folders["host"].parent, env={**os.environ, **path})
    program = None
    for runtimes in steps[::2]:
        for where, kind in runtimes.items():
            shutil.copy(RUNTIMES[kind], folders[where] / "new")
            os.replace(folders[where] / "new", folders[where] / given.runtime.name)
        command = [*given.runner, host, os.path.basename(library)]
        program = program or play.Program(command, **settings)
        available, error = program.ask([("", "i", "available"), ("", "t", "last_error")])
        yield error[1:] if available == "0" else FOUND + error[1:]
    program.end()


for steps in LOOKUPS:
    with tempfile.TemporaryDirectory(dir=given.build) as root, contextlib.ExitStack() as after:
        after.callback((SYSTEM / given.runtime.name).unlink, missing_ok=True)
        check(steps, [*steps[1::2]], [*answers(made_folders(pathlib.Path(root)), steps)])
finish()
