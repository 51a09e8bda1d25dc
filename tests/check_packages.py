"""Checks what is installed and packed, as its users meet it: moved, unpacked, built with, run."""
import argparse
import os
import pathlib
import shlex
import shutil
import subprocess
import sys
import tempfile

EXAMPLES = "share/doc/onnxruntime-vornic/examples/c"
FEED = '{"x":{"dtype":"float32","shape":[1,3],"data":[1,2.5,3]}}'
ANSWER = '{"outputs":{"y":{"dtype":"float32","shape":[1,3],"data":[2,5,6]}}}\n'
# For Microsoft's linker, with no C runtime: the exit status says that the runtime was found.
MSVC_CLIENT = '#include "onnxruntime_vornic.h"\nint start(void) { return 41 + onnxruntime_vn_available(); }\n'

parser = argparse.ArgumentParser(description=__doc__)
parser.add_argument("--build", required=True, type=pathlib.Path, help="where the project is built")
parser.add_argument("--source", required=True, help="the checkout, no path to which may be packed")
parser.add_argument("--model", required=True, help="doubles x, float32 in three columns")
parser.add_argument("--old", required=True, help="an ONNX Runtime that is too old")
parser.add_argument("--cmake", required=True)
parser.add_argument("--toolchain", help="CMake's file for building for Windows")
parser.add_argument("--wine", help="the program that runs Windows programs")
options = parser.parse_args()
failed = 0


def run(*command, **settings):
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True, **settings).stdout


def check(what, expected, got):
    global failed
    failed += expected != got
    print(f"ok: {what}" if expected == got else f"FAILED: {what}\n  expected {expected!r}\n  got      {got!r}")


def check_answer(what, *program):
    done = subprocess.run([*program, options.model, "-"], input=FEED, text=True, capture_output=True)
    check(what, (0, ANSWER, ""), (done.returncode, done.stdout, done.stderr if done.returncode else ""))


def build_by_cmake(prefix, work, *settings):
    """The C examples that came with the prefix, built with what came with it."""
    run(options.cmake, "-G", "Ninja", "-S", prefix / EXAMPLES, "-B", work / "by_cmake",
        f"-DCMAKE_PREFIX_PATH={prefix}", *settings)
    run(options.cmake, "--build", work / "by_cmake")
    return next(path for path in (work / "by_cmake").iterdir() if path.stem == "run")


def check_contents(prefix):
    check("files that name the checkout", [], [path.name for path in prefix.rglob("*")
                                               if path.is_file() and options.source.encode() in path.read_bytes()])


def pack(work, generators):
    run(pathlib.Path(options.cmake).with_name("cpack"), "-G", generators, "-B", work / "packages",
        "--config", options.build / "CPackConfig.cmake")
    return {path.suffix: path for path in (work / "packages").iterdir() if path.is_file()}


def check_linux(work):
    run(options.cmake, "--install", options.build, "--prefix", work / "prefix", "--strip")
    prefix = (work / "prefix").rename(work / "moved away")
    check("link for the linker", "libonnxruntime_vornic.so.1", os.readlink(prefix / "lib/libonnxruntime_vornic.so"))
    check_answer("installed and moved, by CMake", build_by_cmake(prefix, work))

    flags = shlex.split(run("pkg-config", "--cflags", "--libs", "onnxruntime_vornic",
                            env=dict(os.environ, PKG_CONFIG_PATH=prefix / "lib/pkgconfig")))
    run("cc", "-o", work / "by_pkg_config", prefix / EXAMPLES / "run.c", *flags, f"-Wl,-rpath,{prefix}/lib")
    check_answer("installed and moved, by pkg-config", work / "by_pkg_config")

    packages = pack(work, "TGZ;DEB")
    shutil.unpack_archive(packages[".gz"], work / "archive")
    run("dpkg-deb", "-x", packages[".deb"], work / "package")
    for prefix in (*(work / "archive").iterdir(), work / "package/usr"):
        check_contents(prefix)
        # The system's own runtime may stand in the folder of libraries, and be too old.
        check("runtime outside its folder", False, (prefix / "lib/libonnxruntime.so.1").exists())
        shutil.copy(options.old, prefix / "lib/libonnxruntime.so.1")
        check_answer(f"unpacked in {prefix.name}", prefix / "bin/onnxruntime_vornic-run")


def check_windows(work):
    shutil.unpack_archive(pack(work, "ZIP")[".zip"], work / "archive")
    (prefix,) = (work / "archive").iterdir()
    check_contents(prefix)
    check_answer("unpacked", options.wine, prefix / "bin/onnxruntime_vornic-run.exe")
    program = build_by_cmake(prefix, work, f"-DCMAKE_TOOLCHAIN_FILE={options.toolchain}")
    check_answer("unpacked, by CMake and MinGW", options.wine, shutil.copy(program, prefix / "bin"))

    (work / "client.c").write_text(MSVC_CLIENT)
    run("clang-14", "--target=x86_64-pc-windows-msvc", "-ffreestanding", f"-I{prefix}/include", "-c", "client.c", cwd=work)
    run("lld-link-14", "-entry:start", "-subsystem:console", "-nodefaultlib", f"-out:{prefix}/bin/client.exe",
        "client.o", prefix / "lib/onnxruntime_vornic.lib", cwd=work)
    check("unpacked, by Microsoft's import library", 42, subprocess.run([options.wine, prefix / "bin/client.exe"]).returncode)


with tempfile.TemporaryDirectory() as folder:
    (check_windows if options.wine else check_linux)(pathlib.Path(folder))
sys.exit(failed > 0)
