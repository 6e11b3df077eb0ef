"""What is installed beside the program says what the program says: man page, completions, service, example settings.

usage: PackagingTest.py --program PATH --version VERSION PackagingTest.Class.test_method   (or PackagingTest.Class)

Exit status: 0 passed, 1 failed, 77 could not run; then the last line says why, after "SKIPPED: ".
"""

import argparse
import gzip
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "system"))

from documents import SOURCES, default_settings, read, values_of  # pylint: disable=wrong-import-position

PACKAGING = os.path.join(SOURCES, "packaging")
SKIPPED = 77

program = version = None


def run(*command, **options):
    return subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, stdin=subprocess.DEVNULL, text=True,
                          check=False, timeout=60, **options)


def usage():
    return run(program, "-help").stdout


def listed_options():
    """The options that -help lists."""
    columns = re.findall(r"^  (-.*?)  ", usage(), re.MULTILINE)
    return {option for column in columns for option in re.findall(r"(?<![\w-])-\w+", column)}


def short_options():
    """The letters that -help says stand for an option; they have one dash."""
    return set(re.findall(r"(?<![\w-])(-\w) is -\w+", usage()))


class TemporaryTest(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.mkdtemp(prefix="linkometry-package-")
        self.addCleanup(shutil.rmtree, self.folder)

    def needs(self, tool):
        if shutil.which(tool) is None:
            self.skipTest(f"there is no {tool}")


class ManPageTest(TemporaryTest):
    def section(self, name):
        return re.search(rf'^\.SH {name}\n(.*?)^\.SH ', read("packaging", "linkometry.1"), re.MULTILINE | re.DOTALL)[1]

    def tags(self, name):
        """What the paragraphs of a section are about."""
        return [re.sub(r"\\-", "-", tag) for tag in re.findall(r"^\.TP\n(.*)$", self.section(name), re.MULTILINE)]

    def test_it_has_the_options_that_help_lists_and_no_others(self):
        self.assertGreaterEqual(len(listed_options()), 10)
        described = {option for tag in self.tags("OPTIONS") for option in re.findall(r"(?<![\w-])-{1,2}\w+", tag)}
        self.assertEqual(described, listed_options())

    def test_it_has_the_signals_and_exit_statuses_that_help_names_and_no_others(self):
        signals = set(re.findall(r"SIG\w+", " ".join(self.tags("SIGNALS"))))
        self.assertEqual(signals, set(re.findall(r"SIG\w+", usage())))
        statuses = set(re.findall(r"\d+", " ".join(self.tags("EXIT STATUS"))))
        self.assertEqual(statuses, set(re.findall(r"\b(\d+) [a-z]", usage().partition("Exit status")[2])))

    def test_it_has_every_variable_that_the_program_asks_the_environment_for(self):
        asked = set()
        for folder, _, files in os.walk(os.path.join(SOURCES, "src")):
            for source in (read(os.path.join(folder, name)) for name in files if name.endswith(".cpp")):
                if re.search(r"\bgetenv\(|\bSPW_UserDir\(", source):
                    asked.update(re.findall(r'"([A-Z][A-Z_]{3,})"', source))
        self.assertIn("VANTIRO_REGISTRY_DIR", asked)
        # Names of hives, and where the framework's folders are that no part of the program uses.
        asked = {name for name in asked if not name.startswith("HKEY_")} - {"XDG_DATA_HOME", "TMPDIR"}
        described = set(re.findall(r"[A-Z_]{4,}", " ".join(self.tags("ENVIRONMENT"))))
        self.assertLessEqual(asked, described)

    def test_formatters_have_nothing_to_say_about_it(self):
        self.needs("groff")
        page = read("packaging", "linkometry.1")
        result = subprocess.run(["groff", "-man", "-Tutf8", "-K", "utf8", "-ww", "-rLL=100n"], input=page, text=True,
                                stdout=subprocess.PIPE, stderr=subprocess.PIPE, check=False)
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        self.assertIn("linkometry - measure", result.stdout)


class CompletionTest(TemporaryTest):
    def bash(self, *words):
        """What bash would offer for the last of these words."""
        script = ('source "$0"; COMP_WORDS=(linkometry "$@"); COMP_CWORD=$#; _linkometry; '
                  'printf "%s\\n" "${COMPREPLY[@]}"; complete -p linkometry >&2')
        result = run("bash", "-c", script, os.path.join(PACKAGING, "completions", "linkometry.bash"), *words,
                     cwd=self.folder)
        self.assertEqual(result.stderr, "complete -F _linkometry linkometry\n")
        return set(result.stdout.split())

    def test_bash_offers_the_options_that_help_lists_and_no_others(self):
        self.assertEqual(short_options(), {"-h", "-V"})
        self.assertEqual(self.bash("-"), listed_options() | short_options())
        self.assertEqual(self.bash("-format", "-"), set())
        self.assertEqual(self.bash("-headless", "-format", "json", "-dur"), {"-duration"})
        self.assertEqual(self.bash("--"), {f"-{option}" for option in listed_options()})
        self.assertEqual(self.bash("--min"), {"--minquality"})

    def test_bash_offers_what_an_option_takes(self):
        self.assertEqual(self.bash("-format", ""), {"table", "json", "csv", "events"})
        self.assertEqual(self.bash("-FORMAT", "j"), {"json"})
        # As bash splits --format=j.
        self.assertEqual(self.bash("--format", "=", "j"), {"json"})
        self.assertEqual(self.bash("--format", "="), {"table", "json", "csv", "events"})
        self.assertEqual(self.bash("-duration", "-"), set())
        for name in ("report.txt", "other"):
            with open(os.path.join(self.folder, name), "w", encoding="ascii"):
                pass
        self.assertEqual(self.bash("-getinfo", "r"), {"report.txt"})
        self.assertEqual(self.bash("-events", "o"), {"other"})
        self.assertIn("bash", self.bash("-onchange", "bas"))

    def test_zsh_offers_the_options_that_help_lists_and_no_others(self):
        # What zsh's own function is told; any shell can call one of that name.
        result = run("sh", "-c", '_arguments() { printf "%s\\n" "$@"; }; . "$0"',
                     os.path.join(PACKAGING, "completions", "_linkometry"))
        self.assertEqual(result.stderr, "")
        *lines, peer = result.stdout.splitlines()
        self.assertRegex(peer, r"^\*:peer")
        told = [re.match(r"(?:\(.*?\))?\*?(--?\w+)\[[^][]+\](:.*)?$", line) for line in lines]
        self.assertEqual({match[1] for match in told},
                         listed_options() | {f"-{option}" for option in listed_options()} | short_options())
        with_argument = {match[1] for match in told if match[2] and not match[1].startswith("--")}
        self.assertEqual(with_argument, set(re.findall(r"^  (-\w+) [A-Za-z]", usage(), re.MULTILINE)))

    def test_zsh_understands_its_file(self):
        self.needs("zsh")
        result = run("zsh", "-n", os.path.join(PACKAGING, "completions", "_linkometry"))
        self.assertEqual((result.returncode, result.stderr), (0, ""))

    def test_fish_names_the_options_that_help_lists_and_no_others(self):
        file = read("packaging", "completions", "linkometry.fish")
        named = re.findall(r"^complete -c linkometry (?:-s (\w) )?-o (\w+) -l \2 ", file, re.MULTILINE)
        self.assertEqual({f"-{option}" for _, option in named}, listed_options())
        self.assertEqual({f"-{letter}" for letter, _ in named if letter}, short_options())

    def test_fish_offers_the_options_that_help_lists_and_no_others(self):
        self.needs("fish")
        file = os.path.join(PACKAGING, "completions", "linkometry.fish")
        environment = dict(os.environ, HOME=self.folder, XDG_CONFIG_HOME=self.folder, XDG_DATA_HOME=self.folder)

        def offered(line):
            result = run("fish", "-c", f"source {file}; complete -C '{line}'", env=environment)
            self.assertEqual(result.stderr, "")
            return {line.partition("\t")[0] for line in result.stdout.splitlines()}
        self.assertEqual({option.replace("--", "-") for option in offered("linkometry -")},
                         listed_options() | short_options())
        self.assertEqual(offered("linkometry --form"), {"--format"})
        self.assertEqual(offered("linkometry -format "), {"table", "json", "csv", "events"})


class ServiceTest(TemporaryTest):
    def values(self, name):
        return re.findall(rf"^{name}=(.*)$", read("packaging", "linkometry.service"), re.MULTILINE)

    def test_it_has_one_right_and_a_user_of_its_own(self):
        self.assertEqual(self.values("DynamicUser"), ["yes"])
        self.assertEqual(self.values("CapabilityBoundingSet"), ["CAP_NET_RAW"])
        self.assertEqual(self.values("AmbientCapabilities"), ["CAP_NET_RAW"])
        self.assertEqual(self.values("NoNewPrivileges"), ["yes"])
        self.assertEqual(self.values("User"), [])

    def test_it_comes_back_after_a_failure_and_speaks_to_the_journal(self):
        self.assertEqual(self.values("Restart"), ["on-failure"])
        self.assertEqual(self.values("StandardOutput") + self.values("StandardError"), ["journal", "journal"])

    def test_systemd_finds_it_little_exposed(self):
        self.needs("systemd-analyze")
        result = run("systemd-analyze", "security", "--offline=true", "--threshold=15",
                     os.path.join(PACKAGING, "linkometry.service"))
        self.assertEqual(result.returncode, 0, result.stdout)

    def test_systemd_has_nothing_to_say_about_it(self):
        self.needs("systemd-analyze")
        unit = os.path.join(self.folder, "linkometry.service")
        with open(unit, "w", encoding="utf-8") as file:
            # The program is not installed yet.
            file.write(read("packaging", "linkometry.service").replace("ExecStart=linkometry", f"ExecStart={program}"))
        result = run("systemd-analyze", "verify", "--man=no", "--recursive-errors=no", unit)
        self.assertEqual((result.returncode, result.stdout + result.stderr), (0, ""))


class LogRotationTest(unittest.TestCase):
    def test_it_rotates_the_services_log_in_place_and_keeps_as_many_as_the_service(self):
        rules = read("packaging", "linkometry.logrotate")
        folder = re.search(r"^LogsDirectory=(.*)$", read("packaging", "linkometry.service"), re.MULTILINE)[1]
        name = default_settings()["log filename"]
        self.assertRegex(rules, rf"(?m)^/var/log/{folder}/{re.escape(name)} {{$")
        self.assertRegex(rules, r"(?m)^    copytruncate$")
        # The machine's own rules may ask for names that the service would not find.
        self.assertRegex(rules, r"(?m)^    nocompress$")
        self.assertRegex(rules, r"(?m)^    nodateext$")
        self.assertRegex(rules, r"(?m)^    rotate 5$")

    def test_package_brings_it_as_a_file_that_its_owner_may_change(self):
        self.assertEqual(read("packaging", "debian", "conffiles"), "/etc/logrotate.d/linkometry\n")


class ExampleSettingsTest(TemporaryTest):
    EXAMPLE = os.path.join(PACKAGING, "HKEY_CURRENT_USER.reg")

    def read_by_the_program(self):
        """Has the program read the settings file in the folder; the text that it leaves there."""
        environment = dict(os.environ, VANTIRO_REGISTRY_DIR=self.folder)
        self.assertEqual(run(program, "-getinfo", os.path.join(self.folder, "report"), env=environment).returncode, 0)
        with open(os.path.join(self.folder, "HKEY_CURRENT_USER.reg"), encoding="utf-8") as file:
            return file.read()

    def test_program_reads_it_and_finds_nothing_to_add(self):
        shutil.copy(self.EXAMPLE, self.folder)
        self.assertEqual(self.read_by_the_program(), read("packaging", "HKEY_CURRENT_USER.reg"))

    def test_it_holds_the_programs_own_defaults(self):
        self.assertEqual(default_settings(), values_of(self.read_by_the_program()))


class InstallationTest(TemporaryTest):
    DOCUMENTS = "share/doc/linkometry/"

    def install(self):
        """The paths of all files that are installed."""
        self.needs("cmake")
        result = run("cmake", "--install", os.path.dirname(program), "--prefix", self.folder)
        self.assertEqual(result.returncode, 0, result.stderr)
        return {os.path.relpath(os.path.join(folder, name), self.folder)
                for folder, _, files in os.walk(self.folder) for name in files}

    def test_the_documents_are_installed_and_what_they_refer_to_is_there(self):
        documents = {path[len(self.DOCUMENTS):] for path in self.install() if path.startswith(self.DOCUMENTS)}
        sources = {os.path.relpath(os.path.join(folder, name), SOURCES)
                   for folder, _, files in os.walk(os.path.join(SOURCES, "docs")) for name in files}
        self.assertGreaterEqual(len(sources), 10)
        self.assertEqual(documents - {"examples/HKEY_CURRENT_USER.reg", "examples/linkometry.logrotate"},
                         sources | {"README.md", "CONTRIBUTING.md"})
        references = 0
        for document in sorted(name for name in documents if name.endswith(".md")):
            with open(os.path.join(self.folder, self.DOCUMENTS, document), encoding="utf-8") as file:
                targets = re.findall(r"\]\((?!https?:|#)([^)#]+)", file.read())
            for target in targets:
                self.assertIn(os.path.normpath(os.path.join(os.path.dirname(document), target)), documents, document)
                references += 1
        self.assertGreaterEqual(references, 20)

    def test_cmake_installs_each_file_where_others_look_for_it(self):
        programs = {path for path in self.install() if not path.endswith((".md", ".svg", ".png"))}
        self.assertEqual(programs, {
            "bin/linkometry", "lib/systemd/system/linkometry.service", "share/man/man1/linkometry.1.gz",
            "share/bash-completion/completions/linkometry", "share/fish/vendor_completions.d/linkometry.fish",
            "share/zsh/site-functions/_linkometry", "share/doc/linkometry/examples/HKEY_CURRENT_USER.reg",
            "share/doc/linkometry/examples/linkometry.logrotate", "share/linkometry/snapshot.schema.json",
            "share/linkometry/event.schema.json"})
        self.assertEqual(run(os.path.join(self.folder, "bin/linkometry"), "-version").stdout,
                         f"linkometry Version {version}\n")
        with gzip.open(os.path.join(self.folder, "share/man/man1/linkometry.1.gz"), "rt", encoding="utf-8") as page:
            self.assertIn(f'"Linkometry {version}"', page.readline())


class VersionTest(unittest.TestCase):
    def test_newest_entry_of_the_changelog_is_of_this_version(self):
        self.assertEqual(re.match(r"linkometry \((.*?)\) ", read("packaging", "debian", "changelog"))[1], version)
        self.assertEqual(run(program, "-version").stdout, f"linkometry Version {version}\n")


def main():
    global program, version
    parser = argparse.ArgumentParser()
    parser.add_argument("--program", required=True)
    parser.add_argument("--version", required=True)
    parser.add_argument("test")
    arguments = parser.parse_args()
    program, version = os.path.abspath(arguments.program), arguments.version

    name = arguments.test.removeprefix("PackagingTest.")
    suite = unittest.defaultTestLoader.loadTestsFromName(name, sys.modules[__name__])
    result = unittest.TextTestRunner(stream=sys.stdout, verbosity=2).run(suite)
    if not result.wasSuccessful() or result.testsRun == 0:
        sys.exit(1)
    if result.skipped:
        print("SKIPPED: " + "; ".join(sorted({reason for _, reason in result.skipped})))
        sys.exit(SKIPPED)


if __name__ == "__main__":
    main()
