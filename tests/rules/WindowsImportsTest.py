"""Compiles small sources and sees whether tools/check-windows-imports finds what a handheld lacks.

The objects are this machine's own: names are names, and the tool asks the compiler's own nm for them.
"""

import json
import os
import subprocess
import tempfile
import unittest

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
TOOL = os.path.join(ROOT, "tools", "check-windows-imports")


class WindowsImportsTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="linkometry-imports-")
        self.addCleanup(folder.cleanup)
        self.folder = folder.name
        self.entries = []
        self.write("api.txt", "# a library\nOnHandheld\n# uncertain\nMaybe\n")
        self.write("exceptions.txt", "# none\n")

    def write(self, path, text):
        full = os.path.join(self.folder, path)
        os.makedirs(os.path.dirname(full), exist_ok=True)
        with open(full, "w", encoding="utf-8") as file:
            file.write(text)
        return full

    def compile(self, path, text):
        source = self.write(path, text)
        command = ["g++", "-c", source, "-o", source + ".o"]
        subprocess.run(command, check=True)
        self.entries.append({"directory": self.folder, "file": source, "command": " ".join(command)})

    def call_of(self, name, path="src/SPW/A.cpp"):
        self.compile(path, f'extern "C" void {name}(); void caller_of_{name}() {{ {name}(); }}\n')

    def check(self):
        self.write("compile_commands.json", json.dumps(self.entries))
        files = [os.path.join(self.folder, name) for name in ("api.txt", "exceptions.txt")]
        result = subprocess.run([TOOL, "--root", self.folder, "--api", files[0], "--exceptions", files[1], self.folder],
                                stdout=subprocess.PIPE, text=True, check=False)
        return result.returncode, result.stdout

    def test_a_name_of_the_list_is_kept(self):
        self.call_of("OnHandheld")
        self.assertEqual(self.check()[0], 0)

    def test_the_mark_of_an_import_is_no_part_of_the_name(self):
        self.call_of("__imp_OnHandheld")
        self.assertEqual(self.check()[0], 0)

    def test_a_name_that_is_not_on_the_list_is_found_with_its_object(self):
        self.call_of("OnDesktop")
        status, output = self.check()
        self.assertEqual(status, 1)
        self.assertIn("OnDesktop: not on a handheld; imported by A.cpp.o", output)

    def test_what_is_uncertain_is_not_there(self):
        self.call_of("Maybe")
        status, output = self.check()
        self.assertEqual(status, 1)
        self.assertIn("Maybe: not on a handheld", output)

    def test_what_another_object_defines_is_no_import(self):
        self.call_of("ours")
        self.compile("src/SPW/B.cpp", 'extern "C" void ours() {}\n')
        self.assertEqual(self.check()[0], 0)

    def test_tests_may_import_what_they_like(self):
        self.call_of("OnHandheld")
        self.call_of("OnDesktop", "tests/A.cpp")
        self.assertEqual(self.check()[0], 0)

    def test_an_exception_needs_a_reason_and_somebody_who_needs_it(self):
        self.call_of("OnDesktop")
        self.write("exceptions.txt", "OnDesktop\n")
        self.assertEqual(self.check()[0], 1, "no reason")
        self.write("exceptions.txt", "OnDesktop  inline there\n")
        self.assertEqual(self.check()[0], 0)
        self.write("exceptions.txt", "OnDesktop  inline there\nOther  inline there\n")
        status, output = self.check()
        self.assertEqual(status, 1)
        self.assertIn("Other: an exception that nobody needs", output)
        self.write("exceptions.txt", "OnDesktop  inline there (64 bits)\nOther  inline there (32 bits)\n")
        self.assertEqual(self.check()[0], 0, "the objects are of 64 bits")

    def test_a_build_without_objects_proves_nothing(self):
        self.assertEqual(self.check()[0], 1)


if __name__ == "__main__":
    unittest.main()
