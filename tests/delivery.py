"""Checks what is handed out, each PART (exports, lookup, tool, examples, packages or node) in a table: delivery.py PART SETTINGS.
CMake gives the settings: the objects that the library is made of, the runner of the target's programs, and so on."""
import argparse
import glob
import os
import pathlib
import re
import shlex
import shutil
import subprocess
import sys
import tempfile
import play

parser = argparse.ArgumentParser()
for name in ("build", "source", "library", "runtime", "old", "cmake", "cc", "nm", "objdump", "readelf"):
    parser.add_argument("--" + name, type=pathlib.Path)
for name, count in (("part", None), ("--runner", None), ("--toolchain", None), ("--objects", "*")):
    parser.add_argument(name, nargs=count)
given = parser.parse_args()
windows = given.library.suffix == ".dll"
runner, drive, exe, models, failed = shlex.split(given.runner), "Z:" * windows, ".exe" * windows, given.build / "models", 0


def check(what, expected, got):
    """Texts are patterns; the rest must be equal."""
    global failed
    parts = zip(expected, got) if isinstance(expected, tuple) else [(expected, got)]
    good = all(re.fullmatch(e, g, re.DOTALL) if isinstance(e, str) else e == g for e, g in parts)
    failed += not good
    print(f"ok: {what}" if good else f"FAILED: {what}\n  expected  {expected}\n  got       {got}"[:2000])


def run(*command, feed="", **settings):
    """Status, output and complaint; by way of files, since Windows programs cannot open Linux's pipes."""
    with tempfile.TemporaryFile() as out, tempfile.TemporaryFile() as err:
        status = subprocess.run(command, input=feed.encode(), stdout=out, stderr=err, **settings).returncode
        return status, *(file.seek(0) or file.read().decode().replace("\r\n", "\n") for file in (out, err))


def output(*command, **settings):
    status, out, err = run(*command, **settings)
    return out if status == 0 else sys.exit(f"{command} failed: {out}{err}")


def exports():
    text = re.sub(r"/\*.*?\*/", "", (given.source / "include/onnxruntime_vornic.h").read_text(), flags=re.DOTALL)
    declared = sorted(set(re.findall(r"\bonnxruntime_vn_\w+(?=\()", text)))
    if windows:
        table, symbols = output(given.objdump, "-p", given.library), output(given.nm, given.library)
        rows = [
            ("exports", r"^\t\[ *\d+\] (?:\+base\S+ +\S+ +\w+ )?([a-z]\w+)$", declared, table),
            ("libraries", r"DLL Name: (\S+)", ["KERNEL32.dll", "msvcrt.dll"], table),
            ("delayed imports", r"T (__DELAY_IMPORT\w+)", ["__DELAY_IMPORT_DESCRIPTOR_libonnxruntime_delayed_a"], symbols),
            ("version among the properties", r"ProductVersion\0([\d.]+)", re.findall(r'VERSION "(.*)"', text), given.library.read_bytes().decode("utf-16le", "replace")),
            ("hardening and time stamp", r"(?:DllCharacteristics|Time/Date stamp)\s+(\d+)$", ["00000160", "0"], table),
        ]
    else:
        dynamic = output(given.readelf, "-dW", given.library)
        exported, needed = (output(given.nm, "-D", f"--{kind}-only", given.library) for kind in ("defined", "undefined"))
        rows = [
            ("exports", r" T (\w+)", declared, exported),
            ("other exports", r" [^T] (\w+)", [], exported),
            ("libraries and name", r"\((?:NEEDED|SONAME)\).*\[(.*)\]", ["libonnxruntime.so.1", "libc.so.6", "libonnxruntime_vornic.so.1"], dynamic),
            ("search path, and bound at once", r"\((?:RUNPATH|FLAGS)\)[\w: ]*?\[?(\$[^\]]*|BIND.*)", ["$ORIGIN/onnxruntime_vornic:$ORIGIN", "BIND_NOW"], dynamic),
            ("of the runtime, and of which version", r"(Ort\S+)", ["OrtGetApiBase"], needed),
            ("libraries of a version", r"File: (\S+)", ["libc.so.6"], output(given.readelf, "-VW", given.library)),
            ("bytes of constructors: the C runtime's own", r"\(INIT_ARRAYSZ\)\s+(\d+)", ["8"], dynamic),
        ]
    at_load = r"\.(?:init_array|preinit_array|ctors|CRT\$|tls|tdata|tbss)\S*"
    for what, pattern, expected, text in [*rows, ("run or copied at load", at_load, [], output(given.objdump, "-h", *given.objects))]:
        check(what, expected, re.findall(pattern, text, re.MULTILINE))


