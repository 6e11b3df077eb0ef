"""A small network of devices inside the kernel, for tests of the whole program.

A Lab has one or more bridges; each Device is a network namespace with an interface on one or more of them, a host name,
a folder and a registry of its own. Programs are started on a device, and the senders and receivers of traffic.py too.

run.py starts every test in network and mount namespaces that nobody else sees. So names and addresses need not be unique
on the machine, and nothing can be left behind: when the test's last process is gone, by whatever end, so is its
network. Processes started here die with the test's process.

Everything that waits has a limit and fails with what it waited for and the end of the program's standard error.
"""

import contextlib
import ctypes
import json
import os
import pwd
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest

import documents

CLONE_NEWNET = 0x40000000

PROTOCOLS = ("multicast", "tcpip", "udp", "ping")

SETTINGS_KEY = documents.SETTINGS_KEY
PEERS_KEY = SETTINGS_KEY + r"\Named-IP-Addresses"

# Where the program listens unless its settings say otherwise.
PORT = int(documents.default_settings()["port"])
GROUP_PORT = int(documents.default_settings()["multicast port"])

# Whatever a test looks at, none of these may stand in what a program says. 111, no interface, is the one fatal error
# that the program survives.
DEFECTS = re.compile(r"(?:ERROR|WARNING): \w+Sanitizer|runtime error: |[Aa]ssertion failed|"
                     r"Internal Fatal Error(?!: Error \(111\))|"
                     r"terminate called|double free|corrupted")

# How many seconds a test waits at the least for what is bound to happen, so that a slow or busy machine fails none; what
# never happens fails after that time, within the limit of a test.
PATIENCE = 60

_libc = ctypes.CDLL(None, use_errno=True)


class NamespacesRefused(Exception):
    """This machine does not let us make network namespaces; the text says what it refused."""


def enter_namespaces():
    """Starts the running script again in network and mount namespaces of its own; whoever is not root becomes it there.

    Call it before anything else. It returns in the new process alone.
    """
    inside = "LINKOMETRY_LAB"
    if inside in os.environ:
        # `ip netns` keeps its names below /run, which is the machine's; this one is nobody else's.
        subprocess.run(["mount", "-t", "tmpfs", "tmpfs", "/run"], check=True)
        # Names are asked of this device alone; the machine's servers are out of reach, and asking them takes long.
        if os.path.exists("/etc/resolv.conf"):
            subprocess.run(["mount", "--bind", "/dev/null", "/etc/resolv.conf"], check=True)
        return
    as_root = [] if os.geteuid() == 0 else ["--user", "--map-root-user"]
    unshare = ["unshare", *as_root, "--mount", "--net"]
    # Everything that a lab will ask of the kernel, so that its lack shows here and not in the middle of a test.
    try:
        attempt = subprocess.run([*unshare, "--uts", "sh", "-e", "-c",
                                  "mount -t tmpfs tmpfs /run; hostname lab; ip netns add lab; "
                                  "ip link add lab type bridge; ip link add lab0 type veth peer name lab1 netns lab"],
                                 stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True, check=False)
    except FileNotFoundError as missing:
        raise NamespacesRefused(f"there is no {missing.filename}") from None
    if attempt.returncode != 0:
        raise NamespacesRefused(f"network namespaces cannot be made here: {' '.join(attempt.stderr.split())}")
    os.environ[inside] = "entered"
    os.execvp("unshare", [*unshare, sys.executable, *sys.argv])


def program_path():
    """The program under test, of the build that ctest belongs to."""
    return os.environ["LINKOMETRY_PROGRAM"]


def program_is_sanitized():
    """Whether it is a sanitizer's build: then it is some times slower and its memory says nothing."""
    with open(program_path(), "rb") as file:
        return re.search(rb"__[at]san_init", file.read()) is not None


def program_version():
    """The version text that the program announces and logs."""
    output = subprocess.run([program_path(), "-version"], stdout=subprocess.PIPE, text=True, check=True).stdout
    return output.removeprefix("linkometry ").rstrip("\n")


def eventually(condition, within, what, every=0.02):
    """Waits until condition() is true and returns its value; fails after `within` seconds, or PATIENCE if that is more.

    For what is bound to happen, that is; a test that is about the time itself measures it.
    """
    within = max(within, PATIENCE)
    end = time.monotonic() + within
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() >= end:
            raise AssertionError(f"not within {within} s: {what() if callable(what) else what}")
        time.sleep(every)


