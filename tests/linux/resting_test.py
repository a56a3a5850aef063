"""What rests on something else: hops that tunnels, networks and other routes lead to, and what becomes of them."""
from scapy.all import IP
from scapy.contrib.mpls import MPLS

from support.agent import eventually
from traffic import TrafficTest, main, setUpModule  # pylint: disable=unused-import


class RestingTest(TrafficTest):

    def setUp(self):
        for number, name in ((2, "two"), (3, "three")):
            self.group(name, f"10.0.{number}.2@Ethernet{number}")

    def via(self, prefix, hop, **more):
        """A route whose via names no interface."""
        key = {"prefix": prefix, "preference": 1}
        self.lab.call("IpRouteMgrService.ip_route_set", ip_route={"key": key})
        self.addCleanup(lambda: self.lab.call("IpRouteMgrService.ip_route_del", key=key))
        self.lab.call("IpRouteMgrService.ip_route_via_set", via={"route_key": key, "hop": hop, **more})

    def tunnel(self, prefix, group, metric=0):
        self.lab.velmctl("tunnel", "add", prefix, group, "--metric", str(metric))
        self.addCleanup(lambda: self.lab.velmctl("tunnel", "del", prefix, check=False))

    def leads_to(self, number, labels=()):
        """With the next packet, to a host or nowhere."""
        expected = {} if number is None else {each: (number, labels) for each in range(4)}
        self.assertEqual(self.flows(4, within=0.3 if number is None else 5), expected)

    def test_a_tunnel_leads_to_the_hops_under_its_endpoint(self):
        self.via("198.51.100.0/24", "192.0.2.1")
        self.leads_to(None)
        self.tunnel("192.0.2.0/24", "two", 20)
        self.leads_to(2)
        self.tunnel("192.0.0.0/16", "three", 10)  # cheaper
        self.leads_to(3)
        self.tunnel("192.0.0.0/16", "three", 20)  # as dear, and shorter
        self.leads_to(2)
        self.lab.velmctl("nhg", "add", "two", "10.0.3.2@Ethernet3,push=70")
        self.leads_to(3, (70,))
        self.lab.velmctl("tunnel", "del", "192.0.2.0/24")
        self.leads_to(3)
        self.lab.velmctl("tunnel", "del", "192.0.0.0/16")
        self.leads_to(None)

    def test_labels_are_within_those_of_what_leads_on(self):
        self.lab.velmctl("nhg", "add", "outer", "10.0.2.2@Ethernet2,push=70")
        self.lab.until_active("outer")
        self.tunnel("192.0.2.0/24", "outer")
        self.via("198.51.100.0/24", "192.0.2.1", mpls_label=80)
        self.leads_to(2, (70, 80))
        key = {"labels": [100], "metric": 0}
        self.lab.call("MplsRouteMgrService.mpls_route_set", route={"key": key})
        self.addCleanup(lambda: self.lab.call("MplsRouteMgrService.mpls_route_del", key=key))
        self.lab.call("MplsRouteMgrService.mpls_route_via_set", via={
            "route_key": key, "hop": "192.0.2.9", "label_action": "MPLS_ACTIONS_SWAP", "pushswap_label": 200})
        inner = self.frame4()[IP] / self.payload()
        ethernet = self.frame4().copy()
        ethernet.remove_payload()
        self.passes(ethernet / MPLS(label=100, s=1, ttl=9) / inner, 2,
                    self.out(2) / MPLS(label=70, s=0, ttl=8) / MPLS(label=200, s=1, ttl=8) / inner)

    def test_routes_rest_on_routes_four_deep(self):
        self.route("192.0.2.0/24", "two")
        for level in range(1, 5):
            self.via("198.51.100.0/24" if level == 4 else f"192.0.{2 + level}.0/24", f"192.0.{1 + level}.1")
        self.leads_to(2)
        self.lab.velmctl("route", "add", "192.0.2.0/24", "three")
        self.leads_to(3)
        self.lab.velmctl("route", "del", "192.0.2.0/24")
        self.leads_to(None)
        # One deeper it is too deep.
        self.route("192.0.1.0/24", "two")
        self.via("192.0.2.0/24", "192.0.1.1")
        self.leads_to(None)
        # A route that rests on nothing any more is not deep.
        self.route("192.0.5.0/24", "three")
        self.leads_to(3)

    def test_routes_that_rest_on_each_other_lead_nowhere(self):
        self.via("198.51.100.0/24", "192.0.2.1")
        self.via("192.0.2.0/24", "198.51.100.1")
        self.leads_to(None)
        self.route("0.0.0.0/0", "three")  # leads to the hops of both
        self.lab.velmctl("route", "del", "0.0.0.0/0")
        self.leads_to(None)
        self.route("192.0.2.0/25", "two")
        self.leads_to(2)
        self.lab.velmctl("route", "del", "192.0.2.0/25")
        self.leads_to(None)

    def test_a_network_that_comes_leads_to_its_hops(self):
        self.via("198.51.100.0/24", "10.8.0.2")
        self.leads_to(None)
        self.lab.switch.ip("addr add 10.8.0.1/24 dev Ethernet3")
        self.lab.hosts[3].ip("addr add 10.8.0.2/24 dev eth0")
        eventually(lambda: self.flows(1, within=0.5), "the hop is reached")
        self.leads_to(3)
        self.lab.switch.ip("addr del 10.8.0.1/24 dev Ethernet3")
        eventually(lambda: not self.flows(1, within=0.3), "the hop is reached no more")


if __name__ == "__main__":
    main()
