"""Lets tools/mutate change a small tree of its own, with one law that a test holds and one that none does."""

import importlib.machinery
import importlib.util
import json
import os
import shutil
import subprocess
import tempfile
import unittest

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
TOOL = os.path.join(ROOT, "tools", "mutate")

SOURCE = """#include "limit.h"

namespace {

constexpr int kHighest = 100;  // if (a < b) in a comment is no condition

}  // namespace

int limited(int value) {
    if (value > kHighest) {
        return kHighest;
    }
    return value;
}

int unwatched(int value) {
    if (value > 7) {
        value = 7;
    }
    return value;
}

void step(int& value);

int counted(int value) {
    int sum = 0;
    while (sum < value) {
        step(sum);
    }
    return sum;
}

void step(int& value) {
    ++value;
}
"""
HEADER = "int limited(int value);\nint unwatched(int value);\nint counted(int value);\n"
TEST = """#include "limit.h"

#include <cstdio>

int main() {
    const bool isRight = limited(5) == 5 && limited(100) == 100 && limited(101) == 100 && counted(3) == 3;
    if (!isRight)
        std::puts("[  FAILED  ] LimitTest.NothingIsAboveTheLimit (0 ms)");
    return isRight && unwatched(1) == 1 ? 0 : 1;
}
"""
BUILD = """cmake_minimum_required(VERSION 3.16)
project(sample CXX)
add_executable(unit-info src/Info/limit.cpp test.cpp)
target_include_directories(unit-info PRIVATE src/Info)
set_target_properties(unit-info PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/tests/unit/Info")
"""
PRESETS = {"version": 3,
           "configurePresets": [{"name": "linux", "generator": "Ninja", "binaryDir": "${sourceDir}/build/linux"}],
           "buildPresets": [{"name": "linux", "configurePreset": "linux"}]}


def tool():
    """The tool as a module."""
    loader = importlib.machinery.SourceFileLoader("mutate", TOOL)
    module = importlib.util.module_from_spec(importlib.util.spec_from_loader("mutate", loader))
    loader.exec_module(module)
    return module


class PlacesTest(unittest.TestCase):
    """Which places of a source are changed, and how."""

    @classmethod
    def setUpClass(cls):
        cls.tool = tool()

    def changes(self, source):
        return self.tool.changes_of("src/Info/x.cpp", source)

    def changed_lines(self, source, kind=None):
        """The lines as each change leaves them, without indentation."""
        return [change.applied(source).split("\n")[change.line - 1].strip() for change in self.changes(source)
                if kind in (None, change.kind)]

    def in_body(self, statements):
        return "void f() {\n    " + statements.replace("\n", "\n    ") + "\n}\n"

    def test_conditions_are_negated_with_all_their_brackets(self):
        self.assertEqual(self.changed_lines(self.in_body("if (a(1, b) && c)\n    d();"), "negate"),
                         ["if (!(a(1, b) && c))"])

    def test_comparisons_and_operators_are_exchanged(self):
        source = self.in_body("x = a < b;\ny = a + b;\nz = p && q;")
        self.assertEqual(self.changed_lines(source, "compare"), ["x = a <= b;"])
        self.assertEqual(self.changed_lines(source, "operator"), ["y = a - b;", "z = p || q;"])

    def test_constants_grow(self):
        self.assertEqual(self.changed_lines(self.in_body("wait(0x10u, 1'000, true);"), "constant"),
                         ["wait(0x10u, 1'000, false);", "wait(17u, 1'000, true);", "wait(0x10u, 1001, true);"])

    def test_calls_and_assignments_are_dropped_and_declarations_are_not(self):
        source = self.in_body("int a = 1;\nconst Guard guard(lock);\nClock clock(7);\nb = 2;\n(void)close(c);\nm_x[1]->y(2);")
        self.assertEqual(self.changed_lines(source, "drop"), ["(void)0;"] * 3)
        self.assertEqual([change.before for change in self.changes(source) if change.kind == "drop"],
                         ["b = 2;", "(void)close(c);", "m_x[1]->y(2);"])

    def test_two_calls_change_places(self):
        self.assertEqual(self.changed_lines(self.in_body("a(1);\nb(2);"), "swap"), ["b(2);"])
        self.assertEqual(self.changed_lines(self.in_body("a(1);\nif (x)\n    b(2);"), "swap"), [])

    def test_functions_return_early(self):
        self.assertEqual(self.changed_lines("void f() {\n    a();\n    b();\n}\n", "return early"), ["return;     a();"])
        self.assertEqual(self.changed_lines("int C::f(int x) const {\n    a();\n    return x;\n}\n", "return early"),
                         ["return {};     a();"])

    def test_nothing_else_is_touched(self):
        self.assertEqual(self.changes('#include "x"\n#if A < 2\n#endif\n// a < b\n/* if (a) */\nclass C {\n    int m = 1;\n'
                                      '    void f(int a = 0);\n};\nnamespace n {\nint t[] = {1, 2};\n}\n'), [])
        self.assertEqual(self.changed_lines(self.in_body('log("a < b; f(1);");'), "compare"), [])
        # Constants outside of functions count all the same.
        self.assertEqual(self.changed_lines("constexpr int k = 100;\n"), ["constexpr int k = 200;"])

    def test_lines_stay_where_they_are(self):
        source = self.in_body("a(1,\n  2);\nb(3);\nif (c &&\n    d)\n    e();")
        for change in self.changes(source):
            self.assertEqual(change.applied(source).count("\n"), source.count("\n"), change)

    def test_the_same_seed_chooses_the_same_changes_and_no_line_twice(self):
        order = [str(change) for change in self.tool.chosen(self.changes(SOURCE), 3)]
        self.assertEqual(order, [str(change) for change in self.tool.chosen(self.changes(SOURCE), 3)])
        self.assertNotEqual(order, [str(change) for change in self.tool.chosen(self.changes(SOURCE), 4)])
        lines = [change.line for change in self.tool.chosen(self.changes(SOURCE), 3)]
        self.assertEqual(len(lines), len(set(lines)))

    def test_sources_take_turns(self):
        self.assertEqual(list(self.tool.in_turns([iter("abc"), iter("1"), iter("xy")])), list("a1xbyc"))


