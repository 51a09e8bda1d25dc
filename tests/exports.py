"""Checks the library's file from outside: what it exports, needs and does when it is loaded."""
import re

from delivery import check, declared, finish, given, output, windows


def found(what, pattern, expected, text):
    check(what, expected, re.findall(pattern, text, re.MULTILINE))


def on_linux():
    dynamic = output("{readelf} -dW {library}")
    exported = output("{nm} -D --defined-only {library}")
    needed = output("{nm} -D --undefined-only {library}")
    names = ["libonnxruntime.so.1", "libc.so.6", "libonnxruntime_vornic.so.1"]
    path = ["$ORIGIN/onnxruntime_vornic:$ORIGIN", "BIND_NOW"]
    found("exports", r" T (\w+)", [*declared()], exported)
    found("other exports", r" [^T] (\w+)", [], exported)
    found("libraries and name", r"\((?:NEEDED|SONAME)\).*\[(.*)\]", names, dynamic)
    found("path and binding", r"\((?:RUNPATH|FLAGS)\)[\w: ]*?\[?(\$[^\]]*|BIND.*)", path, dynamic)
    found("the runtime's function, unversioned", r"(Ort\S+)", ["OrtGetApiBase"], needed)
    versions = output("{readelf} -VW {library}")
    found("libraries of a version", r"File: (\S+)", ["libc.so.6"], versions)
    found("bytes of constructors: the C runtime's", r"\(INIT_ARRAYSZ\)\s+(\d+)", ["8"], dynamic)


def on_windows():
    table, symbols = output("{objdump} -p {library}"), output("{nm} {library}")
    header = (given.source / "include/onnxruntime_vornic.h").read_text()
    version = re.findall(r'VERSION "(.*)"', header)
    properties = given.library.read_bytes().decode("utf-16le", "replace")
    delayed = ["__DELAY_IMPORT_DESCRIPTOR_libonnxruntime_delayed_a"]
    hardening = r"(?:DllCharacteristics|Time/Date stamp)\s+(\d+)$"
    found("exports", r"^\t\[ *\d+\] (?:\+base\S+ +\S+ +\w+ )?([a-z]\w+)$", [*declared()], table)
    found("libraries", r"DLL Name: (\S+)", ["KERNEL32.dll", "msvcrt.dll"], table)
    found("delayed imports", r"T (__DELAY_IMPORT\w+)", delayed, symbols)
    found("version among the properties", r"ProductVersion\0([\d.]+)", version, properties)
    found("hardening and time stamp", hardening, ["00000160", "0"], table)


on_windows() if windows else on_linux()
at_load = r"\.(?:init_array|preinit_array|ctors|CRT\$|tls|tdata|tbss)\S*"
found("run or copied when loaded", at_load, [], output("{objdump} -h", *given.objects))
finish()
