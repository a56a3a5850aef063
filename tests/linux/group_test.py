"""Nexthop groups as flows see them: shares, what moves when a member goes, children, what clients are told."""
import json
import select
import subprocess
from collections import Counter

from scapy.all import ARP, IP, Ether

from support.agent import DEADLINE, eventually
from traffic import FAR4, FAR6, TrafficTest, main, probe, setUpModule  # pylint: disable=unused-import


class GroupTest(TrafficTest):
    def shares(self, flows):
        return Counter(place[0] for place in flows.values())

    def test_flows_spread_by_the_entries(self):
        """A member listed twice has twice the flows; a group within a group has the share of its entry."""
        self.group_of("pair", self.entry(2, 17), self.entry(3, 18))
        cases = (("even", [self.entry(2), self.entry(3)], {2: 1, 3: 1}),
                 ("twice", [self.entry(2), self.entry(2), self.entry(3)], {2: 2, 3: 1}),
                 ("seven", [*[self.entry(2)] * 7, self.entry(3)], {2: 7, 3: 1}),
                 ("nested", [{"child_nexthop_group": "pair"}, self.entry(2)], {2: 3, 3: 1}))
        for name, entries, weights in cases:
            with self.subTest(name):
                self.group_of(name, *entries)
                self.lab.until_active(name)
                self.route("198.51.100.0/24", name)
                shares = self.shares(self.flows(1000))
                for number, weight in weights.items():
                    self.assertAlmostEqual(shares[number] / 1000, weight / sum(weights.values()), delta=0.08)

    def test_only_flows_of_a_member_that_goes_move_and_they_come_back(self):
        self.group_of("four", *[self.entry(number, label) for number in (2, 3) for label in (101, 102)])
        self.lab.until_active("four")
        self.route("198.51.100.0/24", "four")
        whole = self.flows(500)
        self.assertEqual(len(whole), 500)
        self.addCleanup(lambda: self.lab.hosts[2].ip("link set eth0 up"))
        self.lab.hosts[2].ip("link set eth0 down")
        eventually(lambda: self.lab.call("IntfMgrService.oper_status", intf_id="Ethernet2")["oper_status"] ==
                   "OPER_STATUS_DOWN", "the link is down")
        half = self.flows(500)
        self.assertEqual(self.shares(half), {3: 500})
        self.assertTrue(self.lab.active("four"))
        for number, place in whole.items():
            if place[0] == 3:
                self.assertEqual(half[number], place)
        self.lab.up(2)
        eventually(lambda: self.flows(500) == whole, "all flows are where they were")

        # One that a client takes out moves what it had, too, and no other.
        self.group_of("four", self.entry(2, 101), self.entry(3, 101), self.entry(3, 102))
        for number, place in self.flows(500).items():
            if whole[number] != (2, (102,)):
                self.assertEqual(place, whole[number])

    def test_a_child_group_adds_its_labels_outside_and_moves_its_parents(self):
        self.group_of("parent", {"child_nexthop_group": "child", **self.pushing(30, 20)})
        self.assertFalse(self.lab.active("parent"))
        self.route("198.51.100.0/24", "parent")
        for number, labels in ((2, (10,)), (3, ()), (3, (11, 12))):
            self.group_of("child", self.entry(number, *labels))
            self.lab.until_active("child", "parent")
            self.assertEqual(set(self.flows(10).values()), {(number, (*labels, 30, 20))})
        self.lab.velmctl("nhg", "del", "child")
        eventually(lambda: not self.lab.active("parent"), "the parent is inactive")
        self.group_of("child", self.entry(2))
        self.lab.until_active("parent")
        self.assertEqual(set(self.flows(10).values()), {(2, (30, 20))})

    def test_what_cannot_be_is_refused_and_changes_nothing(self):
        self.group_of("a", {"child_nexthop_group": "b"})
        self.group_of("b", {"child_nexthop_group": "c"})
        self.group_of("c", self.entry(2, 42))
        self.lab.until_active("a", "b", "c")
        self.route("198.51.100.0/24", "a")
        into = lambda name, *labels: {"child_nexthop_group": name, **self.pushing(*labels)}
        for index in range(1, 14):
            self.group_of(f"bush{index}", *[into(f"bush{index - 1}")] * 2)
        for index in range(15):
            self.group_of(f"chain{index}", into(f"chain{index + 1}"))
        self.group_of("inner", into("c", *range(20, 30)))
        self.group_of("outer", into("tunnel", 20))
        tunnel = {**self.form("tunnel", self.entry(2)), "type": "NEXTHOP_GROUP_ENCAP_TYPES_IP_IN_IP",
                  "source_ip": "10.0.2.1", "destination_ips": {"0": "192.0.2.9"}}
        method = "NexthopGroupMgrService.nexthop_group_set"
        cases = ((self.form("c", into("a")), "itself"),
                 (self.form("c", self.entry(3), into("c")), "itself"),
                 (self.form("c", self.entry(2, *range(16, 33))), "17 labels"),
                 (self.form("c", {"intf": "Ethernet2"}), "no address"),
                 (self.form("c", self.entry(2, *range(16, 23))), "17"),
                 (self.form("bush0", *[self.entry(2)] * 9), "more than 65536 ways"),
                 (self.form("chain15", into("c")), "more than 15 others"),
                 (tunnel, "carries no labels"),
                 (self.form("c", *[self.entry(2, 16 + i) for i in range(65536)]), "no room"))
        for form, why in cases:
            with self.subTest(why):
                self.assertIn(why, self.lab.refused(method, nexthop_group=form))
                self.assertEqual(set(self.flows(10).values()), {(2, (42,))})
                self.assertTrue(self.lab.active("a"))

    def test_entries_count_what_goes_through_them(self):
        counted = lambda group, entry: self.lab.call("NexthopGroupMgrService.counter", name=group, entry=entry).get(
            "counter", {})
        own = {"counters_unshared": True}
        forms = {"shared": self.form("shared", self.entry(2), self.entry(3)),
                 "alike": self.form("alike", self.entry(2), self.entry(3)),
                 "own": {**self.form("own", self.entry(2), self.entry(3)), **own}}
        for form in forms.values():
            self.lab.call("NexthopGroupMgrService.nexthop_group_set", nexthop_group=form)
        self.lab.until_active(*forms)
        before = {(name, entry): int(counted(name, entry).get("packets", 0)) for name in forms for entry in (0, 1)}
        size = len(probe("198.51.100.7", 0))
        for group, same in (("own", ()), ("shared", ("alike",))):
            self.route("198.51.100.0/24", group)
            came = list(self.flows(200).values())
            for entry, number in enumerate((2, 3)):
                count = came.count((number, ()))
                self.assertGreater(count, 50)
                for name in (group, *same):
                    now = counted(name, entry)
                    self.assertEqual(int(now["packets"]) - before[name, entry], count)
                    if name == "own":
                        self.assertEqual(int(now["bytes"]), count * size)
        # An entry that stays goes on counting, one that comes begins at zero.
        self.lab.call("NexthopGroupMgrService.nexthop_group_set", nexthop_group={
            **self.form("own", self.entry(2), self.entry(3), self.entry(2, 70)), **own})
        self.assertGreater(int(counted("own", 0)["packets"]), 50)
        self.assertEqual(int(counted("own", 2).get("packets", 0)), 0)

    def test_a_group_may_have_65536_entries(self):
        self.group_of("crowd", *[self.entry(2 + index % 2, 16 + index // 16) for index in range(65536)])
        self.lab.until_active("crowd")
        self.route("2001:db8:100::/48", "crowd")
        flows = self.flows(500, FAR6)
        self.assertEqual(len(flows), 500)
        self.assertGreater(len(set(flows.values())), 400)
        self.group_of("crowd", self.entry(3))
        self.assertEqual(set(self.flows(10, FAR6).values()), {(3, ())})

    def test_ipv6_hops(self):
        self.lab.hosts[2].ip("addr add fe80::2/64 dev eth0 nodad")
        for name, address in (("global", "2001:db8:2::2"), ("local", "fe80::2")):
            self.group_of(name, self.entry(2, 77, address=address))
            self.lab.until_active(name)
            for prefix, far in (("198.51.100.0/24", FAR4), ("2001:db8:100::/48", FAR6)):
                self.route(prefix, name)
                self.assertEqual(set(self.flows(5, far).values()), {(2, (77,))})

    def watch(self, name):
        """Gives the events of a group one by one."""
        watch = subprocess.Popen(
            [self.lab.programs[1], "--address", self.lab.agent.address, "-o", "jsonl", "watch",
             "NexthopGroupMgrService.watch", json.dumps({"name": name, "notify_ready": True})],
            stdout=subprocess.PIPE, bufsize=0)
        self.addCleanup(watch.stdout.close)
        self.addCleanup(watch.wait)
        self.addCleanup(watch.kill)

        def event():
            self.assertTrue(select.select([watch.stdout], [], [], DEADLINE)[0], "no event")
            told = json.loads(watch.stdout.readline())
            return {key: value for key, value in told.items() if value}

        self.assertEqual(event(), {"ready": True})
        return event

    def test_a_group_without_a_neighbour_is_inactive_until_there_is_one(self):
        event = self.watch("late")
        self.group_of("late", self.entry(2, address="10.0.{}.77"))
        self.assertEqual(event(), {"name": "late", "programmed": True, "version": 1})
        self.route("198.51.100.0/24", "late")
        before = self.lab.dropped("inactive_group")
        self.assertEqual(self.flows(7, within=0.3), {})
        self.assertEqual(self.lab.dropped("inactive_group"), before + 7)
        self.assertFalse(self.lab.active("late"))
        self.lab.hosts[2].ip("addr add 10.0.2.77/24 dev eth0")
        self.assertEqual(event(), {"name": "late", "active": True})
        self.assertEqual(set(self.flows(7).values()), {(2, ())})
        self.group_of("late", self.entry(3))
        self.assertEqual(event(), {"name": "late", "programmed": True, "version": 2})
        self.lab.velmctl("nhg", "del", "late")
        self.assertEqual(event(), {"name": "late"})  # not active any more

    def test_a_neighbour_may_change_its_mac_and_an_interface_its_device(self):
        self.group("moving", "10.0.2.2@Ethernet2")
        self.route("198.51.100.0/24", "moving")
        self.passes(self.frame4() / self.payload(), 2, self.out(2) / self.frame4(ttl=63)[IP] / self.payload())
        self.lab.hosts[2].ip("link set eth0 address 02:00:00:00:00:99")
        request = Ether(src="02:00:00:00:00:99", dst="ff:ff:ff:ff:ff:ff") / ARP(
            hwsrc="02:00:00:00:00:99", psrc="10.0.2.2", pdst="10.0.2.1")

        def arrives():
            self.wires[2].send(request)  # as its kernel would, when it next has something for the switch
            self.wires[1].send(self.frame4() / self.payload())
            return self.wires[2].receive(lambda frame: frame.dst == "02:00:00:00:00:99" and IP in frame, 0.1)
        eventually(arrives, "frames go to the new MAC")

        self.lab.switch.ip("link del Ethernet2")
        eventually(lambda: not self.lab.active("moving"), "the group is inactive")
        self.assertEqual(self.flows(5, within=0.2), {})
        self.lab.plug(2, index=2222)
        self.wires[2] = self.lab.wire(2)
        self.lab.until_active("moving")
        self.passes(self.frame4() / self.payload(), 2, self.out(2) / self.frame4(ttl=63)[IP] / self.payload())


if __name__ == "__main__":
    main()
