"""Makes the packages and uses what is in them: archives, Debian packages and wheels."""
import os
import pathlib
import re
import shlex
import shutil
import sys
import tempfile

from delivery import DETECTS, DOUBLES, check, finish, output, run
from delivery import detector, drive, exe, given, windows

DEBS = "libonnxruntime-vornic-dev libonnxruntime-vornic1 onnxruntime-vornic-tools"
PIP = "/usr/bin/python3 -m pip "
INSTALL = "install --no-index --no-compile {wheel} "
CLIENT = """#include "onnxruntime_vornic.h"
int start(void) { return 41 + onnxruntime_vn_available(); }
"""


def check_detector(what, program):
    check(what, DETECTS, run(*given.runner, program, detector))


def check_tool(what, prefix):
    """The installed program, on the model and the feed that are installed with it."""
    program = prefix / f"bin/onnxruntime_vornic-run{exe}"
    example = f"{drive}{prefix}/share/doc/onnxruntime-vornic/examples/double"
    got = run(*given.runner, program, example + ".onnx", example + ".json")
    check(what, (0, DOUBLES, ".*"), got)


def check_files(prefix):
    files = [path for path in prefix.rglob("*") if path.is_file()]
    naming = [path for path in files if bytes(given.source) in path.read_bytes()]
    declarations = [path.read_text().count(");\n") for path in files if path.suffix == ".cdef"]
    check("files that name the checkout", [], naming)
    scripts = sorted(path.name for path in files if path.parent.name == "script")
    check("scripts for authors of bindings", ["calls.txt", "feeds.txt"], scripts)
    check("functions for languages that read C", [58], declarations)


def check_wheels(work, wheel, bare):
    """Both are intact, and the first works once it is installed, if a Python for it is here."""
    for each in (wheel, bare):  # the hashes are compared
        output("/usr/bin/python3 -m wheel unpack -d {work}/unpacked {wheel}", work=work, wheel=each)
    tag = wheel.stem.split("-")[-1]
    if not windows:
        files = (given.library, given.runtime)
        versions = "".join(output("{readelf} -VW {file}", file=file) for file in files)
        newest = max(int(minor) for minor in re.findall(r"Name: GLIBC_2\.(\d+)", versions))
        check("the wheel's tag", f"manylinux_2_{newest}_(x86_64|aarch64)", tag)
    if windows or given.runner:
        target = "--platform {tag} --only-binary=:all: --target {work}/installed"
        output(PIP + INSTALL + target, work=work, wheel=wheel, tag=tag)
        libraries = [*(work / "installed/onnxruntime_vornic/lib").iterdir()]
        return check("libraries in the wheel", 2, len(libraries))
    output("{python} -m venv --without-pip {work}/venv", python=sys.executable, work=work)
    python = work / "venv/bin/python"
    output(PIP + "--python {python} " + INSTALL, python=python, wheel=wheel)
    example = shutil.copy(given.source / "examples/python/detect.py", work / "venv")
    check("the installed wheel", DETECTS, run(python, example, detector))


def built_by_cmake(prefix, work):
    """The installed C example, built with the installed package."""
    values = dict(prefix=prefix, work=work)
    source = "{prefix}/share/doc/onnxruntime-vornic/examples/c"
    paths = " -DCMAKE_PREFIX_PATH={prefix} -DCMAKE_TOOLCHAIN_FILE={toolchain}"
    output("{cmake} -G Ninja -B {work}/by_cmake -S " + source + paths, **values)
    output("{cmake} --build {work}/by_cmake", work=work)
    return work / f"by_cmake/detect{exe}"


def check_on_linux(work, depends):
    output("{cmake} --install {build} --prefix {work}/prefix --strip", work=work)
    prefix = (work / "prefix").rename(work / "moved away")
    link = os.readlink(prefix / "lib/libonnxruntime_vornic.so")
    check("the link for linkers", r"libonnxruntime_vornic\.so\.1", link)
    check_tool("installed and moved", prefix)
    check_detector("installed and moved, by CMake", built_by_cmake(prefix, work))
    path = {"PKG_CONFIG_PATH": str(prefix / "lib/pkgconfig")}
    flags = shlex.split(output("pkg-config --cflags --libs onnxruntime_vornic", env=path))
    source = prefix / "share/doc/onnxruntime-vornic/examples/c/detect.c"
    program = work / "by_pkg_config"
    output("{cc} -o {program}", source, *flags, f"-Wl,-rpath,{prefix}/lib", program=program)
    check_detector("installed and moved, by pkg-config", program)
    # The other libraries are the C library's, or in the package.
    packages = {"libstdc++.so.6": "libstdc++6", "libgcc_s.so.1": "libgcc-s1"}
    for file in (prefix / "bin/onnxruntime_vornic-run", given.library, given.runtime):
        needed = re.findall(r"\(NEEDED\).*\[(.*)\]", output("{readelf} -dW {file}", file=file))
        missing = [name for name in needed if packages.get(name, "libc6") not in depends]
        check(f"packages that {file.name} needs", [], missing)


def check_on_windows(work, prefix):
    program = shutil.copy(built_by_cmake(prefix, work), prefix / "bin")
    check_detector("unpacked, by CMake and MinGW", program)
    # Microsoft's linker, without a C runtime: the exit status says that ONNX Runtime was found.
    (work / "client.c").write_text(CLIENT)
    clang, link = (shutil.which(f"{name}-14") or name for name in ("clang", "lld-link"))
    target = " --target=x86_64-pc-windows-msvc -ffreestanding"
    output("{clang} -I{prefix}/include -c client.c" + target, clang=clang, prefix=prefix, cwd=work)
    options = "-entry:start -subsystem:console -nodefaultlib -out:{prefix}/bin/client.exe"
    files = " client.o {prefix}/lib/onnxruntime_vornic.lib"
    output("{link} " + options + files, link=link, prefix=prefix, cwd=work)
    status = run(*given.runner, prefix / "bin/client.exe")[0]
    check("unpacked, by Microsoft's import library", 42, status)


def check_packages(work):
    package = "/usr/bin/python3 {source}/cmake/package.py {build} {work}/packages --effort=1"
    output(package, "--contact=Some One <one@example.test>", work=work)
    made = work / "packages"
    debs, (archive,), wheels = (sorted(made.glob(kind)) for kind in ("*.deb", "*.[tz]*", "*.whl"))
    check_wheels(work, *wheels)
    names = [] if windows else [*DEBS.split(), "python3-onnxruntime-vornic"]
    check("Debian packages", names, [deb.name.split("_1")[0] for deb in debs])
    for deb in debs:
        output("dpkg-deb -x {deb} {work}/package", deb=deb, work=work)
    shutil.unpack_archive(archive, work / "archive")
    prefixes = [*(work / "archive").iterdir(), *work.glob("package/usr")]
    for prefix in prefixes:
        check_files(prefix)
        if not windows:  # there no system runtime, which may be too old, can come first
            os.symlink(given.old, prefix / "lib/libonnxruntime.so.1")
        check_tool(f"unpacked in {prefix.name}", prefix)
    if windows:
        return check_on_windows(work, prefixes[0])
    check_on_linux(work, "".join(output("dpkg-deb -f {deb} Depends", deb=deb) for deb in debs))


with tempfile.TemporaryDirectory() as work:
    check_packages(pathlib.Path(work))
finish()