# The user without any rights, and for Device.start: what makes the program this user, without a right or with the one to
# ping.
NOBODY = pwd.getpwnam("nobody")
AS_NOBODY = ("setpriv", f"--reuid={NOBODY.pw_uid}", f"--regid={NOBODY.pw_gid}", "--clear-groups")
AS_NOBODY_WHO_MAY_PING = (*AS_NOBODY, "--inh-caps=-all,+net_raw", "--ambient-caps=-all,+net_raw",
                          "--bounding-set=-all,+net_raw")


def give_to_nobody(*paths):
    for path in paths:
        os.chown(path, NOBODY.pw_uid, NOBODY.pw_gid)


def counts(row, protocol):
    """What the peer list counts of that protocol, of a row of JSON."""
    return {name: row[protocol][name] for name in ("received", "total", "lost")}


def without_leak_search():
    """For Device.start: a sanitizer's search for leaks traces the program, which nobody may who has become another user."""
    return ("env", "ASAN_OPTIONS=" + os.environ.get("ASAN_OPTIONS", "") + ":detect_leaks=0")


def take_precedence():
    """Asks the kernel to prefer this process and all that it starts, for tests in which nothing may be late. A kernel that does
    not grant it is no reason to fail."""
    with contextlib.suppress(PermissionError):
        os.setpriority(os.PRIO_PROCESS, 0, -10)


def ip(*commands):
    """Runs `ip` with each of the command lines, in the calling thread's network namespace."""
    result = subprocess.run(["ip", "-batch", "-"], input="\n".join(commands) + "\n", stdout=subprocess.PIPE,
                            stderr=subprocess.STDOUT, text=True, check=False)
    if result.returncode != 0:
        raise OSError(f"ip {commands}: {result.stdout}")


def link(interface):
    """What `ip` tells of an interface in the calling thread's network namespace."""
    result = subprocess.run(["ip", "-json", "-details", "link", "show", "dev", interface], stdout=subprocess.PIPE,
                            text=True, check=True)
    return json.loads(result.stdout)[0]


class Lab:
    """The networks 10.77.0.0/24, 10.78.0.0/24 ... with their devices. Close it, or use it in a `with`."""

    def __init__(self):
        self.folder = tempfile.mkdtemp(prefix="linkometry-lab-")
        self.devices = []
        self.networks = []
        self._own_namespace = os.open("/proc/thread-self/ns/net", os.O_RDONLY)
        ip("link set lo up")
        self.add_network()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def add_network(self):
        """One more bridge; its number is what Device.join takes. The test's own process is .254 on each."""
        number = len(self.networks)
        bridge = f"bridge{number}"
        # Without snooping, multicast reaches every port at once, as on the plain switches of small networks.
        ip(f"link add {bridge} type bridge mcast_snooping 0 stp_state 0 forward_delay 0",
           f"address add 10.{77 + number}.0.254/24 brd + dev {bridge}",
           f"link set {bridge} up")
        self.networks.append(bridge)
        return number

    def device(self, name):
        """A new device on network 0: the first is 10.77.0.1, the second 10.77.0.2 ..."""
        device = Device(self, name, len(self.devices) + 1)
        self.devices.append(device)
        return device

    def devices_named(self, *names):
        return [self.device(name) for name in names]

    def close(self):
        """Ends all programs, removes the network and the folder, and then fails if a program told of a defect."""
        defects = []
        for device in self.devices:
            for program in device.programs:
                program.kill()
                defects += program.defects()
        for device in self.devices:
            device.remove()
        for bridge in self.networks:
            ip(f"link delete {bridge}")
        os.close(self._own_namespace)
        if defects:
            raise AssertionError("\n".join(defects) + f"\n(the programs' folders are kept in {self.folder})")
        shutil.rmtree(self.folder)

    @contextlib.contextmanager
    def inside(self, namespace):
        """The calling thread is in that namespace; sockets made and processes started meanwhile stay there."""
        descriptor = os.open(f"/run/netns/{namespace}", os.O_RDONLY)
        try:
            if _libc.setns(descriptor, CLONE_NEWNET) != 0:
                raise OSError(ctypes.get_errno(), "setns")
            yield
        finally:
            os.close(descriptor)
            if _libc.setns(self._own_namespace, CLONE_NEWNET) != 0:
                raise OSError(ctypes.get_errno(), "setns")


