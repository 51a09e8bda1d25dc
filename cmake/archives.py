"""Installs builds and packs files reproducibly: the same files give the same bytes."""
import os
import pathlib
import subprocess
import time
import zipfile

ROOT = pathlib.Path(__file__).resolve().parents[1]
# The timestamp of all files: 1980 at the earliest, since .zip archives hold no earlier one.
EPOCH = max(int(os.environ.get("SOURCE_DATE_EPOCH", 0)), 315532800)
# MinGW's strip writes the time into what it strips; .zip archives hold local time.
os.environ.update(SOURCE_DATE_EPOCH=str(EPOCH), TZ="UTC")
time.tzset()


def run(*command, **settings):
    """Returns what a command prints; if the command fails, so does this program."""
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True, **settings).stdout


def install(build, prefix, *component):
    """Installs a build, or one component of it."""
    only = ("--component", *component) if component else ()
    run("cmake", "--install", build, "--strip", "--prefix", prefix, *only)


def normalize(folder, when=EPOCH):
    """Gives all files the same timestamp and permissions."""
    run("chmod", "-R", "u=rwX,go=rX", folder)
    run("find", folder, "-exec", "touch", "--no-dereference", f"--date=@{when}", "{}", "+")


def write_tar_gz(archive, folder, names, effort):
    settings = ("--sort=name", "--format=gnu", "--owner=0", "--group=0", "--numeric-owner")
    packer = f"--use-compress-program=gzip -{effort}n"
    run("tar", "--create", "--file", archive, *settings, packer, "--directory", folder, *names)


def write_zip(archive, folder, names, effort):
    with zipfile.ZipFile(archive, "w", zipfile.ZIP_DEFLATED, compresslevel=effort) as out:
        for name in names:
            out.write(folder / name, name)
