"""A switch and hosts in network namespaces of the test's own, which go with the process, however that ends."""
import contextlib
import ctypes
import errno
import json
import os
import select
import socket
import subprocess
import sys
import tempfile
import time

from scapy.all import Ether

from support.agent import DEADLINE, Agent, eventually

CLONE_NEWNET = 0x40000000
LIBC = ctypes.CDLL(None, use_errno=True)


def must(result):
    if result != 0:
        raise OSError(ctypes.get_errno(), os.strerror(ctypes.get_errno()))


class Namespace:
    """A network namespace. As a context it is the thread's own."""

    def __init__(self):
        before = os.open("/proc/thread-self/ns/net", os.O_RDONLY | os.O_CLOEXEC)
        must(LIBC.unshare(CLONE_NEWNET))
        self.fd = os.open("/proc/thread-self/ns/net", os.O_RDONLY | os.O_CLOEXEC)
        must(LIBC.setns(before, CLONE_NEWNET))
        os.close(before)
        self.path = f"/proc/{os.getpid()}/fd/{self.fd}"
        self.run("ip", "link", "set", "lo", "up")

    def __enter__(self):
        self.before = os.open("/proc/thread-self/ns/net", os.O_RDONLY | os.O_CLOEXEC)
        must(LIBC.setns(self.fd, CLONE_NEWNET))

    def __exit__(self, *_):
        must(LIBC.setns(self.before, CLONE_NEWNET))
        os.close(self.before)

    def command(self, *words):
        return ["nsenter", f"--net={self.path}", "--", *words]

    def run(self, *words, check=True, timeout=DEADLINE):
        done = subprocess.run(self.command(*words), capture_output=True, text=True, timeout=timeout, check=False)
        if check and done.returncode != 0:
            raise AssertionError(f"{' '.join(words)}: {done.stdout}{done.stderr}")
        return done.stdout

    def ip(self, line):
        return self.run("ip", *line.split())

    def sysctl(self, name, value):
        with self:
            with open(f"/proc/sys/net/{name}", "w", encoding="ascii") as file:
                file.write(str(value))


class Wire:
    """Frames as they pass a device: what is sent leaves by it, what is received came in there."""

    def __init__(self, namespace, device):
        with namespace:
            self.socket = socket.socket(socket.AF_PACKET, socket.SOCK_RAW, socket.htons(0x0003))
            self.socket.setsockopt(socket.SOL_SOCKET, 33, 64 << 20)  # SO_RCVBUFFORCE
            self.socket.bind((device, 0x0003))

    def send(self, frame):
        self.socket.send(bytes(frame))

    def read(self):
        """The bytes of a frame that has come in; None if there is none, or the device was down."""
        try:
            data, where = self.socket.recvfrom(65536)
        except OSError as error:
            if error.errno != errno.ENETDOWN:
                raise
            return None
        return None if where[2] == socket.PACKET_OUTGOING else data

    def drain(self):
        """Forgets what has come in so far."""
        while select.select([self.socket], [], [], 0)[0]:
            self.read()

    def receive(self, wanted, within=DEADLINE):
        """The next frame, as Scapy reads it, for which wanted() holds; None if none comes in that time."""
        end = time.monotonic() + within
        while (left := end - time.monotonic()) > 0:
            if not select.select([self.socket], [], [], left)[0]:
                break
            data = self.read()
            if data is not None and wanted(frame := Ether(data)):
                return frame
        return None


