"""Packs a folder: zip.py ARCHIVE FOLDER. The same files give the same bytes."""
import os
import pathlib
import sys
import time
import zipfile

os.environ["TZ"] = "UTC"
time.tzset()
folder = pathlib.Path(sys.argv[2])
with zipfile.ZipFile(sys.argv[1], "w", zipfile.ZIP_DEFLATED, compresslevel=9) as archive:
    for path in sorted(folder.rglob("*")):
        archive.write(path, path.relative_to(folder))