class Device:
    """One device: a namespace with eth0 on network 0, a folder and a registry. Made by Lab.device."""

    def __init__(self, lab, name, number):
        self.lab = lab
        self.name = name
        self.number = number
        self.folder = os.path.join(lab.folder, name)
        self.registry_folder = os.path.join(self.folder, "registry")
        self.addresses = []
        self.programs = []
        os.makedirs(self.registry_folder)
        ip(f"netns add {name}")
        with self.inside():
            ip("link set lo up")
            self.set_kernel_parameter("net.ipv6.conf.all.disable_ipv6", "1", optional=True)
        self.join(0)
        with self.inside():
            ip("route add default via 10.77.0.254")

    @property
    def address(self):
        return self.addresses[0]

    def inside(self):
        return self.lab.inside(self.name)

    def join(self, network):
        """An interface on that network, eth0 for the first, with the address 10.(77 + network).0.number."""
        interface = f"eth{len(self.addresses)}"
        address = f"10.{77 + network}.0.{self.number}"
        self.addresses.append(address)
        self._insert(interface, network, address)
        return interface

    def reseat(self, interface, network):
        """Takes an interface out and puts it back at once, with the same address and another index."""
        ip(f"link delete {self._port(interface)}")
        self._insert(interface, network, self.addresses[network])

    def _insert(self, interface, network, address):
        ip(f"link add {self._port(interface)} type veth peer name {interface} netns {self.name}",
           f"link set {self._port(interface)} master {self.lab.networks[network]} up")
        with self.inside():
            ip(f"address add {address}/24 brd + dev {interface}", f"link set {interface} up")
        # The kernel notices some time later that the cable is plugged in, and drops what is sent until then.
        eventually(lambda: self._is_connected(interface), PATIENCE, f"{self.name}'s {interface} is connected")

    def _is_connected(self, interface):
        port = link(self._port(interface))
        with self.inside():
            state = link(interface)["operstate"]
        return (state, port["operstate"], port["linkinfo"]["info_slave_data"]["state"]) == ("UP", "UP", "forwarding")

    def unplug(self, interface="eth0"):
        """Pulls the cable at the bridge's end; the device keeps its interface and address."""
        ip(f"link set {self._port(interface)} down")

    def plug(self, interface="eth0"):
        ip(f"link set {self._port(interface)} up")

    def set_kernel_parameter(self, name, value, optional=False):
        """A network parameter (net.*) of this device alone."""
        path = os.path.join("/proc/sys", *name.split("."))
        with self.inside():
            if optional and not os.path.exists(path):
                return
            with open(path, "w", encoding="ascii") as file:
                file.write(value)

    def remove(self):
        # The kernel takes a namespace's interfaces away some time after it; the next lab wants their names now.
        ip(*(f"link delete {self._port(f'eth{number}')}" for number in range(len(self.addresses))),
           f"netns delete {self.name}")

    # --- The registry

    @property
    def hive_path(self):
        return os.path.join(self.registry_folder, "HKEY_CURRENT_USER.reg")

    def write_settings(self, settings=None, peers=None, **more):
        """A current-user hive with these settings (by value name; more: blanks as underscores) and named peers."""
        values = dict(settings or {}, **{name.replace("_", " "): text for name, text in more.items()})
        keys = {SETTINGS_KEY: values, PEERS_KEY: peers or {}}
        self.write_hive(hive_text(keys))

    def configure(self, *protocols, period=200, peers=None, **more):
        """A hive for a test of these protocols alone ("udp", "tcpip", "multicast", "ping"), with that period in ms."""
        settings = {f"{each} selected": "yes" if each in protocols else "no" for each in PROTOCOLS}
        settings.update({"frequency qty": str(period), "frequency units": "milliseconds"})
        self.write_settings(settings, peers, **more)

    def write_hive(self, text):
        """As somebody leaves a hive who wrote it a minute ago: a program waits before it replaces a younger one."""
        with open(self.hive_path, "w", encoding="utf-8", newline="") as file:
            file.write(text)
        then = time.time() - 60
        os.utime(self.hive_path, (then, then))

    def read_hive(self):
        with open(self.hive_path, encoding="utf-8", newline="") as file:
            return file.read()

    # --- Programs

    def run(self, *command, within=PATIENCE):
        """Runs any command on the device to its end and returns its subprocess.CompletedProcess."""
        with self.inside():
            return subprocess.run(command, cwd=self.folder, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                  stderr=subprocess.PIPE, text=True, timeout=within, check=False)

    def start(self, *arguments, through=()):
        """Starts the program under test with these arguments; `through` is a command that in turn starts it."""
        program = Program(self, [str(argument) for argument in arguments], through)
        self.programs.append(program)
        return program

    def measure(self, *arguments, every=0.25, through=()):
        """Starts a headless test that prints its rows as JSON that often; what to expect of it: Program."""
        return self.start("-headless", "-format", "json", "-interval", every, *arguments, through=through)

    def is_listening(self, port=PORT, transport="udp"):
        """Whether anybody on the device receives at that port of "udp" or "tcp"."""
        sockets = self.run("ss", "-Hln", f"--{transport}").stdout.splitlines()
        return any(line.split()[3].endswith(f":{port}") for line in sockets)

    def wait_until_listening(self, port=PORT, transport="udp"):
        eventually(lambda: self.is_listening(port, transport), PATIENCE,
                   lambda: f"the {transport} port {port} is listened at by {self.programs[-1]}")

    def wait_until_hearing(self, protocol):
        """Until the program receives probes of that protocol."""
        port = GROUP_PORT if protocol == "multicast" else PORT
        self.wait_until_listening(port, "tcp" if protocol == "tcpip" else "udp")

    def wait_until_read(self, *senders):
        """Until the program has read all that these devices have sent it over connections."""
        def waiting():
            # The receive queues here, and what has not been acknowledged there.
            queues = [(self, 1), *((sender, 2) for sender in senders)]
            return [line for device, column in queues for line in device.run("ss", "-Htan").stdout.splitlines()
                    if (device is self or line.split()[0] != "LISTEN") and line.split()[column] != "0"]
        eventually(lambda: not waiting(), PATIENCE, lambda: f"everything is read: {waiting()}", every=0.1)

    # --- The log

    @property
    def log_path(self):
        return os.path.join(self.folder, "VantiroDiagnostics.txt")

    def log_lines(self):
        """The lines of the test log so far, without their line ends; no lines while there is no file."""
        try:
            with open(self.log_path, encoding="utf-8", newline="") as file:
                return file.read().split("\r\n")[:-1]
        except FileNotFoundError:
            return []

    def wait_for_log_line(self, pattern, within=10):
        """The first log line in which the regular expression is found."""
        def look():
            return next((line for line in self.log_lines() if re.search(pattern, line)), None)
        return eventually(look, within, lambda: f"a log line with {pattern!r} in\n" + "\n".join(self.log_lines()[-40:]))

    def _port(self, interface):
        return f"{self.name}-{interface[3:]}"


