#!/usr/bin/python3
"""The report on measurements that were recorded: what it makes of goals, and where it sends whoever asks for a miss."""

import pathlib
import re
import sys
import unittest

sys.dont_write_bytecode = True
import report

HERE = pathlib.Path(__file__).parent


def ratio(value, **more):
    return {"what": "adds", "figure": 1234567.8, "unit": "adds/s", "ratio_to": "floor", "ratio": value,
            "ratio_low": 0.3, "ratio_high": 0.5, "beside": {"CPU us": 0.5}} | more


def figure(value, **more):
    return {"what": "event", "figure": value, "unit": "ms", "beside": {}} | more


class Verdicts(unittest.TestCase):
    def test_a_goal_that_is_just_reached_is_met(self):
        for row, expected in [
                (ratio(0.4, goal_least_ratio=0.4), "met"),
                (ratio(0.399, goal_least_ratio=0.4), "missed"),
                (ratio(None, goal_least_ratio=0.4), "missed"),
                (ratio(0.1), "no goal"),
                (figure(5.0, goal_most_figure=5.0), "met"),
                (figure(5.001, goal_most_figure=5.0), "missed"),
                (figure(None, goal_most_figure=5.0), "missed"),
                (figure(9.0), "no goal")]:
            self.assertEqual(report.verdict(row), expected, row)


class Table(unittest.TestCase):
    def row(self, row, explained=()):
        return report.table({"ip_route": {"rows": [row]}}, explained).splitlines()[-1]

    def test_a_row_tells_figure_ratio_and_goal(self):
        self.assertIn("| adds | 1,234,568 adds/s | 0.45 (0.30–0.50) of floor | ≥ 0.40 of floor | met | CPU us 0.5 |",
                      self.row(ratio(0.45, goal_least_ratio=0.4)))
        self.assertIn("| event | 0.123 ms |  | ≤ 5 ms | met |", self.row(figure(0.1234, goal_most_figure=5.0)))

    def test_a_miss_points_to_its_section_if_there_is_one(self):
        missed = ratio(0.3, goal_least_ratio=0.4)
        self.assertIn("**missed**, not explained yet", self.row(missed))
        anchor = "where-the-time-goes-in-ip_route"
        self.assertIn(f"**[missed](README.md#{anchor})**", self.row(missed, {anchor}))


class Readme(unittest.TestCase):
    def test_each_benchmark_has_a_section(self):
        anchors = report.anchors((HERE / "README.md").read_text())
        names = re.findall(r'^    \("(\w+)",', (HERE / "run").read_text(), re.MULTILINE)
        self.assertGreater(len(names), 10)
        self.assertEqual([name for name in names if name not in anchors], [])
        prefix = "where-the-time-goes-in-"
        explained = {anchor.removeprefix(prefix) for anchor in anchors if anchor.startswith(prefix)}
        self.assertEqual(explained - set(names), set())


if __name__ == "__main__":
    unittest.main()
