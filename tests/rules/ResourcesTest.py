#!/usr/bin/python3
"""The dialogs, icon, version and manifest in the Windows program file, read back from it and held against what users know.

usage: ResourcesTest.py linkometry.exe VERSION Linkometry.rc RESOURCE_COMPILER
"""

import os
import struct
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree

ICON, DIALOG, GROUP_ICON, VERSION, MANIFEST = 3, 5, 14, 16, 24
CLASSES = {0x80: "button", 0x81: "edit", 0x82: "static"}

POPUP, CAPTION, SYSTEM_MENU, MODAL_FRAME = 0x80000000, 0x00C00000, 0x00080000, 0x80
BORDER, TAB_STOP, VERTICAL_SCROLL = 0x00800000, 0x00010000, 0x00200000
PUSH_BUTTON, DEFAULT_BUTTON = 0x0, 0x1
DIGITS_ONLY, CENTRED_TEXT, MULTI_LINE, READ_ONLY, SCROLLS_ALONG = 0x2000, 0x1, 0x4, 0x800, 0x80
CENTRED_LABEL, REPORT = 0x1, 0x1


class Program:
    """The resources of a program file."""

    def __init__(self, path):
        with open(path, "rb") as file:
            self.data = file.read()
        pe = self.number("<I", 0x3C)
        sections, optional_size = self.number("<H", pe + 6), self.number("<H", pe + 20)
        optional = pe + 24
        directories = optional + (112 if self.number("<H", optional) == 0x20B else 96)
        address = self.number("<I", directories + 16)
        for i in range(sections):
            section = optional + optional_size + 40 * i
            start, raw = self.number("<I", section + 12), self.number("<I", section + 20)
            if start == address:
                self.base, self.offset = raw, raw - start

    def number(self, form, position):
        return struct.unpack_from(form, self.data, position)[0]

    def entries(self, table):
        named, numbered = struct.unpack_from("<HH", self.data, self.base + table + 12)
        for i in range(named + numbered):
            yield struct.unpack_from("<II", self.data, self.base + table + 16 + 8 * i)

    def find(self, table, number):
        return next(place for key, place in self.entries(table) if key == number) & 0x7FFFFFFF

    def resource(self, kind, number):
        language = self.find(self.find(0, kind), number)
        leaf = next(place for _, place in self.entries(language))
        place, size = struct.unpack_from("<II", self.data, self.base + leaf)
        return self.data[place + self.offset:place + self.offset + size]


class Reader:
    """Goes through a dialog template."""

    def __init__(self, data):
        self.data, self.position = data, 0

    def take(self, form):
        values = struct.unpack_from("<" + form, self.data, self.position)
        self.position += struct.calcsize("<" + form)
        return values

    def align(self):
        self.position = (self.position + 3) & ~3

    def take_name(self):
        """A text, or the number that stands for one."""
        if struct.unpack_from("<H", self.data, self.position)[0] == 0xFFFF:
            return self.take("HH")[1]
        text = ""
        while (unit := self.take("H")[0]) != 0:
            text += chr(unit)
        return text


def compiled_kinds(*definitions):
    """The kinds of resources that the compiler makes of the program's, given these definitions."""
    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, "program.res")
        subprocess.run([compiler, "--include-dir", os.path.dirname(source), "-DVERSION_NUMBERS=1,2,3,4",
                        *(f"-D{name}" for name in definitions), source, "-O", "res", "-o", path], check=True)
        with open(path, "rb") as file:
            data = file.read()
    kinds, position = set(), 0
    while position < len(data):
        size, header, mark, kind = struct.unpack_from("<IIHH", data, position)
        if size > 0:
            assert mark == 0xFFFF, "a kind with a name of its own"
            kinds.add(kind)
        position += (header + size + 3) & ~3
    return kinds


def dialog(data):
    reader = Reader(data)
    style, _, count, *place = reader.take("IIHhhhh")
    menu, name, caption = reader.take_name(), reader.take_name(), reader.take_name()
    reader.take("H")
    result = {"style": style, "place": tuple(place[2:]), "menu": menu, "class": name, "caption": caption,
              "font": reader.take_name(), "items": []}
    for _ in range(count):
        reader.align()
        style, _, x, y, width, height, number = reader.take("IIhhhhH")
        kind, text = reader.take_name(), reader.take_name()
        kind = kind.lower() if isinstance(kind, str) else kind  # the case of a class says nothing
        reader.take("H")
        result["items"].append((number, CLASSES.get(kind, kind), text, (x, y, width, height), style))
    return result


