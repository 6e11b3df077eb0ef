"""The program's screen, on a terminal that tmux makes: what is typed, and what stands on it.

Each Screen has a tmux server of its own, on a device of the lab, with a socket in the device's folder. The server dies
with the test's process, and the program with its terminal.
"""

import os
import re
import signal
import socket
import subprocess

import lab

RELEASE = 3  # of any button of the mouse
STATE = re.compile(r"^ *((silent|partial|degraded) )?\d+(:\d\d)+(?= )")
ROUND_TRIPS = re.compile(r" [0-9.]+ m?s \([0-9.]+ m?s\)$")


class Screen:
    """The program under test in a window of that size, started by a shell that tells of the terminal before and after."""

    def __init__(self, device, *arguments, width=80, height=24, environment=None, shell=None, input_from=None):
        self.device = device
        self.width, self.height = width, height
        self.is_to_crash = False
        number = sum(name.startswith("screen-") for name in os.listdir(device.folder))
        self.folder = os.path.join(device.folder, f"screen-{number}")
        os.makedirs(self.folder)
        self.socket = os.path.join(self.folder, "tmux")
        self.settings = os.path.join(self.folder, "tmux.conf")
        with open(self.settings, "w", encoding="ascii") as file:
            file.write("set -g remain-on-exit on\nset -g default-terminal tmux-256color\nset -s exit-empty off\n"
                       "set -g history-limit 0\nset -s escape-time 0\nset -g status off\n")
        variables = {name: value for name, value in os.environ.items()
                     if not name.startswith(("XDG_", "TMUX", "LC_")) and name not in ("NO_COLOR", "LINES", "COLUMNS")}
        variables.update(VANTIRO_REGISTRY_DIR=device.registry_folder, HOME=device.folder, TZ="UTC", LANG="C.UTF-8",
                         SHELL="/bin/sh")
        variables.update(environment or {})
        # The same name as in lab.Program; the kernel ends the server with the test.
        launcher = ["unshare", "--uts", "sh", "-c",
                    'hostname "$0" && exec setpriv --pdeathsig KILL env --default-signal=HUP "$@"', device.name]
        with device.inside():
            self.server = subprocess.Popen([*launcher, "tmux", "-D", "-u", "-S", self.socket, "-f", self.settings],
                                           cwd=device.folder, env=variables, stdin=subprocess.DEVNULL)
        lab.eventually(self._server_listens, lab.PATIENCE, "tmux is up")
        command = shell or self._shell_command(arguments, input_from)
        self._tmux("new-session", "-d", "-x", str(width), "-y", str(height), "-c", device.folder, command)

    def _shell_command(self, arguments, input_from):
        """Runs the program and leaves what the terminal was like before and after, its status, and what it said."""
        script = os.path.join(self.folder, "run.sh")
        quoted = " ".join("'" + str(argument).replace("'", "'\\''") + "'" for argument in arguments)
        redirection = f"< {input_from}" if input_from else ""
        with open(script, "w", encoding="utf-8") as file:
            # The shell outlives the keys that end the program, and stays: the terminal of a window without a process is
            # another one.
            file.write(f"trap : INT QUIT\ncd {self.device.folder}\nstty -a > {self.folder}/before\n"
                       f"sh -c 'echo $$ > {self.folder}/pid; exec \"$@\"' sh {lab.program_path()} {quoted} "
                       f"2> {self.folder}/errors {redirection}\n"
                       f"echo $? > {self.folder}/status.new\nstty -a > {self.folder}/after\n"
                       f"mv {self.folder}/status.new {self.folder}/status\nexec cat\n")
        return f"exec sh {script}"

    # --- tmux

    def _server_listens(self):
        """A client that comes between the making of the socket and that would start a server of its own, elsewhere."""
        with socket.socket(socket.AF_UNIX) as client:
            return client.connect_ex(self.socket) == 0

    def _tmux(self, *arguments):
        result = subprocess.run(["tmux", "-S", self.socket, *arguments], stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                text=True, encoding="utf-8", timeout=lab.PATIENCE, check=False)
        if result.returncode != 0:
            raise AssertionError(f"tmux {arguments}: {result.stderr}")
        return result.stdout

    def keys(self, *keys):
        """Presses keys by tmux's names: "s", "Enter", "Escape", "PPage", "C-c" ..."""
        self._tmux("send-keys", *keys)

    def type(self, text):
        self._tmux("send-keys", "-l", text)

    def click(self, column, line, button=0):
        """Presses a button of the mouse there and lets go; columns and lines from 0; buttons 64 and 65 are the wheel."""
        self._send_mouse(button, column, line)
        if button < 64:
            self._send_mouse(RELEASE, column, line)

    def _send_mouse(self, button, column, line):
        # As terminals of that description tell it: the button, the column and the line from 1, plus 32 each.
        self._tmux("send-keys", "-H", "1b", "5b", "4d", f"{32 + button:x}", f"{33 + column:x}", f"{33 + line:x}")

    def click_text(self, text):
        line, column = next((number, line.index(text)) for number, line in enumerate(self.lines()) if text in line)
        self.click(column, line)

    def resize(self, width, height):
        self.width, self.height = width, height
        self._tmux("resize-window", "-x", str(width), "-y", str(height))

    def lines(self, attributes=False):
        """What stands on the screen, line by line; without blanks at the end, or with attributes as escape sequences."""
        if attributes:
            return self._tmux("capture-pane", "-p", "-e", "-N").split("\n")[:-1]
        return [line.rstrip() for line in self._tmux("capture-pane", "-p").split("\n")[:-1]]

    def text(self):
        return "\n".join(self.lines())

    def state(self, variable):
        """A variable of tmux about the terminal: alternate_on, cursor_flag, mouse_any_flag, keypad_flag ..."""
        return self._tmux("display-message", "-p", "#{" + variable + "}").strip()

    def modes(self):
        return tuple(self.state(name) for name in ("alternate_on", "cursor_flag", "mouse_any_flag", "keypad_flag"))

    # --- Waiting

    def wait_until(self, condition, what):
        """Until condition(lines) is true; its value."""
        return lab.eventually(lambda: condition(self.lines()), lab.PATIENCE,
                              lambda: f"{what}; the screen is\n{self.text()}\n{self.errors()}", every=0.1)

    def wait_for(self, *texts):
        """Until all of these stand on the screen."""
        return self.wait_until(lambda lines: all(any(text in line for line in lines) for text in texts), repr(texts))

    def wait_without(self, *texts):
        return self.wait_until(lambda lines: not any(text in line for line in lines for text in texts),
                               f"without {texts!r}")

    def wait_for_row(self, label, condition=lambda cells: True):
        """The mark and the other cells of a row, once all of them are filled and meet the condition.

        A peer's state, which may stand behind its label, is no cell, nor are the round-trip times of a wide screen.
        """
        def look(lines):
            for line in lines:
                mark, rest = line[:2], line[2:]
                cells = ROUND_TRIPS.sub("", STATE.sub("", rest[len(label):], count=1)).split()
                if rest.startswith(label) and len(cells) == 5 and condition(cells):
                    return (mark.strip(), *cells)
            return None
        return self.wait_until(look, f"row {label!r}")

    def wait_until_ready(self):
        """Until a test can be started."""
        self.wait_for("stopped  log")

    def start_test(self):
        self.wait_until_ready()
        self.keys("s")
        self.wait_for("running  test")

    # --- The program's life

    def _read(self, name):
        try:
            with open(os.path.join(self.folder, name), encoding="utf-8", errors="replace") as file:
                return file.read()
        except FileNotFoundError:
            return ""

    def pid(self):
        lab.eventually(lambda: self._read("pid").strip(), lab.PATIENCE, "the program is started")
        return int(self._read("pid"))

    def signal(self, number):
        os.kill(self.pid(), number)

    def process_state(self):
        """One letter: "T" is stopped."""
        with open(f"/proc/{self.pid()}/stat", encoding="ascii", errors="replace") as file:
            return file.read().rpartition(")")[2].split()[0]

    def processor_seconds(self):
        with open(f"/proc/{self.pid()}/stat", encoding="ascii", errors="replace") as file:
            fields = file.read().rpartition(")")[2].split()
        return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")

    def errors(self):
        return self._read("errors")

    def wait(self):
        """Until the program and its shell are through; the exit status that the shell saw."""
        lab.eventually(lambda: self._read("status"), lab.PATIENCE, lambda: f"the end of\n{self.text()}", every=0.1)
        return int(self._read("status"))

    def terminal_before(self):
        return self._read("before")

    def terminal_after(self):
        return self._read("after")

    def close(self):
        self.server.send_signal(signal.SIGKILL)
        self.server.wait()

    def defects(self):
        """Lines of the program's standard error that tell of a defect, unless the test has made it crash."""
        if self.is_to_crash:
            return []
        return [line for line in self.errors().split("\n") if lab.DEFECTS.search(line)]


class ScreenTest(lab.SystemTest):
    """Base of the tests of the screen: a device with a screen, and others beside it."""

    def setUp(self):
        super().setUp()
        self.device = self.lab.device("pocket1")
        self.device.configure("tcpip", "udp", "ping")

    def open(self, *arguments, on=None, **more):
        screen = Screen(on or self.device, *arguments, **more)
        self.addCleanup(self._close, screen)
        return screen

    def _close(self, screen):
        screen.close()
        self.assertEqual(screen.defects(), [])

    def assert_terminal_is_as_before(self, screen):
        self.assertEqual(screen.terminal_after(), screen.terminal_before())
        # What the program has written last may still be on its way to tmux.
        screen.wait_until(lambda _: screen.modes() == ("0", "1", "0", "0"), "the terminal's modes of before")
