"""Makes the module for Node.js: npm.py FOLDER NAME=BUILD..., NAME a platform as Node.js calls it (linux-x64) and BUILD
a built tree of it. The same builds give the same bytes."""
import gzip
import io
import json
import os
import pathlib
import subprocess
import sys
import tarfile
import tempfile

ROOT = pathlib.Path(__file__).resolve().parents[1]
LIBRARIES = ("lib/libonnxruntime_vornic.so.1", "lib/onnxruntime_vornic/*", "bin/*.dll")


def installed(platform, build, prefix):
    """What the package takes from a build: its own names, and the files."""
    subprocess.run(
        ["cmake", "--install", build, "--strip", "--prefix", prefix],
        check=True,
        stdout=subprocess.DEVNULL,
        # MinGW's strip writes a time into what it strips.
        env={"SOURCE_DATE_EPOCH": "0", **os.environ},
    )
    for path in (path for pattern in LIBRARIES for path in prefix.glob(pattern)):
        # npm leaves links out: each file is there once, under the name that is asked for.
        yield f"lib/{platform}/{path.relative_to(prefix).as_posix().split('/', 1)[1]}", path
    documents = prefix / "share/doc/onnxruntime-vornic"
    yield f"licences/{platform}", documents / "copyright"
    for path in (documents / "licences").glob("*"):
        yield f"licences/{path.name}", path


def main():
    source = ROOT / "modules/node"
    description = json.loads((source / "package.json").read_text())
    header = (ROOT / "include/onnxruntime_vornic.h").read_text()
    if f'_VERSION "{description["version"]}"' not in header:
        sys.exit("npm.py: modules/node/package.json has another version than the header")
    files = {path.relative_to(source).as_posix(): path for path in source.rglob("*") if path.is_file()}
    files["LICENSE"] = ROOT / "LICENSE"
    with tempfile.TemporaryDirectory() as work:
        for each in sys.argv[2:]:
            platform, build = each.split("=", 1)
            files.update(installed(platform, build, pathlib.Path(work, platform)))
        folder = pathlib.Path(sys.argv[1])
        folder.mkdir(parents=True, exist_ok=True)
        archive = folder / f"{description['name']}-{description['version']}.tgz"
        # No name and no time: gzip would write them into its head.
        with open(archive, "wb") as out, gzip.GzipFile("", "wb", 9, out, 0) as packed:
            with tarfile.open(fileobj=packed, mode="w", format=tarfile.USTAR_FORMAT) as tar:
                for name, path in sorted(files.items()):
                    entry = tarfile.TarInfo("package/" + name)
                    content = path.read_bytes()
                    entry.size, entry.mode = len(content), 0o644
                    entry.mtime = 499162500  # npm's own, of 1985
                    tar.addfile(entry, io.BytesIO(content))


main()
