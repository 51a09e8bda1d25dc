"""Checks a built library from outside: what it exports, what it needs, what it does at load."""

import argparse
import re
import struct
import subprocess
import sys

failures = []


def check(what, expected, got):
    if expected != got:
        failures.append(f"{what}:\n  expected {expected}\n  got      {got}")


def output_of(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def names_in_header(path):
    """The functions that the header declares, its comments left out."""
    with open(path, encoding="utf-8") as file:
        code = re.sub(r"/\*.*?\*/|//[^\n]*", "", file.read(), flags=re.DOTALL)
    return sorted(set(re.findall(r"\bonnxruntime_vn_\w+(?=\s*\()", code)))


def check_exported(names, header):
    declared = names_in_header(header)
    check("declared but not exported", [], sorted(set(declared) - set(names)))
    check("exported but not declared", [], sorted(set(names) - set(declared)))


def check_load_time(objects, tools):
    """Nothing of this project runs when the library is loaded, nor for a thread that starts."""
    sections = output_of(tools.objdump, "-h", *objects)
    kinds = r"\.(?:init_array|preinit_array|ctors|CRT\$|tls|tdata|tbss)\S*"
    check("sections that run or are copied at load", [], re.findall(kinds, sections))


def check_elf(library, header, tools):
    symbols = output_of(tools.nm, "-D", "--defined-only", library).splitlines()
    check_exported([line.split()[-1] for line in symbols], header)

    dynamic = output_of(tools.readelf, "-dW", library)
    for tag, expected in {
        "NEEDED": ["libonnxruntime.so.1", "libc.so.6"],
        "SONAME": ["libonnxruntime_vornic.so.1"],
        "RUNPATH": ["$ORIGIN/onnxruntime_vornic:$ORIGIN"],
    }.items():
        check(tag, expected, re.findall(rf"\({tag}\).*\[(.*)\]", dynamic))

    # An undefined name is followed by @version where one is pinned.
    undefined = output_of(tools.nm, "-D", "--undefined-only", library).split()
    needed = [name for name in undefined if name.startswith("Ort")]
    check("runtime names needed", ["OrtGetApiBase"], needed)
    versions = re.findall(r"File: (\S+)", output_of(tools.readelf, "-VW", library))
    check("libraries with pinned versions", ["libc.so.6"], versions)

    # The C runtime's own constructor is the only one.
    check("bytes of INIT_ARRAY", ["8"], re.findall(r"\(INIT_ARRAYSZ\)\s+(\d+)", dynamic))


class PortableExecutable:
    """Reads the tables of a 64-bit Windows library."""

    def __init__(self, path):
        with open(path, "rb") as file:
            self.data = file.read()
        (start,) = struct.unpack_from("<I", self.data, 0x3C)
        (count,) = struct.unpack_from("<H", self.data, start + 6)
        (optional_size,) = struct.unpack_from("<H", self.data, start + 20)
        optional = start + 24
        (self.base,) = struct.unpack_from("<Q", self.data, optional + 24)
        (self.timestamp,) = struct.unpack_from("<I", self.data, start + 8)
        (self.characteristics,) = struct.unpack_from("<H", self.data, optional + 70)
        directories = self.data[optional + 112 : optional + optional_size]
        self.directories = list(struct.iter_unpack("<II", directories))
        sections = optional + optional_size
        self.sections = list(
            struct.iter_unpack("<8sIIII16x", self.data[sections : sections + 40 * count])
        )

    def offset(self, address):
        for _, size, start, _, position in self.sections:
            if start <= address < start + size:
                return address - start + position
        raise ValueError(f"address {address:#x} lies in no section")

    def read(self, form, address):
        return struct.unpack_from("<" + form, self.data, self.offset(address))

    def text(self, address):
        start = self.offset(address)
        return self.data[start : self.data.index(b"\0", start)].decode()

    def exports(self):
        table = self.directories[0][0]
        count, _, names = self.read("III", table + 24)
        return [self.text(self.read("I", names + 4 * i)[0]) for i in range(count)]

    def imports(self):
        """The names of the libraries in the import table."""
        table = self.directories[1][0]
        while any(entry := self.read("IIIII", table)):
            yield self.text(entry[3])
            table += 20

    def delayed_import(self, descriptor):
        """The library and the functions that a delay import descriptor names."""
        _, library, _, _, names, _, _, _ = self.read("8I", descriptor)
        functions = []
        while name := self.read("Q", names)[0]:
            functions.append(self.text(name + 2))
            names += 8
        return self.text(library), functions


def check_windows(library, header, tools):
    image = PortableExecutable(library)
    check_exported(image.exports(), header)
    check("imported libraries", ["KERNEL32.dll", "msvcrt.dll"], sorted(image.imports()))

    # The linker leaves the delay import directory empty, so its descriptors are found by name.
    symbols = output_of(tools.nm, library)
    descriptors = re.findall(r"^(\w+) \S __DELAY_IMPORT_DESCRIPTOR", symbols, flags=re.MULTILINE)
    delayed = [image.delayed_import(int(address, 16) - image.base) for address in descriptors]
    check("delayed imports", [("onnxruntime.dll", ["OrtGetApiBase"])], delayed)

    # Loaded anywhere in 64 bits, and no data is executed.
    check("hardening", 0x160, image.characteristics & 0x160)
    check("time stamp", 0, image.timestamp)


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--library", required=True)
    parser.add_argument("--header", required=True)
    parser.add_argument("--nm", required=True)
    parser.add_argument("--objdump", required=True)
    parser.add_argument("--readelf", default="readelf")
    parser.add_argument("objects", nargs="+", help="the objects that the library is made of")
    arguments = parser.parse_args()

    inspect = check_windows if arguments.library.endswith(".dll") else check_elf
    inspect(arguments.library, arguments.header, arguments)
    check_load_time(arguments.objects, arguments)
    for failure in failures:
        print(failure)
    print(f"{len(names_in_header(arguments.header))} functions, {len(failures)} failures")
    sys.exit(1 if failures else 0)


main()
