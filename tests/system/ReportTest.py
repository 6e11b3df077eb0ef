"""The configuration report of a device whose configuration the test itself made, held against what the test wrote and
against what the standard tools say."""

import json
import os
import platform
import re
import shutil
import stat
import struct
import subprocess
import time

import documents
import lab

MACHINE_HIVE = "HKEY_LOCAL_MACHINE.reg"
CURRENT_USER = r"HKEY_CURRENT_USER\Software\Vantiro Networks"
LOCAL_MACHINE = r"HKEY_LOCAL_MACHINE\Software\Vantiro Networks"
OWNER_KEY = r"HKEY_CURRENT_USER\ControlPanel\Owner"
PAGE = "configuration-report.md"
NO_INTERFACE = "linkometry: no network interface has an address by which other devices could reach this one"


def adapter(name, description, addresses=(), gateways=(), mac="Not Set", dhcp="no", server="Not Set",
            expires="Not Set", obtained="Not Set", number=6):
    """The lines of one adapter; addresses as (address, mask)."""
    return [f"   Name: {name}", f"   Description: {description}",
            *([f"   Default Gateway: {each} subnet mask: Not Set" for each in gateways] or
              ["   Default Gateway: Not Set"]),
            f"   DHCP Enabled: {dhcp}",
            f"   DHCP Server: {server}" + ("" if server == "Not Set" else " subnet mask: Not Set"),
            *([f"   IP Address: {address} subnet mask: {mask}" for address, mask in addresses] or
              ["   IP Address: Not Set"]),
            f"   Lease Expires: {expires}", f"   Lease Obtained: {obtained}", f"   Mac Address: {mac}",
            "   Uses Wins: no", "   Primary Wins: Not Set", "   Secondary Wins: Not Set", f"   Type: {number}"]


def setting_line(line, changed):
    """A line about a setting with the text that stands behind its label in `changed`, if any does."""
    label, colon, _ = line[3:].rpartition(": ")
    return f"   {label}{colon}{changed[label]}" if label in changed else line


def shown(seconds):
    """A time as the plain locale writes it, in the time zone that the lab's programs have."""
    return time.strftime("%m/%d/%y %H:%M", time.gmtime(seconds))


def joined(groups):
    """The lines of several adapters, a line of one blank between two."""
    lines = []
    for group in groups:
        lines += ([" "] if lines else []) + group
    return lines


class ReportTest(lab.SystemTest):
    """A device whose system files are the test's own: /etc is a copy, /var/lib and /run are empty."""

    def setUp(self):
        super().setUp()
        self.device = self.lab.device("pocket1")
        self.device.configure("udp")
        own_etc = os.path.join(self.lab.folder, "etc")
        # What cannot be read matters to no report.
        subprocess.run(["cp", "-a", "/etc", own_etc], stderr=subprocess.DEVNULL, check=False)
        self.mount("--bind", own_etc, "/etc")
        self.mount("-t", "tmpfs", "tmpfs", "/var/lib")
        self.put("/etc/resolv.conf", "")

    def mount(self, *arguments):
        subprocess.run(["mount", *arguments], check=True)
        self.addCleanup(subprocess.run, ["umount", "--lazy", arguments[-1]], check=True)

    def put(self, path, content, written=None):
        """A file of the device's system; written: seconds since 1970."""
        os.makedirs(os.path.dirname(path), exist_ok=True)
        if os.path.lexists(path):
            os.remove(path)
        with open(path, "wb") as file:
            file.write(content if isinstance(content, bytes) else content.encode())
        if written is not None:
            os.utime(path, (written, written))

    def ip(self, *commands):
        with self.device.inside():
            lab.ip(*commands)

    def answer(self, *command):
        """What a command prints on the device."""
        result = self.device.run(*command)
        self.assertEqual(result.returncode, 0, result)
        return result.stdout

    def report(self, through=(), silent=True, problems=()):
        """The report of a test's log: its lines without the time. A test says on standard error what it does, and before
        that these problems."""
        program = self.device.start("-headless", "-duration", "0", through=through)
        self.assertIn(program.wait(within=60), (0, 1, 2), program)
        if silent:
            *said, doing = program.errors().splitlines()
            self.assertEqual(said, list(problems), program)
            self.assertIn(" measures its peers; ", doing, program)
        report, _ = lab.split_report(self.device.log_lines()[6:])
        return [line[9:] for line in report]

    def block(self, name, report=None):
        lines = report or self.report()
        return lines[lines.index(f"**{name}**") + 1:lines.index(f"**End of {name}**")]

    def local_info(self, through=()):
        """The text of report mode, which must be written in silence."""
        path = os.path.join(self.device.folder, "report.txt")
        program = self.device.start("-getinfo", path, through=through)
        self.assertEqual(program.wait(within=60), 0)
        self.assertEqual((program.output(), program.errors()), ("", ""))
        with open(path, encoding="utf-8", newline="") as file:
            return file.read()

    def mac(self, interface):
        with self.device.inside():
            links = json.loads(self.answer("ip", "-j", "link", "show", interface))
        return links[0]["address"].replace(":", "-")


