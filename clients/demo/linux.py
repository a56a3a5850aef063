#!/usr/bin/python3
"""linux.py AGENT VELMCTL: the demo of the Linux dataplane. Three hosts and the switch between them, each in a network
namespace of its own, and real packets. It tells what it does and why. Every claim is checked: the first that does not
hold ends it with status 1. Where no namespaces can be made it ends with status 77, which tests take for left out."""
import re
import subprocess
import sys
from pathlib import Path

sys.dont_write_bytecode = True
sys.path[:0] = [str(Path(__file__).parents[2] / "tests" / folder) for folder in ("", "linux")]

import lab as labs  # noqa: E402
from scapy.all import IP  # noqa: E402
from support.agent import eventually  # noqa: E402

FAR = "198.51.100.0/24"
ADDRESS = "198.51.100.7"


def say(text):
    print("\n" + "\n".join(f"   {line.strip()}" for line in text.strip().splitlines()))


def chapter(number, title):
    print(f"\n{number}. {title}\n{'=' * (len(title) + 3)}")


def shown(where, words, output):
    print(f"\n      {where}$ {' '.join(words)}")
    print("\n".join(f"      {line}" for line in output.rstrip().splitlines()), flush=True)


def expect(holds, claim):
    if not holds:
        raise AssertionError(f"it does not hold that {claim}")


