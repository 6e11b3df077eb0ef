#!/usr/bin/python3
"""When tools/windows-ce/make-toolchain makes its tools, and when it takes those that are there. The sources are a few lines
that stand for the real ones.
"""

import os
import signal
import subprocess
import tempfile
import unittest

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
SCRIPT = os.path.join(ROOT, "tools", "windows-ce", "make-toolchain")

# Notes each run beside the sources; what it installs is a linker that starts. With a file "stuck" there, it waits to be
# killed when half of it is done.
CONFIGURE = """#!/bin/sh
for word; do case $word in --prefix=*) prefix=${word#--prefix=} ;; esac; done
cat >Makefile <<TEXT
all:
	echo made >>SOURCES/made
install-strip:
	mkdir -p $prefix/bin
	echo '#!/bin/sh' >$prefix/bin/arm-mingw32ce-ld
	chmod +x $prefix/bin/arm-mingw32ce-ld
	if [ -e SOURCES/stuck ]; then echo ready >SOURCES/ready; read never <SOURCES/stuck; fi
TEXT
"""


class ToolchainTest(unittest.TestCase):
    def setUp(self):
        temporary = tempfile.TemporaryDirectory()
        self.addCleanup(temporary.cleanup)
        self.sources = os.path.join(temporary.name, "sources")
        self.folder = os.path.join(temporary.name, "tools")
        os.mkdir(self.sources)

    def path(self, *names):
        return os.path.join(self.sources, *names)

    def add_archive(self, configure=CONFIGURE):
        with tempfile.TemporaryDirectory() as folder:
            os.mkdir(os.path.join(folder, "binutils-1"))
            name = os.path.join(folder, "binutils-1", "configure")
            with open(name, "w", encoding="utf-8") as file:
                file.write(configure.replace("SOURCES", self.sources))
            os.chmod(name, 0o755)
            # The same configure makes the same archive.
            subprocess.run(["tar", "-C", folder, "--mtime=@0", "--sort=name", "-cJf", self.path("binutils-1.tar.xz"),
                            "binutils-1"], check=True)

    def make(self):
        return subprocess.run([SCRIPT, self.folder, self.sources], stderr=subprocess.PIPE, text=True)

    def times_made(self):
        with open(self.path("made"), encoding="utf-8") as file:
            return len(file.readlines())

    def test_makes_them_once(self):
        self.add_archive()
        self.assertEqual(self.make().returncode, 0)
        self.assertEqual(self.make().returncode, 0)
        self.assertEqual(self.times_made(), 1)
        self.assertEqual(sorted(os.listdir(self.folder)), ["bin", "key", "lock", "make-toolchain.log"])

    def test_makes_them_anew_of_other_sources(self):
        self.add_archive()
        self.make()
        self.add_archive(CONFIGURE + "# other\n")
        self.make()
        self.assertEqual(self.times_made(), 2)

    def test_makes_them_anew_where_they_do_not_start(self):
        self.add_archive()
        self.make()
        os.remove(os.path.join(self.folder, "bin", "arm-mingw32ce-ld"))
        self.make()
        self.assertEqual(self.times_made(), 2)

    def test_says_which_package_is_missing(self):
        for sources in (self.sources, self.path("nowhere")):
            result = subprocess.run([SCRIPT, self.folder, sources], stderr=subprocess.PIPE, text=True)
            self.assertEqual(result.returncode, 1)
            self.assertIn("binutils-source", result.stderr)

    def test_shows_what_went_wrong_and_keeps_nothing(self):
        self.add_archive("#!/bin/sh\necho no compiler here\nexit 1\n")
        result = self.make()
        self.assertEqual(result.returncode, 1)
        self.assertIn("no compiler here", result.stderr)
        self.assertEqual(sorted(os.listdir(self.folder)), ["lock", "make-toolchain.log"])

    def test_what_an_interruption_has_left_is_not_used(self):
        self.add_archive()
        self.make()
        # Other sources, killed on the way; and then the first ones again, which the tools no longer are.
        self.add_archive(CONFIGURE + "# other\n")
        os.mkfifo(self.path("stuck"))
        os.mkfifo(self.path("ready"))
        process = subprocess.Popen([SCRIPT, self.folder, self.sources], stderr=subprocess.DEVNULL, start_new_session=True)
        with open(self.path("ready"), encoding="utf-8") as file:
            file.read()
        os.killpg(process.pid, signal.SIGKILL)
        process.wait()
        self.assertEqual(self.times_made(), 2)
        self.assertTrue(os.path.exists(os.path.join(self.folder, "bin", "arm-mingw32ce-ld")))
        os.remove(self.path("stuck"))
        self.add_archive()
        self.assertEqual(self.make().returncode, 0)
        self.assertEqual(self.times_made(), 3)
        self.assertEqual(sorted(os.listdir(self.folder)), ["bin", "key", "lock", "make-toolchain.log"])


if __name__ == "__main__":
    unittest.main()
