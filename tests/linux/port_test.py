"""The machine's devices as interfaces: what clients and `ip` do to them, VRFs, names, counters."""
import json

from lab import Wire
from support.agent import eventually
from traffic import FAR4, TrafficTest, main, setUpModule  # pylint: disable=unused-import


class PortTest(TrafficTest):
    hosts = 4

    @classmethod
    def prepare(cls):
        with open(f"{cls.lab.folder}/config", "w", encoding="ascii") as file:
            file.write("interface Ethernet3\nip address 10.8.0.1/24\ndescription north\ndevice uplink\nvrf red\n"
                       "interface Ethernet4\nvrf red\n")
        cls.lab.options += ["--switch-config", f"{cls.lab.folder}/config"]
        cls.lab.switch.ip("link set Ethernet3 down")
        cls.lab.switch.ip("link set Ethernet3 name uplink")
        cls.lab.switch.ip("link set uplink up")
        cls.lab.switch.ip("addr add 2001:db8:3::1/64 dev uplink nodad")

    def link(self, device):
        return json.loads(self.lab.switch.run("ip", "-j", "link", "show", device))[0]

    def shown(self, intf):
        return self.lab.velmctl("show", "interfaces", intf)["interfaces"][intf]

    def is_up(self, intf):
        return self.lab.call("IntfMgrService.oper_status", intf_id=intf)["oper_status"] == "OPER_STATUS_UP"

    def test_the_file_gives_an_interface_its_device_and_more(self):
        self.assertEqual(self.shown("Ethernet3")["kernel_intf_name"], "uplink")
        self.assertEqual(self.link("uplink")["ifalias"], "north")
        self.assertIn("10.8.0.1/24", self.lab.switch.run("ip", "addr", "show", "uplink"))
        self.assertEqual(self.lab.call("IntfMgrService.velm_intf_name", kernel_name="uplink")["intf_id"],
                         "Ethernet3")
        self.assertEqual({intf: road["mode"] for intf, road in self.lab.show()["interfaces"].items()},
                         {f"Ethernet{number}": "native" for number in self.lab.hosts})

    def test_vrfs_are_apart(self):
        """The same prefix leads elsewhere in another VRF, and what is connected in the one is not in the other."""
        self.group("blue", "10.0.2.2@Ethernet2")
        self.lab.velmctl("nhg", "add", "red", "10.0.4.2@Ethernet4")
        self.lab.until_active("red")
        self.route("198.51.100.0/24", "blue")
        key = {"prefix": "198.51.100.0/24", "preference": 1}
        self.lab.call("IpRouteMgrService.ip_route_set", ip_route={"key": key}, vrf_name="red")
        self.lab.call("IpRouteMgrService.ip_route_via_set", via={"route_key": key, "nexthop_group": "red"},
                      vrf_name="red")
        self.assertEqual(set(self.flows(5).values()), {(2, ())})
        self.lab.hosts[4].ip("addr replace 198.51.100.7/32 dev lo")
        self.lab.hosts[3].run("ping", "-c", "2", "-i", "0.2", "-W", "5", FAR4)
        for far in ("10.0.4.2", "2001:db8:4::2"):
            self.lab.hosts[3].run("ping", "-c", "2", "-i", "0.2", "-W", "5", far)
        before = self.lab.dropped("no_route")
        self.assertEqual(self.flows(3, "10.0.3.2", within=0.3), {})
        self.assertEqual(self.lab.dropped("no_route"), before + 3)
        self.lab.call("IpRouteMgrService.ip_route_del", key=key, vrf_name="red")
        self.assertIn("100% packet loss", self.lab.hosts[3].run("ping", "-c", "2", "-i", "0.2", "-W", "1", FAR4,
                                                                check=False))

    def test_a_hop_is_sought_in_the_vrf_of_its_route(self):
        key = {"prefix": "198.51.100.0/24", "preference": 1}
        for number, vrf in ((4, "red"), (2, "")):
            self.lab.switch.ip(f"addr add 10.9.0.1/24 dev Ethernet{number}")
            self.lab.hosts[number].ip("addr add 10.9.0.2/24 dev eth0")
            eventually(lambda: "10.9.0.1/24" in self.shown(f"Ethernet{number}")["ip_addrs"], "the address is seen")
            self.lab.call("IpRouteMgrService.ip_route_set", ip_route={"key": key}, vrf_name=vrf)
            self.lab.call("IpRouteMgrService.ip_route_via_set", via={"route_key": key, "hop": "10.9.0.2"},
                          vrf_name=vrf)
            self.addCleanup(lambda vrf=vrf: self.lab.call("IpRouteMgrService.ip_route_del", key=key, vrf_name=vrf))
        self.lab.hosts[4].ip("addr replace 198.51.100.7/32 dev lo")
        eventually(lambda: self.lab.hosts[3].run("ping", "-c", "1", "-W", "1", FAR4, check=False).count(" 0% packet"),
                   "the way in VRF red")
        eventually(lambda: self.flows(3, within=1), "the hop is resolved")
        self.assertEqual(set(self.flows(3).values()), {(2, ())})

    def test_a_vrf_cannot_change_under_way(self):
        for line in ("vrf green", "device other"):
            said = self.lab.velmctl("config", "interface Ethernet2", line, check=False)
            self.assertIn("error", said)

    def test_clients_set_and_see_the_machine(self):
        intf = "Ethernet2"
        self.lab.call("IntfMgrService.description_is", intf_id=intf, description="to the core")
        self.assertEqual(self.link(intf)["ifalias"], "to the core")
        self.lab.switch.run("ip", "link", "set", intf, "alias", "by hand")
        eventually(lambda: self.shown(intf)["description"] == "by hand", "the description is seen")

        self.lab.call("IntfMgrService.admin_enabled_is", intf_id=intf, enabled=False)
        self.assertNotIn("UP", self.link(intf)["flags"])
        eventually(lambda: not self.is_up(intf), "the link is seen down")
        self.lab.switch.ip(f"link set {intf} up")
        self.lab.switch.ip("addr add 2001:db8:2::1/64 dev Ethernet2 nodad")
        eventually(lambda: self.shown(intf)["admin_enabled"] and self.is_up(intf), "the link is seen up")

        addresses = lambda: self.shown(intf)["ip_addrs"]
        before = addresses()
        self.lab.call("IpIntfMgrService.ip_addrs_is", intf=intf, ip_addrs=[*before, "192.0.2.1/25"])
        self.assertIn("192.0.2.1/25", self.lab.switch.ip(f"addr show dev {intf}"))
        self.lab.switch.ip(f"addr add 192.0.2.129/25 dev {intf}")
        eventually(lambda: sorted(addresses()) == sorted([*before, "192.0.2.1/25", "192.0.2.129/25"]),
                   "the address is seen")
        self.lab.call("IpIntfMgrService.ip_addrs_is", intf=intf, ip_addrs=before)
        self.assertNotIn("192.0.2", self.lab.switch.ip(f"addr show dev {intf}"))
        self.assertIn("no such interface",
                      self.lab.refused("IntfMgrService.description_is", intf_id="Ethernet9", description="x"))
        said = self.lab.velmctl("config", f"simulate interface {intf} oper down", check=False)
        self.assertIn("is real", said["error"]["message"])

    def test_interfaces_count_in_both_directions(self):
        self.group("counted", "10.0.2.2@Ethernet2")
        self.route("198.51.100.0/24", "counted")
        self.flows(1)
        counters = lambda intf: self.shown(intf)["counters"]
        before = counters("Ethernet1"), counters("Ethernet2")
        self.assertEqual(len(self.flows(300)), 300)
        after = counters("Ethernet1"), counters("Ethernet2")
        # What comes in the kernel counts without Ethernet headers, what goes out with them.
        for place, counter, expected in ((0, "in_ucast_pkts", 300), (0, "in_octets", 300 * 45),
                                         (1, "out_ucast_pkts", 300), (1, "out_octets", 300 * 59)):
            with self.subTest(counter):
                self.assertAlmostEqual(after[place][counter] - before[place][counter], expected, delta=expected // 15)

    def add(self, namespace, line):
        """A device that not every kernel has."""
        try:
            namespace.ip(f"link add {line}")
        except AssertionError as error:
            self.skipTest(str(error))

    def test_a_vlan_is_an_interface(self):
        switch, host = self.lab.switch, self.lab.hosts[2]
        self.add(switch, "link Ethernet2 name Vlan10 type vlan id 10")
        self.addCleanup(lambda: switch.ip("link del Vlan10"))
        switch.ip("addr add 10.10.0.1/24 dev Vlan10")
        switch.ip("link set Vlan10 up")
        host.ip("link add link eth0 name vlan10 type vlan id 10")
        host.ip("addr add 10.10.0.2/24 dev vlan10")
        host.ip("link set vlan10 up")
        host.ip("route add 10.0.1.0/24 via 10.10.0.1")
        self.group("tagged", "10.10.0.2@Vlan10,push=55")
        self.assertEqual(self.lab.show()["interfaces"]["Vlan10"]["mode"], "native")
        host.run("ping", "-c", "2", "-i", "0.2", "-W", "5", "10.0.1.2")
        self.route("198.51.100.0/24", "tagged")
        untagged, self.wires[2] = self.wires[2], Wire(host, "vlan10")
        self.addCleanup(lambda: self.wires.update({2: untagged}))
        self.addCleanup(self.wires[2].socket.close)
        self.assertEqual(self.flows(5), {number: (2, (55,)) for number in range(5)})

    def test_a_vrf_device_places_its_members(self):
        switch = self.lab.switch
        self.add(switch, "green type vrf table 10")
        self.addCleanup(lambda: switch.ip("link del green"))
        switch.ip("link set green up")
        key = {"prefix": "198.51.100.0/24", "preference": 1}
        self.group("placed", "10.0.2.2@Ethernet2")
        self.lab.call("IpRouteMgrService.ip_route_set", ip_route={"key": key}, vrf_name="green")
        self.lab.call("IpRouteMgrService.ip_route_via_set", via={"route_key": key, "nexthop_group": "placed"},
                      vrf_name="green")
        self.assertEqual(self.flows(3, within=0.3), {})
        switch.ip("link set Ethernet1 master green")
        eventually(lambda: self.flows(3, within=0.3), "Ethernet1 is in VRF green")
        switch.ip("link set Ethernet1 nomaster")
        switch.ip("addr add 2001:db8:1::1/64 dev Ethernet1 nodad")
        eventually(lambda: not self.flows(3, within=0.3), "Ethernet1 is in the default VRF")

    def test_a_device_may_come_and_go_by_renaming(self):
        self.group("renamed", "10.0.2.2@Ethernet2")
        self.lab.switch.ip("link property add dev Ethernet2 altname spare")
        self.lab.switch.ip("link set Ethernet2 down")
        self.lab.switch.ip("link set Ethernet2 name host0")
        eventually(lambda: "Ethernet2" not in self.lab.show()["interfaces"], "the interface has gone")
        self.assertFalse(self.lab.call("IntfMgrService.exists", intf_id="Ethernet2").get("exists", False))
        self.lab.switch.ip("link set host0 name Ethernet2")
        self.lab.switch.ip("link set Ethernet2 up")
        self.lab.switch.ip("addr add 2001:db8:2::1/64 dev Ethernet2 nodad")
        self.lab.until_active("renamed")
        self.route("198.51.100.0/24", "renamed")
        self.assertEqual(set(self.flows(5).values()), {(2, ())})


if __name__ == "__main__":
    main()
