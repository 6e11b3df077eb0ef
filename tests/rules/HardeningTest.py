#!/usr/bin/python3
"""What cmake/Hardening.cmake asks for, read back from the finished program.

usage: HardeningTest.py PROGRAM COMPILER
"""

import os
import re
import struct
import subprocess
import sys
import tempfile
import unittest

# The stack's protector and checks of the C library's arguments show as functions that the program takes from it.
STACK_PROTECTOR = "stack protector"
CHECKED_CALLS = "checked calls of the C library"
ANY_ADDRESS = "loaded at any address"
STACK_WITHOUT_CODE = "a stack that holds no code"
READ_ONLY_TABLES = "read-only tables of addresses"
BOUND_AT_START = "all functions bound at the start"
PROBED_STACK = "a stack that grows page by page"
CHECKED_JUMPS = "checked jumps and returns"

# A program that would have each of them, had it been built so.
SAMPLE = """
#include <cstdio>
#include <cstring>
int main(int count, char** words) {
    char copy[100];
    std::strcpy(copy, words[count - 1]);
    return std::printf("%s", copy) == 0;
}
"""


def read(*arguments):
    return subprocess.run(["readelf", "-W", *arguments], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True,
                          check=True, env={**os.environ, "LC_ALL": "C"}).stdout


def missing_in_elf(path):
    """What the Linux program in that file lacks."""
    head, dynamic, symbols = read("-hl", path), read("-d", path), read("--dyn-syms", path)
    flags = read("--debug-dump=info", path)
    stack = re.search(r"GNU_STACK.*", head)
    found = {
        STACK_PROTECTOR: "__stack_chk_fail" in symbols,
        CHECKED_CALLS: re.search(r"__(mem|str|v?s?n?printf|read|recv)\w*_chk", symbols) is not None,
        ANY_ADDRESS: re.search(r"Type:\s+DYN", head) is not None and "(DEBUG)" in dynamic,
        STACK_WITHOUT_CODE: stack is not None and "RWE" not in stack.group(),
        READ_ONLY_TABLES: "GNU_RELRO" in head,
        BOUND_AT_START: "BIND_NOW" in dynamic,
        PROBED_STACK: "-fstack-clash-protection" in flags,
    }
    # The note that promises checked jumps is there only if the C library's start-up code has it as well.
    if "X86-64" in head:
        found[CHECKED_JUMPS] = "-fcf-protection=full" in flags
    return {name for name, is_there in found.items() if not is_there}


def missing_in_pe(path):
    """What the Windows program in that file lacks."""
    with open(path, "rb") as file:
        data = file.read()
    optional = struct.unpack_from("<I", data, 0x3C)[0] + 24
    is_64_bit = struct.unpack_from("<H", data, optional)[0] == 0x20B
    characteristics = struct.unpack_from("<H", data, optional + 70)[0]
    wanted = {0x0040: ANY_ADDRESS, 0x0100: STACK_WITHOUT_CODE}
    if is_64_bit:
        wanted[0x0020] = "loaded at any address of 64 bits"
    lacks = {name for bit, name in wanted.items() if not characteristics & bit}
    # The library's text for its report, which is part of the program.
    return lacks if b"stack smashing detected" in data else lacks | {STACK_PROTECTOR}


def missing(path):
    with open(path, "rb") as file:
        return missing_in_elf(path) if file.read(4) == b"\x7fELF" else missing_in_pe(path)


class HardeningTest(unittest.TestCase):
    def test_the_program_lacks_nothing(self):
        self.assertEqual(missing(program), set())

    def test_what_a_program_lacks_is_found(self):
        with tempfile.TemporaryDirectory() as folder:
            source, path = os.path.join(folder, "sample.cpp"), os.path.join(folder, "sample.exe")
            with open(source, "w", encoding="utf-8") as file:
                file.write(SAMPLE)
            if program.endswith(".exe"):
                flags = ["-static", "-Wl,--disable-dynamicbase,--disable-nxcompat,--disable-high-entropy-va"]
                if "i686" in compiler:
                    flags[1] = "-Wl,--disable-dynamicbase,--disable-nxcompat"
            else:
                flags = ["-no-pie", "-fno-pie", "-Wl,-z,norelro,-z,lazy,-z,execstack", "-U_FORTIFY_SOURCE"]
            subprocess.run([compiler, "-O2", "-g", "-fno-stack-protector", *flags, source, "-o", path], check=True,
                           stderr=subprocess.DEVNULL)
            lacks = missing(path)
            everything = {STACK_PROTECTOR, ANY_ADDRESS, STACK_WITHOUT_CODE}
            if not program.endswith(".exe"):
                everything |= {CHECKED_CALLS, READ_ONLY_TABLES, BOUND_AT_START, PROBED_STACK}
            self.assertEqual(lacks & everything, everything)


if __name__ == "__main__":
    compiler = sys.argv.pop()
    program = sys.argv.pop()
    unittest.main()