ASKED = [("", "i", "available"), ("", "t", "last_error")]
FOUND, NONE, OLD = ["1", "'"], ["0", "'OrtGetApiBase returned NULL"], ["0", "'GetApi returned NULL"]
# Where a runtime of which kind stands, and what the library says; then, in some, what is put where while
# the host lives, and what the library says to that.
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


def ask(folders, kinds, steps):
    """What the library in its folder says to the program in the host's, as runtimes are put around them."""
    place = folders["deep library" if "deep library" in steps[0] else "library"]
    host, library, program = shutil.copy(given.build / f"caller{exe}", folders["host"]), shutil.copy(given.library, place), None
    path = {"WINEPATH": drive + str(place).replace("/", "\\"), "LD_LIBRARY_PATH": place}
    for runtimes in steps[::2]:
        for where, kind in runtimes.items():
            shutil.copy(kinds[kind], folders[where] / "new")
            os.replace(folders[where] / "new", folders[where] / given.runtime.name)
        # Started where no runtime is: Windows searches the current folder too.
        program = program or play.Program([*runner, host, os.path.basename(library)], cwd=folders["host"].parent, env={**os.environ, **path})
        yield program.ask(ASKED)
    program.end()


def lookup():
    system = pathlib.Path(os.environ.get("WINEPREFIX", "/nowhere")) / "drive_c/windows/system32"
    for steps in LOOKUPS:
        with tempfile.TemporaryDirectory(dir=given.build) as root:
            root = pathlib.Path(root)
            folders = {"host": root / "host", "library": root / "a library", "deep library": root.joinpath("Bücherei", *["deep" * 30] * 3)}
            for folder in folders.values():
                folder.mkdir(parents=True)
            kinds = {"right": given.runtime, "old": given.old, "no entry": given.library, "damaged": __file__}
            try:
                check(steps, [*steps[1::2]], [*ask({**folders, "system": system}, kinds, steps)])
            finally:
                (system / given.runtime.name).unlink(missing_ok=True)
    with tempfile.TemporaryDirectory() as alone:
        if not windows:
            check("nowhere: the loader refuses the library", (3, r"libonnxruntime\.so\.1: .*", ".*"),
                  run(*runner, given.build / "caller", shutil.copy(given.library, alone), feed="\ti\tavailable\n"))


