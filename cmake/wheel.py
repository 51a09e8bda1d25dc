"""Makes a wheel of the Python module: wheel.py OUTPUT MODULE VERSION READELF EFFORT NAME FOLDER [LICENCE...]

FOLDER holds the files for the platform that go into the wheel beside the module, in a folder lib; its
tag comes of what they need. NAME is that of the distribution. The same files give the same bytes.
"""
import base64
import hashlib
import os
import pathlib
import re
import struct
import subprocess
import sys
import time
import zipfile

# The libraries that every distribution of a manylinux tag has (PEP 600), and what of GCC's came with
# which glibc, at the oldest distributions that pair them: a wheel that needs it needs this glibc too.
SYSTEM = (
    "libc libm libdl librt libpthread libgcc_s libstdc++ ld-linux-x86-64 ld-linux-aarch64".split()
)
OF_GCC = [  # glibc 2.N: the last versions of GLIBCXX, CXXABI and GCC there
    (17, (3, 4, 19), (1, 3, 7), (4, 8, 0)),
    (24, (3, 4, 22), (1, 3, 10), (6, 0, 0)),
    (27, (3, 4, 24), (1, 3, 11), (7, 0, 0)),
    (31, (3, 4, 28), (1, 3, 12), (10, 0, 0)),
    (35, (3, 4, 30), (1, 3, 13), (12, 0, 0)),
    (38, (3, 4, 32), (1, 3, 14), (13, 0, 0)),
]
ELF_MACHINES = {62: "x86_64", 183: "aarch64"}
PE_MACHINES = {0x8664: "win_amd64"}


def fail(reason):
    sys.exit(f"wheel: {reason}")


def linux_needs(file, readelf):
    """The N of glibc 2.N that a file needs; None where it needs what not every system has."""
    dynamic, versions = (
        subprocess.run([readelf, flag, file], check=True, capture_output=True, text=True).stdout
        for flag in ("-dW", "-VW")
    )
    needed = re.findall(r"\(NEEDED\).*\[(.*?)\.so", dynamic)
    if set(needed) - {*SYSTEM, "libonnxruntime"}:
        return None
    found = {}
    for name, number in re.findall(r"Name: (GLIBC|GLIBCXX|CXXABI|GCC)_([\d.]+)", versions):
        found.setdefault(name, []).append(tuple(map(int, number.split("."))))
    glibc = max([n[1] for n in found.get("GLIBC", [])] + [17])  # pip knows of no older one
    for minor, *last in OF_GCC:
        latest = (max(found.get(name, [(0,)])) for name in ("GLIBCXX", "CXXABI", "GCC"))
        if all(have <= bound for have, bound in zip(latest, last)):
            return max(glibc, minor)
    return None


def platform_tag(files, readelf):
    """The one platform on which all the files run."""
    platforms, minors = set(), []
    for file in files:
        head = file.read_bytes()[:4096]
        if head[:4] == b"\x7fELF":
            platforms.add(ELF_MACHINES.get(struct.unpack_from("<H", head, 18)[0]))
            minors.append(linux_needs(file, readelf))
        elif head[:2] == b"MZ":
            offset = struct.unpack_from("<I", head, 60)[0]
            platforms.add(PE_MACHINES.get(struct.unpack_from("<H", head, offset + 4)[0]))
        else:
            fail(f"{file} is no library")
    if len(platforms) != 1 or None in platforms:
        fail(f"{', '.join(map(str, files))} are not all for one platform that is known here")
    platform = platforms.pop()
    if not minors:
        return platform
    return f"linux_{platform}" if None in minors else f"manylinux_2_{max(minors)}_{platform}"


def metadata(name, version, licences):
    files = "".join(f"License-File: {licence.name}\n" for licence in licences)
    return f"""Metadata-Version: 2.1
Name: {name.replace("_", "-")}
Version: {version}
Summary: ONNX Runtime inference through plain C functions
License: MIT
{files}Classifier: License :: OSI Approved :: MIT License
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


def record_line(name, content):
    digest = base64.urlsafe_b64encode(hashlib.sha256(content).digest()).rstrip(b"=").decode()
    return f"{name},sha256={digest},{len(content)}\n"


def main(output, module, version, readelf, effort, name, folder, *licences):
    libraries = sorted(path for path in pathlib.Path(folder).iterdir())
    module, licences = pathlib.Path(module), [pathlib.Path(licence) for licence in licences]
    if f'__version__ = "{version}"' not in (module / "__init__.py").read_text():
        fail(f"the module's __version__ is not {version}")
    tag = f"py3-none-{platform_tag(libraries, readelf)}"
    info = f"{name}-{version}.dist-info"
    contents = {
        f"{module.name}/{path.name}": path.read_bytes()
        for path in [*sorted(module.glob("*.py")), module / "py.typed"]
    }
    contents.update((f"{module.name}/lib/{path.name}", path.read_bytes()) for path in libraries)
    contents[f"{info}/METADATA"] = metadata(name, version, licences).encode()
    contents[f"{info}/WHEEL"] = (
        f"Wheel-Version: 1.0\nGenerator: {pathlib.Path(__file__).name} ({version})\n"
        f"Root-Is-Purelib: false\nTag: {tag}\n".encode()
    )
    contents.update((f"{info}/{licence.name}", licence.read_bytes()) for licence in licences)
    record = "".join(record_line(*item) for item in contents.items()) + f"{info}/RECORD,,\n"
    contents[f"{info}/RECORD"] = record.encode()
    date = time.gmtime(max(int(os.environ.get("SOURCE_DATE_EPOCH", time.time())), 315532800))[:6]
    with zipfile.ZipFile(f"{output}/{name}-{version}-{tag}.whl", "w") as wheel:
        for path, content in contents.items():
            entry = zipfile.ZipInfo(path, date)
            entry.create_system, entry.external_attr = 3, 0o100644 << 16
            wheel.writestr(entry, content, zipfile.ZIP_DEFLATED, int(effort))


if __name__ == "__main__":
    main(*sys.argv[1:]) if len(sys.argv) > 7 else sys.exit(__doc__)