class Stage:
    def __init__(self, agent, velmctl):
        self.lab = labs.Lab(agent, velmctl, hosts=3, options=("--trace", "VelmSdkRpc/0"), state=False)

    def host(self, number, *words):
        output = self.lab.hosts[number].run(*words, check=False)
        shown(f"host{number}", words, output)
        return output

    def started(self, number, *words):
        """A command that goes on meanwhile; communicate() waits for its end."""
        return subprocess.Popen(self.lab.hosts[number].command(*words), text=True,
                                stdout=subprocess.PIPE, stderr=subprocess.STDOUT)

    def velmctl(self, *words):
        done = subprocess.run([self.lab.programs[1], "--address", self.lab.agent.address, *words], text=True,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
        shown("", ("velmctl", *words), done.stdout)
        expect(done.returncode == 0, f"velmctl {' '.join(words)} succeeds")

    def group(self, *entries):
        self.velmctl("nhg", "add", "far", *entries)
        self.lab.until_active("far")


def lost(output):
    sent, received = map(int, re.search(r"(\d+) packets transmitted, (\d+) received", output).groups())
    return sent - received


def summary(output):
    return "\n".join(line for line in output.splitlines() if "transmitted" in line)


def program(stage):
    chapter(1, "A group and a route")
    say(f"""Three hosts stand at Ethernet1, Ethernet2 and Ethernet3 of the switch, which is this machine's kernel with
        the agent. Behind hosts 2 and 3 lies the network {FAR}, and nobody has told the switch. So host 1 learns:""")
    output = stage.host(1, "ping", "-c", "1", "-W", "2", ADDRESS)
    expect("Net Unreachable" in output, "the switch has no route")
    say("A group of one way, to host 2, and a route that leads to it. The answer means: the next packet goes there.")
    stage.group("10.0.2.2@Ethernet2")
    stage.velmctl("route", "add", FAR, "far")
    expect(lost(stage.host(1, "ping", "-c", "3", "-i", "0.2", "-W", "2", ADDRESS)) == 0, "all packets come back")
    say("The switch is a router on the way, with the address that it has towards host 1:")
    output = stage.host(1, "traceroute", "-n", "-q", "1", "-w", "2", ADDRESS)
    expect(re.search(rf" 1  10\.0\.1\.1 .*\n 2  {re.escape(ADDRESS)} ", output), "the switch is the first hop")
    labels(stage)


def labels(stage):
    say("""A group can push labels. Host 2 knows nothing of labels and does not answer, but its wire shows them: the
        outer one first, with the TTL that the packet has left.""")
    stage.group("10.0.2.2@Ethernet2,push=16002/16001")
    words = ("tcpdump", "-c", "1", "-n", "-t", "-i", "eth0", "mpls")
    seen = stage.started(2, "timeout", "20", *words)
    lines = []
    while not lines or "listening" not in lines[-1]:
        lines.append(seen.stdout.readline())
        expect(lines[-1], "tcpdump listens")
    stage.lab.hosts[1].run("ping", "-c", "1", "-W", "0.2", ADDRESS, check=False)
    frame = next((line for line in seen.communicate()[0].splitlines() if "MPLS" in line), "")
    shown("host2", words, frame)
    expect(re.search(r"label 16001, .*ttl 63.*label 16002, .*\[S\], ttl 63", frame), "both labels are on the wire")


def move(stage):
    chapter(2, "Nothing is lost")
    say("""A neighbour that a group names is kept known, so that packets can go there at once. Two groups see to that
        here, whatever becomes of the first. Then host 1 sends a packet every two milliseconds, and meanwhile a controller
        replaces the group again and again: by a way to host 3, to host 2, and so on.""")
    for number in (2, 3):
        stage.velmctl("nhg", "add", f"to-host{number}", f"10.0.{number}.2@Ethernet{number}")
        stage.lab.until_active(f"to-host{number}")
    stage.group("10.0.2.2@Ethernet2")
    words = ("ping", "-q", "-i", "0.002", "-c", "1500", "-W", "2", ADDRESS)
    replaced = 0
    while replaced < 20:  # on a slow machine one ping may be over too soon to tell
        pinging = stage.started(1, *words)
        while pinging.poll() is None:
            number = 3 - replaced % 2
            stage.lab.velmctl("nhg", "add", "far", f"10.0.{number}.2@Ethernet{number}")
            replaced += 1
        output = pinging.communicate()[0]
        shown("host1", words, summary(output))
        expect(lost(output) == 0, "not one packet is lost")
    say(f"The group was replaced {replaced} times.")


def ways(stage):
    """An address whose packets go to host 2, and one whose packets go to host 3."""
    wires = {number: stage.lab.wire(number) for number in (2, 3)}
    found = {}
    for last in range(1, 65):
        address = f"198.51.100.{last}"
        stage.lab.hosts[1].run("ping", "-c", "1", "-W", "2", address)
        for number, wire in wires.items():
            if wire.receive(lambda frame: IP in frame and frame[IP].dst == address, within=0.1):
                found[number] = address
        if len(found) == 2:
            return found[2], found[3]
    raise AssertionError("all flows go one way")


def fail(stage):
    say("Now the group has both ways, and flows are spread over them. Here is one of each:")
    stage.group("10.0.2.2@Ethernet2", "10.0.3.2@Ethernet3")
    by2, by3 = ways(stage)
    say(f"""Packets to {by2} go to host 2, those to {by3} to host 3. Host 1 sends one every ten milliseconds to
        each, and the cable to host 3 is pulled.""")
    words = ("ping", "-q", "-i", "0.01", "-c", "300", "-W", "2")
    first, second = (stage.started(1, *words, address) for address in (by2, by3))
    wire = stage.lab.wire(3)
    expect(wire.receive(lambda frame: IP in frame and frame[IP].dst == by3), "packets go to host 3")
    stage.lab.hosts[3].ip("link set eth0 down")
    outputs = [pinging.communicate()[0] for pinging in (first, second)]
    for address, output in zip((by2, by3), outputs):
        shown("host1", (*words, address), summary(output))
    expect(lost(outputs[0]) == 0, "flows on the other way lose nothing")
    expect(lost(outputs[1]) <= 5, "flows of the lost way are on the other one within milliseconds")
    say("""Flows to host 2 have not noticed. Those to host 3 go to host 2 since, without anybody's doing: the group
        leaves out what cannot be reached.""")
    eventually(lambda: stage.lab.call("IntfMgrService.oper_status", intf_id="Ethernet3")["oper_status"] ==
               "OPER_STATUS_DOWN", "the client is told of the link")
    stage.velmctl("show", "interfaces", "Ethernet3")


def main():
    if why := labs.why_not():
        print(f"demo: {why}; it needs root", file=sys.stderr)
        sys.exit(1 if labs.required() else 77)
    stage = Stage(*sys.argv[1:3])
    try:
        for number in (2, 3):
            stage.lab.hosts[number].ip(f"route add local {FAR} dev lo")
        stage.lab.start()
        for part in (program, move, fail):
            part(stage)
        say("All came out so.")
    except AssertionError as failure:
        sys.exit(f"\ndemo: failed: {failure}")
    finally:
        stage.lab.close()


if __name__ == "__main__":
    main()
