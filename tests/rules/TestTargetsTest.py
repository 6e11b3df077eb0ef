"""What tools/test-targets finds in a build folder and in the sources that it names."""

import os
import subprocess
import sys
import tempfile
import unittest

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
TOOL = os.path.join(ROOT, "tools", "test-targets")

SOURCE = """\
TEST(PlainTest, StandsAlone) {
}
TEST_F(FixtureTest, HasAFixture) {
}
TYPED_TEST(TypedTest, IsOfEachType) {
}
TEST_P(ParameterTest, HasParameters) {
}
INSTANTIATE_TEST_SUITE_P(Every, ParameterTest, ::testing::Values(1, 2));
"""


class TestTargetsTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.build = folder.name
        source = self.write("AllTest.cpp", SOURCE)
        other = self.write("OtherTest.cpp", "TEST(OtherTest, IsElsewhere) {\n}\n")
        self.write("test-sources.txt", f"unit-all;{source};\nunit-other;{other};{source}.posix\n")
        self.write("AllTest.cpp.posix", "TEST(PosixTest, IsOfOnePlatform) {\n}\n")
        self.write("tests/system/CTestTestfile.cmake",
                   'add_test([=[system.PingTest.Echo.test_echo]=] "python3")\nadd_test(rule.plain "script")\n')

    def write(self, name, text):
        path = os.path.join(self.build, name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "w", encoding="utf-8") as file:
            file.write(text)
        return path

    def targets(self, *arguments):
        return subprocess.run([sys.executable, TOOL, self.build, *arguments], check=True, text=True,
                              stdout=subprocess.PIPE).stdout.split()

    def test_a_test_is_found_in_its_program_by_the_name_that_ctest_gives_it(self):
        for name in ("^PlainTest.StandsAlone$", "FixtureTest", "^TypedTest/0.IsOf", "^Every/ParameterTest.HasPar"):
            self.assertEqual(self.targets("-R", name), ["unit-all"], name)

    def test_a_test_of_one_platform_is_found(self):
        self.assertEqual(self.targets("-R", "PosixTest"), ["unit-other"])

    def test_every_program_with_such_a_test_is_named(self):
        self.assertEqual(self.targets("-R", "IsElsewhere|StandsAlone"), ["unit-all", "unit-other"])

    def test_a_script_needs_the_product_and_what_its_folder_builds(self):
        for name in ("system.PingTest", "rule.plain"):
            self.assertEqual(self.targets("-R", name), ["linkometry", "tests/system/all"], name)

    def test_a_name_that_no_test_has_needs_nothing(self):
        self.assertEqual(self.targets("-R", "NoSuchTest"), [])

    def test_any_other_choice_needs_everything(self):
        for arguments in ((), ("-L", "unit"), ("--rerun-failed",), ("-R", "PlainTest", "-V")):
            self.assertEqual(self.targets(*arguments), ["all"], arguments)


if __name__ == "__main__":
    unittest.main()
