#!/usr/bin/python3
"""What the handheld's system asks of a program file, read back from the one that was built.

usage: ProgramTest.py BUILD_FOLDER API_LIST NM
"""

import glob
import os
import re
import struct
import subprocess
import sys
import unittest

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path[:0] = [os.path.join(HERE, "..", "rules"), os.path.join(HERE, "..", "..", "tools", "windows-ce")]
import ResourcesTest  # noqa: E402

ICON, DIALOG, GROUP_ICON, VERSION = 3, 5, 14, 16
CODE, WRITABLE, EXECUTABLE = 0x20, 0x80000000, 0x20000000
FIXED_PLACE, PROGRAM, WORDS_OF_32_BITS, LIBRARY = 0x0001, 0x0002, 0x0100, 0x2000
LARGEST = 300 * 1024


class Image:
    """A program file, as the system that loads it sees it."""

    def __init__(self, path):
        with open(path, "rb") as file:
            self.data = file.read()
        self.header = self.number("<I", 0x3C)
        self.optional = self.header + 24
        self.base = self.number("<I", self.optional + 28)
        self.sections = {}
        table = self.optional + self.number("<H", self.header + 20)
        for i in range(self.number("<H", self.header + 6)):
            name, size, address, raw_size, raw = struct.unpack_from("<8sIIII", self.data, table + 40 * i)
            self.sections[name.rstrip(b"\0").decode()] = {
                "address": address, "size": size, "raw": raw, "raw_size": raw_size,
                "flags": self.number("<I", table + 40 * i + 36)}

    def number(self, form, position):
        return struct.unpack_from(form, self.data, position)[0]

    def section_of(self, address):
        return next((section for section in self.sections.values()
                     if section["address"] <= address < section["address"] + section["size"]), None)

    def place(self, address):
        """Where in the file the byte stands that is loaded to this address, counted from the base."""
        section = self.section_of(address)
        return section["raw"] + address - section["address"]

    def word(self, address):
        return self.number("<I", self.place(address))

    def text(self, address):
        start = self.place(address)
        return self.data[start:self.data.index(b"\0", start)].decode()

    def directory(self, index):
        return struct.unpack_from("<II", self.data, self.optional + 96 + 8 * index)

    def imports(self):
        """library -> names"""
        found, entry = {}, self.directory(1)[0]
        while (library := self.word(entry + 12)) != 0:
            names, thunk, address = found.setdefault(self.text(library).lower(), set()), self.word(entry), self.word(entry + 16)
            while (name := self.word(thunk)) != 0:
                # Where the function's address will stand, its name stands before: some loaders look only there.
                names.add(f"number {name & 0xFFFF}" if name & 0x80000000 else
                          self.text(name + 2) if self.word(address) == name else "a name in one of two places")
                thunk, address = thunk + 4, address + 4
            entry += 20
        return found


class Map:
    """What the linker says that it has put where."""

    def __init__(self, path):
        with open(path, encoding="utf-8") as file:
            self.text = file.read()

    def symbol(self, name):
        return int(re.search(rf"^\s+0x([0-9a-f]+)\s+{re.escape(name)}(?: = \.)?$", self.text, re.MULTILINE).group(1), 16)

    def bytes_of(self, section):
        """What the objects brought to this section."""
        sizes = re.findall(rf"^ {re.escape(section)}\s+0x[0-9a-f]+\s+0x([0-9a-f]+) \S", self.text, re.MULTILINE)
        return sum(int(size, 16) for size in sizes)


def api(path):
    """library -> names that a program may import from it; those that the list calls uncertain do not count."""
    libraries, names = {}, None
    with open(path, encoding="utf-8") as file:
        for line in map(str.strip, file):
            if line.startswith("#"):
                names = libraries.setdefault(line[1:].split()[0], set())
            elif line:
                names.add(line)
    del libraries["uncertain"]
    return libraries


