"""Packets through a switch that is programmed by a client, judged by Scapy and by the kernels of the hosts."""
import json

from scapy.all import GRE, ICMP, IP, Ether, ICMPv6DestUnreach, ICMPv6PacketTooBig, ICMPv6TimeExceeded, IPv6
from scapy.contrib.mpls import MPLS

from support.agent import eventually
from traffic import TrafficTest, is_error, main, setUpModule  # pylint: disable=unused-import


class ForwardingTest(TrafficTest):

    def test_hosts_reach_each_other(self):
        for far in ("10.0.2.2", "2001:db8:2::2"):
            self.lab.hosts[1].run("ping", "-c", "3", "-i", "0.2", "-W", "5", far)

    def test_a_route_through_a_group_forwards_both_families(self):
        self.group("plain", "10.0.2.2@Ethernet2")
        self.route("198.51.100.0/24", "plain")
        self.route("2001:db8:100::/48", "plain")
        self.passes(self.frame4() / self.payload(), 2, self.out(2) / self.frame4(ttl=63)[IP] / self.payload())
        # IPv6 leaves by an IPv4 neighbour.
        self.passes(self.frame6() / self.payload(), 2, self.out(2) / self.frame6(hlim=63)[IPv6] / self.payload())

    def test_labels_are_pushed(self):
        # A client lists labels from the bottom of the stack.
        self.group("labels", "10.0.2.2@Ethernet2,push=16002/16001")
        self.route("198.51.100.0/24", "labels")
        inner = self.frame4(ttl=63, tos=0xb8)[IP] / self.payload()
        self.passes(self.frame4(tos=0xb8) / self.payload(), 2,
                    self.out(2) / MPLS(label=16001, cos=5, s=0, ttl=63) / MPLS(label=16002, cos=5, s=1, ttl=63) / inner)

    def test_sixteen_labels_are_pushed(self):
        labels = range(17, 33)
        self.group("deep", "10.0.2.2@Ethernet2,push=" + "/".join(map(str, reversed(labels))))
        self.route("198.51.100.0/24", "deep")
        expected = self.out(2)
        for label in labels:
            expected /= MPLS(label=label, s=int(label == 32), ttl=63)
        self.passes(self.frame4() / self.payload(), 2, expected / self.frame4(ttl=63)[IP] / self.payload())

    def test_tunnels_are_written(self):
        inner = self.frame4(ttl=63)[IP] / self.payload()
        for kind, within in (("IP_IN_IP", inner), ("GRE", GRE(proto=0x0800) / inner)):
            self.lab.tunnel_group(kind, kind, "10.0.2.2", "Ethernet2", "10.0.2.1", "192.0.2.9", ttl=33)
            self.lab.until_active(kind)
            self.route("198.51.100.0/24", kind)
            outer = IP(src="10.0.2.1", dst="192.0.2.9", ttl=33, id=0, flags="DF")
            self.passes(self.frame4() / self.payload(), 2, self.out(2) / outer / within)
        # With a key, which tells where the packet came in; before labels, too.
        key = json.loads(self.lab.switch.run("ip", "-j", "link", "show", "Ethernet1"))[0]["ifindex"]
        label = MPLS(label=77, s=1, ttl=63)
        for kind, labels, header in (("GRE", (), GRE(key_present=1, key=key, proto=0x0800)),
                                     ("MPLS_OVER_GRE", (77,), GRE(key_present=1, key=key, proto=0x8847) / label)):
            self.lab.tunnel_group(kind, kind, "10.0.2.2", "Ethernet2", "10.0.2.1", "192.0.2.9", labels, ttl=33,
                                  gre_key_type="NEXTHOP_GROUP_GRE_KEY_TYPES_INGRESS_INTF")
            self.lab.until_active(kind)
            self.route("198.51.100.0/24", kind)
            self.passes(self.frame4() / self.payload(), 2, self.out(2) / outer / header / inner)

    def test_a_replaced_group_holds_for_the_next_packet(self):
        self.group("moving", "10.0.2.2@Ethernet2")
        self.group("moving", "10.0.3.2@Ethernet3")  # which has to answer first, and stays known when the group moves on
        self.route("198.51.100.0/24", "moving")
        for number in (2, 3, 2, 3):
            self.lab.velmctl("nhg", "add", "moving", f"10.0.{number}.2@Ethernet{number}")
            self.passes(self.frame4() / self.payload(), number,
                        self.out(number) / self.frame4(ttl=63)[IP] / self.payload())

    def test_a_longer_prefix_goes_before_a_host_of_a_network(self):
        self.lab.hosts[1].run("ping", "-c", "1", "-W", "5", "10.0.2.2")
        self.group("aside", "10.0.3.2@Ethernet3")
        sent = self.frame4(dst="10.0.2.2") / self.payload()
        for prefix, number in (("10.0.2.0/30", 3), ("10.0.0.0/16", 2)):
            self.route(prefix, "aside")
            self.passes(sent, number, self.out(number) / self.frame4(dst="10.0.2.2", ttl=63)[IP] / self.payload())
            self.lab.velmctl("route", "del", prefix)
            self.passes(sent, 2, self.out(2) / self.frame4(dst="10.0.2.2", ttl=63)[IP] / self.payload())

    def test_a_via_with_a_hop_forwards(self):
        key = {"prefix": "198.51.100.0/24", "preference": 1}
        self.lab.call("IpRouteMgrService.ip_route_set", ip_route={"key": key})
        self.lab.call("IpRouteMgrService.ip_route_via_set", via={"route_key": key, "hop": "10.0.3.2"})
        self.addCleanup(lambda: self.lab.call("IpRouteMgrService.ip_route_del", key=key))
        eventually(lambda: self.lab.hosts[1].run("ping", "-c", "1", "-W", "1", "10.0.3.2"), "the hop answers")
        self.passes(self.frame4() / self.payload(), 3, self.out(3) / self.frame4(ttl=63)[IP] / self.payload())

    def test_errors_are_told(self):
        self.group("narrow", "10.0.2.2@Ethernet2,push=100")
        self.route("198.51.100.0/24", "narrow")
        self.route("2001:db8:100::/48", "narrow")
        for sent, kind, code, mtu in ((self.frame4(ttl=1) / self.payload(), 11, 0, 0),
                                      (self.frame4(dst="203.0.113.1") / self.payload(), 3, 0, 0),
                                      (self.frame4(flags="DF") / self.payload(1472), 3, 4, 1496)):
            got = self.told(sent, is_error)
            self.assertEqual((got[IP].src, got[ICMP].type, got[ICMP].code), ("10.0.1.1", kind, code))
            self.assertEqual(bytes(got[ICMP].payload)[:20].hex(), bytes(sent[IP])[:20].hex())
            if mtu:
                self.assertEqual(got[ICMP].nexthopmtu, mtu)
            self.assert_sums_hold(got)
        for sent, kind in ((self.frame6(hlim=1) / self.payload(), ICMPv6TimeExceeded),
                           (self.frame6(dst="2001:db8:ffff::1") / self.payload(), ICMPv6DestUnreach),
                           (self.frame6() / self.payload(1452), ICMPv6PacketTooBig)):
            got = self.told(sent, lambda frame, kind=kind: kind in frame)
            self.assertEqual(got[IPv6].src, "2001:db8:1::1")
            self.assert_sums_hold(got)

    def assert_sums_hold(self, frame):
        """Scapy's sums are the frame's."""
        anew = frame.copy()
        for layer in (IP, ICMP):
            if layer in anew:
                del anew[layer].chksum
        for layer in (ICMPv6TimeExceeded, ICMPv6DestUnreach, ICMPv6PacketTooBig):
            if layer in anew:
                del anew[layer].cksum
        self.assertEqual(bytes(anew.__class__(bytes(anew))).hex(), bytes(frame).hex())

    def test_a_dropping_route_drops_and_tells(self):
        key = {"prefix": "198.51.100.0/24", "preference": 1}
        self.lab.call("IpRouteMgrService.ip_route_set", ip_route={"key": key}, action="IP_ROUTE_ACTIONS_DROP")
        self.addCleanup(lambda: self.lab.call("IpRouteMgrService.ip_route_del", key=key))
        got = self.told(self.frame4() / self.payload(), is_error)
        self.assertEqual((got[ICMP].type, got[ICMP].code), (3, 13))

    def test_malformed_packets_are_dropped_and_counted(self):
        self.group("plain", "10.0.2.2@Ethernet2")
        self.route("198.51.100.0/24", "plain")
        cases = (("bad_checksum", self.frame4(chksum=1) / self.payload()),
                 ("bad_header", self.frame4(len=4000) / self.payload()),
                 ("short_frame", Ether(bytes(self.frame4() / self.payload())[:30])))
        for reason, frame in cases:
            before = self.lab.dropped(reason)
            self.wires[1].send(frame)
            eventually(lambda: self.lab.dropped(reason) == before + 1, reason)


if __name__ == "__main__":
    main()
