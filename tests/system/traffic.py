"""Traffic of the tests' own making: the probe packet, UDP and TCP ends, and a capture of what crosses an interface.

Written from the packet's description alone; nothing here shares code with the program, so that both must be right.
"""

import collections
import re
import socket
import struct
import threading
import time

import documents
from lab import GROUP_PORT, PATIENCE, PORT

GROUP = documents.default_settings()["multicast group"]

TAG = b"Vantiro Diagnostic"

Probe = collections.namedtuple("Probe", "sequence name")
Datagram = collections.namedtuple("Datagram", "data address port time ttl")
Frame = collections.namedtuple("Frame", "time source destination protocol ttl source_port destination_port payload")

ICMP, IGMP, TCP, UDP = 1, 2, 6, 17
ECHO_REPLY, ECHO_REQUEST = 0, 8

# Linux's numbers, which Python 3.11's socket module lacks.
SO_TIMESTAMPNS = 35
SO_RCVBUFFORCE = 33
IP_RECVTTL = 12
IP_MULTICAST_ALL = 49


def packet(sequence, name=""):
    """The bytes of one probe. A name in another code page is given as bytes."""
    return TAG + b"|%d|" % sequence + (name if isinstance(name, bytes) else name.encode("utf-8")) + b"\0"


def parse(data):
    """The fields of one probe as a strict reader sees them; an AssertionError for anything else."""
    match = re.fullmatch(rb"Vantiro Diagnostic\|(0|-?[1-9][0-9]*)\|([^\0]*)\0", data)
    if not match:
        raise AssertionError(f"no probe: {data!r}")
    return Probe(int(match.group(1)), match.group(2).decode("utf-8"))


def announcement(version, display_name, overhead_bytes=10):
    """The name that a running engine's probes carry."""
    return f"{version}|{display_name}" + "|" * overhead_bytes


class UdpEnd:
    """A UDP socket on a device, bound to a port (0: any) and, when a group is given, a member of it on one interface."""

    def __init__(self, device, port=0, group=None, interface_address=None, ttl=None):
        with device.inside():
            self.socket = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        enlarge_buffer(self.socket, 16 << 20)
        self.socket.setsockopt(socket.SOL_SOCKET, SO_TIMESTAMPNS, 1)
        self.socket.setsockopt(socket.IPPROTO_IP, IP_RECVTTL, 1)
        self.socket.setsockopt(socket.IPPROTO_IP, IP_MULTICAST_ALL, 0)
        if group:
            self.socket.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        self.socket.bind(("", port))
        interface = socket.inet_aton(interface_address or device.address)
        self.socket.setsockopt(socket.IPPROTO_IP, socket.IP_MULTICAST_IF, interface)
        if group:
            self.socket.setsockopt(socket.IPPROTO_IP, socket.IP_ADD_MEMBERSHIP, socket.inet_aton(group) + interface)
        if ttl is not None:
            self.socket.setsockopt(socket.IPPROTO_IP, socket.IP_MULTICAST_TTL, ttl)

    @property
    def port(self):
        return self.socket.getsockname()[1]

    def send(self, data, address, port=PORT):
        self.socket.sendto(data, (address, port))

    def receive(self, within=PATIENCE):
        """The next datagram, or None when none comes in that time; its time is the kernel's, in seconds."""
        self.socket.settimeout(within)
        try:
            data, ancillary, _, (address, port) = self.socket.recvmsg(65536, 256)
        except (socket.timeout, BlockingIOError):
            return None
        ttl = next(struct.unpack("i", value)[0] for level, kind, value in ancillary
                   if (level, kind) == (socket.IPPROTO_IP, socket.IP_TTL))
        return Datagram(data, address, port, timestamp(ancillary), ttl)

    def receive_many(self, count, within):
        """That many datagrams; fails when they do not come in that time, or in PATIENCE if that is more."""
        within = max(within, PATIENCE)
        end = time.monotonic() + within
        datagrams = []
        while len(datagrams) < count:
            datagram = self.receive(max(0.0, end - time.monotonic()))
            if datagram is None:
                raise AssertionError(f"{len(datagrams)} of {count} datagrams within {within} s: {datagrams}")
            datagrams.append(datagram)
        return datagrams

    def receive_for(self, seconds):
        """All datagrams that come in that time."""
        end = time.monotonic() + seconds
        datagrams = []
        while True:
            datagram = self.receive(max(0.0, end - time.monotonic()))
            if datagram is None:
                return datagrams
            datagrams.append(datagram)

    def close(self):
        self.socket.close()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()


