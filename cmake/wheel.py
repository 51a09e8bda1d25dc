"""The wheels for Python: the module with the library, with ONNX Runtime and without."""
import base64
import hashlib
import pathlib
import re
import shutil
import sys

import archives

# The libraries that every distribution of a manylinux tag has (PEP 600), and for each glibc the
# newest symbol versions of GCC's libraries in the oldest distributions that have it: a wheel that
# needs these versions needs that glibc, too.
SYSTEM = "libc libm libdl librt libpthread libgcc_s libstdc++ ld-linux-x86-64 ld-linux-aarch64"
GCC_VERSIONS = [  # N of glibc 2.N: GLIBCXX, CXXABI, GCC
    (17, (3, 4, 19), (1, 3, 7), (4, 8, 0)),
    (24, (3, 4, 22), (1, 3, 10), (6, 0, 0)),
    (27, (3, 4, 24), (1, 3, 11), (7, 0, 0)),
    (31, (3, 4, 28), (1, 3, 12), (10, 0, 0)),
    (35, (3, 4, 30), (1, 3, 13), (12, 0, 0)),
    (38, (3, 4, 32), (1, 3, 14), (13, 0, 0)),
]
METADATA = """Metadata-Version: 2.1
Name: {name}
Version: {version}
Summary: ONNX Runtime inference through plain C functions
License: MIT
{licences}Classifier: License :: OSI Approved :: MIT License
Classifier: Programming Language :: Python :: 3
Classifier: Topic :: Scientific/Engineering :: Artificial Intelligence
Classifier: Typing :: Typed
Requires-Python: >=3.8
Description-Content-Type: text/markdown

```python
from onnxruntime_vornic import Library, tensor

with Library().session("double.onnx") as session:
    with session.run({{"x": tensor("float32", [1, 3], [1, 2.5, 3])}}) as result:
        print(result["y"]["data"])
```
"""
WHEEL = """Wheel-Version: 1.0
Generator: wheel.py ({version})
Root-Is-Purelib: false
Tag: {tag}
"""


def glibc_needed(readelf, file):
    """The N of the glibc 2.N that a file needs; None if it needs a library outside SYSTEM."""
    dynamic, versions = (archives.run(readelf, flag, file) for flag in ("-dW", "-VW"))
    if {*re.findall(r"\(NEEDED\).*\[(.*?)\.so", dynamic)} - {*SYSTEM.split(), "libonnxruntime"}:
        return None
    # pip knows no tag for an older glibc.
    newest = {"GLIBC": (2, 17), "GLIBCXX": (0,), "CXXABI": (0,), "GCC": (0,)}
    for name, number in re.findall(r"Name: (GLIBC|GLIBCXX|CXXABI|GCC)_([\d.]+)", versions):
        newest[name] = max(newest[name], tuple(map(int, number.split("."))))
    (_, glibc, *_), *gcc = newest.values()
    for minor, *bounds in GCC_VERSIONS:
        if all(version <= bound for version, bound in zip(gcc, bounds)):
            return max(glibc, minor)
    return None


def platform_tag(build, libraries):
    if build.system == "windows":
        return "win_amd64"
    machine = {"x64": "x86_64", "arm64": "aarch64"}[build.architecture]
    needed = [glibc_needed(build.readelf, file) for file in libraries]
    return f"linux_{machine}" if None in needed else f"manylinux_2_{max(needed)}_{machine}"


def record_line(name, path):
    content = path.read_bytes()
    digest = base64.urlsafe_b64encode(hashlib.sha256(content).digest()).rstrip(b"=").decode()
    return f"{name},sha256={digest},{len(content)}\n"


def make(build, work, name, libraries, licences, output, effort):
    module, version = archives.ROOT / "modules/python/onnxruntime_vornic", build.version
    if f'__version__ = "{version}"' not in (module / "__init__.py").read_text():
        sys.exit(f"wheel.py: the module's __version__ is not {version}")
    tag, info = f"py3-none-{platform_tag(build, libraries)}", f"{name}-{version}.dist-info"
    files = {f"{module.name}/{path.name}": path for path in module.iterdir() if path.is_file()}
    files.update((f"{module.name}/lib/{path.name}", path) for path in libraries)
    files.update((f"{info}/{licence}", path) for licence, path in licences.items())
    for folder in (work / module.name / "lib", work / info):
        folder.mkdir(parents=True, exist_ok=True)
    for path, source in files.items():
        shutil.copyfile(source, work / path)
    names = "".join(f"License-File: {licence}\n" for licence in licences)
    values = {"name": name.replace("_", "-"), "version": version, "licences": names}
    (work / info / "METADATA").write_text(METADATA.format(**values))
    (work / info / "WHEEL").write_text(WHEEL.format(version=version, tag=tag))
    paths = [*sorted(files), f"{info}/METADATA", f"{info}/WHEEL"]
    record = "".join(record_line(path, work / path) for path in paths)
    (work / info / "RECORD").write_text(f"{record}{info}/RECORD,,\n")
    archives.normalize(work)
    wheel = output / f"{name}-{version}-{tag}.whl"
    archives.write_zip(wheel, work, [*paths, f"{info}/RECORD"], effort)


def make_both(build, work, output, effort):
    archives.install(build.folder, work / "prefix", "library")
    library, runtime = work / "prefix" / build.library, work / "prefix" / build.runtime
    licences = {path.name: path for path in map(pathlib.Path, build.licences.split(";"))}
    bare = "onnxruntime_vornic_noruntime"
    make(build, work / bare, bare, [library], licences, output, effort)
    if runtime.exists():
        more = [pathlib.Path(path) for path in build.runtime_licences.split(";") if path]
        licences.update((path.name, path) for path in more)
        licences = {"LICENSES": pathlib.Path(build.folder, "copyright"), **licences}
        name, libraries = "onnxruntime_vornic", [library, runtime]
        make(build, work / name, name, libraries, licences, output, effort)
