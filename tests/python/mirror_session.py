"""A controller's session on the mirror services alone: program, watch, take over what an earlier session has left."""
import contextlib
import signal
import socket
import subprocess
import sys
import tempfile

import grpc
from remote import ip_route_pb2, ip_route_pb2_grpc, mpls_route_pb2, mpls_route_pb2_grpc
from remote import nexthop_group_pb2, nexthop_group_pb2_grpc, types_pb2

DEADLINE = 20  # seconds


@contextlib.contextmanager
def running_agent(program):
    """A channel to an agent of one's own, which must end well."""
    with tempfile.TemporaryDirectory() as folder:
        address = f"unix:{folder}/socket"
        agent = subprocess.Popen([program, "--listen", address, "--trace", "VelmSdkRpc/0"])
        try:
            with grpc.insecure_channel(address) as channel:
                grpc.channel_ready_future(channel).result(timeout=DEADLINE)
                yield channel
            agent.send_signal(signal.SIGTERM)
            assert agent.wait(timeout=DEADLINE) == 0
        finally:
            agent.kill()


def prefix(third):
    return types_pb2.Prefix(ip_addr=socket.inet_aton(f"10.0.{third}.0"), prefix_length=24)


def key(third):
    return ip_route_pb2.IpRouteKey(prefix=prefix(third), preference=1)


class Controller:
    def __init__(self, channel):
        self.groups = nexthop_group_pb2_grpc.NexthopGroupMgrServiceStub(channel)
        self.routes = ip_route_pb2_grpc.IpRouteMgrServiceStub(channel)
        self.labels = mpls_route_pb2_grpc.MplsRouteMgrServiceStub(channel)

    def set_routes(self, thirds):
        sets = [ip_route_pb2.IpRouteSetRequest(ip_route=ip_route_pb2.IpRoute(key=key(t), tag=5)) for t in thirds]
        answer = self.routes.bulk_ip_route_set(ip_route_pb2.BulkIpRouteSetRequest(requests=sets), timeout=DEADLINE)
        assert (answer.status.code, answer.count) == (0, len(sets)), answer
        vias = [ip_route_pb2.IpRouteViaSetRequest(via=ip_route_pb2.IpRouteVia(route_key=key(t), nexthop_group="north"))
                for t in thirds]
        answer = self.routes.bulk_ip_route_via_set(ip_route_pb2.BulkIpRouteViaSetRequest(requests=vias),
                                                   timeout=DEADLINE)
        assert (answer.status.code, answer.count) == (0, len(vias)), answer

    def thirds(self):
        answers = self.routes.ip_routes(ip_route_pb2.IpRoutesRequest(), timeout=DEADLINE)
        return [answer.ip_route.key.prefix.ip_addr[2] for answer in answers]


def program_a_group_and_see_it_become_active(controller):
    watch = controller.groups.watch(nexthop_group_pb2.WatchNexthopGroupRequest(name="north", notify_ready=True),
                                    timeout=DEADLINE)
    assert next(watch).ready
    entry = nexthop_group_pb2.NexthopGroupEntry(nexthop=socket.inet_aton("192.0.2.1"),
                                                intf=types_pb2.IntfId(name="Ethernet1"))
    group = nexthop_group_pb2.NexthopGroup(name="north", type=nexthop_group_pb2.NEXTHOP_GROUP_ENCAP_TYPES_MPLS,
                                           nexthops={0: entry})
    controller.groups.nexthop_group_set(nexthop_group_pb2.NexthopGroupSetRequest(nexthop_group=group),
                                        timeout=DEADLINE)
    events = {event.WhichOneof("events") for event in (next(watch), next(watch))}
    assert events == {"active", "programmed"}, events
    watch.cancel()
    read = controller.groups.nexthop_group(nexthop_group_pb2.NexthopGroupRequest(name="north"), timeout=DEADLINE)
    assert read.nexthop_group.nexthops[0].intf.name == "Ethernet1"


def program_a_label(controller):
    label = mpls_route_pb2.MplsRouteKey(labels=[types_pb2.MplsLabel(label=100)])
    controller.labels.mpls_route_set(
        mpls_route_pb2.MplsRouteSetRequest(route=mpls_route_pb2.MplsRoute(key=label)), timeout=DEADLINE)
    answer = controller.labels.fec_id(mpls_route_pb2.MplsRouteFecIdRequest(key=label), timeout=DEADLINE)
    assert answer.fec.id != 0


def take_over(controller):
    controller.routes.tag_is(ip_route_pb2.TagIsRequest(tag=5), timeout=DEADLINE)
    controller.routes.resync_init(ip_route_pb2.IpRouteResyncInitRequest(), timeout=DEADLINE)
    controller.set_routes(range(0, 200, 2))
    controller.routes.resync_complete(ip_route_pb2.IpRouteResyncCompleteRequest(), timeout=DEADLINE)
    assert controller.thirds() == list(range(0, 200, 2))


def be_refused(controller):
    unknown = ip_route_pb2.IpRouteRequest(key=key(201))
    try:
        controller.routes.ip_route(unknown, timeout=DEADLINE)
        raise AssertionError("an unknown route was read")
    except grpc.RpcError as error:
        assert error.code() == grpc.StatusCode.INVALID_ARGUMENT, error
    bad = ip_route_pb2.IpRouteSetRequest(
        ip_route=ip_route_pb2.IpRoute(key=ip_route_pb2.IpRouteKey(prefix=types_pb2.Prefix(ip_addr=b"12345"))))
    good = ip_route_pb2.IpRouteSetRequest(ip_route=ip_route_pb2.IpRoute(key=key(202)))
    answer = controller.routes.bulk_ip_route_set(ip_route_pb2.BulkIpRouteSetRequest(requests=[good, bad, good]),
                                                 timeout=DEADLINE)
    assert (answer.status.code, answer.count) == (grpc.StatusCode.INVALID_ARGUMENT.value[0], 1), answer
    assert answer.status.error_string == "bytes length 5 does not match IPv4(4) or IPv6(16)", answer


def main():
    with running_agent(sys.argv[1]) as channel:
        controller = Controller(channel)
        program_a_group_and_see_it_become_active(controller)
        program_a_label(controller)
        controller.set_routes(range(200))
        assert controller.thirds() == list(range(200))
        take_over(Controller(channel))
        be_refused(controller)


main()
