"""Random tables beside a model of them, and packets that no change may touch."""
import contextlib
import ipaddress
import os
import random
import threading
import time

from traffic import TrafficTest, main, probe, setUpModule  # pylint: disable=unused-import

SECONDS = 12  # of random changes
# That are replaced at once; fewer where sanitizers slow all down.
ROUTE_COUNT = int(os.environ.get("ROUTE_COUNT", "1000000"))
ROUTES = "IpRouteMgrService.bulk_ip_route_"
GROUPS = "NexthopGroupMgrService.bulk_nexthop_group_"


class Model:
    """What clients have programmed, and where a packet for an address may come out."""

    def __init__(self):
        self.groups = {}  # name: its entries, each with its labels a host's number or the name of another group
        self.routes = {}  # network: {preference: a group's name, or None for a route without a via}

    def ways_of(self, group):
        """Hosts and labels; the labels of a group within another are the outer ones."""
        ways = set()
        for into, labels in self.groups.get(group, ()):
            ways |= {(into, labels)} if isinstance(into, int) else {
                (number, (*outer, *labels)) for number, outer in self.ways_of(into)}
        return ways

    def ways(self, address):
        """None if it is dropped."""
        for bits in range(address.max_prefixlen, -1, -1):
            network = ipaddress.ip_network((address, bits), strict=False)
            vias = {preference: name for preference, name in self.routes.get(network, {}).items() if name}
            if vias:
                return self.ways_of(vias[min(vias)]) or None
        return None


