"""The packages for Debian: the library, development, the tool and the Python module."""
import re
import shutil
import subprocess
import time

from archives import EPOCH, ROOT, install, normalize, run

NAME = "onnxruntime-vornic"  # Debian allows no underscore
DEVELOPMENT = f"lib{NAME}-dev"
CONTROL = """Package: {package}
Source: onnxruntime-vornic
Version: {version}-1
Architecture: {architecture}
Maintainer: {contact}
Installed-Size: {size}
Priority: optional
"""
SUMMARY = "ONNX Runtime inference through plain C functions"
TENSORS = """ Tensors are passed as JSON or as arrays of floats, by callers in any
 language.
"""
FIELDS = {
    "library": f"""Section: libs
Multi-Arch: same
Depends: {{needed}}
Description: {SUMMARY}
{TENSORS}""",
    "development": f"""Section: libdevel
Multi-Arch: same
Depends: {{library}} (= {{version}}-1)
Description: {SUMMARY} - development
{TENSORS} .
 The header, examples in many languages and the guide.
""",
    "tools": f"""Section: science
Multi-Arch: foreign
Depends: {{library}} (>= {{version}}), {{needed}}
Description: describe, run and time ONNX models
{TENSORS} .
 The program onnxruntime_vornic-run.
""",
    "python": f"""Section: python
Depends: python3:any (>= 3.8), {{library}} (>= {{version}})
Description: {SUMMARY} - Python
 Tensors are dicts or NumPy arrays. The module onnxruntime_vornic wraps
 the library for Python 3.
""",
}
CHANGELOG = """onnxruntime-vornic ({version}-1) unstable; urgency=medium

  * Version {version}: see CHANGELOG.md in libonnxruntime-vornic-dev.

 -- {contact}  {date}
"""
SCRIPTS = {
    # Removes the bytecode of examples that root has run, which dpkg does not track. Systems that
    # exclude documentation lack the folder.
    "development": {
        "prerm": """#!/bin/sh
set -e
folder=/usr/share/doc/onnxruntime-vornic
if [ -d "$folder" ]; then
    find "$folder" -type d -name __pycache__ -prune -exec rm -r {} +
fi
"""
    },
    # As debhelper's Python add-on writes them.
    "python": {
        "postinst": """#!/bin/sh
set -e
if command -v py3compile >/dev/null; then
    py3compile -p python3-onnxruntime-vornic
fi
""",
        "prerm": """#!/bin/sh
set -e
if command -v py3clean >/dev/null; then
    py3clean -p python3-onnxruntime-vornic
else
    find /usr/lib/python3/dist-packages/onnxruntime_vornic -name __pycache__ -prune -exec rm -r {} +
fi
""",
    },
}


def write(folder, files, mode=0o644):
    folder.mkdir(parents=True, exist_ok=True)
    for name, text in files.items():
        (folder / name).write_text(text)
        (folder / name).chmod(mode)


def linker_files(version, library):
    """Control files for packages that link the library; ONNX Runtime stays private to it."""
    header = (ROOT / "include/onnxruntime_vornic.h").read_text()
    functions = sorted({*re.findall(r"onnxruntime_vn_[a-z0-9_]+(?=\()", header)})
    symbols = "".join(f" {function}@Base {version}\n" for function in functions)
    soname = f"libonnxruntime_vornic.so.{library[-1]} {library}"
    return {
        "shlibs": f"libonnxruntime_vornic {library[-1]} {library} (>= {version})\n",
        "symbols": f"{soname} #MINVER#\n* Build-Depends-Package: {DEVELOPMENT}\n{symbols}",
        "triggers": "activate-noawait ldconfig\n",
    }


def needed_packages(build, folder, library):
    """The packages that a folder's programs need besides the library's, from dpkg-shlibdeps."""
    if build.cross:
        # It would name the cross compiler's packages. The tests check this list against the files.
        return "libc6 (>= 2.34), libgcc-s1 (>= 4.0), libstdc++6 (>= 10.2)"
    files = (path for path in folder.rglob("*") if path.is_file() and not path.is_symlink())
    programs = [path for path in files if path.read_bytes().startswith(b"\x7fELF")]
    control = f"Source: {NAME}\n\nPackage: {NAME}\nArchitecture: any\n"
    write(folder.parent / "debian", {"control": control})
    folders = (f"-l{build.folder}", f"-l{build.folder}/onnxruntime_stub")
    command = ("dpkg-shlibdeps", "-O", "--ignore-missing-info", f"-x{library}", *folders, *programs)
    found = run(*command, cwd=folder.parent, stderr=subprocess.DEVNULL)
    return found.strip().removeprefix("shlibs:Depends=")


def move_module(usr, version):
    """Moves the Python module from the documentation to where Debian's Python looks for it."""
    packages = usr / "lib/python3/dist-packages"
    packages.parent.mkdir(parents=True)
    (usr / f"share/doc/{NAME}/modules/python").rename(packages)
    shutil.rmtree(usr / f"share/doc/{NAME}")
    metadata = (
        f"Metadata-Version: 2.1\nName: {NAME}\nVersion: {version}\nSummary: {SUMMARY} - Python\n"
    )
    info = packages / f"onnxruntime_vornic-{version}.dist-info"
    write(info, {"METADATA": metadata, "INSTALLER": "debian\n"})


def make(build, work, component, values):
    """Lays out a package in a folder of its name, and returns the folder."""
    folder = work / values["package"]
    usr, control = folder / "usr", folder / "DEBIAN"
    documents = usr / "share/doc" / folder.name
    install(build.folder, usr, component)
    if component == "python":
        move_module(usr, build.version)
    write(documents, {"changelog.Debian": CHANGELOG.format(**values)})
    licences = f"{build.folder}/copyright" if component == "library" else ROOT / "LICENSE"
    shutil.copyfile(licences, documents / "copyright")
    run("gzip", "-9n", documents / "changelog.Debian", *usr.glob("share/man/*/*"))

    write(control, SCRIPTS.get(component, {}), 0o755)
    if component == "library":
        write(control, linker_files(build.version, folder.name))
    values["size"] = run("du", "-sk", "--apparent-size", usr).split()[0]
    if "{needed}" in FIELDS[component]:
        values["needed"] = needed_packages(build, folder, values["library"])
    paths = sorted(path for path in usr.rglob("*") if path.is_file() and not path.is_symlink())
    sums = run("md5sum", *(path.relative_to(folder) for path in paths), cwd=folder)
    write(control, {"control": (CONTROL + FIELDS[component]).format(**values), "md5sums": sums})
    normalize(folder)
    return folder


def make_all(build, work, output, contact, effort):
    library = f"lib{NAME}{build.version.split('.')[0]}"
    own = {"x64": "amd64", "arm64": "arm64"}[build.architecture]
    packages = {
        "library": (library, own),
        "development": (DEVELOPMENT, own),
        "tools": (f"{NAME}-tools", own),
        "python": (f"python3-{NAME}", "all"),
    }
    common = {"version": build.version, "library": library, "contact": contact}
    common["date"] = time.strftime("%a, %d %b %Y %H:%M:%S +0000", time.gmtime(EPOCH))
    for component, (package, architecture) in packages.items():
        values = {"package": package, "architecture": architecture, **common}
        folder = make(build, work, component, values)
        file = output / f"{package}_{build.version}-1_{architecture}.deb"
        run("dpkg-deb", "--root-owner-group", "-Zxz", f"-z{effort}", "--build", folder, file)