class TcpServer:
    """A TCP port on a device that accepts connections."""

    def __init__(self, device, port=PORT):
        with device.inside():
            self.socket = socket.socket(socket.AF_INET, socket.SOCK_STREAM)
        self.socket.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        self.socket.bind(("", port))
        self.socket.listen(64)

    def accept(self, within=PATIENCE):
        """The next connection as a TcpEnd; fails when none comes in time."""
        self.socket.settimeout(within)
        try:
            return TcpEnd(self.socket.accept()[0])
        except socket.timeout:
            raise AssertionError(f"no connection within {within} s") from None

    def close(self):
        self.socket.close()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()


class TcpEnd:
    """One end of a TCP connection."""

    def __init__(self, connected):
        self.socket = connected
        self.socket.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        self._pending = b""

    @classmethod
    def connect(cls, device, address, port=PORT, within=PATIENCE):
        with device.inside():
            made = socket.socket(socket.AF_INET, socket.SOCK_STREAM)
        made.settimeout(within)
        made.connect((address, port))
        return cls(made)

    @property
    def peer(self):
        """Address and port of the other end."""
        return self.socket.getpeername()

    def send(self, data):
        self.socket.sendall(data)

    def receive_packet(self, within=PATIENCE):
        """The bytes up to and with the next NUL; None when the other end has closed; fails when none come in time."""
        end = time.monotonic() + within
        while b"\0" not in self._pending:
            self.socket.settimeout(max(0.001, end - time.monotonic()))
            try:
                data = self.socket.recv(65536)
            except socket.timeout:
                raise AssertionError(f"no whole packet within {within} s, but {self._pending!r}") from None
            if not data:
                return None
            self._pending += data
        text, _, self._pending = self._pending.partition(b"\0")
        return text + b"\0"

    def close(self):
        self.socket.close()

    def reset(self):
        """Drops the connection with a reset, as a device that lost power and came back would."""
        self.socket.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        self.socket.close()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()


class Capture:
    """All IPv4 frames that cross an interface of a device, both ways, from the moment it is made."""

    ETH_P_ALL = 3

    def __init__(self, device, interface="eth0"):
        with device.inside():
            self.socket = socket.socket(socket.AF_PACKET, socket.SOCK_RAW, socket.htons(self.ETH_P_ALL))
            self.socket.bind((interface, self.ETH_P_ALL))
        enlarge_buffer(self.socket, 64 << 20)
        self.socket.setsockopt(socket.SOL_SOCKET, SO_TIMESTAMPNS, 1)
        self._frames = []
        self._closing = threading.Event()
        self._reader = threading.Thread(target=self._read, daemon=True)
        self._reader.start()

    def frames(self, protocol=None, **fields):
        """The frames so far of that protocol whose named fields have these values, oldest first."""
        return [frame for frame in list(self._frames) if (protocol is None or frame.protocol == protocol)
                and all(getattr(frame, name) == value for name, value in fields.items())]

    def echo_requests(self, **fields):
        """ICMP echo requests; the payload begins with the 8 bytes of the ICMP header."""
        return [frame for frame in self.frames(ICMP, **fields) if frame.payload[0] == ECHO_REQUEST]

    def close(self):
        self._closing.set()
        self._reader.join()
        self.socket.close()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def _read(self):
        self.socket.settimeout(0.1)
        while not self._closing.is_set():
            try:
                data, ancillary, _, _ = self.socket.recvmsg(65536, 256)
            except socket.timeout:
                continue
            frame = ipv4_frame(data, timestamp(ancillary))
            if frame:
                self._frames.append(frame)


def ipv4_frame(data, when):
    """An Ethernet frame's IPv4 content, or None; ports are 0 for what has none."""
    if len(data) < 34 or data[12:14] != b"\x08\x00":
        return None
    datagram = data[14:14 + struct.unpack("!H", data[16:18])[0]]
    protocol = datagram[9]
    content = datagram[(datagram[0] & 15) * 4:]
    source_port = destination_port = 0
    if protocol in (TCP, UDP):
        source_port, destination_port = struct.unpack("!HH", content[:4])
        content = content[8:] if protocol == UDP else content[(content[12] >> 4) * 4:]
    return Frame(when, socket.inet_ntoa(datagram[12:16]), socket.inet_ntoa(datagram[16:20]), protocol, datagram[8],
                 source_port, destination_port, content)


def enlarge_buffer(receiver, size):
    """A receive buffer of that size; as large as the kernel grants where the test is not run by root."""
    try:
        receiver.setsockopt(socket.SOL_SOCKET, SO_RCVBUFFORCE, size)
    except PermissionError:
        receiver.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, size)


def timestamp(ancillary):
    """The kernel's arrival time of a message, in seconds."""
    seconds, nanoseconds = next(struct.unpack("qq", value) for level, kind, value in ancillary
                                if (level, kind) == (socket.SOL_SOCKET, SO_TIMESTAMPNS))
    return seconds + nanoseconds / 1e9
