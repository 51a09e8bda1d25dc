"""Makes the package for Node.js: npm.py FOLDER NAME=BUILD...

NAME is a platform as Node.js calls it (linux-x64), BUILD a build folder for it. The same builds
give the same bytes.
"""
import json
import pathlib
import shutil
import sys
import tempfile

import archives
from archives import ROOT

LIBRARIES = ("lib/libonnxruntime_vornic.so.1", "lib/onnxruntime_vornic/*", "bin/*.dll")


def installed(platform, build, prefix):
    """What the package takes from a build: names in the package, and the files."""
    archives.install(build, prefix)
    for path in (path for pattern in LIBRARIES for path in prefix.glob(pattern)):
        # npm drops links, so the package has each file once, under the name it is loaded by.
        yield f"lib/{platform}/{path.relative_to(prefix).as_posix().split('/', 1)[1]}", path
    documents = prefix / "share/doc/onnxruntime-vornic"
    yield f"licences/{platform}", documents / "copyright"
    for path in (documents / "licences").glob("*"):
        yield f"licences/{path.name}", path


def main(output, *builds):
    source = ROOT / "modules/node"
    package = json.loads((source / "package.json").read_text())
    header = (ROOT / "include/onnxruntime_vornic.h").read_text()
    if f'_VERSION "{package["version"]}"' not in header:
        sys.exit("npm.py: the version in modules/node/package.json is not the header's")
    files = {
        path.relative_to(source).as_posix(): path for path in source.rglob("*") if path.is_file()
    }
    files["LICENSE"] = ROOT / "LICENSE"
    with tempfile.TemporaryDirectory() as folder:
        work = pathlib.Path(folder)
        for each in builds:
            platform, build = each.split("=", 1)
            files.update(installed(platform, build, work / platform))
        for name, path in files.items():
            (work / "package" / name).parent.mkdir(parents=True, exist_ok=True)
            shutil.copyfile(path, work / "package" / name)
        # The timestamp that npm gives all files, in 1985.
        archives.normalize(work / "package", 499162500)
        pathlib.Path(output).mkdir(parents=True, exist_ok=True)
        archive = f"{output}/{package['name']}-{package['version']}.tgz"
        archives.write_tar_gz(archive, work, [f"package/{name}" for name in sorted(files)], 9)


main(*sys.argv[1:])
