"""What tests of packets have in common: a lab, what they program, frames that are compared, flows that are traced."""
import select
import socket
import struct
import sys
import time
import unittest

from scapy.all import ICMP, IP, UDP, Ether, IPv6, Raw
from scapy.utils import checksum

import lab as labs
from support.agent import DEADLINE

FAR4, FAR6 = "198.51.100.7", "2001:db8:100::7"
MARK = b"velmprobe"


def setUpModule():
    if why := labs.why_not():
        if labs.required():
            raise AssertionError(why)
        raise unittest.SkipTest(why)


def main():
    unittest.main(argv=[sys.argv[0], *sys.argv[3:]], verbosity=2)


def is_error(frame):
    return ICMP in frame and frame[ICMP].type not in (0, 8)


def probe(destination, number, ttl=64):
    """An IP packet that can be told by its number, of a flow of its own."""
    payload = MARK + struct.pack("!Q", number)
    datagram = struct.pack("!HHHH", 1024 + number % 60000, 7 + number // 60000, 8 + len(payload), 0) + payload
    if ":" in destination:
        addresses = socket.inet_pton(socket.AF_INET6, "2001:db8:1::2") + socket.inet_pton(socket.AF_INET6, destination)
        return struct.pack("!IHBB", 6 << 28, len(datagram), socket.IPPROTO_UDP, ttl) + addresses + datagram
    header = struct.pack("!BBHHHBBH4s4s", 0x45, 0, 20 + len(datagram), 7, 0, ttl, socket.IPPROTO_UDP, 0,
                         socket.inet_aton("10.0.1.2"), socket.inet_aton(destination))
    return header[:10] + struct.pack("!H", checksum(header)) + header[12:] + datagram


def reading(frame):
    """The number of a probe in a frame, and the labels before it, outermost first; None for another frame."""
    place = frame.rfind(MARK)
    if place < 0:
        return None
    labels, at = [], 14
    if frame[12:14] == b"\x88\x47":
        while True:
            word = struct.unpack_from("!I", frame, at)[0]
            labels.append(word >> 12)
            at += 4
            if word >> 8 & 1:
                break
    return struct.unpack_from("!Q", frame, place + len(MARK))[0], tuple(labels)


class TrafficTest(unittest.TestCase):
    """One lab for all tests of a class; each programs what it needs under names of its own."""
    hosts = 3
    options = ()
    init = ()  # of the session with the agent

    @classmethod
    def setUpClass(cls):
        cls.lab = labs.Lab(*sys.argv[1:3], hosts=cls.hosts, options=cls.options, init=cls.init)
        cls.addClassCleanup(cls.lab.close)
        cls.prepare()
        cls.lab.start()
        cls.wires = {number: cls.lab.wire(number) for number in cls.lab.hosts}

    @classmethod
    def prepare(cls):
        """What a class has to do before its agent starts."""

    def ethernet(self):
        return bytes.fromhex((self.lab.mac(1) + self.lab.host_mac(1)).replace(":", ""))

    def frame4(self, **ip):
        return Ether(src=self.lab.host_mac(1), dst=self.lab.mac(1)) / IP(
            src="10.0.1.2", dst=ip.pop("dst", FAR4), ttl=ip.pop("ttl", 64), id=7, **ip)

    def frame6(self, **ip):
        return Ether(src=self.lab.host_mac(1), dst=self.lab.mac(1)) / IPv6(
            src="2001:db8:1::2", dst=ip.pop("dst", FAR6), hlim=ip.pop("hlim", 64), **ip)

    def payload(self, size=40):
        return UDP(sport=4000, dport=5000) / Raw(bytes(i % 251 for i in range(size)))

    def group(self, name, *nexthops, active=True):
        self.lab.velmctl("nhg", "add", name, *nexthops)
        if active:
            self.lab.until_active(name)

    def group_of(self, name, *entries):
        """A group of entries as the schema has them."""
        return self.lab.call("NexthopGroupMgrService.nexthop_group_set", nexthop_group=self.form(name, *entries))

    def form(self, name, *entries):
        return {"name": name, "type": "NEXTHOP_GROUP_ENCAP_TYPES_MPLS",
                "nexthops": {str(index): entry for index, entry in enumerate(entries)}}

    def entry(self, number, *labels, address="10.0.{}.2"):
        """A way out by host number; labels outermost first."""
        entry = {"nexthop": address.format(number), "intf": f"Ethernet{number}"}
        return {**entry, **self.pushing(*labels)}

    def pushing(self, *labels):
        return {"mpls_action": {"action_type": "MPLS_ACTIONS_PUSH", "label_stack": labels}} if labels else {}

    def route(self, prefix, group):
        self.lab.velmctl("route", "add", prefix, group)
        self.addCleanup(lambda: self.lab.velmctl("route", "del", prefix, check=False))

    def passes(self, sent, number, expected):
        """The frame that the host sends reaches the other as exactly that."""
        wanted = bytes(expected)
        self.wires[number].drain()
        self.wires[1].send(sent)
        got = self.wires[number].receive(lambda frame: bytes(frame)[:len(wanted)] == wanted or
                                         bytes(frame)[12:14] == wanted[12:14] and len(frame) == len(wanted))
        self.assertIsNotNone(got, "nothing came")
        self.assertEqual(bytes(got).hex(), wanted.hex(), got.show(dump=True))

    def out(self, number):
        return Ether(src=self.lab.mac(number), dst=self.lab.host_mac(number))

    def told(self, sent, wanted):
        """What the sender of the frame is told of it."""
        self.wires[1].drain()
        self.wires[1].send(sent)
        got = self.wires[1].receive(wanted)
        self.assertIsNotNone(got, "no error came")
        return got

    def trace(self, packets, within=DEADLINE, expected=None):
        """Sends probes by their numbers, and tells of each (host, labels) where it came out, once as many as are
        expected have, or the time is up; what was dropped is not there. One that comes twice fails."""
        for wire in self.wires.values():
            wire.drain()
        ethernet = self.ethernet()
        came = {}
        left = list(packets.items())
        expected = len(packets) if expected is None else expected
        end = time.monotonic() + within
        while left or (len(came) < expected and time.monotonic() < end):
            for _, packet in left[:64]:  # no more at once than queues hold
                self.wires[1].send(ethernet + (b"\x08\x00" if packet[0] >> 4 == 4 else b"\x86\xdd") + packet)
            left = left[64:]
            self.gather(came, 0 if left else 0.02)
        return came

    def gather(self, came, patience):
        """Reads what has come, until nothing does for that time."""
        wires = {wire.socket: (number, wire) for number, wire in self.wires.items()}
        while ready := select.select(list(wires), [], [], patience)[0]:
            for number, wire in (wires[one] for one in ready):
                data = wire.read()
                told = None if data is None or is_about(data) else reading(data)
                if told is not None:
                    self.assertNotIn(told[0], came)
                    came[told[0]] = (number, told[1])

    def flows(self, count, destination=FAR4, within=DEADLINE):
        """Where each of so many flows comes out."""
        return self.trace({number: probe(destination, number) for number in range(count)}, within)


def is_about(frame):
    """Whether it is an ICMP error, which quotes a probe."""
    return (frame[12:14], frame[23]) == (b"\x08\x00", 1) or (frame[12:14], frame[20]) == (b"\x86\xdd", 58)