class ResourcesTest(unittest.TestCase):
    def items(self, template):
        """Number, class, text and rectangle of each control; those that nobody asks for by number as None."""
        return [(None if number == 0xFFFF else number, *rest[:3]) for number, *rest in template["items"]]

    def assert_styles(self, template, number, wanted, unwanted=0):
        style = next(item[4] for item in template["items"] if item[0] == number)
        self.assertEqual(style & wanted, wanted, number)
        self.assertEqual(style & unwanted, 0, number)

    def test_main_dialog(self):
        template = dialog(program.resource(DIALOG, 102))
        self.assertEqual((template["caption"], template["place"], template["font"]),
                         ("Linkometry", (146, 157), "System"))
        self.assertEqual(template["style"] & (POPUP | CAPTION | SYSTEM_MENU), POPUP | CAPTION)
        self.assertEqual(self.items(template), [
            (1000, "button", "Start", (7, 9, 26, 12)), (1002, "button", "Reset", (80, 9, 26, 12)),
            (1003, "button", "Log", (108, 9, 26, 12)), (1004, "button", "Stop", (35, 9, 26, 12)),
            (1042, "syslistview32", "", (7, 39, 132, 111)), (1047, "button", "Add Ip", (7, 23, 26, 12)),
            (1048, "button", "Info", (80, 23, 26, 12))])
        for number in (1000, 1002, 1003, 1004, 1047, 1048):
            self.assert_styles(template, number, TAB_STOP | PUSH_BUTTON, DEFAULT_BUTTON)
        self.assert_styles(template, 1042, REPORT | BORDER | TAB_STOP)

    def test_add_peer_dialog(self):
        template = dialog(program.resource(DIALOG, 131))
        self.assertEqual((template["caption"], template["place"], template["font"]), ("", (149, 82), "System"))
        wanted = POPUP | CAPTION | SYSTEM_MENU | MODAL_FRAME
        self.assertEqual(template["style"] & wanted, wanted)
        self.assertEqual(self.items(template), [
            (None, "static", "Enter ip info", (7, 9, 40, 8)), (None, "static", "Ip Address:", (7, 22, 38, 11)),
            (1044, "edit", "", (45, 19, 17, 14)), (None, "static", ".", (61, 25, 10, 10)),
            (1047, "edit", "", (70, 19, 17, 14)), (None, "static", ".", (86, 26, 10, 10)),
            (1048, "edit", "", (95, 19, 17, 14)), (None, "static", ".", (111, 26, 10, 10)),
            (1049, "edit", "", (120, 19, 17, 14)), (None, "static", "Display Name:", (7, 42, 46, 10)),
            (1046, "edit", "", (55, 38, 82, 14)), (1, "button", "OK", (38, 61, 31, 14)),
            (2, "button", "Cancel", (79, 61, 31, 14))])
        for number in (1044, 1047, 1048, 1049):
            self.assert_styles(template, number, BORDER | CENTRED_TEXT | DIGITS_ONLY | TAB_STOP)
        self.assert_styles(template, 1046, BORDER | SCROLLS_ALONG)
        self.assert_styles(template, 1, DEFAULT_BUTTON)
        self.assert_styles(template, 2, 0, DEFAULT_BUTTON)
        dots = [item for item in template["items"] if item[2] == "."]
        self.assertTrue(all(item[4] & CENTRED_LABEL for item in dots))

    def test_local_info_dialog(self):
        template = dialog(program.resource(DIALOG, 130))
        self.assertEqual((template["caption"], template["place"], template["font"]), ("", (137, 158), "System"))
        wanted = POPUP | CAPTION | SYSTEM_MENU | MODAL_FRAME
        self.assertEqual(template["style"] & wanted, wanted)
        self.assertEqual(self.items(template), [(None, "static", "Local Info:", (7, 4, 67, 8)),
                                                (1049, "edit", "", (7, 20, 123, 131))])
        self.assert_styles(template, 1049, BORDER | MULTI_LINE | READ_ONLY | VERTICAL_SCROLL)

    def test_icon_has_both_sizes(self):
        group = program.resource(GROUP_ICON, 129)
        count = struct.unpack_from("<H", group, 4)[0]
        self.assertEqual([group[6 + 14 * i] for i in range(count)], [16, 32])

    def test_version_is_the_builds(self):
        information = program.resource(VERSION, 1)
        high, low = struct.unpack_from("<II", information, information.index(struct.pack("<I", 0xFEEF04BD)) + 8)
        self.assertEqual(f"{high >> 16}.{high & 0xFFFF}.{low >> 16}.{low & 0xFFFF}", version)

    def test_manifest_names_the_systems_that_tell_only_those_who_do_and_asks_for_nothing_else(self):
        manifest = xml.etree.ElementTree.fromstring(program.resource(MANIFEST, 1))
        compatibility = "{urn:schemas-microsoft-com:compatibility.v1}"
        self.assertEqual((manifest.tag, manifest.get("manifestVersion")),
                         ("{urn:schemas-microsoft-com:asm.v1}assembly", "1.0"))
        self.assertEqual([element.tag for element in manifest], [compatibility + "compatibility"])
        self.assertEqual([element.tag for element in manifest[0]], [compatibility + "application"])
        self.assertEqual([(element.tag, element.get("Id")) for element in manifest[0][0]], [
            (compatibility + "supportedOS", "{35138b9a-5d96-4fbd-8e2d-a2440225f93a}"),   # Windows 7
            (compatibility + "supportedOS", "{4a2f28e3-53b9-4441-ba9c-d69d4a4a6e38}"),   # Windows 8
            (compatibility + "supportedOS", "{1f676c76-80e1-4239-95bb-83d0f6d0da78}"),   # Windows 8.1
            (compatibility + "supportedOS", "{8e0f7a12-bfb3-4fe8-b9a5-48fd50a15a9a}")])  # Windows 10 and 11

    def test_handheld_has_all_but_the_manifest(self):
        kinds = {ICON, DIALOG, GROUP_ICON, VERSION}
        self.assertEqual(compiled_kinds(), kinds | {MANIFEST})
        self.assertEqual(compiled_kinds("UNDER_CE=300"), kinds)


if __name__ == "__main__":
    compiler = sys.argv.pop()
    source = sys.argv.pop()
    version = sys.argv.pop()
    program = Program(sys.argv.pop())
    unittest.main()
