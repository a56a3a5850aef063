"""Packets of every kind: what is forwarded, what is the kernel's, what is dropped; and the hosts' own stacks."""
import hashlib
import socket
import threading

from scapy.all import ICMP, IP, UDP, Dot1Q, Ether, IPOption_RR, Raw, fragment

from support.agent import DEADLINE, eventually
from traffic import FAR4, FAR6, TrafficTest, main, setUpModule  # pylint: disable=unused-import


class PacketTest(TrafficTest):
    def setUp(self):
        self.group("plain", "10.0.2.2@Ethernet2")
        self.route("198.51.100.0/24", "plain")
        self.route("2001:db8:100::/48", "plain")

    def set_route(self, prefix, group, preference=1):
        key = {"prefix": prefix, "preference": preference}
        self.lab.call("IpRouteMgrService.ip_route_set", ip_route={"key": key})
        self.lab.call("IpRouteMgrService.ip_route_via_set", via={"route_key": key, "nexthop_group": group})
        self.addCleanup(lambda: self.lab.call("IpRouteMgrService.ip_route_del", key=key))
        return key

    def test_the_longest_prefix_and_the_lowest_preference_hold(self):
        for number in (3, 31, 32, 33, 34):
            self.group_of(f"to{number}", self.entry(3, 100 + number))
            self.lab.until_active(f"to{number}")
        for far, shorter in ((FAR4, ("0.0.0.0/0", "198.51.100.7/32")), (FAR6, ("::/0", "2001:db8:100::7/128"))):
            elsewhere = "203.0.113.9" if "." in far else "2001:db8:dead::1"
            steps = ((shorter[0], "to31", 1, far, (2, ())), (shorter[0], "to31", 1, elsewhere, (3, (131,))),
                     (shorter[1], "to32", 9, far, (3, (132,))), (shorter[1], "to33", 7, far, (3, (133,))),
                     (shorter[1], "to34", 8, far, (3, (133,))))
            keys = []
            for prefix, group, preference, probed, expected in steps:
                keys.append(self.set_route(prefix, group, preference))
                self.assertEqual(self.flows(1, probed), {0: expected})
            for index, expected in ((3, (3, (134,))), (4, (3, (132,))), (2, (2, ()))):
                self.lab.call("IpRouteMgrService.ip_route_del", key=keys[index])
                self.assertEqual(self.flows(1, far), {0: expected})

    def test_what_passes_unchanged(self):
        """Padding is cut, later fragments go where the first goes, ECN stays."""
        inner = self.frame4(ttl=63)[IP]
        udp = UDP(sport=1, dport=2, chksum=0x1234) / Raw(b"x")
        self.wires[1].send(bytes(self.frame4() / udp) + b"\0" * 17)
        got = self.wires[2].receive(lambda frame: bytes(inner / udp) in bytes(frame))
        self.assertIsNotNone(got)
        self.group("both", "10.0.2.2@Ethernet2", "10.0.3.2@Ethernet3")
        self.route("198.51.100.0/24", "both")
        for port in range(8):
            whole = self.frame4(tos=3) / UDP(sport=port, dport=7, chksum=0x1234) / Raw(b"y" * 90)
            pieces = fragment(whole, fragsize=40)
            self.assertEqual(len(pieces), 3)
            for piece in pieces:
                self.wires[1].send(piece)
            came = {number: 0 for number in (2, 3)}
            for number in came:
                while self.wires[number].receive(lambda frame: IP in frame and frame[IP].tos == 3, 0.05):
                    came[number] += 1
            self.assertIn(3, came.values())

    def test_what_is_the_kernels(self):
        """Nothing of it is dropped by the program, and the kernel does with it what it will."""
        self.lab.switch.ip("route replace 203.0.113.0/24 via 10.0.3.2")
        self.addCleanup(lambda: self.lab.switch.ip("route del 203.0.113.0/24"))
        drops = self.lab.show()["drops"]
        options = self.frame4(dst="203.0.113.9", options=[IPOption_RR()]) / self.payload()
        self.wires[1].send(options)
        got = self.wires[3].receive(lambda frame: IP in frame and frame[IP].dst == "203.0.113.9")
        self.assertIsNotNone(got, "options are not for the kernel")
        many = Ether(src=self.lab.host_mac(1), dst="01:00:5e:00:00:01") / IP(src="10.0.1.2", dst="224.0.0.1", ttl=1)
        self.wires[1].send(many / ICMP())
        self.wires[1].send(Ether(bytes(self.frame4(dst="224.0.0.5", ttl=1) / self.payload())))
        other = Ether(src=self.lab.host_mac(1), dst="02:00:00:00:00:01") / self.frame4()[IP] / self.payload()
        self.wires[1].send(other)
        self.lab.hosts[1].run("ping", "-c", "1", "-W", "5", "10.0.1.1")
        self.lab.hosts[1].run("ping", "-c", "1", "-W", "5", "fe80::1%eth0", check=False)
        self.assertEqual(self.lab.show()["drops"], drops)

    def test_frames_of_a_vlan_without_a_device_are_the_kernels(self):
        before = self.lab.show()["drops"]
        self.wires[1].send(Ether(src=self.lab.host_mac(1), dst=self.lab.mac(1)) / Dot1Q(vlan=7) /
                           self.frame4()[IP] / self.payload())
        self.assertIsNone(self.wires[2].receive(lambda frame: IP in frame and frame[IP].dst == FAR4, 0.2))
        self.assertEqual(self.lab.show()["drops"], before)

    def test_errors_are_told_no_faster_than_allowed(self):
        """At once as many as may come at once, and then a thousand a second of each CPU."""
        frame = bytes(self.frame4(ttl=1) / self.payload())
        before = self.lab.dropped("ttl_expired")
        for _ in range(2000):
            self.wires[1].send(frame)
        eventually(lambda: self.lab.dropped("ttl_expired") == before + 2000, "all are dropped")
        told = 0
        while self.wires[1].receive(lambda frame: ICMP in frame and frame[ICMP].type == 11, 0.2):
            told += 1
        self.assertGreaterEqual(told, 50)
        self.assertLess(told, 1500)

    def far_host(self, *addresses):
        for address in addresses:
            self.lab.hosts[2].ip(f"addr replace {address} dev lo")

    def test_tcp_brings_all_bytes(self):
        self.far_host("198.51.100.7/32", "2001:db8:100::7/128")
        for family, far in ((socket.AF_INET, FAR4), (socket.AF_INET6, FAR6)):
            data = hashlib.shake_128(far.encode()).digest(4 << 20)
            with self.lab.hosts[2]:
                server = socket.create_server((far, 0), family=family)
            with self.lab.hosts[1]:
                client = socket.socket(family, socket.SOCK_STREAM)
            with server, client:
                client.settimeout(DEADLINE)
                server.settimeout(DEADLINE)
                client.connect(server.getsockname()[:2])
                sender = threading.Thread(target=lambda: (client.sendall(data), client.shutdown(socket.SHUT_WR)))
                sender.start()
                taken = server.accept()[0]
                taken.settimeout(DEADLINE)
                with taken:
                    came = b"".join(iter(lambda: taken.recv(1 << 16), b""))
                sender.join()
            self.assertEqual(hashlib.sha256(came).digest(), hashlib.sha256(data).digest())

    def test_ping_and_traceroute(self):
        self.far_host("198.51.100.7/32", "2001:db8:100::7/128")
        for far in (FAR4, FAR6):
            for size in ("56", "8000"):
                self.lab.hosts[1].run("ping", "-c", "2", "-i", "0.2", "-W", "5", "-s", size, far)
        for far, switch in ((FAR4, "10.0.1.1"), (FAR6, "2001:db8:1::1")):
            hops = self.lab.hosts[1].run("traceroute", "-n", "-q", "1", "-w", "2", far)
            self.assertRegex(hops, rf" 1  {switch} .*\n 2  {far} ")

    def test_hosts_learn_the_path_mtu(self):
        self.far_host("198.51.100.7/32", "2001:db8:100::7/128")
        self.lab.switch.ip("link set Ethernet2 mtu 1400")
        self.addCleanup(lambda: self.lab.switch.ip("link set Ethernet2 mtu 1500"))
        for far, header in ((FAR4, 28), (FAR6, 48)):
            ping = lambda size: self.lab.hosts[1].run("ping", "-c", "2", "-i", "0.3", "-W", "2", "-M", "do", "-s",
                                                      str(size - header), far, check=False)
            ping(1450)
            self.assertIn("mtu 1400", self.lab.hosts[1].ip(f"route get {far}"))
            self.assertIn(" 0% packet loss", ping(1400))


if __name__ == "__main__":
    main()