ITEM = '{"dtype":"float32","shape":[%s],"data":[%s]}'
FEED = '{"x":' + ITEM % ("1,3", "1,2.5,3") + "}"
LONG = '{"x":' + ITEM % ("9000", ",".join(["0.123456789"] * 9000)) + "}"
ODD = '{"a"b\\c":' + ITEM % ("1", "7") + "}"
GIVES = r'\{"outputs":\{"y":\{"dtype":"float32","shape":\[1,3\],"data":\[2,5,6\]\}\}\}\n'
REFUSED = r'\{"error":"%s"\}\n'
# Feeds and results of lines, and strings with a line break among them.
COUNT = "".join('{"x":%s}\n' % ITEM % ("1,3", f"0,0,{i}") for i in range(2000))
COUNTED = "".join('{"outputs":{"y":%s}}\n' % ITEM % ("1,3", f"0,0,{2 * i}") for i in range(2000))
WORDS = '{"data":%s,"x":%s}' % (ITEM % ("1,2", '"two\\nlines",""'), ITEM % ("1,2", "0,0"))
WORDS = WORDS.replace("float32", "string", 1).replace("float32", "int64")
REFUSALS = {
    FEED.replace("float", "\\\1"): r"unsupported input dtype '\\\\\\u000132'",
    FEED.replace("float", 99 * "ä"): r".*ä\\ufffd.*",
    '{"x":{"dtype":"float32"}}': "no reason given: .*",
    FEED + "\0": "not a text",
    FEED[:50]: "malformed JSON numeric array",
}
TIMES = r"7 runs: minimum [\d.]+ us, median [\d.]+ us, maximum [\d.]+ us\n"
LINES = r'\{"inputs":\[\{"name":"x",.*\n\{"outputs":\[\{"name":"y",.*\n\{"metadata":\{.*va\\"lue.*\}\}\n\{"providers":\["[^\n]*CPUExecutionProvider".*\]\}\n'
# Arguments of the tool; standard input; exit status; all of standard output; a part of standard error.
TOOL = [
    *[(help, "", 0, r"usage: .*Exit status: .*", "") for help in ("--help", "-h")],
    *[(misuse, "", 2, "", f"run: {fault}") for misuse, fault in (
        ("", "no MODEL is given"), ("--feed", "no MODEL is given"), ("--feed double.onnx feed.json", "--feed takes neither"),
        ("--bench x double.onnx feed.json", "not understood: x"), ("--threads 0 double.onnx", "not understood: 0"),
        ("double.onnx --bench", "needs a value: --bench"), ("double.onnx --provider=", "needs a value: --provider="),
        ("--lines --bench 3 double.onnx", "--lines takes neither"), ("--nothing double.onnx", "not understood: --nothing"))],
    ("--version", "", 0, r"onnxruntime_vornic-run \d+\.\d+\.\d+, ONNX Runtime 1\.\d+\.\d+\n", ""),
    ("words.onnx", "", 0, r'.*"custom_metadata_map":\{"\w+":"1","\w+":"1"\}\}\}\n.*', ""),
    ("words.onnx --feed", "", 0, r'\{"data":\{"dtype":"string","shape":\[1,2\],"data":\["",""\]\},\n "x":\{.*\[1,2\],"data":\[0,0\]\}\}\n', ""),
    *[(f"--feed {model}.onnx", "", 1, "", f"no feed: {why}") for model, why in (
        ("large", "a feed holds at most 65536 numbers"), ("wide", "the model has more than 16"), ("sum", "an input's name has more"))],
    ("--bench=7 large.onnx", "", 0, TIMES.replace("runs", "runs by the fast tensor run"), ""),
    ("--bench 7 --threads=2 --provider CPU={} -- words.onnx", "", 0, TIMES, ""),
    ("--provider CPU={3} double.onnx", "", 1, "", "provider option key must be a string"),
    ("double.onnx", "", 0, LINES, ""),
    ("dóuble.onnx 食.json", "", 0, GIVES, ""),
    ("quotes.onnx - 'd\"e\\f' 'd\"e\\f'", ODD, 0, r'.*"d\\"e\\\\f":.*\[7\].*"d\\"e\\\\f":.*\[7\].*', ""),
    ("long.onnx -", LONG, 1, r'\{"outputs":.{65524}\n', "the result: warning: cut"),
    ("wordy.onnx", "", 1, r".*", "inputs: warning: cut"),
    ("absent.onnx", "", 1, "", "run: CreateSession failed: "),
    ("a" * 1024, "", 1, "", "run: model path cannot be converted to at most 1023 UTF-16 units" if windows else "run: CreateSession failed: "),
    ("double.onnx -", "", 1, "", "run: input_feed_json is empty\n  input \"x\": float32 [-1,3]\n  output \"y\": float32 [-1,3]"),
    ("double.onnx -", '{"x":{"dtype":"float32"}}', 1, "", "run: no reason given"),
    ("double.onnx -", FEED + "\0", 1, "", "-: not a text"),
    ("double.onnx --lines", COUNT, 0, re.escape(COUNTED), ""),
    ("double.onnx --lines - y", f"{FEED}\r\n\n{FEED.replace('2.5', ' ' * 10**7 + '2.5')}\n{FEED}", 1,
     GIVES + REFUSED % "input_feed_json is empty" + 2 * GIVES, ""),
    ("double.onnx --lines", "\n".join(REFUSALS), 1,
     "".join(REFUSED % why for why in REFUSALS.values()), ""),
    ("words.onnx --lines", WORDS, 0, r".*two\\u000alines.*\n", ""),
    ("long.onnx --lines", LONG, 1, REFUSED % "the result is cut at the text's limit", ""),
    *[(f"double.onnx --lines {file}", "", 1, "", f"{file}: ") for file in ("absent.json", ".")],
    *[(f"double.onnx {file}", "", 1, "", complaint) for file, complaint in (("absent.json", "absent.json: No such file"), ("huge.json", "huge.json: too large"))],
]


