"""A small controller in Python. It keeps two nexthop groups and 2000 routes on the switch, and prints how the
interfaces fare. When the agent goes, it waits for the next one and begins again. SIGINT or SIGTERM ends it.

    PYTHONPATH=stubs /usr/bin/python3 controller.py [ADDRESS]        127.0.0.1:9543 unless given

Everything happens inside an "attachment": from the opening of watch_rpc_server_alive to its end. The watch is opened
first, so that whatever happens to the agent later ends it.
"""
import signal
import socket
import sys
import threading

import grpc
import velmsdk_pb2 as pb
import velmsdk_pb2_grpc
from google.protobuf import text_format
from remote import intf_pb2, intf_pb2_grpc

TAG = 7  # this controller's routes: a resync leaves those of other tags alone
BATCH = 1000  # elements of a bulk request, far from gRPC's 4 MiB a message
DEADLINE = 10  # seconds, of every call that is answered

CHANNEL_OPTIONS = [
    ("grpc.initial_reconnect_backoff_ms", 100),
    ("grpc.max_reconnect_backoff_ms", 2000),  # gRPC would go up to two minutes
]


# ---- What is to be on the switch


def group(number):
    nexthop = pb.nexthop_msg(
        nexthop_ip=pb.ip_address_msg(addr=socket.inet_aton(f"192.0.2.{number}")),
        nexthop_interface=f"Ethernet{number}",
        mpls_operation=pb.nexthop_msg.MPLS_OP_PUSH,
        labels=[1000 + number],
        replicate_count=1,  # 0, the default, would leave the nexthop out
    )
    return pb.nexthop_group_msg(name=f"via-{number}", nexthop=[nexthop])


def route(number):
    prefix = pb.ip_prefix_msg(addr=bytes([10, number // 256, number % 256, 0]), prefix_length=24)
    return pb.ip_route_msg(prefix=prefix, nexthop_group=f"via-{1 + number % 2}", tag=TAG)


GROUPS = [group(number) for number in (1, 2)]
ROUTES = [route(number) for number in range(2000)]


# ---- Calls


def say(text, where=sys.stdout):
    where.write(text + "\n")  # as one, for threads share it
    where.flush()


class Lost(Exception):
    """The agent has gone, or another one answers: begin again."""


def succeeded(status, request):
    if status.status == pb.rpc_status_msg.STATUS_SUCCESS:
        return True
    name = pb.rpc_status_msg.rpc_status_value_enum.Name(status.status)
    what = text_format.MessageToString(request, as_one_line=True)
    say(f"{request.DESCRIPTOR.full_name} {{{what}}}: {name}: {status.debug_string}", sys.stderr)
    if status.status == pb.rpc_status_msg.STATUS_NOT_INITIALIZED:
        raise Lost("the agent has restarted")
    return False


def send_all(send, bulk, elements):
    """Sends the elements in batches and reports each that was refused. Gives the number of those not."""
    accepted = 0
    for begin in range(0, len(elements), BATCH):
        batch = elements[begin : begin + BATCH]
        for element, status in zip(batch, send(bulk(batch), timeout=DEADLINE).status):
            if succeeded(status, element):
                accepted += 1
    return accepted


def program(stub):
    config = pb.rpc_server_config_msg(ip_route_tag=TAG)
    found = stub.rpc_server_init(config, timeout=DEADLINE)
    if not succeeded(found.status, config):
        raise Lost("not initialised")
    resync(stub, pb.RESYNC_START)
    # Groups go before the routes that name them.
    groups = send_all(stub.nexthop_group_bulk, lambda some: pb.nexthop_group_bulk_msg(nexthop_group=some), GROUPS)
    routes = send_all(stub.ip_route_bulk, lambda some: pb.ip_route_bulk_msg(ip_route=some), ROUTES)
    resync(stub, pb.RESYNC_END)  # deletes what was not sent again
    taken = ", taking over what was there" if found.ip_routes_exist else ""
    say(f"programmed {groups} groups, {routes} routes{taken}")


def resync(stub, state):
    request = pb.rpc_server_resync_msg(resync_state=state)
    succeeded(stub.rpc_server_resync(request, timeout=DEADLINE), request)


# ---- Interfaces


def follow_interfaces(stub, events):
    """Prints the interfaces that are not up, then every change. An event says which interface to read again."""
    try:
        for event in events:
            if event.ready:  # the first: whatever changes from now on will be told, so the present is read now
                names = [answer.intf_id.name for answer in stub.intfs(intf_pb2.IntfsRequest(), timeout=DEADLINE)]
                say(f"watching {len(names)} interfaces")
                tell(stub, names, but=intf_pb2.OPER_STATUS_UP)
            else:
                tell(stub, [event.intf_id.name])
    except grpc.RpcError as error:
        if error.code() != grpc.StatusCode.CANCELLED:  # which is how an attachment ends
            say(f"interfaces are no longer watched: {error.code().name}")


def tell(stub, names, but=None):
    for name in names:
        request = intf_pb2.OperStatusRequest(intf_id={"name": name})
        status = stub.oper_status(request, timeout=DEADLINE).oper_status
        if status != but:
            say(f"{name}: {intf_pb2.OperStatus.Name(status)}")


# ---- The controller


def attach(channel):
    """Programs the switch and follows it until the agent goes."""
    native = velmsdk_pb2_grpc.velmsdk_serviceStub(channel)
    interfaces = intf_pb2_grpc.IntfMgrServiceStub(channel)
    alive = native.watch_rpc_server_alive(pb.rpc_server_alive_msg())
    events = interfaces.watch(intf_pb2.WatchIntfRequest(all=True, notify_ready=True))
    follower = threading.Thread(target=follow_interfaces, args=(interfaces, events))
    follower.start()
    try:
        program(native)
        for _ in alive:  # never says anything
            pass
        say("the agent has gone")
    except (grpc.RpcError, Lost) as error:
        why = error.code().name if isinstance(error, grpc.Call) else error
        say(f"the agent has gone: {why}")
    finally:
        alive.cancel()
        events.cancel()
        follower.join()


def main():
    address = sys.argv[1] if len(sys.argv) > 1 else "127.0.0.1:9543"
    signal.signal(signal.SIGTERM, signal.default_int_handler)  # as SIGINT
    signal.signal(signal.SIGINT, signal.default_int_handler)  # also where the shell had it ignored
    with grpc.insecure_channel(address, CHANNEL_OPTIONS) as channel:
        try:
            while True:
                grpc.channel_ready_future(channel).result()
                attach(channel)
        except KeyboardInterrupt:
            say("stopped")


if __name__ == "__main__":
    main()