class WholeReportTest(ReportTest):
    def become_the_documented_device(self):
        """The device of the documentation's examples, all that a test can choose of it."""
        self.device.join(self.lab.add_network())
        self.ip("address flush dev eth0", "address flush dev eth1", "link set eth0 address 00:0a:95:9d:68:16",
                "link set eth1 address 00:0a:95:9d:68:17", "address add 192.0.2.17/24 brd + dev eth0",
                "route add default via 192.0.2.1")
        self.put("/etc/resolv.conf", "search example.net\nnameserver 192.0.2.53\nnameserver 192.0.2.54\n")
        self.put("/etc/os-release", 'PRETTY_NAME="Debian GNU/Linux 12 (bookworm)"\n')
        self.put("/var/lib/dhcp/dhclient.eth0.leases",
                 'lease {\n  interface "eth0";\n  fixed-address 192.0.2.17;\n  option dhcp-lease-time 86400;\n'
                 "  option dhcp-server-identifier 192.0.2.1;\n  expire 6 2026/11/21 22:04:00;\n}\n")
        self.device.write_hive(lab.hive_text({OWNER_KEY: {"Owner": "Ada Lovelace"},
                                              lab.PEERS_KEY: {"Gate 1": "192.0.2.21"}}))

    def as_documented(self, line):
        """A line of a report as it is on the documentation's device: kernel, program file and version are others."""
        if re.fullmatch(r"Linux version \d+\.\d+ Debian GNU/Linux 12 \(bookworm\) Build \d+", line):
            return "Linux version 6.18 Debian GNU/Linux 12 (bookworm) Build 44"
        return {f"   {lab.program_version()}": "   Version 1.0.0.0",
                f"   Application Name: {os.path.realpath(lab.program_path())}":
                    "   Application Name: /usr/local/bin/linkometry",
                # What ends in blanks does not show in a text.
                " ": ""}.get(line, line)

    def test_the_documentation_shows_a_real_report_line_by_line(self):
        self.become_the_documented_device()
        in_the_log, = documents.examples(documents.section(PAGE, "## In the log"))
        self.assertEqual([" ---- Test 1 starting ---", *map(self.as_documented, self.report())], in_the_log)
        _, in_a_file = documents.examples(documents.section(PAGE, "## In a file"))
        text = self.local_info()
        self.assertTrue(text.endswith("\r\n"))
        self.assertEqual([self.as_documented(line) for line in text.split("\r\n")[:-1]], in_a_file)

    def test_a_device_that_the_test_configured_is_reported_line_by_line(self):
        self.device.join(self.lab.add_network())
        self.put("/etc/resolv.conf", "search office.example lab.example\nnameserver 10.77.0.53\nnameserver 10.78.0.53\n")
        self.put("/etc/os-release", 'NAME="Field Linux"\nPRETTY_NAME="Field Linux 7 (meadow)"\n')
        self.put("/var/lib/dhcp/dhclient.eth0.leases",
                 'lease {\n  interface "eth0";\n  fixed-address 10.77.0.1;\n  option dhcp-lease-time 7200;\n'
                 "  option dhcp-server-identifier 10.77.0.254;\n  expire epoch 1800000000;\n}\n")
        self.ip("address add 172.16.5.4/20 dev eth1", "link set eth1 down", "link add br0 type bridge",
                "route add default via 10.77.0.200 dev eth0 metric 50")
        self.device.set_kernel_parameter("net.ipv4.conf.all.proxy_arp", "1")
        self.device.set_kernel_parameter("net.ipv4.ip_forward", "1")
        self.device.write_settings({"udp selected": "yes", "tcpip selected": "no", "multicast selected": "no",
                                    "ping selected": "no", "frequency qty": "2", "frequency units": "minutes",
                                    "log filename": "VantiroDiagnostics.txt", "description": "The meadow"},
                                   {"Gate 1": "10.77.0.9"})
        release = platform.release()
        system = [line for line in self.report() if line.startswith("Linux version ")]
        self.assertEqual(len(system), 1)
        self.assertRegex(system[0], r"^Linux version " + re.escape(".".join(release.split(".")[:2])) +
                         r" Field Linux 7 \(meadow\) Build \d+$")
        eth1 = [("10.78.0.1", "255.255.255.0"), ("172.16.5.4", "255.255.240.0")]
        groups = {"eth0": adapter("eth0", "veth", [("10.77.0.1", "255.255.255.0")],
                                  # The device's own route has no metric, which the kernel prefers to all others.
                                  ["10.77.0.254", "10.77.0.200"], self.mac("eth0"), "yes", "10.77.0.254",
                                  shown(1800000000), shown(1800000000 - 7200)),
                  "eth1": adapter("eth1", "veth", eth1, (), self.mac("eth1")),
                  "br0": adapter("br0", "bridge", (), (), self.mac("br0"), number=209)}
        by_index = [each["ifname"] for each in json.loads(self.answer("ip", "-j", "link")) if each["ifname"] in groups]
        settings = [("display name", "Host Name"), ("frequency units", "minutes"), ("log data packets", "no")]
        report = self.report()
        self.assertEqual(report[:report.index("**Application Settings**")], [
            "**System Settings**", system[0], "Owner: ", "**End of System Settings**",
            "**IP Settings**", "   Local Host Name: pocket1", "   Local IP Address: 10.77.0.1",
            "**Other System IP Settings**",
            "   Acting As Proxy: yes",
            "   Current DNS: 10.77.0.53 subnet mask: Not Set",
            "   DHCP Scope Name: Not Set",
            "   DNS Enabled: yes",
            "   DNS Server List: 10.77.0.53 subnet mask: Not Set",
            "   DNS Server List: 10.78.0.53 subnet mask: Not Set",
            "   Domain Name: office.example",
            "   Routing Enabled: yes",
            "   Using Dhcp: yes",
            "**End of Other System IP Settings**",
            "**Adapter IP Settings**", *joined(groups[name] for name in by_index), "**End of Adapter IP Settings**",
            "**End of IP Settings**"])
        changed = {"": lab.program_version(), "Application Name": os.path.realpath(lab.program_path()),
                   "Description": "The meadow", "Frequency Qty": "2", "Frequency Units": "60000 milliseconds",
                   "Multicast Selected": "no", "Named Ip Address": "10.77.0.9 (Gate 1)", "Ping Selected": "no",
                   "Tcpip Selected": "no"}
        documented, = documents.examples(documents.section(PAGE, "## In the log"))
        self.assertEqual(self.block("Application Settings", report),
                         [setting_line(line, changed) for line in self.block("Application Settings", documented)])
        registry = self.block("Vantiro Registry Settings", report)
        self.assertEqual(registry[:2], [rf"recursivly logging {CURRENT_USER}", rf"{CURRENT_USER}\Vantiro Diagnostic"])
        self.assertEqual(registry[-3:], [rf" {CURRENT_USER}\Vantiro Diagnostic\Named-IP-Addresses",
                                         "  Gate 1 = 10.77.0.9", rf"recursivly logging {LOCAL_MACHINE}"])
        for name, value in settings:
            self.assertIn(f" {name} = {value}", registry)

    def test_a_second_start_reports_what_is_true_then(self):
        program = self.device.measure()
        self.device.wait_for_log_line("Created VTR_CUdpListener", within=20)
        self.ip("address add 10.77.0.99/24 dev eth0")
        self.put("/etc/resolv.conf", "nameserver 10.77.0.53\n")
        program.signal(1)
        self.device.wait_for_log_line("Test 2 starting", within=20)
        self.device.wait_for_log_line("DNS Server List: 10.77.0.53", within=20)
        program.stop()
        lines = [line[9:] for line in self.device.log_lines()]
        second = lines[lines.index(" ---- Test 2 starting ---"):]
        self.assertIn("   Local IP Address: 10.77.0.99", second)
        self.assertIn("   IP Address: 10.77.0.99 subnet mask: 255.255.255.0", second)
        self.assertEqual(lines.count("**System Settings**"), 2)

    def test_a_device_without_an_address_has_no_line_for_one(self):
        self.ip("link set eth0 down")
        report = self.report(problems=[NO_INTERFACE])
        at = report.index("**Other System IP Settings**")
        self.assertEqual(report[at - 1], "   Local Host Name: pocket1")

    def test_a_device_without_an_adapter_says_that_it_failed(self):
        self.ip("link delete eth0")
        self.device.addresses.clear()
        self.assertEqual(self.block("Adapter IP Settings", self.report(problems=[NO_INTERFACE])),
                         ["   FAILED to get any adapter ip info ErrorCode: 612"])


