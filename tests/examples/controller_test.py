"""Runs an example controller against an agent that is killed and comes back: the controller programs all anew, and
nothing is lost.

    controller_test.py AGENT SETTLED EVENT COMMAND...

SETTLED is what the controller prints before its watch is settled, EVENT what it prints when Ethernet2 goes down.
COMMAND runs it and is given the agent's address.
"""
import json
import re
import signal
import subprocess
import sys
import tempfile
import threading
from pathlib import Path

import grpc
from remote import ip_route_pb2, ip_route_pb2_grpc, types_pb2, vapi_pb2, vapi_pb2_grpc

sys.path.insert(0, str(Path(__file__).parents[1] / "support"))
from agent import DEADLINE, Agent  # noqa: E402

GROUPS = {"via-1", "via-2"}
ROUTES = {f"10.{i // 256}.{i % 256}.0/24" for i in range(2000)}
STALE = "172.16.1.0/24"  # of the controller's tag, but not its own
FOREIGN = "172.16.2.0/24"  # of another tag


class Switch:
    """The switch seen from outside of the controller."""

    def __init__(self, channel):
        self.commands = vapi_pb2_grpc.VapiMgrServiceStub(channel)
        self.routes = ip_route_pb2_grpc.IpRouteMgrServiceStub(channel)

    def show(self, command):
        request = vapi_pb2.RunShowCmdRequest(command=f"show {command}")
        answer = self.commands.run_show_cmd(request, timeout=DEADLINE).response
        assert answer.success, answer.error_message
        return json.loads(answer.responses[0])

    def configure(self, *commands):
        request = vapi_pb2.RunConfigCmdsRequest(commands=commands)
        answer = self.commands.run_config_cmds(request, timeout=DEADLINE).response
        assert answer.success, answer.error_message

    def add_route(self, prefix, tag):
        network, length = prefix.split("/")
        key = ip_route_pb2.IpRouteKey(prefix=types_pb2.Prefix(
            ip_addr=bytes(int(part) for part in network.split(".")), prefix_length=int(length)))
        route = ip_route_pb2.IpRoute(key=key, tag=tag)
        self.routes.ip_route_set(ip_route_pb2.IpRouteSetRequest(ip_route=route), timeout=DEADLINE)

    def prefixes(self):
        return {route["key"]["prefix"] for route in self.show("ip route")["routes"]}


class Controller:
    """The example, and what it says."""

    def __init__(self, command):
        self.process = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        self.said = []  # guarded by changed
        self.changed = threading.Condition()
        self.reader = threading.Thread(target=self._read)
        self.reader.start()

    def _read(self):
        for line in self.process.stdout:
            with self.changed:
                self.said.append(line.rstrip("\n"))
                self.changed.notify_all()

    def expect(self, pattern):
        """Waits for a line, and forgets it."""
        def found():
            return next((i for i, line in enumerate(self.said) if re.search(pattern, line)), None)

        with self.changed:
            if not self.changed.wait_for(lambda: found() is not None, DEADLINE):
                raise AssertionError("\n".join([f"it never said /{pattern}/, but", *self.said]))
            del self.said[found()]

    def forget(self):
        with self.changed:
            self.said.clear()

    def interrupt(self):
        self.process.send_signal(signal.SIGINT)
        status = self.process.wait(timeout=DEADLINE)
        self.reader.join()
        assert status == 0, f"ended with status {status}: {self.said}"


def take_all_back(switch):
    """What a restarted agent must have been sent, and what must have gone."""
    assert switch.prefixes() == ROUTES | {FOREIGN}, switch.prefixes() ^ ROUTES
    groups = switch.show("nexthop-group")["nexthop_groups"]
    assert groups.keys() == GROUPS and all(group["active"] for group in groups.values()), groups
    vias = [route["vias"] for route in switch.show("ip route")["routes"] if route["tag"] == 7]
    assert {via["nexthop_group"] for (via,) in vias} == GROUPS
    calls = switch.show("switch calls")["calls"]
    assert calls["ip_route_mgr.ip_route_set"] == len(ROUTES), calls
    assert calls["nexthop_group_mgr.nexthop_group_set"] == len(GROUPS), calls
    assert calls["ip_route_mgr.resync_complete"] == 1, calls


def play(folder, program, settled, event, command):
    config = Path(folder, "config")
    config.write_text('simulate fail ip_route_mgr.ip_route_via_set configuration_error "no room"\n')
    state = ["--switch-state", f"{folder}/state", "--trace", "VelmSdkRpc/0"]
    agent = Agent(program, folder, *state, "--switch-config", str(config))
    controller = Controller([*command, agent.address])
    try:
        controller.expect(r"ip_route_msg \{.*\}: STATUS_ERROR: .*no room")
        controller.expect("programmed 2 groups, 1999 routes")
        with grpc.insecure_channel(agent.address) as channel:
            switch = Switch(channel)
            switch.add_route(STALE, 7)
            switch.add_route(FOREIGN, 8)
        controller.expect(settled)
        controller.forget()
        agent.kill()
        controller.expect("the agent has gone|lost")
        agent = Agent(program, folder, *state)
        controller.expect("programmed 2 groups, 2000 routes.*, taking over what was there")
        with grpc.insecure_channel(agent.address) as channel:
            switch = Switch(channel)
            take_all_back(switch)
            controller.expect(settled)
            switch.configure("simulate interface Ethernet2 oper down")
            controller.expect(event)
        controller.interrupt()
        agent.stop()
    finally:
        controller.process.kill()
        agent.process.kill()


def main():
    program, settled, event, *command = sys.argv[1:]
    with tempfile.TemporaryDirectory() as folder:
        play(folder, program, settled, event, command)


main()