def tool():
    with tempfile.TemporaryDirectory() as work:
        folder = shutil.copytree(models, f"{work}/models")
        shutil.copy(models / "double.onnx", f"{folder}/dóuble.onnx")
        pathlib.Path(folder, "食.json").write_text(FEED)
        os.truncate(shutil.copy(models / "double.onnx", f"{folder}/huge.json"), 2**26)
        for arguments, feed, status, out, err in TOOL:
            program = given.build / f"onnxruntime_vornic-run{exe}"
            check(f"onnxruntime_vornic-run {arguments}", (status, out, f".*{re.escape(err)}.*"),
                  run(*runner, program, *shlex.split(arguments), feed=feed, cwd=folder))
        talk = play.Program([*runner, program, "double.onnx", "--lines"], cwd=folder)
        answers = "".join(talk.ask([(FEED,)])[0] + "\n" for _ in range(3))
        check("--lines answers before the next line comes", GIVES * 3, answers)
        talk.process.stdout.close()
        talk.send([(FEED,)])
        talk.close()
        check("--lines without a reader", 3, talk.process.wait(60))




DETECTS = (0, "chunk 0: 0.229\nchunk 1: 0.259\nchunk 2: 0.254\n", ".*")


def examples():
    deps, cffi, other = given.source / ".deps", os.path.exists("/usr/share/common-lisp/source/cl-cffi"), given.build / "other"
    tool, csharp = given.build / "onnxruntime_vornic-run", other / "detect.exe"
    linked = [given.build / f"detect_example{exe}", other / "detect_pascal", other / "detect_fortran"]
    rows = [[*runner, linked[0]]]
    rows += (not runner) * [
        [sys.executable, "python/detect.py"], ["luajit", "luajit/detect.lua"], ["perl", "perl/detect.pl"], ["php", "php/detect.php"],
        ["racket", "racket/detect.rkt"], ["ruby", "ruby/detect.rb"], ["sbcl" if cffi else "no CFFI", "--script", "lisp/detect.lisp"],
        [*(glob.glob("/usr/lib/jvm/*-2[2-9]-*/bin/java") or ["Java 22"])[:1], "--enable-native-access=ALL-UNNAMED", "java/Detect.java"],
        [other / "detect_ocaml"], [linked[1]], [linked[2]], ["mono" if csharp.exists() else "no compiler of C#", csharp],
        ["escript" if tool.exists() else "no tool", "erlang/detect.erl"]]
    model, library, nowhere = (f"{drive}{path}" for path in (deps / "models/silero_vad.onnx", given.library, "/nowhere/at.all"))
    cases = [  # what is given; exit status, output and a part of the complaint
        ([model, library], DETECTS),
        ([nowhere, library], (1, "", f".*: CreateSession failed: Load model from {re.escape(nowhere)}.*")),
        ([model, nowhere], (1, "", ".*detect: .*")),
    ]
    for *command, example in rows:
        count = 1 if example in linked else 2  # of arguments
        for paths, expected in cases[: count + 1]:
            if example == "erlang/detect.erl":  # its second one is the tool
                paths = [paths[0], paths[1].replace(library, str(tool))]
            if not shutil.which([*command, example][0]):
                print(f"{example} is left out: what runs it is not there")
                continue
            with tempfile.TemporaryDirectory() as empty:
                source = example if isinstance(example, pathlib.Path) else f"{drive}{given.source}/examples/{example}"
                check(f"{example} {paths}", expected, run(*command, source, *paths[:count], cwd=empty))
    if (other / "double_fortran").exists():
        doubled = "  2.000  5.000  6.000\n -8.000  0.250 12.000\n"
        check("Fortran's array", (0, doubled, ".*"), run(other / "double_fortran", models / "double.onnx"))


def build_by_cmake(prefix, work):
    """The C example that came with the prefix, built with what came with it."""
    source = prefix / "share/doc/onnxruntime-vornic/examples/c"
    output(given.cmake, "-G", "Ninja", "-S", source, "-B", work / "by_cmake", f"-DCMAKE_PREFIX_PATH={prefix}", f"-DCMAKE_TOOLCHAIN_FILE={given.toolchain}")
    output(given.cmake, "--build", work / "by_cmake")
    return work / f"by_cmake/detect{exe}"


def detects(what, program):
    check(what, DETECTS, run(*runner, program, f"{drive}{given.source}/.deps/models/silero_vad.onnx"))


def answers(what, program, prefix):
    examples = f"{drive}{prefix}/share/doc/onnxruntime-vornic/examples"
    check(what, (0, GIVES, ".*"), run(*runner, program, f"{examples}/double.onnx", f"{examples}/double.json"))


