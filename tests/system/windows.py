"""Windows programs on a lab's device: Wine with a screen and a registry of its own, and hands to use the windows with."""

import contextlib
import os
import re
import select
import shutil
import subprocess
import time
import unittest

import lab

TOOLS = os.path.join(os.path.dirname(__file__), "..", "..", "tools")
RUN_WINE = os.path.abspath(os.path.join(TOOLS, "run-wine"))

# Controls and keys, by the numbers that the program gives them.
START, RESET, LOG, STOP, PEERS, ADD_IP, INFO = 1000, 1002, 1003, 1004, 1042, 1047, 1048
OCTETS, PEER_NAME = (1044, 1047, 1048, 1049), 1046
LOCAL_INFO = 1049
OK, CANCEL = 1, 2
TAB, RETURN, ESCAPE, SPACE = 0x09, 0x0D, 0x1B, 0x20

# What run-wine answers where its Wine cannot be had.
CANNOT_RUN = 77
# In a journal of the handheld's host.
DEFECTS = re.compile(r"\] (FAULT|FORMAT|IMPORT|PATH|LOADER) ")


def program_path():
    return os.environ["LINKOMETRY_WINDOWS_PROGRAM"]


def build_folder():
    return os.path.dirname(program_path())


class Build:
    """A build folder with the program, the driver and Wine's files for them."""

    def __init__(self, folder):
        self.folder = folder
        self.program = os.path.join(folder, "linkometry.exe")
        self.driver = os.path.join(folder, "tests", "system", "window-driver.exe")
        # There the program is the host of the handheld's, of 32 bits.
        self.is_handheld = os.path.exists(os.path.join(folder, "linkometry.arm"))
        # The builds for a handheld have no thread to spare for a ping that a stop leaves.
        self.leaves_pings = not os.path.basename(folder).startswith("windows-ce")

    def run_wine(self, prefix, *arguments):
        """(the command that runs Wine with these files, its environment)"""
        environment = dict(os.environ)
        if not self.is_handheld:
            environment.pop("LINKOMETRY_WINE_ROOT", None)
        return [RUN_WINE, prefix, *arguments], environment

    def call_wine(self, prefix, *arguments):
        command, environment = self.run_wine(prefix, *arguments)
        status = subprocess.run(command, env=environment, stdin=subprocess.DEVNULL, check=False).returncode
        if status == CANNOT_RUN:
            raise unittest.SkipTest("there is no 32-bit Wine (tools/windows-ce/make-wine-root)")
        if status != 0:
            raise AssertionError(f"{command} ended with {status}")

    def prepared_prefix(self):
        """Wine's files as they are after their first start, which takes too long for every test; nothing runs there."""
        prefix = os.path.join(self.folder, "wine-original")
        self.call_wine(prefix, "--here")
        return prefix