class ProgramTest(unittest.TestCase):
    def test_header_is_that_of_an_arm_program_for_windows_ce_3_0(self):
        machine, magic = image.number("<H", image.header + 4), image.number("<H", image.optional)
        self.assertEqual((image.data[:2], image.data[image.header:image.header + 4]), (b"MZ", b"PE\0\0"))
        self.assertEqual((machine, magic), (0x01C0, 0x010B))
        self.assertEqual(image.number("<H", image.optional + 68), 9, "subsystem")
        self.assertEqual(struct.unpack_from("<HH", image.data, image.optional + 48), (3, 0), "subsystem's version")
        self.assertEqual(struct.unpack_from("<HH", image.data, image.optional + 40), (3, 0), "system's version")

    def test_is_loaded_where_every_program_is_and_asks_for_nothing_that_came_later(self):
        self.assertEqual(image.base, 0x10000)
        self.assertEqual(image.number("<H", image.optional + 70), 0, "DLL characteristics")
        self.assertEqual(image.number("<I", image.optional + 72), 0x10000, "stack")
        self.assertEqual([image.directory(i) for i in range(16) if i not in (1, 2, 12)], [(0, 0)] * 13)

    def test_is_a_program_that_cannot_be_moved_and_no_library(self):
        told = image.number("<H", image.header + 22)
        self.assertEqual(told & (FIXED_PLACE | PROGRAM | WORDS_OF_32_BITS | LIBRARY), FIXED_PLACE | PROGRAM | WORDS_OF_32_BITS)

    def test_sections_follow_one_another_and_none_is_both_writable_and_executable(self):
        alignment = image.number("<I", image.optional + 32)
        end, raw_end = alignment, image.number("<I", image.optional + 60)
        for name, section in image.sections.items():
            self.assertEqual((section["address"], section["address"] % alignment), (end, 0), name)
            self.assertNotEqual(section["flags"] & (WRITABLE | EXECUTABLE), WRITABLE | EXECUTABLE, name)
            self.assertEqual(bool(section["flags"] & EXECUTABLE), name == ".text", name)
            end = section["address"] + -(-section["size"] // alignment) * alignment
            if section["raw_size"] != 0:
                self.assertEqual(section["raw"], raw_end, name)
                raw_end += section["raw_size"]
        self.assertEqual(image.number("<I", image.optional + 56), end, "size of the image")
        self.assertEqual(len(image.data), raw_end, "nothing behind the sections, such as symbols")
        self.assertEqual(set(image.sections), {".text", ".data", ".rdata", ".bss", ".idata", ".rsrc"})

    def test_is_small(self):
        print(f"{len(image.data)} bytes", file=sys.stderr)
        self.assertLess(len(image.data), LARGEST)

    def test_imports_only_what_the_device_has(self):
        allowed = api(api_list)
        found = image.imports()
        self.assertEqual(set(found), {"coredll.dll", "winsock.dll", "commctrl.dll"})
        for library, names in found.items():
            self.assertEqual(names - allowed[library], set(), library)
        for name in ("CreateThread", "DialogBoxIndirectParamW", "RegSetValueExW", "InterlockedTestExchange"):
            self.assertIn(name, found["coredll.dll"])

    def test_starts_in_its_start_up_object(self):
        entry = image.number("<I", image.optional + 16)
        self.assertEqual(image.base + entry, link_map.symbol("WinMainCRTStartup"))
        self.assertTrue(image.section_of(entry)["flags"] & CODE)

    def functions_in(self, image, link_map, section, name):
        """How many functions the start-up object goes through; all that the objects have brought."""
        address = link_map.symbol(name) - image.base
        self.assertEqual(image.word(address), 0xFFFFFFFF, name)
        count = 0
        while (function := image.word(address + 4 * (count + 1))) != 0:
            self.assertTrue(image.section_of(function - image.base)["flags"] & EXECUTABLE, name)
            count += 1
        self.assertEqual(4 * count, link_map.bytes_of(section), name)
        return count

    def test_every_constructor_and_destructor_is_called(self):
        self.functions_in(image, link_map, ".ctors", "__CTOR_LIST__")
        self.functions_in(image, link_map, ".dtors", "__DTOR_LIST__")

    def test_a_program_with_a_constructor_and_a_destructor_has_them_in_its_lists(self):
        base = os.path.join(build, "tests", "windows-ce", "windows-ce-constructors")
        image, link_map = Image(base + ".exe"), Map(base + ".map")
        self.assertEqual(self.functions_in(image, link_map, ".ctors", "__CTOR_LIST__"), 1)
        self.assertEqual(self.functions_in(image, link_map, ".dtors", "__DTOR_LIST__"), 1)

    def test_no_object_has_a_weak_symbol(self):
        objects = glob.glob(os.path.join(build, "**", "*.o"), recursive=True)
        self.assertGreater(len(objects), 80)
        listing = subprocess.run([nm, "-A", "-P", *objects], stdout=subprocess.PIPE, text=True, check=True).stdout
        weak = [line for line in listing.splitlines() if line.partition(": ")[2].split()[1] in "vVwW"]
        self.assertEqual(weak, [])

    def test_resources_are_the_dialogs_icon_and_version_and_nothing_else(self):
        resources = ResourcesTest.Program(os.path.join(build, "linkometry.exe"))
        self.assertEqual({kind for kind, _ in resources.entries(0)}, {ICON, DIALOG, GROUP_ICON, VERSION})


if __name__ == "__main__":
    nm, api_list, build = sys.argv.pop(), sys.argv.pop(), sys.argv.pop()
    image = Image(os.path.join(build, "linkometry.exe"))
    link_map = Map(os.path.join(build, "linkometry.map"))
    unittest.main()
