"""Any method by its name: what is sent, what is shown, how it ends."""
import json
import signal
import subprocess

from harness import VelmctlTest, main
from support.agent import DEADLINE, eventually


class CallTest(VelmctlTest):
    def methods(self):
        for service in self.json("list"):
            listed = self.json("list", service["service"])
            described = self.json("describe", service["service"])["methods"]
            self.assertEqual([method["method"] for method in listed], [method["method"] for method in described])
            yield from listed

    def test_every_method_is_called(self):
        called = 0
        for method in self.methods():
            with self.subTest(method["method"]):
                # A stream that says nothing by itself ends with its time.
                timeout = "0.2" if ".watch" in method["method"] else "20"
                done = self.run_any("-o", "json", "--timeout", timeout, "call", method["method"])
                document = json.loads(done.stdout)
                self.assertEqual(type(document), list if method["kind"] == "stream" else dict)
                # Empty requests are refused by some, but never as unknown, and the agent lives.
                self.assertIn(done.returncode, {0, 1, 64 + 3, 64 + 4, 64 + 5, 64 + 9, 64 + 11}, done)
                called += 1
        self.assertEqual(called, 181)
        self.agent.stop()

    def run_any(self, *words):
        return subprocess.run(self.command(*words), capture_output=True, text=True, timeout=DEADLINE)

    def test_requests_come_in_every_form(self):
        method = "velmsdk_service.ip_route"
        self.ok("nhg", "add", "g", "Ethernet1")
        success = {"status": "STATUS_SUCCESS", "debug_string": ""}
        self.assertEqual(self.json("call", method, '{"prefix":"10.0.0.0/8","nexthop_group":"g"}'), success)
        self.assertEqual(self.json("call", method, "prefix=10.1.0.0/16", "nexthop_group=g"), success)
        path = f"{self.folder}/request"
        with open(path, "w") as file:
            file.write('{\n  "prefix": "10.2.0.0/16",\n  "nexthop_group": "g"\n}\n')
        self.assertEqual(self.json("call", method, f"@{path}"), success)
        with open(path, "a") as file:
            file.write('{"prefix": "10.3.0.0/16", "nexthop_group": "g"}')
        self.assertEqual(self.json("call", method, f"@{path}"), [success, success])
        self.assertEqual(self.routes(), 4)
        found = self.json("call", "IpRouteMgrService.ip_route", "key.prefix=10.1.0.0/16", "key.preference=1")
        self.assertEqual(found, {"ip_route": {"key": {"prefix": "10.1.0.0/16", "preference": 1}, "tag": 0}})
        routes = self.json("call", "IpRouteMgrService.ip_routes")
        self.assertEqual([element["ip_route"]["key"]["prefix"] for element in routes],
                         ["10.0.0.0/8", "10.1.0.0/16", "10.2.0.0/16", "10.3.0.0/16"])

    def test_of_many_requests_each_is_answered(self):
        self.ok("nhg", "add", "g", "Ethernet1")
        lines = ('{"prefix":"10.0.0.0/8","nexthop_group":"g"}\n\n{"prefix":"11.0.0.0/8"}\n'
                 '{"prefix":"12.0.0.0/8","nexthop_group":"g"}')
        answers = self.json("call", "velmsdk_service.ip_route", "-", input=lines, status=1)
        self.assertEqual([answer["status"] for answer in answers],
                         ["STATUS_SUCCESS", "STATUS_NOT_FOUND", "STATUS_SUCCESS"])
        # An element for each request also where a call fails.
        answers = self.json("call", "IpRouteMgrService.ip_route", "-", status=64 + 3,
                            input='{"key":{"prefix":"11.0.0.0/8"}}\n{"key":{"prefix":"10.0.0.0/8","preference":1}}\n')
        self.assertEqual([list(answer) for answer in answers], [["error"], ["ip_route"]])
        # Requests before a wrong line are carried out; from a file, which is read as a whole first, none is.
        answers = self.json("call", "velmsdk_service.ip_route", "-", status=2,
                            input='{"prefix":"13.0.0.0/8","nexthop_group":"g"}\n{"prefix":}\n')
        self.assertEqual(answers[-1]["error"]["message"],
                         "standard input, line 2: no JSON at column 11: Invalid value.")
        path = f"{self.folder}/requests"
        with open(path, "w") as file:
            file.write('{"prefix":"14.0.0.0/8","nexthop_group":"g"}\n{"tag":"x"}\n')
        self.refused("call", "velmsdk_service.ip_route", f"@{path}", status=2,
                     error=f'{path}, request 2: tag: expected a whole number from 0 to 4294967295, not "x"')
        self.assertEqual(self.routes(), 3)

    def test_each_failure_has_its_status(self):
        usage = {
            ("frob",): 'no command "frob"; there are list, describe, call, watch, init, resync, route, nhg, mpls, '
                       'tunnel, sbfd, cbf, show, config, load, bench, completion',
            ("route", "ad"): 'no command "ad" (did you mean "add"?); there are add, del, list',
            ("route", "add", "10.0.0.0/8"): "GROUP is required (--help tells more)",
            ("route", "add", "10.0.0/8", "g"): 'prefix: expected a prefix like "10.0.0.0/8", not "10.0.0/8"',
            ("nhg", "add", "g", "Ethernet1,weight=x"):
                'nexthop "Ethernet1,weight=x": replicate_count: expected a whole number from 0 to 4294967295, not "x"',
            ("call", "velmsdk_service.ip_rout"):
                'velmsdk_service has no method "ip_rout" (did you mean "ip_route"?); '
                '`velmctl list velmsdk_service` tells them all',
            ("call", "nonsense.x"): 'no service "nonsense"; `velmctl list` tells them all',
            ("watch", "velmsdk_service.ip_route"): "velmsdk_service.ip_route is no stream; `velmctl call` calls it",
            ("--address", "nonsense", "init"): '--address: expected HOST:PORT or unix:PATH, not "nonsense"',
        }
        for words, error in usage.items():
            with self.subTest(words):
                self.assertEqual(self.refused(*words, status=2, error=error)["error"],
                                 {"kind": "usage", "message": error})
        self.assertEqual(self.refused("route", "del", "10.0.0.0/8", status=1, error="STATUS_NOT_FOUND")["status"],
                         "STATUS_NOT_FOUND")
        self.refused("config", "interface Ethernet1", "nonsense", status=1,
                     error="command 2 of 2 'nonsense' failed: invalid command, expected agent, channel-group, "
                           "description, device, exit, interface, ip, mac, no, shutdown, simulate or vrf at "
                           "'nonsense'")
        failed = self.refused("call", "IpRouteMgrService.ip_route", "key.prefix=10.0.0.0/8", status=64 + 3,
                              error="INVALID_ARGUMENT: no such route 10.0.0.0/8")
        self.assertEqual(failed["error"], {"kind": "call", "code": 3, "status": "INVALID_ARGUMENT",
                                           "message": "no such route 10.0.0.0/8"})
        self.json("call", "nonsense", "@/nowhere", status=2)
        self.json("call", "velmsdk_service.ip_route", "@/nowhere", status=3)
        self.ok("config", "simulate vapi delay 2000")
        self.assertEqual(self.json("--timeout", "0.1", "show", "version", status=64 + 4)["error"]["code"], 4)
        self.agent.kill()
        self.assertEqual(self.json("init", status=78)["error"]["status"], "UNAVAILABLE")

    def test_a_watch_tells_what_happens_until_it_is_interrupted(self):
        watch = self.start("-o", "json", "watch", "IntfMgrService.watch", "all=true", "notify_ready=true")
        self.assertEqual(watch.stdout.readline(), "[\n")
        self.assertTrue(eventually(lambda: self.watched(), "somebody watches"))
        self.ok("config", "simulate interface Ethernet3 oper down")
        line = watch.stdout.readline()
        self.assertIn('"ready":true', line)
        watch.send_signal(signal.SIGINT)
        rest, errors = self.finish(watch)
        events = json.loads("[" + line + rest)
        self.assertIn("Ethernet3", json.dumps(events))
        self.assertEqual((watch.returncode, errors), (130, "velmctl: interrupted\n"))

    def watched(self):
        return "null" not in self.ok("-o", "json", "show", "switch", "watches")

    def test_a_watch_reconnects_where_it_is_asked_to(self):
        watch = self.start("-o", "jsonl", "watch", "AgentService.watch", "notify_ready=true", "--reconnect",
                           "--count", "2")
        self.assertEqual(watch.stdout.readline(), '{"ready":true}\n')
        self.agent.kill()
        self.assertIn("waiting for the agent", watch.stderr.readline())
        self.start_agent()
        rest, errors = self.finish(watch)
        self.assertEqual((rest, errors, watch.returncode), ('{"ready":true}\n', "velmctl: connected again\n", 0))


main()