class Lab:
    """A switch with hosts h1, h2, ... at its interfaces Ethernet1, Ethernet2, ...; host i has 10.0.i.2/24 and
    2001:db8:i::2/64, the switch the .1 and the ::1 there, which the host's default routes lead to."""

    def __init__(self, agent, velmctl, hosts=2, options=(), state=True, init=()):
        self.init = init
        self.stack = contextlib.ExitStack()
        self.folder = self.stack.enter_context(tempfile.TemporaryDirectory())
        self.programs = agent, velmctl
        self.options = [*options, *(["--switch-state", f"{self.folder}/state"] if state else [])]
        self.switch = Namespace()
        for version in ("ipv4/conf/all/forwarding", "ipv6/conf/all/forwarding"):
            self.switch.sysctl(version, 1)
        self.hosts = {}
        for number in range(1, hosts + 1):
            self.plug(number)
        self.agent = None

    def plug(self, number, index=None):
        """Connects host number to Ethernet<number>."""
        host = self.hosts.setdefault(number, Namespace())
        # Devices of two ends with one index are told of carriers a second late.
        self.switch.ip(f"link add Ethernet{number} index {index or 1000 + number} type veth "
                       f"peer name eth0 netns {host.path}")
        host.run("ethtool", "-K", "eth0", "tx", "off", "txvlan", "off", "gro", "on")
        host.sysctl("ipv6/conf/eth0/accept_dad", 0)
        self.switch.sysctl(f"ipv6/conf/Ethernet{number}/accept_dad", 0)
        self.switch.run("ethtool", "-K", f"Ethernet{number}", "rxvlan", "off", "gro", "on")
        self.switch.ip(f"addr add 10.0.{number}.1/24 dev Ethernet{number}")
        self.switch.ip(f"addr add 2001:db8:{number}::1/64 dev Ethernet{number} nodad")
        self.switch.ip(f"link set Ethernet{number} up")
        host.ip(f"addr add 10.0.{number}.2/24 dev eth0")
        self.up(number)

    def up(self, number):
        """Sets the host's device up, with what it loses when that goes down."""
        host = self.hosts[number]
        host.ip("link set eth0 up")
        host.ip(f"addr add 2001:db8:{number}::2/64 dev eth0 nodad")
        host.ip(f"route add default via 10.0.{number}.1")
        host.ip(f"route add default via 2001:db8:{number}::1")

    def start(self, through=()):
        """The agent, in the switch's namespace, run by that command; it serves when this returns."""
        self.agent = Agent(self.programs[0], self.folder, "--switch-dataplane", "linux", *self.options,
                           through=self.switch.command(*through))
        self.velmctl("init", *self.init)

    def velmctl(self, *words, check=True, text=None):
        """What it answers; unless it must succeed, what it says instead. `text` is its standard input."""
        done = subprocess.run([self.programs[1], "--address", self.agent.address, "-o", "json", *words],
                              capture_output=True, text=True, timeout=DEADLINE, check=False, input=text)
        if check and done.returncode != 0:
            raise AssertionError(f"{' '.join(words)}: {done.stdout}{done.stderr}")
        return json.loads(done.stdout) if done.stdout else done.stderr

    def call(self, method, check=True, **request):
        answers = self.velmctl("call", "--timeout", str(DEADLINE), method, "-", check=check, text=json.dumps(request))
        return answers[0] if isinstance(answers, list) and answers else answers

    def refused(self, method, **request):
        """What the refusal of the request says."""
        said = self.call(method, check=False, **request)
        assert "error" in said, f"not refused: {said}"
        return said["error"]["message"]

    def show(self):
        return self.velmctl("show", "dataplane")

    def dropped(self, reason):
        return self.show()["drops"][reason]

    def tunnel_group(self, name, kind, neighbour, intf, source, destination, labels=(), ttl=0, **more):
        """A group of one member, which puts something around the packet."""
        entry = {"nexthop": neighbour, "intf": intf}
        if labels:
            entry["mpls_action"] = {"action_type": "MPLS_ACTIONS_PUSH", "label_stack": list(labels)}
        self.call("NexthopGroupMgrService.nexthop_group_set",
                  nexthop_group={"name": name, "type": f"NEXTHOP_GROUP_ENCAP_TYPES_{kind}", "ttl": ttl,
                                 "source_ip": source, "nexthops": {"1": entry},
                                 "destination_ips": {"1": destination}, **more})

    def active(self, group):
        return self.call("NexthopGroupMgrService.active", name=group).get("active", False)

    def until_active(self, *groups):
        for group in groups:
            eventually(lambda group=group: self.active(group), f"group {group} is active")

    def mac(self, number):
        return json.loads(self.switch.run("ip", "-j", "link", "show", f"Ethernet{number}"))[0]["address"]

    def host_mac(self, number):
        return json.loads(self.hosts[number].run("ip", "-j", "link", "show", "eth0"))[0]["address"]

    def wire(self, number):
        wire = Wire(self.hosts[number], "eth0")
        self.stack.callback(wire.socket.close)
        return wire

    def close(self):
        if self.agent:
            self.agent.kill()
        self.stack.close()


def why_not():
    """Why there can be no lab here; empty if there can."""
    try:
        Namespace()
    except (OSError, AssertionError) as error:
        return f"no network namespaces can be made: {error}"
    return ""


def required():
    return os.environ.get("VELM_LINUX_TESTS") == "required"


if __name__ == "__main__":
    sys.exit(why_not())