class RunTest(unittest.TestCase):
    """The whole tool over a tree that it copies, builds and tests."""

    def setUp(self):
        self.folder = tempfile.mkdtemp(prefix="linkometry-rule-")
        self.addCleanup(shutil.rmtree, self.folder)
        subprocess.run(["git", "-C", self.folder, "init", "--quiet"], check=True)
        for name, text in (("src/Info/limit.cpp", SOURCE), ("src/Info/limit.h", HEADER), ("test.cpp", TEST),
                           ("CMakeLists.txt", BUILD), ("CMakePresets.json", json.dumps(PRESETS)), (".gitignore", "build\n")):
            self.commit(name, text)
        # The tool finds its tree by its own place.
        os.makedirs(os.path.join(self.folder, "tools"))
        self.tool = shutil.copy(TOOL, os.path.join(self.folder, "tools"))

    def commit(self, name, text):
        path = os.path.join(self.folder, name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "w", encoding="utf-8") as file:
            file.write(text)
        for command in (["add", name], ["commit", "--quiet", "--message=x"]):
            subprocess.run(["git", "-C", self.folder, "-c", "user.name=x", "-c", "user.email=x@y", *command], check=True)

    def run_tool(self, *arguments):
        result = subprocess.run([self.tool, *arguments], cwd=self.folder, stdout=subprocess.PIPE,
                                stderr=subprocess.PIPE, text=True, check=False)
        if "no namespaces may be made here" in result.stderr:
            self.skipTest(result.stderr.strip())
        return result

    def test_what_a_test_holds_is_noticed_and_what_none_holds_survives(self):
        result = self.run_tool("src/Info/limit.cpp:11", "src/Info/limit.cpp:17", "src/Info/limit.cpp:18")
        self.assertEqual(result.returncode, 1, result.stdout + result.stderr)
        self.assertRegex(result.stdout, r"noticed by LimitTest.NothingIsAboveTheLimit: src/Info/limit.cpp:11: ")
        self.assertRegex(result.stdout, r"\nsurvived: src/Info/limit.cpp:17: ")
        self.assertRegex(result.stdout, r"\n3 changes, 1 noticed, 2 survived; ")
        with open(os.path.join(self.folder, "src/Info/limit.cpp"), encoding="utf-8") as file:
            self.assertEqual(file.read(), SOURCE)

    def test_a_test_that_does_not_end_has_noticed(self):
        result = self.run_tool("--patience", "1", "src/Info/limit.cpp:28")
        self.assertEqual(result.returncode, 0, result.stdout + result.stderr)
        self.assertIn("noticed by no end: src/Info/limit.cpp:28: drop: `step(sum);` becomes", result.stdout)

    def test_the_copy_is_kept_and_follows_the_commits(self):
        self.assertEqual(self.run_tool("src/Info/limit.cpp:11").returncode, 0)
        self.commit("test.cpp", "int main() { return 0; }\n")
        result = self.run_tool("src/Info/limit.cpp:11")
        self.assertEqual(result.returncode, 1, result.stdout + result.stderr)
        self.assertIn("survived: src/Info/limit.cpp:11: ", result.stdout)

    def test_tests_that_fail_without_a_change_are_no_measure(self):
        self.commit("test.cpp", "int main() { return 1; }\n")
        result = self.run_tool("src/Info")
        self.assertNotIn(result.returncode, (0,), result.stdout)
        self.assertIn("fails without any change", result.stderr)

    def test_what_takes_the_right_to_write_does_so_in_namespaces_only(self):
        result = self.run_tool("--inside", "true")
        self.assertNotEqual(result.returncode, 0)
        self.assertIn("outside it would do harm", result.stderr)

    def test_what_is_no_source_is_refused(self):
        result = self.run_tool("test.cpp")
        self.assertNotEqual(result.returncode, 0)
        self.assertIn("test.cpp is no source of a layer that has tests", result.stderr)


if __name__ == "__main__":
    unittest.main()