class ModelTest(TrafficTest):
    def setUp(self):
        self.model = Model()
        self.random = random.Random(20240229)
        self.next = 0

    def some_network(self):
        """Of few places, so that they lie within each other, and of every length."""
        where = self.random
        if where.random() < 0.5:
            base, bits = int(ipaddress.ip_address("198.18.0.0")), where.choice((0, 15, *range(16, 33)))
            value = base | where.choice((0x1111, 0x1200, 0x8001)) ^ (where.getrandbits(3) << where.randrange(15))
            return ipaddress.ip_network((value, bits), strict=False)
        base, bits = int(ipaddress.ip_address("2001:db8:100::")), where.choice((0, 48, *range(41, 129)))
        value = base | where.choice((0, 0x1234 << 64, 0xffff)) ^ 1 << where.randrange(88)
        return ipaddress.ip_network((value, bits), strict=False)

    def an_address(self):
        """Near what is there."""
        network = self.random.choice([network for network in self.model.routes if network.prefixlen])
        bits = network.max_prefixlen - network.prefixlen
        low = self.random.choice((0, self.random.getrandbits(128), (1 << bits) - 1)) & ((1 << bits) - 1)
        flip = self.random.choice((0, 0, 1)) << self.random.randrange(network.max_prefixlen // 3)
        return type(network.network_address)(int(network.network_address) | low ^ flip)

    def change_groups(self):
        names = self.random.sample([f"g{index}" for index in range(12)], 4)
        forms = []
        for name in names[1:]:
            stack = lambda: tuple(self.random.sample(range(16, 99), self.random.choice((0, 1, 3))))
            # Through others of smaller numbers, so that none comes back to itself.
            others = [f"g{index}" for index in range(min(4, int(name[1:])))]
            entries = [(self.random.choice([2, 3, *others]), stack()) for _ in range(self.random.randint(1, 3))]
            self.model.groups[name] = entries
            forms.append({"nexthop_group": self.form(name, *[
                self.entry(into, *labels) if isinstance(into, int) else
                {"child_nexthop_group": into, **self.pushing(*labels)} for into, labels in entries])})
        self.lab.call(GROUPS + "set", requests=forms)
        self.model.groups.pop(names[0], None)
        self.lab.call(GROUPS + "del", requests=[{"name": names[0]}])

    def change_routes(self):
        gone, came = [], {}
        for network in self.random.sample(sorted(self.model.routes, key=str), len(self.model.routes) // 3):
            preference = self.random.choice(sorted(self.model.routes[network]))
            gone.append({"key": {"prefix": str(network), "preference": preference}})
            del self.model.routes[network][preference]
            if not self.model.routes[network]:
                del self.model.routes[network]
        for _ in range(60):
            key = self.some_network(), self.random.choice((1, 1, 1, 0, 5, 255))
            came[key] = f"g{self.random.randrange(12)}"
            self.model.routes.setdefault(key[0], {})[key[1]] = came[key]
        keys = {key: {"prefix": str(key[0]), "preference": key[1]} for key in came}
        self.lab.call(ROUTES + "del", requests=gone)
        self.lab.call(ROUTES + "set", requests=[{"ip_route": {"key": key}} for key in keys.values()])
        self.lab.call(ROUTES + "via_set", requests=[{"via": {"route_key": keys[key], "nexthop_group": group}}
                                                    for key, group in came.items()])
        bare = {"prefix": str(self.some_network()), "preference": 2}
        self.lab.call(ROUTES + "set", requests=[{"ip_route": {"key": bare}}])

    def compare(self):
        addresses = {self.next + index: self.an_address() for index in range(300)}
        self.next += len(addresses)
        ways = {number: self.model.ways(address) for number, address in addresses.items()}
        came = self.trace({number: probe(str(address), number) for number, address in addresses.items()},
                          expected=sum(way is not None for way in ways.values()))
        for number, address in addresses.items():
            self.assertIn(came.get(number), ways[number] or {None}, f"{address}")
        self.assertEqual(set(came) - set(addresses), set())

    def test_packets_go_where_a_model_of_the_tables_says(self):
        # With hops resolved before, an answer to a client is all that a packet waits for.
        self.group("warm", "10.0.2.2@Ethernet2", "10.0.3.2@Ethernet3")
        for number in (2, 3):
            self.group(f"warm{number}", f"10.0.{number}.2@Ethernet{number}")
        end = time.monotonic() + SECONDS
        rounds = 0
        while time.monotonic() < end or rounds < 3:
            self.change_groups()
            self.change_routes()
            self.compare()
            rounds += 1
        for network, preferences in self.model.routes.items():
            self.lab.call(ROUTES + "del", requests=[
                {"key": {"prefix": str(network), "preference": preference}} for preference in preferences])

    def test_no_packet_is_lost_while_routes_are_replaced(self):
        self.group("a", "10.0.2.2@Ethernet2")
        self.group("b", "10.0.2.2@Ethernet2,push=77")
        far = int(ipaddress.ip_address("198.51.100.7"))
        # Around it, up to where they and it share no bits, so that nodes on its way come, change and go.
        near = [f"{ipaddress.ip_address(far ^ offset)}/32" for offset in range(1, 3000)]
        near += [f"{ipaddress.ip_network((far ^ 1 << 31 - bits, bits), strict=False)}" for bits in range(5, 32)]
        key = lambda prefix: {"prefix": prefix, "preference": 1}
        self.lab.call(ROUTES + "set", requests=[{"ip_route": {"key": key(f"{ipaddress.ip_address(far)}/32")}}])
        set_all = lambda prefixes, group: self.lab.call(ROUTES + "via_set", requests=[
            {"via": {"route_key": key(prefix), "nexthop_group": group}} for prefix in prefixes])
        own = [f"{ipaddress.ip_address(far)}/32"]
        set_all(own, "a")
        with self.no_probe_lost(lambda number: "198.51.100.7"):
            for group in ("b", "a", "b"):
                self.lab.call(ROUTES + "set", requests=[{"ip_route": {"key": key(prefix)}} for prefix in near])
                set_all([*near, *own, *near[:500], *own], group)
                set_all(own, "a" if group == "b" else "b")
                self.lab.call(ROUTES + "del", requests=[{"key": key(prefix)} for prefix in near])

    def test_no_packet_is_lost_while_all_routes_are_replaced(self):
        """By a resync, in which half of them are new and half are gone."""
        groups = ["nhg a 10.0.2.2@Ethernet2", "nhg b 10.0.2.2@Ethernet2,push=77"]
        self.lab.velmctl("nhg", "add", *groups[0].split()[1:])
        self.lab.until_active("a")
        first = int(ipaddress.ip_address("32.0.0.0"))
        network = lambda index: str(ipaddress.ip_address(first + index * 256))
        staying = range(0, ROUTE_COUNT, 2)

        def load(name, parity, group):
            path = f"{self.lab.folder}/{name}"
            with open(path, "w", encoding="ascii") as file:
                file.write("\n".join(groups) + "\n")
                file.writelines(f"{network(index)}/24 {group}\n" for index in staying)
                file.writelines(f"{network(ROUTE_COUNT + index + parity)}/24 {group}\n" for index in staying)
            self.lab.velmctl("load", "--resync", path)

        load("first", 0, "a")
        with self.no_probe_lost(lambda number: network(staying[number * 7919 % len(staying)])[:-1] + "7"):
            load("second", 1, "b")
        self.lab.velmctl("resync", "start")
        self.lab.velmctl("resync", "end")

    @contextlib.contextmanager
    def no_probe_lost(self, destination):
        """Meanwhile probes are sent; each comes to host 2, before the change or after it."""
        sent, stop = [], threading.Event()
        ethernet = self.ethernet() + b"\x08\x00"

        def send():
            while not stop.wait(0.0002):
                self.wires[1].send(ethernet + probe(destination(len(sent)), len(sent)))
                sent.append(True)

        sender = threading.Thread(target=send)
        sender.start()
        try:
            yield
        finally:
            stop.set()
            sender.join()
        came = {}
        self.gather(came, 0.2)
        self.assertEqual(set(came.values()), {(2, ()), (2, (77,))})
        self.assertEqual(len(came), len(sent))
        self.assertGreater(len(sent), 1000)


if __name__ == "__main__":
    main()