class AdapterTest(ReportTest):
    def adapters(self, **arguments):
        return self.block("Adapter IP Settings", self.report(**arguments))

    def test_hundreds_of_adapters_and_addresses_are_all_there(self):
        self.ip(*(f"link add dummy-{i} type bridge" for i in range(120)),
                *(f"address add 10.90.{i // 250}.{i % 250 + 1}/16 dev eth0" for i in range(600)))
        lines = self.adapters()
        self.assertEqual(sum(line.startswith("   Name: ") for line in lines), 121)
        self.assertEqual(sum(line.startswith("   IP Address: 10.90.") for line in lines), 600)
        self.assertEqual(lines.count(" "), 120)

    def test_names_addresses_masks_and_gateways_are_those_of_ip(self):
        self.device.join(self.lab.add_network())
        self.ip("address add 10.1.2.3/30 dev eth1", "link add br0 type bridge", "address add 10.5.0.1/32 dev br0",
                "route add default via 10.1.2.1 dev eth1 metric 7")
        lines = self.adapters()
        links = [link for link in json.loads(self.answer("ip", "-j", "address")) if link["ifname"] != "lo"]
        routes = json.loads(self.answer("ip", "-j", "route"))
        self.assertEqual([line for line in lines if line.startswith("   Name: ")],
                         [f"   Name: {link['ifname']}" for link in links])
        expected = []
        for link in links:
            here = [f"   IP Address: {each['local']} subnet mask: {mask_of(each['prefixlen'])}"
                    for each in link["addr_info"] if each["family"] == "inet"]
            expected += here or ["   IP Address: Not Set"]
        self.assertEqual([line for line in lines if line.startswith("   IP Address: ")], expected)
        gateways = {(route["dev"], route["gateway"]) for route in routes if route["dst"] == "default"}
        found, name = set(), None
        for line in lines:
            label, _, rest = line.partition(": ")
            if label == "   Name":
                name = rest
            elif label == "   Default Gateway" and rest != "Not Set":
                found.add((name, rest.split()[0]))
        self.assertEqual(found, gateways)

    def test_each_gateway_of_the_default_routes_is_told_once_the_preferred_one_first(self):
        self.device.join(self.lab.add_network())
        self.ip("address add 10.1.2.3/24 dev eth1", "route add default via 10.1.2.9 dev eth1 metric 50",
                "route add default via 10.1.2.9 dev eth1 metric 70", "route add default via 10.1.2.8 dev eth1 metric 60",
                "route add default metric 40 nexthop via 10.1.2.7 dev eth1 nexthop via 10.1.2.8 dev eth1",
                "route add default via 10.1.2.6 dev eth1 table 100", "route add 10.2.0.0/16 via 10.1.2.5 dev eth1")
        lines = self.adapters()
        lines = lines[lines.index("   Name: eth1"):]
        self.assertEqual([line for line in lines if line.startswith("   Default Gateway: ")],
                         [f"   Default Gateway: 10.1.2.{each} subnet mask: Not Set" for each in (7, 8, 9)])

    def test_an_address_for_a_time_is_a_lease_that_ends_then(self):
        before = int(time.time())
        self.ip("address add 10.77.0.77/24 dev eth0 valid_lft 86400 preferred_lft 86400")
        lines = self.adapters()
        after = int(time.time())
        self.assertIn("   DHCP Enabled: yes", lines)
        expiry = next(line for line in lines if line.startswith("   Lease Expires: "))
        ends = {f"   Lease Expires: {shown(moment + 86400)}" for moment in range(before - 2, after + 3)}
        self.assertIn(expiry, ends)

    def lease_lines(self):
        return [line for line in self.adapters() if re.match(r"   (DHCP|Lease)", line)]

    def assert_lease(self, obtained, expires):
        self.assertEqual(self.lease_lines(), [
            "   DHCP Enabled: yes", "   DHCP Server: 10.77.0.254 subnet mask: Not Set",
            f"   Lease Expires: {shown(expires)}", f"   Lease Obtained: {shown(obtained)}"])

    def test_lease_of_dhclient(self):
        self.put("/var/lib/dhcp/dhclient.leases",
                 'lease { interface "eth0"; fixed-address 10.77.0.1; option dhcp-lease-time 600;'
                 " option dhcp-server-identifier 10.77.0.254; expire 5 2026/11/20 10:00:00; }\n"
                 'lease { interface "eth9"; fixed-address 10.77.0.1; expire never; }\n')
        self.assert_lease(1795168800 - 600, 1795168800)

    def test_what_a_client_has_noted_goes_before_what_the_kernel_knows_of_the_address_and_of_others(self):
        self.ip("address add 10.77.0.77/24 dev eth0 valid_lft 86400 preferred_lft 86400")
        block = ('lease { interface "eth0"; fixed-address %s; option dhcp-lease-time 600;'
                 " option dhcp-server-identifier 10.77.0.254; expire %s; }\n")
        self.put("/var/lib/dhcp/dhclient.leases", block % ("10.77.0.77", "epoch 1900000000"))
        self.assert_lease(1900000000 - 600, 1900000000)
        self.put("/var/lib/dhcp/dhclient.leases", block % ("10.77.0.1", "never"))
        self.assertEqual(self.lease_lines(), [
            "   DHCP Enabled: yes", "   DHCP Server: 10.77.0.254 subnet mask: Not Set",
            "   Lease Expires: Not Set", "   Lease Obtained: Not Set"])

    def test_lease_of_dhcpcd(self):
        packet = bytes([2]) + bytes(15) + bytes([10, 77, 0, 1]) + bytes(216) + bytes.fromhex("63825363")
        packet += bytes([53, 1, 5, 54, 4, 10, 77, 0, 254, 51, 4]) + struct.pack(">I", 3600) + bytes([255])
        self.put("/var/lib/dhcpcd/eth0.lease", packet, written=1795168800)
        self.assert_lease(1795168800, 1795168800 + 3600)

    def test_lease_of_systemd_networkd(self):
        index = json.loads(self.answer("ip", "-j", "link", "show", "eth0"))[0]["ifindex"]
        self.put(f"/run/systemd/netif/leases/{index}", "# This is private data. Do not parse.\nADDRESS=10.77.0.1\n"
                 "NETMASK=255.255.255.0\nSERVER_ADDRESS=10.77.0.254\nLIFETIME=3600\n", written=1795168800)
        self.assert_lease(1795168800, 1795168800 + 3600)

    def test_lease_of_systemd_networkd_that_was_renewed_without_a_change(self):
        self.ip("address add 10.77.0.77/24 dev eth0 valid_lft 86400 preferred_lft 86400")
        before = time.time()
        index = json.loads(self.answer("ip", "-j", "link", "show", "eth0"))[0]["ifindex"]
        self.put(f"/run/systemd/netif/leases/{index}", "ADDRESS=10.77.0.77\nSERVER_ADDRESS=10.77.0.254\nLIFETIME=1d\n",
                 written=1795168800 - 400 * 86400)
        lines = self.lease_lines()
        moments = {int(before) - 2, int(time.time()) + 2}
        self.assertIn(lines[2], {f"   Lease Expires: {shown(moment + 86400)}" for moment in moments})
        self.assertIn(lines[3], {f"   Lease Obtained: {shown(moment)}" for moment in moments})

    def test_lease_of_network_manager(self):
        index = json.loads(self.answer("ip", "-j", "link", "show", "eth0"))[0]["ifindex"]
        self.put("/var/lib/NetworkManager/internal-3fa85f64-5717-4562-b3fc-2c963f66afa6-eth0.lease",
                 "# This is private data. Do not parse.\nADDRESS=10.77.0.1\n", written=1795168900)
        self.put(f"/run/NetworkManager/devices/{index}",
                 "[device]\nmanaged=true\n\n[dhcp4]\ndhcp4.dhcp_lease_time=3600\n"
                 "dhcp4.dhcp_server_identifier=10.77.0.254\ndhcp4.expiry=1795172400\ndhcp4.ip_address=10.77.0.1\n")
        self.assert_lease(1795168800, 1795168800 + 3600)

    def test_lease_of_an_older_network_manager(self):
        self.put("/var/lib/NetworkManager/internal-3fa85f64-5717-4562-b3fc-2c963f66afa6-eth0.lease",
                 "ADDRESS=10.77.0.1\nSERVER_ADDRESS=10.77.0.254\nLIFETIME=3600\n", written=1795168800)
        self.assert_lease(1795168800, 1795168800 + 3600)

    def test_a_lease_of_an_address_that_the_device_has_no_more_says_nothing(self):
        self.put("/var/lib/dhcp/dhclient.leases",
                 'lease { interface "eth0"; fixed-address 10.77.0.2; expire epoch 1795168800; }\n')
        self.assertEqual(self.lease_lines(), ["   DHCP Enabled: no", "   DHCP Server: Not Set",
                                              "   Lease Expires: Not Set", "   Lease Obtained: Not Set"])