class WindowsDevice:
    """A device of the lab that runs Windows programs, with these settings and named peers (name: address) from the start.
    Close it before the lab.

    Another build's folder may be named than that of the test. `handheld` are words for the host of the handheld's program
    (tests/windows-ce/host); without any it poses as a desktop, whose files have drives.
    """

    def __init__(self, device, settings=None, build=None, handheld="desktop,drives,noaygshell", peers=None):
        self.device = device
        self.build = Build(build or build_folder())
        self.handheld = handheld
        self.prefix = os.path.join(device.folder, "wine")
        self._copy_files(self.build.prepared_prefix())
        self._set_up_user(settings or {}, peers or {})
        self._processes = []
        self._programs = []
        self.screen = self._start_screen()
        self.driver = self._start_driver()

    def _copy_files(self, original):
        """The many files of Windows itself are shared. The registry's are not: Wine does not replace a file that has a
        second name but writes into it, so that each test would write into those of all others."""
        os.mkdir(self.prefix)
        for entry in os.scandir(original):
            if entry.is_dir():
                if entry.name != "run":
                    subprocess.run(["cp", "-al", entry.path, self.prefix], check=True)
            else:
                shutil.copy2(entry.path, self.prefix)

    def _set_up_user(self, settings, peers):
        """Without a window manager Wine itself must draw captions and frames. And it is to be a Windows of today, which
        poses as an older one to programs that do not name it."""
        path = os.path.join(self.prefix, "user.reg")
        with open(path, encoding="utf-8", newline="") as file:
            text = file.read()
        os.remove(path)
        with open(path, "w", encoding="utf-8", newline="") as file:
            file.write(text + '\n[Software\\\\Wine\\\\X11 Driver]\n"Managed"="N"\n'
                       '\n[Software\\\\Wine]\n"Version"="win10"\n')
            key = r"Software\\Vantiro Networks\\Vantiro Diagnostic"
            for name, values in ((key, settings), (key + r"\\Named-IP-Addresses", peers)):
                if values:
                    file.write(f"\n[{name}]\n" + "".join(f'"{name}"="{lab.escaped(text)}"\n'
                                                         for name, text in values.items()))

    def _start_screen(self):
        # Each network namespace has a screen 0 of its own; what its server has in the file system, a socket and for a
        # moment the map of the keyboard, would be that of all of them.
        read, write = os.pipe()
        log = os.path.join(self.device.folder, "screen.log")
        with self.device.inside(), open(log, "wb") as output:
            self._processes.append(subprocess.Popen(
                ["setpriv", "--pdeathsig", "KILL", "unshare", "--mount", "sh", "-c",
                 'for folder in /tmp /var/lib/xkb; do mount -t tmpfs none $folder || exit; done; exec "$0" "$@"',
                 "Xvfb", "-displayfd", str(write), "-nolisten", "unix", "-screen", "0", "900x480x24"],
                pass_fds=[write], stdin=subprocess.DEVNULL, stdout=output, stderr=output))
        os.close(write)
        with os.fdopen(read) as number:
            if not select.select([number], [], [], lab.PATIENCE)[0]:
                raise AssertionError(f"there is no screen within {lab.PATIENCE} s")
            display = number.readline().strip()
        if not display:
            with open(log, encoding="utf-8", errors="replace") as file:
                raise AssertionError("there is no screen: " + file.read())
        return ":" + display

    def _start_driver(self):
        """On a very busy machine Wine now and then hangs while it comes up, or comes up without its desktop, on which no
        program can make a window. It is then started once more."""
        for _ in range(2):
            driver = self._run(self.build.driver, stdin=subprocess.PIPE, stdout=subprocess.PIPE)
            driver.stdin.write("listen\n")
            driver.stdin.flush()
            if select.select([driver.stdout], [], [], 60)[0] and driver.stdout.readline() not in ("", "0\n"):
                return driver
            driver.kill()
            driver.wait()
            self._end_wine()
        raise AssertionError("Wine does not come up")

    def _end_wine(self):
        self.build.call_wine(self.prefix, "--end")

    def _run(self, program, *arguments, **streams):
        """A process of this machine that is a Windows program in the folder C:\\."""
        command, environment = self.build.run_wine(self.prefix, "--here", program, *arguments)
        environment.update(DISPLAY=self.screen, TZ="UTC")
        options = dict(stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        options.update(streams)
        with self.device.inside():
            process = subprocess.Popen(["unshare", "--uts", "sh", "-c", 'hostname "$0" && exec "$@"', self.device.name,
                                        *command], env=environment, text=True, **options)
        self._processes.append(process)
        return process

    def start(self, *arguments, program=None, **variables):
        """Starts linkometry.exe, or that program, in the folder C:\\, with these variables for the handheld's host. Wine's
        server kills a process that takes long to end after it has done so as a program of Windows; only other such
        programs hear what it said."""
        journal = None
        if self.build.is_handheld:
            journal = os.path.join(self.device.folder, f"journal-{len(self._programs)}")
            host = dict(CE_OPTS=self.handheld, CE_ROOT="C:", CE_LOG="Z:" + journal, CE_FAIL="", CE_THREADS="", CE_PROGRAM="")
            host.update(variables)
            for name, value in host.items():
                self.ask("set", name, value)
        path = "Z:" + (program or self.build.program).replace("/", "\\")
        program = Program(self, self.ask("start", subprocess.list2cmdline([path, *arguments])), journal)
        self._programs.append(program)
        return program

    def path(self, name):
        """Where the file C:\\name is."""
        return os.path.join(self.prefix, "drive_c", name)

    def read(self, name):
        with open(self.path(name), encoding="utf-8", newline="") as file:
            return file.read()

    def log_lines(self):
        """The lines of the test log so far, without their line ends."""
        if not os.path.exists(self.path("VantiroDiagnostics.txt")):
            return []
        return self.read("VantiroDiagnostics.txt").split("\r\n")[:-1]

    def log_texts(self):
        """The same without the header and the times."""
        return [line[9:] for line in self.log_lines()[6:]]

    def wait_for_log_text(self, text):
        """Until the log has that line; the program writes it a moment after it has happened."""
        lab.eventually(lambda: text in self.log_texts(), 60, lambda: f"{text!r} in {self.log_texts()[-20:]}", every=0.1)

    def registry(self, key):
        """The text values of a key of the current user."""
        tool = os.path.join(self.prefix, "drive_c", "windows", "system32", "reg.exe")
        process = self._run(tool, "query", key, stdout=subprocess.PIPE)
        output, _ = process.communicate(timeout=60)
        values = {}
        for line in output.splitlines():
            name, kind, value = (line.strip().split("    ") + ["", ""])[:3]
            if kind == "REG_SZ":
                values[name] = value
        return values

    def ask(self, *words):
        """One command to the driver; its answer."""
        self.driver.stdin.write(" ".join(str(word) for word in words) + "\n")
        self.driver.stdin.flush()
        if not select.select([self.driver.stdout], [], [], 60)[0]:
            raise AssertionError(f"no answer within 60 s to {words}")
        return self.driver.stdout.readline().rstrip("\n")

    def colours(self, name, left, top, width, height):
        """The colours in that part of the screen, such as "#00C000"; its picture is kept as well."""
        self.picture(name)
        place = os.path.join(build_folder(), "screenshots", name + ".png")
        histogram = subprocess.run(["convert", place, "-crop", f"{width}x{height}+{left}+{top}", "-format", "%c",
                                    "histogram:info:"], check=True, capture_output=True, text=True).stdout
        return set(re.findall(r"#[0-9A-F]{6}", histogram))

    def picture(self, name):
        """What the screen shows, kept in the build folder."""
        time.sleep(0.5)  # what has changed is drawn a moment later; no test depends on the picture
        folder = os.path.join(build_folder(), "screenshots")
        os.makedirs(folder, exist_ok=True)
        with self.device.inside():
            subprocess.run(["import", "-display", self.screen, "-window", "root", os.path.join(folder, name + ".png")],
                           check=True)

    def window(self, caption="", within=60):
        """The dialog whose caption holds that text; without one, the one without a caption."""
        def explanation():
            self.picture("missing-window")
            return f"a window {caption!r}; the programs: {[str(program) for program in self._programs]}"
        handle = lab.eventually(lambda: int(self.ask("find", caption)), within, explanation, every=0.1)
        return Window(self, handle)

    def windows(self, caption):
        """All dialogs whose captions hold that text."""
        return [Window(self, int(handle)) for handle in self.ask("all", caption).split()]

    def has_window(self, caption=""):
        return self.ask("find", caption) != "0"

    def close(self):
        self.driver.stdin.close()
        self._end_wine()
        for process in self._processes:
            process.kill()
            process.wait()
        shutil.rmtree(self.prefix)
        defects = [line for program in self._programs for line in program.defects()]
        if defects:
            raise AssertionError("\n".join(defects))


class Program:
    """A Windows program that was started."""

    def __init__(self, owner, handle, journal):
        assert handle != "0", "the program cannot be started"
        self.owner = owner
        self.handle = handle
        self._journal = journal

    def __str__(self):
        return "\n".join([self.status(), *self.journal()[-60:]])

    def journal(self):
        """What the handheld's host has told so far; nothing of a program without one."""
        if self._journal is None or not os.path.exists(self._journal):
            return []
        with open(self._journal, encoding="utf-8", errors="replace") as file:
            return file.read().splitlines()

    def take_journal(self):
        """The same for a test that expects defects in it."""
        lines = self.journal()
        self._journal = None
        return lines

    def defects(self):
        """What a device would not have forgiven, and what the host does not know."""
        lines = self.journal()
        first = next((number for number, line in enumerate(lines) if DEFECTS.search(line)), len(lines))
        return lines[first:first + 30]

    def status(self):
        """The exit status, or "running"."""
        return self.owner.ask("status", self.handle)

    def process_id(self):
        """This machine's number of the process; there is one program of that name on the device."""
        prefix = b"WINEPREFIX=" + os.fsencode(self.owner.prefix)
        for number in filter(str.isdigit, os.listdir("/proc")):
            with contextlib.suppress(OSError):
                with open(f"/proc/{number}/comm", "rb") as name, open(f"/proc/{number}/environ", "rb") as environment:
                    if name.read().strip() == b"linkometry.exe" and prefix in environment.read().split(b"\0"):
                        return int(number)
        raise AssertionError("the program does not run")

    def kill(self):
        self.owner.ask("kill", self.handle)
        self.exit_status()

    def exit_status(self, within=60):
        lab.eventually(lambda: self.status() != "running", within, "the end of the program", every=0.1)
        return int(self.status())


class Window:
    """A dialog of a Windows program."""

    def __init__(self, owner, handle):
        self.owner = owner
        self.handle = handle

    def ask(self, command, *words):
        return self.owner.ask(command, self.handle, *words)

    def press(self, control):
        self.ask("press", control)

    def key(self, code):
        self.ask("key", code)

    def strike(self, *keys):
        """Keys of the keyboard itself: numbers of keys, or texts of capital letters and digits. They go through the
        system's queue and the window's own loop, to whichever of its controls has the focus."""
        codes = [code for key in keys for code in ([key] if isinstance(key, int) else map(ord, key))]
        for code in codes:
            lab.eventually(lambda: self.ask("strike", code) == "1", 60, "the window is the one in front", every=0.1)

    def focused(self):
        """The control that has the focus; 0 when none has."""
        return int(self.ask("focused"))

    def wait_for_focus(self, control, within=60):
        lab.eventually(lambda: self.focused() == control, within,
                       lambda: f"the focus on control {control}; it is on {self.focused()}", every=0.1)

    def close(self):
        self.ask("close")

    def caption(self):
        return self.ask("caption")

    def text(self, control):
        return self.ask("text", control).replace("\\r", "\r").replace("\\n", "\n")

    def type(self, control, text):
        self.ask("type", control, text)

    def is_enabled(self, control):
        return self.ask("enabled", control) == "1"

    def wait_until_enabled(self, control, within=60):
        lab.eventually(lambda: self.is_enabled(control), within, f"control {control} can be used", every=0.1)

    def cost(self):
        """(handles, threads, bytes) of the window's process."""
        return tuple(int(each) for each in self.ask("cost").split("\t"))

    def place(self, control=0):
        """(left, top, width, height)."""
        return tuple(int(each) for each in self.ask("place", control).split("\t"))

    def rows(self):
        """The texts of the peer list."""
        count = int(self.ask("rows", PEERS))
        return [[self.ask("cell", PEERS, row, column) for column in range(6)] for row in range(count)]

    def row(self, label):
        return next((row for row in self.rows() if row[0] == label), None)

    def wait_for_row(self, label, condition=lambda row: True, within=60):
        def look():
            row = self.row(label)
            return row if row and condition(row) else None
        return lab.eventually(look, within, lambda: f"a row {label!r} among {self.rows()}", every=0.2)

    def is_gone(self):
        return self.ask("exists") == "0"

    def wait_until_gone(self, within=60):
        lab.eventually(self.is_gone, within, "the window is gone", every=0.1)


def received_and_total(cell):
    """The two figures of a cell, which is empty until something was counted."""
    return tuple(int(each) for each in cell.split("/")) if cell else (0, 0)


def pause(seconds):
    """For what has no sign of its own: the time in which something must not happen."""
    time.sleep(seconds)
