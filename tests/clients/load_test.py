"""Loads of many routes: whole, in part refused, interrupted, cut off."""
import json
import signal

from harness import VelmctlTest, main
from support.agent import eventually


class LoadTest(VelmctlTest):
    def file(self, text):
        path = f"{self.folder}/routes"
        with open(path, "w") as file:
            file.write(text)
        return path

    def many(self, count):
        return self.file("nhg g Ethernet1\n" + "".join(
            f"10.{i >> 16}.{i >> 8 & 255}.{i & 255}/32 g\n" for i in range(count)))

    def test_groups_and_routes_are_programmed_and_deleted(self):
        path = self.many(25_000)
        told = self.json("load", path, "--batch", "1000")
        self.assertEqual((told["lines"], told["acknowledged"], told["refused"]), (25_001, 25_001, 0))
        self.assertEqual(self.routes(), 25_000)
        self.assertIn("2 of 2 acknowledged, 0 refused", self.ok("load", self.file("10.0.0.0/32 -\n10.0.0.1/32 -\n")))
        self.assertEqual(self.routes(), 24_998)

    def test_a_resync_removes_what_is_not_in_the_file(self):
        self.ok("nhg", "add", "old", "Ethernet1")
        self.ok("route", "add", "192.0.2.0/24", "old")
        self.ok("load", self.many(10), "--resync")
        self.assertEqual(self.routes(), 10)
        self.assertEqual(list(self.json("nhg", "list")["nexthop_groups"]), ["g"])

    def test_refused_lines_are_kept_and_can_be_loaded_again(self):
        self.ok("init", "--tag", "7")
        path = self.file("nhg g Ethernet1\n10.0.0.0/8 g # one\n11.0.0.0/8 g\n12.0.0.0/8 -\n")
        self.ok("route", "add", "192.0.2.0/24", "g", "--tag", "7")
        told = self.json("load", path, "--tag", "8", "--resync", status=1)
        self.assertEqual((told["acknowledged"], told["refused"]), (4, 3))
        with open(told["refused_file"]) as refused:
            lines = refused.read().splitlines()
        self.assertEqual([line.split("#")[0].strip() for line in lines],
                         ["10.0.0.0/8 g", "11.0.0.0/8 g", "12.0.0.0/8 -"])
        self.assertEqual(lines[2].split("# ")[1], "STATUS_NOT_FOUND")
        self.assertEqual(self.routes(), 1, "the resync is left open, and nothing has gone")
        self.json("load", told["refused_file"], "--refused", f"{self.folder}/again", "--tag", "7", status=1)
        self.assertEqual(self.routes(), 3)

    def test_of_a_wrong_file_nothing_is_sent(self):
        path = self.file("10.0.0.0/8 g\n10.0.0.0/40 g\n")
        self.refused("load", path, status=2, error=f'{path}:2: expected a prefix like "10.0.0.0/8", not "10.0.0.0/40"')
        self.assertEqual(self.routes(), 0)

    def test_an_agent_that_goes_leaves_what_it_has_acknowledged(self):
        path = self.many(1_000_000)
        load = self.start("-o", "json", "load", path, "--batch", "10")
        self.assertIn("of 1000001", load.stderr.readline())
        self.agent.kill()
        out, errors = self.finish(load)
        self.assertEqual(load.returncode, 78, errors)
        told = json.loads(out)
        self.assertTrue(0 < told["acknowledged"] < 1_000_001, told)
        self.start_agent()
        held = self.routes()
        # At most what was under way has got there without an answer.
        self.assertTrue(told["acknowledged"] - 1 <= held <= told["acknowledged"] + 4 * 10, (told, held))

    def test_an_interrupted_load_tells_how_far_it_came(self):
        load = self.start("-o", "json", "load", self.many(1_000_000), "--batch", "10")
        self.assertIn("of 1000001", load.stderr.readline())
        load.send_signal(signal.SIGINT)
        out, errors = self.finish(load)
        self.assertEqual(load.returncode, 130, errors)
        told = json.loads(out)
        self.assertTrue(told["acknowledged"] < 1_000_001)
        # Requests that were cancelled may still be carried out.
        eventually(lambda: told["acknowledged"] - 1 <= self.routes() <= told["acknowledged"] + 4 * 10, "it stays so")


main()
