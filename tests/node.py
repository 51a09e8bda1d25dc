"""Checks the module for Node.js as npm installs it, without a network, in an empty folder."""
import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

import play
from delivery import DETECTS, check, declared, finish, output, run
from delivery import detector, drive, given, models, windows

deps, platform = given.source / ".deps", "win32-x64" if windows else "linux-x64"
program = [*given.runner, deps / "node/node.exe"] if windows else ["node"]
environment = {**os.environ, "NODE_SKIP_PLATFORM_CHECK": "1"}
FILES = "tests/module.mjs tests/module_calls.js examples/node/detect.js modules/node/example.ts"
OTHERS = ("int32_t", "float", "void")  # types that are no pointers
TSC = """node {deps}/node/node_modules/typescript/bin/tsc --strict --target es2022 --module node16
    --types node --typeRoots {deps}/node/node_modules/@types example.ts"""
EXAMPLE = r"""x float32 \[ -1, 3 \]
y \[ 1, 3 \] \[ 2, 5, 6 \]
Float32Array\(3\) \[ 8, 10, 12 \]
2\n4\n6\n8
.*must have 3 items.*"""


def install(folder):
    maker = [sys.executable, given.source / "cmake/npm.py"]
    subprocess.check_call([*maker, folder, f"{platform}={given.build}"])
    options = "--offline --ignore-scripts --no-audit --no-fund --cpu=x64 --os=" + platform[:5]
    command = "npm install {archive} --cache={deps}/node/npm-cache " + options
    output(command, archive="./onnxruntime-vornic-1.0.0.tgz", deps=deps, cwd=folder)
    for path in FILES.split():
        shutil.copy(given.source / path, folder)


def check_module(folder):
    settings = dict(cwd=folder, env=environment)
    nowhere = (1, "", ".*detect: CreateSession failed: Load model from nowhere.*")
    check("detect.js", DETECTS, run(*program, "detect.js", detector, **settings))
    check("detect.js, no model", nowhere, run(*program, "detect.js", "nowhere", **settings))
    command = [*program, "--expose-gc", "module.mjs", f"{drive}{models}", detector]
    status, out, err = run(*command, **settings)
    check("what the classes call", (0, [*declared()], ".*"), (status, out.split(), err))
    shown = "JSON.stringify(require('./node_modules/onnxruntime-vornic/src/functions'))"
    types = json.loads(run(*program, "-p", shown, **settings)[1])
    pointers = [sum(t not in OTHERS for t in types[name]) for name in sorted(types)]
    check("pointers in the declarations", [*declared().values()], pointers)
    player = [sys.executable, play.__file__, given.source / "tests/script", f"{drive}{models}"]
    command = [*player, *program, "module_calls.js", f"{drive}{given.library}"]
    check("the script of calls", 0, subprocess.call(command, **settings))
    if not windows:  # the compiler is the same everywhere
        output(TSC, deps=deps, cwd=folder)
        got = run("node", "example.js", models / "double.onnx", **settings)
        check("example.ts", (0, EXAMPLE, ".*"), got)


with tempfile.TemporaryDirectory(dir=given.build) as folder:
    install(pathlib.Path(folder))
    check_module(pathlib.Path(folder))
finish()