def packages():
    """Whatever is made, unpacked and used where it was unpacked."""
    with tempfile.TemporaryDirectory() as folder:
        work = pathlib.Path(folder)
        output("/usr/bin/python3", given.source / "cmake/package.py", given.build, work / "packages", "--effort=1", "--contact=Some One <one@example.test>")
        debs, (archive,), wheels = (sorted((work / "packages").glob(kind)) for kind in ("*.deb", "*.[tz]*", "*.whl"))
        python_wheels(work, *wheels)
        check("for Debian", [] if windows else ["libonnxruntime-vornic-dev", "libonnxruntime-vornic1", "onnxruntime-vornic-tools", "python3-onnxruntime-vornic"],
              [output("dpkg-deb", "-x", deb, work / "package") or deb.name.split("_1")[0] for deb in debs])
        shutil.unpack_archive(archive, work / "archive")
        prefixes = [*(work / "archive").iterdir(), *work.glob("package/usr")]
        for prefix in prefixes:
            files = [path for path in prefix.rglob("*") if path.is_file()]
            check("files that name the checkout", [], [path for path in files if bytes(given.source) in path.read_bytes()])
            check("the script for authors of bindings", 1, sum(path.name == "script.txt" for path in files))
            check("functions for languages that read C", [58], [path.read_text().count(");\n") for path in files if path.suffix == ".cdef"])
            if not windows:  # the system's own runtime may stand in the folder of libraries, and be too old
                os.symlink(given.old, prefix / "lib/libonnxruntime.so.1")  # where none is
            answers(f"unpacked in {prefix.name}", prefix / f"bin/onnxruntime_vornic-run{exe}", prefix)
        windows_linkers(work, prefixes[0]) if windows else linux_linkers(work, "".join(output("dpkg-deb", "-f", deb, "Depends") for deb in debs))


def python_wheels(work, wheel, bare):
    """Both are whole, and what is installed of the first into a fresh folder answers, where a Python for it is here."""
    for each in (wheel, bare):  # hashes are compared
        output("/usr/bin/python3", "-m", "wheel", "unpack", "-d", work / "unpacked", each)
    tag, pip = wheel.stem.split("-")[-1], ["/usr/bin/python3", "-m", "pip"]
    if not windows:
        versions = "".join(output(given.readelf, "-VW", file) for file in (given.library, given.runtime))
        newest = max(int(minor) for minor in re.findall(r"Name: GLIBC_2\.(\d+)", versions))
        check("the wheel's tag", f"manylinux_2_{newest}_(x86_64|aarch64)", tag)
    install = ["install", "--no-index", "--no-compile", wheel]
    if windows or runner:
        output(*pip, *install, "--platform", tag, "--only-binary=:all:", "--target", work / "installed")
        return check("installed", 2, sum(1 for _ in (work / "installed/onnxruntime_vornic/lib").iterdir()))
    output(sys.executable, "-m", "venv", "--without-pip", work / "venv")
    python = work / "venv/bin/python"
    output(*pip, "--python", python, *install)
    example = shutil.copy(given.source / "examples/python/detect.py", work / "venv")
    check("the wheel's answers", DETECTS, run(python, example, given.source / ".deps/models/silero_vad.onnx"))


def linux_linkers(work, depends):
    output(given.cmake, "--install", given.build, "--prefix", work / "prefix", "--strip")
    prefix = (work / "prefix").rename(work / "moved away")
    check("link for the linker", r"libonnxruntime_vornic\.so\.1", os.readlink(prefix / "lib/libonnxruntime_vornic.so"))
    answers("installed and moved", prefix / "bin/onnxruntime_vornic-run", prefix)
    detects("installed and moved, by CMake", build_by_cmake(prefix, work))
    flags = shlex.split(output("pkg-config", "--cflags", "--libs", "onnxruntime_vornic", env={**os.environ, "PKG_CONFIG_PATH": str(prefix / "lib/pkgconfig")}))
    source = prefix / "share/doc/onnxruntime-vornic/examples/c/detect.c"
    output(given.cc, "-o", work / "by_pkg_config", source, *flags, f"-Wl,-rpath,{prefix}/lib")
    detects("installed and moved, by pkg-config", work / "by_pkg_config")
    packages = {"libstdc++.so.6": "libstdc++6", "libgcc_s.so.1": "libgcc-s1"}  # the others are the C library's, or in the package
    for file in (prefix / "bin/onnxruntime_vornic-run", given.library, given.runtime):
        needed = re.findall(r"\(NEEDED\).*\[(.*)\]", output(given.readelf, "-dW", file))
        check(f"packages named for {file.name}", [], [name for name in needed if packages.get(name, "libc6") not in depends])


