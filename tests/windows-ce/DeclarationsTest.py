#!/usr/bin/python3
"""Holds our declarations of Windows CE's functions against the desktop's: numbers, layouts and parameters are the same on
both, but for those that are known to differ. A slip in a number or a forgotten field would be found on a device only.

usage: DeclarationsTest.py
"""

import os
import re
import subprocess
import sys
import tempfile
import unittest

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
INCLUDE = os.path.join(ROOT, "tools", "windows-ce", "include")
HEADERS = ("windows.h", "winsock.h", "iphlpapi.h", "commctrl.h")
DESKTOP = "i686-w64-mingw32-g++-posix"
HANDHELD = os.path.join(ROOT, "tools", "windows-ce", "arm-mingw32ce-g++")

OTHER_NUMBERS = {"WS_MAXIMIZEBOX", "WS_MINIMIZEBOX"}
OTHER_LAYOUTS = {"WIN32_FIND_DATAW", "BY_HANDLE_FILE_INFORMATION", "CRITICAL_SECTION"}
GROWN_ON_THE_DESKTOP = {"LVCOLUMNW", "LVITEMW"}
ONLY_HERE = {"UNDER_CE", "EventModify", "GetProcAddressA", "InterlockedTestExchange", "TlsCall", "wWinMain"}

# A number for what a function takes and gives: the sizes, in order.
SIGNATURE = """
template <typename T> struct Size { static constexpr unsigned value = sizeof(T); };
template <> struct Size<void> { static constexpr unsigned value = 0; };
template <typename R, typename... A> constexpr unsigned signature(R (CONVENTION*)(A...)) {
    unsigned sizes[] = {Size<R>::value, Size<A>::value...};
    unsigned hash = 17;
    for (unsigned size : sizes) hash = hash * 31 + size;
    return hash;
}
"""


def text_of(header):
    with open(os.path.join(INCLUDE, header), encoding="utf-8") as file:
        return re.sub(r"//.*", "", file.read())


def numbers(text):
    """Names defined as whole numbers."""
    return [name for name, value in re.findall(r"^#define (\w+) (.+)$", text, re.MULTILINE)
            if re.fullmatch(r"[-+ ()\dA-FXx]+|\(LVM_FIRST \+ \d+\)", value) and name not in ONLY_HERE | OTHER_NUMBERS]


def records(text):
    """name -> fields"""
    found = {}
    for tag, body, name in re.findall(r"^(?:typedef )?struct (\w* ?)\{\n(.*?)\n\} ?(\w*);", text, re.MULTILINE | re.DOTALL):
        fields = [re.search(r"(\w+)(?:\[[^\]]*\])?;", line).group(1) for line in body.split("\n")]
        found[name or tag.strip()] = fields
    return {name: fields for name, fields in found.items() if name not in OTHER_LAYOUTS}


def functions(text):
    text = re.sub(r"^inline .*?^\}$|^typedef [^{;]*;$", "", text, flags=re.MULTILINE | re.DOTALL)
    declared = re.findall(r"^(?:extern \"C\" )?(?:struct )?\w+\*? (?:WINAPI )?(\w+)\([^;{]*\);$", text, re.MULTILINE)
    return [name for name in declared if name not in ONLY_HERE]


class DeclarationsTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        text = "\n".join(map(text_of, HEADERS))
        cls.numbers, cls.records, cls.functions = numbers(text), records(text), functions(text)
        cls.questions = [f"static_cast<unsigned>({name})" for name in cls.numbers]
        for name, fields in cls.records.items():
            cls.questions += [f"offsetof({name}, {field})" for field in fields]
            if name not in GROWN_ON_THE_DESKTOP:
                cls.questions.append(f"sizeof({name})")
        cls.questions += [f"signature(&::{name})" for name in cls.functions]

    def answers(self, compiler, convention):
        """What the compiler makes of the questions, read from its assembly."""
        includes = "".join(f"#include <{name}>\n" for name in ("winsock.h", *HEADERS, "stddef.h"))
        source = (f"{includes}#define CONVENTION {convention}\n{SIGNATURE}"
                  f"extern \"C\" constexpr unsigned answers[] = {{{', '.join(self.questions)}}};\n"
                  "extern \"C\" const unsigned* ask() { return answers; }\n")
        with tempfile.TemporaryDirectory() as folder:
            path = os.path.join(folder, "questions.cpp")
            with open(path, "w", encoding="utf-8") as file:
                file.write(source)
            subprocess.run([compiler, "-std=c++17", "-w", "-fno-inline", "-DUNICODE", "-S", path, "-o", path + ".s"], check=True)
            with open(path + ".s", encoding="utf-8") as file:
                table = file.read().split("answers:", 1)[1]
        values = re.match(r"(?:\s*\.(?:long|word)\s+-?\d+|\s*\.(?:space|zero)\s+\d+)+", table).group()
        answers = []
        for directive, value in re.findall(r"\.(\w+)\s+(-?\d+)", values):
            answers += [0] * (int(value) // 4) if directive in ("space", "zero") else [int(value) & 0xFFFFFFFF]
        return answers

    def test_are_the_desktops(self):
        ours, theirs = self.answers(HANDHELD, ""), self.answers(DESKTOP, "__stdcall")
        self.assertEqual((len(ours), len(theirs)), (len(self.questions), len(self.questions)))
        different = [question for question, our, their in zip(self.questions, ours, theirs) if our != their]
        self.assertEqual(different, [])

    def test_none_is_overlooked(self):
        self.assertGreater(len(self.numbers), 100)
        self.assertGreater(len(self.records), 15)
        self.assertGreater(len(self.functions), 110)


if __name__ == "__main__":
    unittest.main()