class Program:
    """A run of the program under test. Its output goes to files, so that it never waits for its reader."""

    def __init__(self, device, arguments, through=()):
        self.device = device
        self.arguments = arguments
        self._killed = False
        number = len(device.programs)
        self.output_path = os.path.join(device.folder, f"output-{number}")
        self.error_path = os.path.join(device.folder, f"error-{number}")
        environment = {name: value for name, value in os.environ.items() if not name.startswith("XDG_")}
        environment.update(VANTIRO_REGISTRY_DIR=device.registry_folder, HOME=device.folder, TZ="UTC", LANG="C.UTF-8")
        # A host name of its own for each device; all signals obeyed, though the tests may run under nohup or in a
        # script's background; no terminal, though the tests may have one. The shell and the rest become the program,
        # they do not stay.
        launcher = ["unshare", "--uts", "sh", "-c",
                    'hostname "$0" && exec setpriv --pdeathsig KILL env --default-signal "$@"', device.name]
        with open(self.output_path, "wb") as output, open(self.error_path, "wb") as error, device.inside():
            self.process = subprocess.Popen([*launcher, *through, program_path(), *arguments], cwd=device.folder,
                                            env=environment, stdin=subprocess.DEVNULL, stdout=output, stderr=error,
                                            start_new_session=True)

    # --- Its life

    def signal(self, number):
        self.process.send_signal(number)

    def wait(self, within=PATIENCE):
        """Waits for the program's own end; the exit status."""
        try:
            return self.process.wait(within)
        except subprocess.TimeoutExpired:
            raise AssertionError(f"did not end within {within} s: {self}") from None

    def child(self):
        """The number of the program's own process, where `through` stays and has started it in turn."""
        def look():
            with open(f"/proc/{self.process.pid}/task/{self.process.pid}/children", encoding="ascii") as file:
                for number in file.read().split():
                    # One that prepares something may be gone by now.
                    with contextlib.suppress(OSError):
                        if os.path.samefile(f"/proc/{number}/exe", program_path()):
                            return int(number)
            return None
        return eventually(look, 20, lambda: f"the program is started by {self}")

    def stop(self, within=PATIENCE):
        """Asks for the end with SIGTERM; the exit status."""
        self.signal(signal.SIGTERM)
        return self.wait(within)

    def kill(self):
        """Ends it at once, as a power failure would."""
        if self.process.poll() is None:
            self._killed = True
            self.process.kill()
            self.process.wait()

    def kill_was_sent(self):
        """The test has ended it by a signal; so its end by one is no defect."""
        self._killed = True

    def is_running(self):
        return self.process.poll() is None

    # --- What it says

    def output(self):
        with open(self.output_path, encoding="utf-8") as file:
            return file.read()

    def errors(self):
        with open(self.error_path, encoding="utf-8", errors="replace") as file:
            return file.read()

    def rows(self):
        """All JSON rows so far, in order."""
        lines = self.output().split("\n")[:-1]
        return [json.loads(line) for line in lines if line]

    def row(self, address):
        """The newest row of that address, or None."""
        return next((row for row in reversed(self.rows()) if row["address"] == address), None)

    def final_rows(self):
        """The rows of the last snapshot of the ended run, by address."""
        return {row["address"]: row for row in self.rows() if row.get("final")}

    def wait_for_row(self, address, condition=lambda row: True, within=15):
        """The first newest row of that address that meets the condition."""
        def look():
            row = self.row(address)
            return row if row and condition(row) else None
        return eventually(look, within, lambda: f"row {address}, last seen {self.row(address)}, of {self}", every=0.05)

    def defects(self):
        """What must never happen: sanitizer findings, failed assertions, an end by a signal that nobody sent."""
        found = [f"{self.device.name}: {line}" for line in self.errors().split("\n") if DEFECTS.search(line)]
        status = self.process.returncode
        if status is not None and status < 0 and not self._killed:
            found.append(f"{self.device.name}: ended by signal {-status}")
        return found + ([str(self)] if found else [])

    # --- What it costs

    def resident_kib(self):
        with open(f"/proc/{self.process.pid}/status", encoding="ascii", errors="replace") as file:
            return int(re.search(r"^VmRSS:\s*(\d+)", file.read(), re.MULTILINE).group(1))

    def processor_seconds(self):
        with open(f"/proc/{self.process.pid}/stat", encoding="ascii", errors="replace") as file:
            fields = file.read().rpartition(")")[2].split()
        return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")

    def open_descriptors(self):
        return len(os.listdir(f"/proc/{self.process.pid}/fd"))

    def __str__(self):
        state = "running" if self.is_running() else f"ended with {self.process.returncode}"
        return f"{' '.join(self.arguments)} on {self.device.name} ({state}), standard error:\n{self.errors()[-4000:]}"