def windows_linkers(work, prefix):
    detects("unpacked, by CMake and MinGW", shutil.copy(build_by_cmake(prefix, work), prefix / "bin"))
    # For Microsoft's linker, with no C runtime: the exit status says that the runtime was found.
    (work / "client.c").write_text('#include "onnxruntime_vornic.h"\nint start(void) { return 41 + onnxruntime_vn_available(); }\n')
    clang, link = (shutil.which(f"{name}-14") or name for name in ("clang", "lld-link"))
    output(clang, "--target=x86_64-pc-windows-msvc", "-ffreestanding", f"-I{prefix}/include", "-c", "client.c", cwd=work)
    output(link, "-entry:start", "-subsystem:console", "-nodefaultlib", f"-out:{prefix}/bin/client.exe", "client.o", prefix / "lib/onnxruntime_vornic.lib", cwd=work)
    check("unpacked, by Microsoft's import library", 42, run(*runner, prefix / "bin/client.exe")[0])


def node():
    """The module for Node.js as it is installed, without a network, in a fresh folder."""
    deps, platform = given.source / ".deps", "win32-x64" if windows else "linux-x64"
    with tempfile.TemporaryDirectory(dir=given.build) as folder:
        made = [subprocess.check_call([sys.executable, given.source / "cmake/npm.py", f"{folder}/{n}", f"{platform}={given.build}"]) or
                pathlib.Path(folder, str(n), "onnxruntime-vornic-1.0.0.tgz").read_bytes() for n in (1, 2)]
        check("two archives of one build", True, made[0] == made[1])
        output("npm", "install", "--offline", "--ignore-scripts", "--no-audit", "--no-fund", f"--os={platform[:5]}", "--cpu=x64",
               f"--cache={deps}/node/npm-cache", "./1/onnxruntime-vornic-1.0.0.tgz", cwd=folder)
        for path in ("tests/module.mjs", "tests/module_calls.js", "examples/node/detect.js", "modules/node/example.ts"):
            shutil.copy(given.source / path, folder)
        model, double, program = f"{drive}{deps}/models/silero_vad.onnx", f"{drive}{models}/double.onnx", [*runner, deps / "node/node.exe"] if windows else ["node"]
        settings = {"cwd": folder, "env": {**os.environ, "NODE_SKIP_PLATFORM_CHECK": "1"}}
        check("detect.js", (0, "chunk 0: 0.229\nchunk 1: 0.259\nchunk 2: 0.254\n", ".*"), run(*program, "detect.js", model, **settings))
        check("detect.js, no model", (1, "", ".*detect: CreateSession failed: Load model from nowhere.*"), run(*program, "detect.js", "nowhere", **settings))
        status, out, err = run(*program, "--expose-gc", "module.mjs", f"{drive}{models}", model, **settings)
        declared = re.findall(r"\bonnxruntime_vn_(\w+)(?=\()", re.sub(r"/\*.*?\*/", "", (given.source / "include/onnxruntime_vornic.h").read_text(), flags=re.DOTALL))
        check("what the classes call", (0, sorted(declared), ".*"), (status, out.split(), err))
        # In a run without its input a kernel throws, and Wine ends a process that throws on a stack of koffi's own.
        script, unbound = (given.source / "tests/script.txt").read_bytes(), rb"(clear_inputs .*\n)\$result = run_with_iobinding .*\n"
        pathlib.Path(folder, "script.txt").write_bytes(re.sub(unbound, rb"\1", script) if windows else script)
        command = [sys.executable, play.__file__, "script.txt", f"{drive}{models}", *program, "module_calls.js", f"{drive}{given.library}"]
        check("the script of calls", 0, subprocess.call(command, **settings))
        if not windows:  # the compiler is the same everywhere
            output("node", deps / "node/node_modules/typescript/bin/tsc", "--strict", "--target", "es2022", "--module", "node16",
                   "--types", "node", "--typeRoots", deps / "node/node_modules/@types", "example.ts", **settings)
            check("example.ts", (0, r"x float32 \[ -1, 3 \]\ny \[ 1, 3 \] \[ 2, 5, 6 \]\nFloat32Array\(3\) \[ 8, 10, 12 \]\n2\n4\n6\n8\n.*must have 3 items.*", ".*"),
                  run("node", "example.js", double, **settings))


globals()[given.part]()
sys.exit(failed > 0)