def mask_of(prefix):
    bits = 0xFFFFFFFF << (32 - prefix) & 0xFFFFFFFF
    return ".".join(str(bits >> shift & 255) for shift in (24, 16, 8, 0))


class SystemFilesTest(ReportTest):
    def test_host_name_and_system_are_those_of_the_standard_tools(self):
        info = self.local_info()
        name = self.answer("unshare", "--uts", "sh", "-c", "hostname pocket1; hostname").strip()
        self.assertIn(f"\r\n   Local Host Name: {name}\r\n", info)
        pretty = self.answer("sh", "-c", '. /etc/os-release; printf %s "$PRETTY_NAME"')
        release = self.answer("uname", "-r").split(".")
        self.assertIn(f"\r\nLinux version {release[0]}.{release[1]} {pretty} Build ", info)

    def test_behind_a_stub_the_services_own_servers_are_reported(self):
        self.put("/etc/resolv.conf", "nameserver 127.0.0.53\noptions edns0\n")
        self.put("/run/systemd/resolve/resolv.conf", "nameserver 10.77.0.53\nsearch lab.example\n")
        info = self.local_info()
        self.assertIn("   DNS Server List: 10.77.0.53 subnet mask: Not Set\r\n   Domain Name: lab.example\r\n", info)

    def test_without_a_resolver_there_is_no_dns(self):
        os.remove("/etc/resolv.conf")
        info = self.local_info()
        self.assertIn("   Current DNS: Not Set\r\n   DHCP Scope Name: Not Set\r\n   DNS Enabled: no\r\n"
                      "   DNS Server List: Not Set\r\n   Domain Name: Not Set\r\n", info)

    def assert_whole(self, info):
        self.assertTrue(info.startswith("**System Settings**\r\nLinux version "), info[:200])
        self.assertTrue(info.endswith("**End of IP Settings**\r\n"), info[-200:])
        self.assertEqual(len(re.findall("[\x00-\x09\x0b\x0c\x0e-\x1f\x7f-\x9f]", info)), 0)

    FILES = ("/etc/resolv.conf", "/etc/os-release", "/run/systemd/resolve/resolv.conf",
             "/var/lib/dhcp/dhclient.leases", "/var/lib/dhcpcd/eth0.lease",
             "/var/lib/NetworkManager/internal-1-eth0.lease", "/run/NetworkManager/devices/2",
             "/run/systemd/netif/leases/2")

    def test_junk_endless_lines_and_thousands_of_entries_keep_no_report_from_being_written(self):
        contents = {
            "junk": bytes(range(256)) * 4096,
            "nulls": bytes(1 << 20),
            "one line": b"nameserver " + b"1" * (4 << 20),
            "open quotes": b'PRETTY_NAME="' + b"x" * (1 << 20),
            "entries": b"".join(b"nameserver 10.%d.%d.1\nADDRESS=10.77.0.1\n" % (i // 250, i % 250)
                                for i in range(20000)),
            "blocks": b'lease { interface "eth0"; fixed-address 10.77.0.1; expire epoch 99999999999999; }\n' * 20000,
            "braces": b"{" * (1 << 20),
        }
        for name, content in contents.items():
            with self.subTest(name):
                for path in self.FILES:
                    self.put(path, content)
                self.assert_whole(self.local_info())
                self.assertIn("**End of Adapter IP Settings**", self.report())

    def test_what_is_no_file_counts_as_missing(self):
        for make in (os.mkdir, os.mkfifo, lambda path: os.symlink(path, path),
                     lambda path: os.symlink("/dev/zero", path)):
            for path in self.FILES:
                os.makedirs(os.path.dirname(path), exist_ok=True)
                if os.path.lexists(path):
                    remove(path)
                make(path)
            self.assert_whole(self.local_info())
            for path in self.FILES:
                remove(path)

    def test_without_the_right_to_read_them_files_count_as_missing(self):
        for path in self.FILES:
            self.put(path, "nameserver 10.77.0.53\nADDRESS=10.77.0.1\n")
            os.chmod(path, 0)
        # Root, but bound by the modes of files as everybody else.
        info = self.local_info(through=("setpriv", "--bounding-set=-dac_override,-dac_read_search"))
        self.assert_whole(info)
        self.assertIn("   DNS Server List: Not Set\r\n", info)


def remove(path):
    if stat.S_ISDIR(os.lstat(path).st_mode):
        shutil.rmtree(path)
    else:
        os.remove(path)


class RegistryDumpTest(ReportTest):
    def dump(self, **arguments):
        return self.block("Vantiro Registry Settings", self.report(**arguments))

    def test_both_hives_are_dumped_as_they_stand(self):
        self.device.write_hive(
            "; by hand\n[HKEY_CURRENT_USER\\Software\\Vantiro Networks]\n"
            "[HKEY_CURRENT_USER\\Software\\Vantiro Networks\\One]\n"
            '"b"="second letter first"\n; between\n"Port"=dword:00001d7e\n"a"="text"\n"Path"=hex(2):41,00,00,00\n'
            '"Bytes"=hex:01,02\n"List"=hex(7):41,00,00,00,00,00\n'
            "[HKEY_CURRENT_USER\\Software\\Vantiro Networks\\One\\Two\\Three]\n"
            '"deep"="yes"\n')
        with open(os.path.join(self.device.registry_folder, MACHINE_HIVE), "w", encoding="utf-8") as file:
            file.write(f'[{LOCAL_MACHINE}]\n"owner"="the machine"\n[{LOCAL_MACHINE}\\Sub]\n')
        dump = self.dump()
        begin = dump.index(rf"{CURRENT_USER}\One")
        self.assertEqual(dump[begin:begin + 9], [
            rf"{CURRENT_USER}\One", " b = second letter first", " type of Port not suported", " a = text",
            " type of Bytes not suported", " type of List not suported", rf" {CURRENT_USER}\One\Two",
            rf"  {CURRENT_USER}\One\Two\Three", "   deep = yes"])
        begin = dump.index(f"recursivly logging {LOCAL_MACHINE}")
        self.assertEqual(dump[begin + 1:], ["owner = the machine", rf"{LOCAL_MACHINE}\Sub"])

    def machine_hive(self):
        path = os.path.join(self.device.registry_folder, MACHINE_HIVE)
        if not os.path.exists(path):
            return None
        with open(path, encoding="utf-8") as file:
            return file.read()

    def test_the_makers_key_is_left_in_the_machines_hive(self):
        self.assertIsNone(self.machine_hive())
        dump = self.dump()
        self.assertEqual(dump[-1], f"recursivly logging {LOCAL_MACHINE}")
        self.assertIn(f"[{LOCAL_MACHINE}]", self.machine_hive())

    def test_a_registry_that_cannot_be_written_is_dumped_in_silence(self):
        self.report()  # every setting stands in the hive then
        os.remove(os.path.join(self.device.registry_folder, MACHINE_HIVE))
        folder = self.device.registry_folder
        read_only = ("unshare", "--mount", "sh", "-c",
                     f'mount --bind -o ro "{folder}" "{folder}" && mount -o remount,ro,bind "{folder}" && exec "$0" "$@"')
        dump = self.dump(through=read_only)
        self.assertEqual(dump[-1], f"recursivly logging {LOCAL_MACHINE}")
        self.assertIn(" ping selected = no", dump)
        self.assertIsNone(self.machine_hive())

    def test_thousands_of_keys_and_values_are_all_dumped(self):
        lines = [f"[{CURRENT_USER}\\Many]"] + [f'"v{i}"="{i}"' for i in range(3000)]
        lines += [f"[{CURRENT_USER}\\Many\\k{i}]" for i in range(1000)]
        self.device.write_hive("\n".join(lines) + "\n")
        dump = self.dump()
        self.assertEqual([line for line in dump if line.startswith(" v")], [f" v{i} = {i}" for i in range(3000)])
        self.assertEqual(sum(rf"{CURRENT_USER}\Many\k" in line for line in dump), 1000)

    def test_control_characters_cannot_forge_lines(self):
        self.device.write_hive(f'[{CURRENT_USER}\\One]\n"a"=hex(1):41,00,0d,00,0a,00,42,00,1b,00,00,00\n')
        self.assertIn(" a = A??B?", self.dump())
