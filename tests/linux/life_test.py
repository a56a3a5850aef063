"""The agent's life on the machine: its rights, a second one, its end under traffic, its state, full tables."""
import ipaddress
import os
import random
import subprocess
import sys
import unittest

import lab as labs
from support.agent import DEADLINE, eventually
from traffic import TrafficTest, main, setUpModule  # pylint: disable=unused-import

CAPABILITIES = "net_admin,bpf,perfmon,net_raw"


class RightsTest(unittest.TestCase):
    """What an agent says that cannot run."""

    def ends(self, lab, *through, options=()):
        """The one line with which it ends."""
        done = subprocess.run(
            lab.switch.command(*through, sys.argv[1], "--listen", f"unix:{lab.folder}/other", "--switch-dataplane",
                               "linux", *options),
            capture_output=True, text=True, timeout=DEADLINE, check=False)
        self.assertEqual(done.returncode, 2, done.stderr)
        lines = [line for line in done.stderr.splitlines() if line.startswith("VelmSdkRpc: ")]
        self.assertEqual(len(lines), 1, done.stderr)
        return lines[0]

    def test_without_rights_or_beside_another_it_says_so(self):
        lab = labs.Lab(*sys.argv[1:3], hosts=2)
        self.addCleanup(lab.close)
        os.chmod(lab.folder, 0o777)
        nobody = ["setpriv", "--reuid=65534", "--regid=65534", "--clear-groups", "--inh-caps=-all"]
        self.assertRegex(self.ends(lab, *nobody), "it needs CAP_NET_ADMIN, CAP_BPF, CAP_PERFMON and CAP_NET_RAW")
        for lines, why in (("interface Ethernet3\ndevice eth9\ninterface Ethernet4\ndevice eth9\n",
                            "config:4: .*given to Ethernet3 already"),
                           ("interface Ethernet9\nshutdown\n", "config:2: .*no such interface Ethernet9")):
            with open(f"{lab.folder}/config", "w", encoding="ascii") as file:
                file.write(lines)
            self.assertRegex(self.ends(lab, options=("--switch-config", file.name)), why)
        lab.start()
        self.assertRegex(self.ends(lab), "another agent")
        lab.hosts[1].run("ping", "-c", "1", "-W", "5", "10.0.2.2")

    def test_four_capabilities_are_enough(self):
        lab = labs.Lab(*sys.argv[1:3], hosts=2, state=False)
        self.addCleanup(lab.close)
        os.chmod(lab.folder, 0o777)
        listed = ",".join(f"+{name}" for name in CAPABILITIES.split(","))
        lab.start(through=["setpriv", "--reuid=65534", "--regid=65534", "--clear-groups", f"--inh-caps=-all,{listed}",
                           f"--ambient-caps=-all,{listed}", "--bounding-set", f"-all,{listed}"])
        lab.velmctl("nhg", "add", "plain", "10.0.2.2@Ethernet2")
        lab.until_active("plain")
        self.assertEqual(lab.show()["interfaces"]["Ethernet1"]["mode"], "native")
        lab.call("IntfMgrService.description_is", intf_id="Ethernet1", description="by few rights")
        lab.hosts[1].run("ping", "-c", "1", "-W", "5", "10.0.2.2")


class LifeTest(TrafficTest):
    hosts = 2
    options = ("--switch-groups", "100", "--switch-ipv4-routes", "1000", "--switch-ipv6-routes", "1000")

    def test_what_is_refused_changes_nothing(self):
        self.group("plain", "10.0.2.2@Ethernet2")
        self.route("198.51.100.0/24", "plain")
        key = {"prefix": "198.51.100.0/24", "preference": 1}
        for method, request, why in (
              ("MplsRouteMgrService.mpls_route_set", {"route": {"key": {"labels": [100, 200]}}}, "one label"),
              ("IpRouteMgrService.ip_route_via_set",
               {"via": {"route_key": key, "hop": "10.0.2.2", "vni": 7, "vtep_addr": "192.0.2.1"}}, "VXLAN tunnel"),
              ("IpRouteMgrService.ip_route_via_set", {"via": {"route_key": key, "intf": "Ethernet2"}}, "missing hop")):
            with self.subTest(why):
                self.assertIn(why, self.lab.refused(method, **request))
                self.assertEqual(self.flows(3), {number: (2, ()) for number in range(3)})

    def bulk(self, method, requests):
        return self.lab.call(f"IpRouteMgrService.bulk_ip_route_{method}", requests=requests, check=False)

    def test_full_tables_refuse_and_serve_on(self):
        self.group("plain", "10.0.2.2@Ethernet2")
        self.route("198.51.100.0/24", "plain")
        form = lambda index: self.form(f"full{index}", self.entry(2))
        answer = self.lab.call("NexthopGroupMgrService.bulk_nexthop_group_set", check=False,
                               requests=[{"nexthop_group": form(index)} for index in range(200)])
        self.assertIn("no room for more than 100 nexthop groups", str(answer))
        self.assertGreater(answer["count"], 90)
        self.assertEqual(self.flows(3), {number: (2, ()) for number in range(3)})
        where = random.Random(1)
        batches, answer = [], {}
        while "no room for route" not in str(answer):
            self.assertLess(len(batches), 10)
            more = [{"prefix": f"{ipaddress.IPv6Address(0x20010db8 << 96 | where.getrandbits(96))}/128",
                     "preference": 1} for _ in range(50000)]
            batches.append(more)
            self.bulk("set", [{"ip_route": {"key": key}} for key in more])
            answer = self.bulk("via_set", [{"via": {"route_key": key, "nexthop_group": "plain"}} for key in more])
        self.assertEqual(self.flows(3), {number: (2, ()) for number in range(3)})
        for keys in batches:
            self.bulk("del", [{"key": key} for key in keys])
        self.route("203.0.113.0/24", "plain")
        self.assertEqual(self.flows(3, "203.0.113.1"), {number: (2, ()) for number in range(3)})
        self.lab.call("NexthopGroupMgrService.bulk_nexthop_group_del",
                      requests=[{"name": f"full{index}"} for index in range(200)])
        self.group("after", "10.0.2.2@Ethernet2")

    def test_it_ends_under_traffic_and_begins_again_with_its_tables(self):
        self.group("plain", "10.0.2.2@Ethernet2,push=99")
        self.route("198.51.100.0/24", "plain")
        hop = {"prefix": "203.0.113.0/24", "preference": 1}  # its interface follows from networks that are known later
        self.lab.call("IpRouteMgrService.ip_route_set", ip_route={"key": hop})
        self.lab.call("IpRouteMgrService.ip_route_via_set", via={"route_key": hop, "hop": "10.0.2.2"})
        for end in (lambda: self.lab.agent.stop(), lambda: self.lab.agent.kill()):
            ping = subprocess.Popen(self.lab.hosts[1].command("ping", "-f", "-w", "3", "10.0.2.2"),
                                    stdout=subprocess.DEVNULL)
            self.addCleanup(ping.wait)
            self.addCleanup(ping.kill)
            self.flows(50)
            end()
            self.assertNotIn("xdp", self.lab.switch.ip("link show Ethernet1"))
            self.lab.start()
            self.lab.until_active("plain")
            self.assertEqual(self.flows(20), {number: (2, (99,)) for number in range(20)})
            eventually(lambda: self.flows(1, "203.0.113.1", within=0.5) == {0: (2, ())}, "the hop is found")


if __name__ == "__main__":
    main()
