"""Makes packages of a build: an archive, two wheels for Python and, with a contact, four packages
for Debian and its derivatives. The same build and SOURCE_DATE_EPOCH give the same bytes."""
import argparse
import json
import pathlib
import tempfile

import archives
import debian
import wheel

parser = argparse.ArgumentParser(prog="package.py", description=__doc__)
parser.add_argument("build", help="a build folder")
parser.add_argument("output", type=pathlib.Path, help="the folder for the packages")
parser.add_argument("--contact", help="NAME <ADDRESS> of the maintainer of the Debian packages")
parser.add_argument("--debian-only", action="store_true")
parser.add_argument("--effort", type=int, default=6, help="compression level, 1 to 9 (default: 6)")
given = parser.parse_args()
build = argparse.Namespace(**json.loads(pathlib.Path(given.build, "packages.json").read_text()))
given.output.mkdir(parents=True, exist_ok=True)
with tempfile.TemporaryDirectory(dir=build.folder) as folder:
    work = pathlib.Path(folder)
    if not given.debian_only:
        name = f"onnxruntime_vornic-{build.version}-{build.system}-{build.architecture}"
        top = work / "archive"
        archives.install(build.folder, top / name)
        archives.normalize(top)
        if build.system == "windows":
            paths = sorted(path.relative_to(top) for path in top.rglob("*"))
            archives.write_zip(given.output / f"{name}.zip", top, paths, given.effort)
        else:
            archives.write_tar_gz(given.output / f"{name}.tar.gz", top, [name], given.effort)
        wheel.make_both(build, work / "wheel", given.output, given.effort)
    if given.contact and build.system == "linux":
        debian.make_all(build, work, given.output, given.contact, given.effort)
