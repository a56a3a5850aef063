"""Labelled packets: what routes by label, groups and VRF labels do to them, byte for byte."""
import threading

from scapy.all import GRE, ICMP, IP, Ether, IPv6
from scapy.contrib.mpls import MPLS

from support.agent import eventually
from traffic import TrafficTest, main, setUpModule  # pylint: disable=unused-import

ROUTES = "MplsRouteMgrService"
BEYOND = MPLS(label=900, cos=1, s=1, ttl=77)


class MplsTest(TrafficTest):
    hosts = 4

    @classmethod
    def prepare(cls):
        with open(f"{cls.lab.folder}/config", "w", encoding="ascii") as file:
            file.write("interface Ethernet4\nvrf red\n")
        cls.lab.options += ["--switch-config", f"{cls.lab.folder}/config"]

    def setUp(self):
        self.group("plain", "10.0.2.2@Ethernet2")  # keeps the host resolved

    def label(self, label, check=True, metric=0, **via):
        """A route of one via to host 2."""
        key = {"labels": [label], "metric": metric}
        self.lab.call(f"{ROUTES}.mpls_route_set", route={"key": key})
        self.addCleanup(lambda: self.lab.call(f"{ROUTES}.mpls_route_del", check=False, key=key))
        via = {"hop": "10.0.2.2", "intf": "Ethernet2", **via}
        if "nexthop_group" in via:
            del via["hop"], via["intf"]
        return self.lab.call(f"{ROUTES}.mpls_route_via_set", check=check, via={"route_key": key, **via})

    def native(self, *words):
        self.lab.velmctl("mpls", "add", *words)
        self.addCleanup(lambda: self.lab.velmctl("mpls", "del", words[0], check=False))

    def arriving(self, *layers):
        frame = Ether(src=self.lab.host_mac(1), dst=self.lab.mac(1))
        for layer in layers:
            frame /= layer
        return frame

    def becomes(self, sent, expected, number=2):
        """Each is a list of layers; the payload is the same."""
        out = self.out(number)
        for layer in expected:
            out /= layer
        self.passes(self.arriving(*sent) / self.payload(), number, out / self.payload())

    def ip4(self, ttl=64):
        return self.frame4(ttl=ttl)[IP]

    def ip6(self, hlim=64):
        return self.frame6(hlim=hlim)[IPv6]

    def test_a_nexthop_swaps_pushes_and_pops(self):
        self.label(100, label_action="MPLS_ACTIONS_SWAP", pushswap_label=200)
        self.label(101, label_action="MPLS_ACTIONS_PUSH", pushswap_label=300)
        self.label(102, label_action="MPLS_ACTIONS_POP")
        self.label(103, label_action="MPLS_ACTIONS_SWAP", pushswap_label=3)
        self.label(104, label_action="MPLS_ACTIONS_SWAP", pushswap_label=0)
        self.label(105, label_action="MPLS_ACTIONS_FORWARD")
        for packet in (self.ip4(), self.ip6()):
            self.becomes([MPLS(label=100, cos=5, s=1, ttl=64), packet], [MPLS(label=200, cos=5, s=1, ttl=63), packet])
            self.becomes([MPLS(label=100, cos=5, s=0, ttl=64), BEYOND, packet],
                         [MPLS(label=200, cos=5, s=0, ttl=63), BEYOND, packet])
            self.becomes([MPLS(label=101, cos=2, s=1, ttl=9), packet],
                         [MPLS(label=300, cos=2, s=0, ttl=8), MPLS(label=101, cos=2, s=1, ttl=8), packet])
            self.becomes([MPLS(label=104, cos=3, s=1, ttl=9), packet], [MPLS(label=0, cos=3, s=1, ttl=8), packet])
            self.becomes([MPLS(label=105, cos=3, s=1, ttl=9), packet], [MPLS(label=105, cos=3, s=1, ttl=8), packet])
            # What is uncovered gets the TTL, if that is lower, and the EXP.
            self.becomes([MPLS(label=102, cos=5, s=0, ttl=9), BEYOND, packet],
                         [MPLS(label=900, cos=5, s=1, ttl=8), packet])
            self.becomes([MPLS(label=102, cos=5, s=0, ttl=200), BEYOND, packet],
                         [MPLS(label=900, cos=5, s=1, ttl=77), packet])
        for label in (102, 103):
            self.becomes([MPLS(label=label, s=1, ttl=9), self.ip4(64)], [self.ip4(8)])
            self.becomes([MPLS(label=label, s=1, ttl=9), self.ip6(64)], [self.ip6(8)])
            self.becomes([MPLS(label=label, s=1, ttl=200), self.ip4(64)], [self.ip4(64)])

    def test_a_pipe_keeps_what_is_in_it(self):
        self.label(110, label_action="MPLS_ACTIONS_POP", ttl_mode="MPLS_TTL_MODE_PIPE")
        self.label(111, label_action="MPLS_ACTIONS_POP", payload_type="MPLS_PAYLOAD_TYPE_IPV4")
        self.becomes([MPLS(label=110, cos=5, s=0, ttl=9), BEYOND, self.ip4()], [BEYOND, self.ip4()])
        self.becomes([MPLS(label=110, s=1, ttl=9), self.ip4()], [self.ip4()])
        self.becomes([MPLS(label=111, s=1, ttl=200), self.ip4()], [self.ip4()])
        self.drops("bad_header", MPLS(label=111, s=1, ttl=9), self.ip6())

    def test_a_group_says_what_is_done(self):
        entry = self.entry(2)
        acts = {"push": {"action_type": "MPLS_ACTIONS_PUSH", "label_stack": [31, 32]},
                "swap": {"action_type": "MPLS_ACTIONS_SWAP", "label_stack": [31, 32]},
                "pop": {"action_type": "MPLS_ACTIONS_POP"}}
        for name, action in acts.items():
            self.group_of(name, {**entry, "mpls_action": action})
        self.lab.until_active(*acts)
        pushed = [MPLS(label=31, cos=4, s=0, ttl=9), MPLS(label=32, cos=4, s=0, ttl=9)]
        sent = [MPLS(label=120, cos=4, s=1, ttl=10), self.ip4()]
        bottom = MPLS(label=32, cos=4, s=1, ttl=9)
        for number, (words, expected) in enumerate((
                (("--group", "push"), [*pushed, MPLS(label=120, cos=4, s=1, ttl=9), self.ip4()]),
                (("--group", "swap"), [pushed[0], bottom, self.ip4()]),
                (("--group", "pop"), [self.ip4(9)]),
                (("--group", "plain"), [MPLS(label=120, cos=4, s=1, ttl=9), self.ip4()]),
                (("--group", "plain", "--pop"), [self.ip4(9)]),
                (("--group", "push", "--pop"), [pushed[0], bottom, self.ip4()]))):
            with self.subTest(number):
                self.native("120", *words)
                self.becomes(sent, expected)
        self.group_of("lacking", {**entry, "mpls_action": {"action_type": "MPLS_ACTIONS_PUSH", "label_stack": [3]}})
        self.lab.until_active("lacking")
        self.native("120", "--group", "lacking", "--pop")
        self.becomes(sent, [self.ip4(9)])
        # For a packet without a label a swap is a push.
        self.route("198.51.100.0/24", "swap")
        first, second = MPLS(label=31, s=0, ttl=63), MPLS(label=32, s=1, ttl=63)
        self.passes(self.frame4() / self.payload(), 2, self.out(2) / first / second / self.ip4(63) / self.payload())

    def test_labels_travel_in_a_tunnel(self):
        self.lab.tunnel_group("gre", "GRE", "10.0.2.2", "Ethernet2", "10.0.2.1", "192.0.2.9", ttl=33)
        self.lab.tunnel_group("ip", "IP_IN_IP", "10.0.2.2", "Ethernet2", "10.0.2.1", "192.0.2.9", ttl=33)
        self.lab.until_active("gre", "ip")
        outer = {"src": "10.0.2.1", "dst": "192.0.2.9", "ttl": 33, "id": 0, "flags": "DF"}
        within = MPLS(label=130, s=1, ttl=9) / self.ip4()
        self.native("130", "--group", "gre")
        self.becomes([MPLS(label=130, s=1, ttl=10), self.ip4()], [IP(**outer), GRE(proto=0x8847), within])
        self.native("130", "--group", "ip")
        self.becomes([MPLS(label=130, s=1, ttl=10), self.ip4()], [IP(**outer, proto=137), within])

    def test_a_label_of_a_vrf_is_taken_off_before_the_lookup(self):
        self.route("198.51.100.0/24", "plain")
        self.route("2001:db8:100::/48", "plain")
        self.lab.velmctl("nhg", "add", "red", "10.0.4.2@Ethernet4")
        self.lab.until_active("red")
        key = {"prefix": "198.51.100.0/24", "preference": 1}
        self.lab.call("IpRouteMgrService.ip_route_set", ip_route={"key": key}, vrf_name="red")
        self.lab.call("IpRouteMgrService.ip_route_via_set", via={"route_key": key, "nexthop_group": "red"},
                      vrf_name="red")
        self.native("140", "--vrf", "red")
        self.becomes([MPLS(label=140, s=1, ttl=200), self.ip4()], [self.ip4(63)], number=4)
        self.becomes([MPLS(label=140, s=1, ttl=10), self.ip4()], [self.ip4(9)], number=4)
        # An explicit null stands before a packet of the VRF where it came in.
        self.becomes([MPLS(label=0, s=1, ttl=10), self.ip4()], [self.ip4(9)])
        self.becomes([MPLS(label=2, s=1, ttl=10), self.ip6()], [self.ip6(9)])
        self.drops("bad_header", MPLS(label=2, s=1, ttl=10), self.ip4())
        self.drops("unknown_label", MPLS(label=140, s=0, ttl=10), BEYOND, self.ip4())
        # What is ours is the kernel's, without its label.
        self.lab.hosts[1].run("ping", "-c", "1", "-W", "5", "10.0.1.1")
        ping = IP(src="10.0.1.2", dst="10.0.1.1") / ICMP(id=77, seq=1) / b"velm"
        self.told(self.arriving(MPLS(label=0, s=1, ttl=10)) / ping,
                  lambda frame: ICMP in frame and (frame[ICMP].type, frame[ICMP].id) == (0, 77))

    def drops(self, reason, *layers):
        before = self.lab.dropped(reason)
        self.wires[1].send(self.arriving(*layers) / self.payload())
        eventually(lambda: self.lab.dropped(reason) == before + 1, f"a drop by {reason}")

    def test_what_no_label_says_is_dropped(self):
        self.label(150, label_action="MPLS_ACTIONS_SWAP", pushswap_label=200)
        self.drops("unknown_label", MPLS(label=151, s=1, ttl=10), self.ip4())
        self.drops("ttl_expired", MPLS(label=150, s=1, ttl=1), self.ip4())
        self.native("150", "--group", "nobody")
        self.drops("no_group", MPLS(label=150, s=1, ttl=9), self.ip4())

    def test_the_lowest_metric_forwards(self):
        for metric in (5, 7, 3):
            self.label(160, metric=metric, label_action="MPLS_ACTIONS_SWAP", pushswap_label=160 + metric)
        for metric in (3, 5, 7):
            self.becomes([MPLS(label=160, s=1, ttl=10), self.ip4()], [MPLS(label=160 + metric, s=1, ttl=9), self.ip4()])
            self.lab.call(f"{ROUTES}.mpls_route_del", key={"labels": [160], "metric": metric})
        self.drops("unknown_label", MPLS(label=160, s=1, ttl=10), self.ip4())

    def test_a_label_that_changes_is_never_without_a_way(self):
        """A client's update deletes and sets it anew, in one form or another."""
        self.route("198.51.100.0/24", "plain")
        self.native("165", "--group", "plain")
        frame = bytes(self.arriving(MPLS(label=165, s=1, ttl=10), self.ip4()) / self.payload())
        before, stop = self.lab.dropped("unknown_label"), threading.Event()

        def send():
            while not stop.is_set():
                self.wires[1].socket.send(frame)

        sender = threading.Thread(target=send)
        sender.start()
        through = {"label": 165, "forward_nexthop_group": {"nexthop_group": "plain"}}
        forms = [through, through, {"label": 165, "pop_and_forward_vrf_name": "default"}, through]
        try:
            for _ in range(10):
                self.lab.call("velmsdk_service.mpls_route_bulk", mpls_route=forms * 100)
        finally:
            stop.set()
            sender.join()
        self.assertEqual(self.lab.dropped("unknown_label"), before)

    def test_what_cannot_be_carried_out_is_refused(self):
        key = {"labels": [1, 2], "metric": 0}
        self.assertIn("told by one label", self.lab.refused(f"{ROUTES}.mpls_route_set", route={"key": key}))
        said = self.label(170, False, nexthop_group="plain", label_action="MPLS_ACTIONS_PUSH", pushswap_label=9)
        self.assertIn("labels are written by the entries", said["error"]["message"])


if __name__ == "__main__":
    main()
