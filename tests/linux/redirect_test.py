"""Redirects by group and DSCP: what policy maps do to packets, where they are applied, and what is told of them."""
from scapy.all import IP, IPv6

from support.agent import eventually
from traffic import FAR4, TrafficTest, main, setUpModule  # pylint: disable=unused-import

KEY = {"name": "cbf", "feature": "POLICY_FEATURE_PBR"}


class RedirectTest(TrafficTest):
    init = ("--policy-map", "cbf")

    def setUp(self):
        for number, name in ((2, "two"), (3, "three")):
            self.group(name, f"10.0.{number}.2@Ethernet{number}")
        self.route("198.51.100.0/24", "two")
        self.route("2001:db8:100::/48", "two")

    def redirect(self, *words, delete=False):
        self.lab.velmctl("cbf", "del" if delete else "add", *words)

    def apply(self, apply=True, direction="ACL_DIRECTION_IN", intf="Ethernet1"):
        self.lab.call("PolicyMapMgrService.policy_map_apply", key=KEY, intf=intf, direction=direction, apply=apply)

    def statuses(self):
        status = self.lab.call("PolicyMapMgrService.hw_status", key=KEY)
        return {place["key"]["intf_id"]: place["status"] for place in
                status.get("hw_status", {}).get("intf_statuses", [])}

    def goes_to(self, number, frame, hops):
        self.passes(frame / self.payload(), number, self.out(number) / hops / self.payload())

    def test_a_redirect_acts_where_it_is_applied(self):
        four = lambda dscp, ttl=64: self.frame4(ttl=ttl, tos=dscp << 2)
        six = lambda dscp, hlim=64: self.frame6(hlim=hlim, tc=dscp << 2)
        self.redirect("two", "three", "--ipv4", "46", "--ipv6", "10")
        self.goes_to(2, four(46), four(46, 63)[IP])  # applied nowhere
        self.apply()
        eventually(lambda: self.statuses() == {"Ethernet1": "POLICY_MAP_STATUS_PROGRAMMED"}, "it is programmed")
        for dscp, number in ((46, 3), (45, 2), (10, 2)):
            self.goes_to(number, four(dscp), four(dscp, 63)[IP])
        for dscp, number in ((10, 3), (46, 2)):
            self.goes_to(number, six(dscp), six(dscp, 63)[IPv6])
        self.redirect("two", "three", "--ipv4", "45")
        self.goes_to(3, four(45), four(45, 63)[IP])
        self.goes_to(2, four(46), four(46, 63)[IP])
        self.redirect("two", "three", delete=True)
        eventually(lambda: set(self.flows(1).values()) == {(2, ())} and self.at(2, four(45)), "it is removed")
        self.apply(False)

    def at(self, number, frame):
        self.wires[number].drain()
        self.wires[1].send(frame / self.payload())
        return self.wires[number].receive(lambda got: IP in got and got[IP].dst == FAR4, within=0.5)

    def test_other_rules_are_told_as_failed(self):
        self.apply(direction="ACL_DIRECTION_OUT", intf="Ethernet2")
        eventually(lambda: self.statuses().get("Ethernet2") == "POLICY_MAP_STATUS_UNSUPPORTED", "out is unsupported")
        self.apply(False, direction="ACL_DIRECTION_OUT", intf="Ethernet2")
        self.lab.call("PolicyMapMgrService.policy_map_is", policy_map={"key": {**KEY, "name": "other"}, "rules": {
            "1": {"class_map_key": KEY, "policy_map_rule_type": "POLICY_MAP_RULE_TYPE_CLASS_MAP",
                  "raw_rule": {"ip_type": "ACL_IP_TYPE_ANY"},
                  "actions": [{"action_type": "POLICY_ACTION_TYPE_DROP"}]}}})
        self.lab.call("PolicyMapMgrService.policy_map_apply", key={**KEY, "name": "other"}, intf="Ethernet3",
                      direction="ACL_DIRECTION_IN", apply=True)
        eventually(lambda: "FAILED" in str(self.lab.call("PolicyMapMgrService.hw_status",
                                                         key={**KEY, "name": "other"})), "it has failed")


if __name__ == "__main__":
    main()
