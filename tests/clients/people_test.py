"""What people type and see: short forms, tables, terminals, completion, help."""
import fcntl
import itertools
import json
import os
import pty
import re
import struct
import subprocess
import termios

from harness import MANUAL, VELMCTL, VelmctlTest, main
from support.agent import eventually


class PeopleTest(VelmctlTest):
    def test_short_forms_program_the_switch(self):
        self.ok("init", "--policy-map", "cbf")
        self.ok("nhg", "add", "to-core", "10.0.0.1@Ethernet1,push=1001/1002", "Ethernet2,weight=2")
        self.ok("nhg", "add", "backup", "Ethernet3", "--autosize")
        self.ok("route", "add", "2001:db8::/32", "to-core")
        self.ok("tunnel", "add", "192.0.2.1/32", "to-core", "--metric", "4")
        self.ok("mpls", "add", "100", "--group", "to-core", "--pop")
        self.ok("mpls", "add", "101", "--nexthop", "10.0.0.1@Ethernet1,swap=17")
        self.ok("mpls", "add", "102", "--vrf", "red")
        self.ok("sbfd", "add", "Ethernet1", "10.0.0.1", "--labels", "16/17", "--min-tx", "50", "--multiplier", "3")
        self.ok("cbf", "add", "to-core", "backup", "--ipv4", "46,48", "--ipv6", "10")
        expected = {
            ("nhg", "list", "to-core"): r"to-core +3 .*0: nexthop=10.0.0.1 intf=Ethernet1 "
                                        r"mpls_action=\(action_type=1 label_stack=1002,1001\); "
                                        r"1: intf=Ethernet2; 2: intf=Ethernet2",
            ("route", "list", "2001:db8::/32"): r"PREFIX +PREFERENCE +TAG +ACTION +VIAS\n"
                                                r"2001:db8::/32 +1 +0 +3 +nexthop_group=to-core\n$",
            ("tunnel", "list"): r"192.0.2.1/32 +to-core +4\n",
            ("mpls", "list"): r"100 .*nexthop_group=to-core\n101 .*hop=10.0.0.1 intf=Ethernet1.*\n\n"
                              r"vrf_labels:\nLABEL +VRF_NAME\n102 +red",
            ("sbfd", "list"): r"10.0.0.1 +Ethernet1 +16,17 +50 +3",
            ("cbf", "list"): r"cbf +1 +1: class_map_key=\(name=to-core-backup feature=1\)",
        }
        for words, pattern in expected.items():
            self.assertRegex(self.ok(*words), re.compile(pattern), words)
        for words in (("route", "del", "2001:db8::/32"), ("tunnel", "del", "192.0.2.1/32"), ("mpls", "del", "100"),
                      ("sbfd", "del", "Ethernet1", "10.0.0.1", "--labels", "16/17"),
                      ("cbf", "del", "to-core", "backup")):
            self.ok(*words)
        self.assertEqual(self.ok("route", "list"), "none\n")
        self.ok("resync", "start")
        self.ok("resync", "end")
        self.assertEqual(self.ok("nhg", "list"), "none\n")

    def test_show_and_config_speak_with_the_switch(self):
        self.assertEqual(self.ok("config", "interface Ethernet1", 'description "two words"'), "OK\n")
        self.assertEqual(self.ok("config", "-", input="interface Ethernet1\nshutdown\n"), "OK\n")
        self.assertRegex(self.ok("show", "interfaces", "Ethernet1"), r"Ethernet1 +false +\d +two words +eth1")

    def test_sessions_are_watched_one_by_one(self):
        self.ok("sbfd", "add", "Ethernet1", "10.0.0.1", "--labels", "16/17")
        watch = self.start("-o", "jsonl", "sbfd", "watch", "--count", "2")
        statuses = itertools.cycle((1, 3))

        def ends():
            self.ok("config", f"simulate sbfd Ethernet1 10.0.0.1 labels 16,17 dscp 0 exp 0 status {next(statuses)}")
            return watch.poll() is not None
        eventually(ends, "the watch has seen two changes")
        for line in watch.stdout:
            update = json.loads(line)
            self.assertEqual(update["session_key"]["nexthop"], "10.0.0.1")
            self.assertTrue(update["status"].startswith("STATUS_"))

    def terminal(self, *words, width=60, environment=None):
        """What a terminal of that width is shown."""
        leader, follower = pty.openpty()
        fcntl.ioctl(follower, termios.TIOCSWINSZ, struct.pack("HHHH", 24, width, 0, 0))
        process = subprocess.Popen(self.command(*words), stdin=follower, stdout=follower, stderr=follower,
                                   env={**os.environ, **(environment or {})})
        os.close(follower)
        shown = b""
        while True:
            try:
                shown += os.read(leader, 65536)
            except OSError:  # nobody holds the other end any more
                break
        os.close(leader)
        process.wait()
        return shown.decode().replace("\r\n", "\n")

    def test_tables_fit_the_terminal(self):
        self.ok("nhg", "add", "g", *[f"Ethernet{i}" for i in range(1, 9)])
        shown = self.terminal("nhg", "list", environment={"NO_COLOR": "1"})
        self.assertTrue(all(len(line) <= 60 for line in shown.splitlines()), shown)
        self.assertIn("…", shown)
        self.assertNotIn("\x1b", shown)
        self.assertIn("\x1b[1mNAME", self.terminal("nhg", "list"))
        self.assertNotIn("\x1b", self.ok("nhg", "list"))
        self.assertIn("\x1b[1mNAME", self.ok("nhg", "list", "--color", "always"))

    def test_a_load_has_a_bar_on_a_terminal(self):
        path = f"{self.folder}/routes"
        with open(path, "w") as file:
            file.writelines(f"10.{i >> 8}.{i & 255}.0/24 g\n" for i in range(60_000))
        shown = self.terminal("load", path, "--batch", "10", "--outstanding", "1")
        self.assertRegex(shown, r"\r\[#+ *\] \d+/60000 \d+/s")
        self.assertRegex(shown, r"60000 of 60000 acknowledged")

    def completions(self, *words):
        return self.ok("complete", "--", "velmctl", *words).split()

    def test_words_are_completed(self):
        self.assertEqual(self.completions("ro"), ["route"])
        self.assertEqual(self.completions("route", ""), ["add", "del", "list"])
        self.assertEqual(self.completions("route", "add", "--ta"), ["--tag"])
        self.assertEqual(self.completions("--output", "j"), ["json", "jsonl"])
        self.assertEqual(self.completions("call", "IpR"), ["IpRouteMgrService."])
        self.assertEqual(self.completions("call", "IpRouteMgrService.tag"),
                         ["IpRouteMgrService.tag", "IpRouteMgrService.tag_is"])
        self.assertEqual(self.completions("call", "velmsdk_service.ip_route", "p"), ["prefix="])
        self.assertEqual(self.completions("call", "velmsdk_service.sbfd_echo_session", "session_key.d"),
                         ["session_key.dscp="])
        resync = ("--timeout", "3", "call", "velmsdk_service.rpc_server_resync", "resync_state=")
        self.assertEqual(self.completions(*resync), ["resync_state=RESYNC_START", "resync_state=RESYNC_END"])
        self.assertEqual(self.completions("show", "ip", ""), ["route"])
        self.assertEqual(self.completions("describe", "ip_route_b"), ["ip_route_bulk_msg"])
        # As the shell asks: the script that velmctl prints, and readline's variables.
        script = (f'eval "$({VELMCTL} completion bash)"; COMP_WORDS=({VELMCTL} describe nexthop_group_b); COMP_CWORD=2;'
                  'COMP_LINE="${COMP_WORDS[*]}"; COMP_POINT=${#COMP_LINE}; _velmctl 2>/dev/null;'
                  'echo "${COMPREPLY[@]}"')
        done = subprocess.run(["bash", "-c", script], capture_output=True, text=True)
        self.assertEqual(done.stdout, "nexthop_group_bulk_msg\n", done)

    def test_everything_has_help(self):
        self.assertRegex(self.ok("--version"), r"^velmctl \d+\.\d+")
        for words in ((), ("route",), ("route", "add"), ("call",), ("load",)):
            self.assertIn("--address ADDRESS", self.ok(*words, "--help"))
        self.assertIn("// A group is replaced as a whole by each request", self.ok("describe", "nexthop_group_msg"))
        self.assertIn("RESYNC_END = 1;", self.ok("describe", "rpc_server_resync_state_enum"))
        self.assertIn("rpc ip_routes(IpRoutesRequest) returns (stream IpRoutesResponse);",
                      self.ok("describe", "IpRouteMgrService.ip_routes"))

    def helps(self, *words):
        """The help of the command and of all commands within."""
        text = self.ok(*words, "--help")
        yield words, text
        for name in re.findall(r"^  ([a-z]\w*) ", text.partition("Subcommands:")[2], re.MULTILINE):
            yield from self.helps(*words, name)

    def test_the_manual_tells_every_command_and_option(self):
        with open(MANUAL, encoding="utf-8") as file:
            manual = re.sub(r"\\f.", "", file.read().replace("\\-", "-"))
        for words, text in self.helps():
            with self.subTest(words):
                for word in [" ".join(words), *re.findall(r"--[a-z0-9][-a-z0-9]*", text)]:
                    self.assertTrue(word in manual, word)

    def test_a_bench_tells_rate_and_latency(self):
        told = self.json("bench", "--seconds", "0.2", "--outstanding", "8")
        self.assertGreater(told["calls"], 10)
        self.assertLessEqual(told["median_ms"], told["max_ms"])


main()