class StallingLog:
    """Lets the test log of the programs on a device stand still: writes to it and flushes of it wait from hold() on."""

    def __init__(self, device):
        self._flag = os.path.join(device.folder, "stall")
        library = os.path.join(os.path.dirname(program_path()), "tests", "system", "liblinkometry-stall.so")
        # A sanitizer wants to be the first library; this one only comes before it.
        self.environment = {"LD_PRELOAD": library, "STALL_FLAG": self._flag, "STALL_FILE": device.log_path,
                            "ASAN_OPTIONS": "verify_asan_link_order=0"}

    def through(self):
        """For Device.start."""
        return ("env", *(f"{name}={value}" for name, value in self.environment.items()))

    def hold(self):
        with open(self._flag, "w", encoding="ascii"):
            pass

    def release(self):
        os.remove(self._flag)


def split_report(lines):
    """(the configuration report, all other lines) of a test log's lines that hold one report."""
    texts = [line[9:] for line in lines]
    begin, last = texts.index("**System Settings**"), texts.index("**End of Vantiro Registry Settings**")
    return lines[begin:last + 1], lines[:begin] + lines[last + 1:]


def hive_text(keys):
    """A hive file from {key path: {value name: text}}."""
    lines = ["Windows Registry Editor Version 5.00", ""]
    for key, values in keys.items():
        lines.append(f"[{key}]")
        lines += [f'"{escaped(name)}"="{escaped(text)}"' for name, text in values.items()]
        lines.append("")
    return "\n".join(lines) + "\n"


def escaped(text):
    return text.replace("\\", "\\\\").replace('"', '\\"')


class SystemTest(unittest.TestCase):
    """Base of all system tests: a fresh lab for each."""

    def setUp(self):
        self.lab = Lab()
        self.addCleanup(self.lab.close)

    def skip_without_other_users(self):
        """Skips the test where only one user is known: in namespaces that an ordinary user has made."""
        with open("/proc/self/uid_map", encoding="ascii") as file:
            if int(file.read().split()[2]) == 1:
                self.skipTest("only root can become another user here")

    def make_devices_of_nobody(self):
        """self.device, whose folder belongs to NOBODY, and self.peer. On the device only the raw socket can ping."""
        self.skip_without_other_users()
        self.device, self.peer = self.lab.devices_named("pocket1", "pocket2")
        self.device.set_kernel_parameter("net.ipv4.ping_group_range", "1 0")
        os.chmod(self.lab.folder, 0o755)
        give_to_nobody(self.device.folder)
