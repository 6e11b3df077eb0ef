"""What the sources tell their users, for tests to hold the programs to: the example settings and the documents."""

import os
import re

SOURCES = os.path.abspath(os.path.join(os.path.dirname(__file__), "..", ".."))

SETTINGS_KEY = r"HKEY_CURRENT_USER\Software\Vantiro Networks\Vantiro Diagnostic"


def read(*path):
    with open(os.path.join(SOURCES, *path), encoding="utf-8") as file:
        return file.read()


def values_of(hive):
    """{name: text} of the settings' key in a hive file's text, where the key and each of its values stand once."""
    section = hive.split(f"[{SETTINGS_KEY}]\n")
    if len(section) != 2:
        raise AssertionError(f"the key stands {len(section) - 1} times in\n{hive}")
    found = re.findall(r'^"(.*?)"="(.*)"$', section[1].split("\n[")[0], re.MULTILINE)
    if len(dict(found)) != len(found):
        raise AssertionError(f"a value stands twice in\n{hive}")
    return dict(found)


def default_settings():
    """{name: default} of all settings."""
    return values_of(read("packaging", "HKEY_CURRENT_USER.reg"))


def section(page, title):
    """The text below a heading of docs/PAGE, up to the next heading of its level or a higher one."""
    level = title.split(" ")[0]
    text = "\n" + read("docs", page)
    begin = text.index(f"\n{title}\n") + len(title) + 2
    end = re.search(rf"^#{{1,{len(level)}}} ", text[begin:], re.MULTILINE)
    return text[begin:begin + end.start()] if end else text[begin:]


def examples(text):
    """The examples in a document's text, each a list of lines: what stands indented by four blanks."""
    found, current = [], []
    for line in [*text.split("\n"), "end"]:
        if line.startswith("    ") or (current and not line):
            current.append(line[4:])
        elif current:
            while not current[-1]:
                current.pop()
            found.append(current)
            current = []
    return found


def first_cells(text):
    """The texts in back-ticks of each table row's first cell, a list for each row."""
    return [re.findall("`(.*?)`", cell) for cell in re.findall(r"^\| (`.*?) \| ", text, re.MULTILINE)]
