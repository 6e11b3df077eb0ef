#!/usr/bin/python3
"""Checks a Debian package: lintian's opinion, and an installation in a fresh root of this system's release.

usage: FreshRootTest.py PACKAGE.deb [unittest's arguments]

Needs root, lintian, debootstrap and the distribution's mirror. What debootstrap downloads is kept in
build/package-test/, the root itself is thrown away.
"""

import glob
import os
import re
import shlex
import shutil
import subprocess
import sys
import tempfile
import unittest

SOURCES = os.path.abspath(os.path.join(os.path.dirname(__file__), "..", ".."))
KEPT = os.path.join(SOURCES, "build", "package-test")

package = None


def run(*command, within=600):
    """Runs a command to its end; (exit status, all that it said)."""
    result = subprocess.run(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                            text=True, errors="replace", timeout=within, check=False,
                            env={"PATH": "/usr/sbin:/usr/bin:/sbin:/bin", "LANG": "C.UTF-8", "HOME": "/root",
                                 "DEBIAN_FRONTEND": "noninteractive"})
    return result.returncode, result.stdout


def must(*command, within=600):
    status, said = run(*command, within=within)
    if status != 0:
        raise AssertionError(f"{shlex.join(command)} ended with {status}:\n{said[-4000:]}")
    return said


def release():
    with open("/etc/os-release", encoding="utf-8") as file:
        return re.search(r"^VERSION_CODENAME=(\w+)$", file.read(), re.MULTILINE)[1]


class LintianTest(unittest.TestCase):
    def test_lintian_finds_neither_an_error_nor_a_warning(self):
        status, said = run("lintian", "--allow-root", "--fail-on", "error,warning", package)
        self.assertEqual(status, 0, said)


class FreshRootTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        downloads = os.path.join(KEPT, "downloads")
        os.makedirs(downloads, exist_ok=True)
        cls.root = tempfile.mkdtemp(prefix="linkometry-root-")
        cls.addClassCleanup(shutil.rmtree, cls.root)
        must("debootstrap", "--variant=minbase", f"--cache-dir={downloads}", release(), cls.root)
        os.chmod(cls.root, 0o755)
        shutil.copy(package, os.path.join(cls.root, "tmp", "linkometry.deb"))
        # What the package depends on comes from the mirror; this is the one step in the root that has the network.
        cls.inside("apt-get", "update", network=True)
        cls.inside("apt-get", "install", "-y", "--no-install-recommends", "libcap2-bin", "/tmp/linkometry.deb",
                   network=True)

    @classmethod
    def inside(cls, *command, network=False):
        """What a command in the root says; it has a loopback interface alone unless it is to have the network."""
        isolated = ["--net"] if not network else []
        script = ('mount -t proc proc "$0/proc" && mount -t tmpfs tmpfs "$0/run" && '
                  + ("" if network else "ip link set lo up && ") + 'exec chroot "$0" "$@"')
        return must("unshare", "--mount", "--pid", "--fork", "--kill-child", *isolated, "sh", "-c", script, cls.root,
                    *command)

    def installed(self):
        return [path for path in self.inside("dpkg", "-L", "linkometry").split("\n") if path]

    def test_1_files_are_where_others_look_for_them(self):
        for path in ("/usr/bin/linkometry", "/usr/lib/systemd/system/linkometry.service",
                     "/usr/share/bash-completion/completions/linkometry", "/usr/share/zsh/vendor-completions/_linkometry",
                     "/usr/share/fish/vendor_completions.d/linkometry.fish", "/usr/share/linkometry/event.schema.json"):
            self.assertIn(path, self.installed())
        # A minimal root may leave out documents as it installs, but the package has them.
        contents = must("dpkg-deb", "-c", package)
        for path in ("/usr/share/man/man1/linkometry.1.gz", "/usr/share/doc/linkometry/copyright",
                     "/etc/logrotate.d/linkometry",
                     "/usr/share/doc/linkometry/examples/HKEY_CURRENT_USER.reg", "/usr/share/doc/linkometry/README.md",
                     "/usr/share/doc/linkometry/docs/troubleshooting.md", "/usr/share/doc/linkometry/docs/images/screen.svg"):
            self.assertIn(f" .{path}\n", contents)

    def test_2_program_runs_and_knows_its_version(self):
        version = self.inside("dpkg-query", "-W", "-f", "${Version}", "linkometry")
        self.assertEqual(self.inside("linkometry", "-version"), f"linkometry Version {version}\n")

    def measure_itself(self, *through):
        script = ('mkdir -p /tmp/run && cd /tmp/run && exec linkometry -headless -duration 6 -peer 127.0.0.1=itself')
        said = self.inside(*through, "sh", "-c", script)
        row = re.search(r"127\.0\.0\.1 \(itself\) +100 +0/0 +(\d+)/\1 +(\d+)/\2 +(\d+)/\3\n", said)
        self.assertTrue(row and all(int(arrived) > 0 for arrived in row.groups()), said)
        return said

    def test_3_program_measures_itself(self):
        self.measure_itself()

    def test_4_ordinary_user_may_ping_by_the_capability_that_the_installation_gave(self):
        self.assertEqual(self.inside("getcap", "/usr/bin/linkometry"), "/usr/bin/linkometry cap_net_raw=ep\n")
        self.inside("rm", "-rf", "/tmp/run")
        self.inside("useradd", "--create-home", "ada")
        self.measure_itself("setpriv", "--reuid=ada", "--regid=ada", "--clear-groups", "--inh-caps=-all",
                            "env", "HOME=/home/ada")
        # His settings are made with all defaults, as the documents say.
        with open(os.path.join(self.root, "home/ada/.config/vantiro-diagnostic/HKEY_CURRENT_USER.reg"),
                  encoding="utf-8") as file:
            self.assertIn('"port"="5009"', file.read())

    def test_5_program_starts_where_the_capability_is_withheld_when_it_is_installed(self):
        withheld = ("setpriv", "--bounding-set=-net_raw", "--inh-caps=-net_raw")
        self.inside(*withheld, "dpkg-reconfigure", "linkometry")
        self.assertEqual(self.inside("getcap", "/usr/bin/linkometry"), "")
        self.inside(*withheld, "linkometry", "-version")

    def test_6_report_is_written(self):
        self.inside("linkometry", "-getinfo", "/tmp/report.txt")
        with open(os.path.join(self.root, "tmp/report.txt"), encoding="utf-8") as file:
            self.assertTrue(file.read().startswith("**System Settings**\n"))

    def test_7_same_package_again_and_its_removal_go_well_and_leave_nothing(self):
        paths = [path for path in self.installed() if "linkometry" in path]
        self.assertGreater(len(paths), 4)
        self.inside("dpkg", "-i", "/tmp/linkometry.deb")
        self.assertTrue(os.path.isdir(os.path.join(self.root, "etc/vantiro-diagnostic")))
        self.inside("dpkg", "--purge", "linkometry")
        self.assertEqual([path for path in paths + ["/etc/vantiro-diagnostic"]
                          if os.path.lexists(self.root + path)], [])


if __name__ == "__main__":
    if len(sys.argv) < 2 or not glob.glob(sys.argv[1]):
        sys.exit(__doc__)
    package = os.path.abspath(sys.argv.pop(1))
    unittest.main(verbosity=2)
