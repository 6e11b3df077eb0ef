"""Plants one violation after another in a small tree and sees whether tools/check-platform-rule finds it."""

import os
import subprocess
import tempfile
import unittest

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
TOOL = os.path.join(ROOT, "tools", "check-platform-rule")

PORTABLE = "src/SPW/src/CThing/portable/SPW_CThing.cpp"
POSIX = "src/SPW/src/CThing/posix/SPW_CThingPosix.cpp"
W32 = "src/SPW/src/CThing/w32/SPW_CThingW32.cpp"


class PlatformRuleTest(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory(prefix="linkometry-rule-")
        self.addCleanup(self.folder.cleanup)

    def write(self, path, text):
        full = os.path.join(self.folder.name, path)
        os.makedirs(os.path.dirname(full), exist_ok=True)
        with open(full, "w", encoding="utf-8") as file:
            file.write(text)

    def check(self):
        result = subprocess.run([TOOL, "--root", self.folder.name], stdout=subprocess.PIPE, text=True, check=False)
        return result.returncode, result.stdout

    def assert_found(self, path, text, place):
        self.write(path, text)
        status, output = self.check()
        self.assertEqual(status, 1, output)
        self.assertIn(f"{path}:{place}: ", output)
        self.assertIn("1 violations", output)

    def assert_kept(self):
        status, output = self.check()
        self.assertEqual(status, 0, output)

    def test_platform_header_in_portable_code_is_found(self):
        for header in ("unistd.h", "sys/socket.h", "netinet/in.h", "pthread.h", "windows.h", "errno.h", "curses.h"):
            with self.subTest(header):
                self.assert_found(PORTABLE, f"\n#include <{header}>\n", 2)

    def test_platform_macro_in_portable_code_is_found(self):
        for line in ("#ifdef _WIN32", "#if defined(__linux__)", "#ifndef UNDER_CE", "#if 1\n#elif defined(_MSC_VER)"):
            with self.subTest(line):
                self.assert_found(PORTABLE, line + "\n#endif\n", line.count("\n") + 1)

    def test_standard_header_that_a_handheld_lacks_is_found(self):
        for header in ("map", "thread", "mutex", "chrono", "iostream", "locale", "regex", "filesystem", "string"):
            with self.subTest(header):
                self.assert_found(PORTABLE, f"#include <{header}>\n", 1)

    def test_standard_header_that_a_handheld_lacks_is_found_in_the_windows_half(self):
        self.assert_found(W32, "#include <windows.h>\n#include <mutex>\n", 2)

    def test_thread_local_and_exceptions_are_found(self):
        for line in ("thread_local int x;", "throw 1;", "try {", "auto* p = dynamic_cast<A*>(q);"):
            with self.subTest(line):
                self.assert_found(PORTABLE, line, 1)

    def test_include_of_a_higher_layer_is_found(self):
        self.write("src/Engine/TestEngine.h", "")
        self.assert_found("src/Listener/VTR_CUdpListener.cpp", '#include "TestEngine.h"\n', 1)

    def test_the_report_includes_nothing_of_the_probes(self):
        for layer in ("Connector", "Listener"):
            with self.subTest(layer):
                self.write(f"src/{layer}/{layer}Thing.h", "")
                self.assert_found("src/Info/SystemReport.cpp", f'#include "{layer}Thing.h"\n', 1)

    def test_include_of_a_lower_layer_is_kept(self):
        self.write("src/SPW/include/SPW_CString.h", "")
        self.write("src/Engine/TestEngine.cpp", '#include "SPW_CString.h"\n')
        self.assert_kept()

    def test_posix_half_may_use_its_platform(self):
        self.write(POSIX, "#include <unistd.h>\n#include <mutex>\n#ifdef __linux__\n#endif\n")
        self.assert_kept()

    def test_allowed_headers_in_portable_code_are_kept(self):
        self.write(PORTABLE, "#include <atomic>\n#include <cstring>\n#include <vector>\n#if 0\n#endif\n")
        self.assert_kept()

    def test_words_in_comments_and_texts_are_no_violation(self):
        self.write(PORTABLE, '// never throw; see <map>\n/* thread_local\n#include <map>\n*/ auto t = u"try {throw";\n')
        self.assert_kept()


if __name__ == "__main__":
    unittest.main()
