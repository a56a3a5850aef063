#!/usr/bin/python3
"""report.py RESULTS [OUT]: report.md and its plots, anew from the results of a run."""

import json
import pathlib
import re
import sys

sys.dont_write_bytecode = True
import plots

HERE = pathlib.Path(__file__).parent
README = HERE / "README.md"
SOAK = "soak.json"  # what `make soak` leaves, if it was put beside the report


def verdict(row):
    """met, missed, or no goal. What could not be measured has missed its goal."""
    if "goal_least_ratio" in row:
        met = row["ratio"] is not None and row["ratio"] >= row["goal_least_ratio"]
    elif "goal_most_figure" in row:
        met = row["figure"] is not None and row["figure"] <= row["goal_most_figure"]
    else:
        return "no goal"
    return "met" if met else "missed"


def number(value):
    if value is None:
        return "–"
    return f"{value:,.0f}" if abs(value) >= 100 else f"{value:.3g}"


def ratio_text(row):
    if row.get("ratio") is None:
        return ""
    low, high = row["ratio_low"], row["ratio_high"]
    spread = f" ({low:.2f}–{high:.2f})" if low != high else ""
    return f"{row['ratio']:.2f}{spread} of {row['ratio_to']}"


def goal_text(row):
    if "goal_least_ratio" in row:
        return f"≥ {row['goal_least_ratio']:.2f} of {row['ratio_to']}"
    if "goal_most_figure" in row:
        return f"≤ {number(row['goal_most_figure'])} {row['unit']}"
    return ""


def anchors(markdown):
    """Those of the headings, as a forge makes them."""
    headings = re.findall(r"^#+ (.*)$", markdown, re.MULTILINE)
    return {re.sub(r"[^\w -]", "", heading.lower()).replace(" ", "-") for heading in headings}


def verdict_cell(name, row, explained):
    said = verdict(row)
    if said != "missed":
        return said
    anchor = f"where-the-time-goes-in-{name}"
    return f"**[missed](README.md#{anchor})**" if anchor in explained else "**missed**, not explained yet"


def run_text(machine):
    before, after = (" ".join(f"{load:.2f}" for load in machine[f"load_{when}"]) for when in ("before", "after"))
    return f"{machine['commit']}, {machine['date']}; load average {before} before, {after} after"


def machine_text(machine, benchmarks):
    seconds = sum(benchmark["seconds"] for benchmark in benchmarks.values())
    anew = [f"| {name}, anew | {run_text(benchmark['machine'])} |"
            for name, benchmark in benchmarks.items() if "machine" in benchmark]
    return "\n".join([
        "| | |", "|---|---|",
        f"| machine | {machine['cpu']}, {machine['cores']} cores, {machine['memory_gib']} GiB, "
        f"Linux {machine['kernel']} |",
        f"| build | {machine['build_type']}, {machine['compiler']} |",
        f"| run of {seconds / 60:.0f} minutes | {run_text(machine)} |", *anew])


def rows_of(benchmarks):
    return [(name, row) for name, benchmark in benchmarks.items() for row in benchmark["rows"]]


def summary(benchmarks):
    said = [verdict(row) for _, row in rows_of(benchmarks)]
    met, missed, none = (said.count(each) for each in ("met", "missed", "no goal"))
    return f"{met} goals met, {missed} missed; {none} figures without a goal."


def table(benchmarks, explained):
    lines = ["| benchmark | what | figure | ratio | goal | verdict | beside |", "|---|---|--:|---|---|---|---|"]
    for name, row in rows_of(benchmarks):
        beside = ", ".join(f"{what} {number(value)}" for what, value in row["beside"].items())
        cells = [f"[{name}](README.md#{name})", row["what"], f"{number(row['figure'])} {row['unit']}",
                 ratio_text(row), goal_text(row), verdict_cell(name, row, explained), beside]
        lines.append(f"| {' | '.join(cells)} |")
    return "\n".join(lines)


def soak_text(soak):
    def times(quarter, what):
        return " / ".join(f"{value:.2f}" for value in quarter[f"{what}_ms"])

    kinds = ("route", "description", "event", "bulk")
    lines = ["## Soak",
             f"{soak['seconds'] / 3600:.2f} hours: {soak['routes_programmed']:,} routes programmed in bulks of 1000, "
             f"{soak['resyncs']} resyncs of the whole table, {soak['calls']:,} random calls; "
             f"{soak['cpu_seconds']:.0f} s of processor. Over the second half the agent's memory changed by "
             f"{soak['memory_slope_mib_per_hour']:+.2f} MiB an hour. Times are the 50th and 99th percentile and the "
             f"longest, in milliseconds.",
             "| quarter | memory MiB | open files | threads | longest queue | one route | one description | its event "
             "| a bulk |\n|--:|--:|--:|--:|--:|--:|--:|--:|--:|\n" + "\n".join(
                 f"| {i} | {q['resident_mib']} | {q['descriptors']} | {q['threads']} | {q['longest_queue']} | "
                 + " | ".join(times(q, kind) for kind in kinds) + " |" for i, q in enumerate(soak["quarters"], 1))]
    return "\n\n".join(lines)


def markdown(results, images, soak):
    benchmarks = results["benchmarks"]
    parts = ["# What the benchmarks say",
             "Made by `bench/run`; [README.md](README.md) tells what each benchmark measures, beside what floor, and "
             "why."]
    if results["quick"]:
        parts.append("**A quick run: tables too small to tell anything.**")
    parts += [machine_text(results["machine"], benchmarks), summary(benchmarks),
              "A ratio is a speed as a share of the other's, so above 1 is better: the median of the pairs, and in "
              "brackets the lowest and the highest.",
              *(f"![{text}]({file})" for file, text in images.items()),
              table(benchmarks, anchors(README.read_text()))]
    if soak:
        parts.append(soak_text(soak))
    return "\n\n".join(parts) + "\n"


def write(results, out):
    """Leaves the report and its plots in the folder; what it comes to, in a line."""
    soak = json.loads((out / SOAK).read_text()) if (out / SOAK).exists() else None
    images = plots.draw(results["benchmarks"], soak, out)
    (out / "report.md").write_text(markdown(results, images, soak))
    return f"{out / 'report.md'}: {summary(results['benchmarks'])}"


if __name__ == "__main__":
    results, *folders = (pathlib.Path(argument) for argument in sys.argv[1:])
    print(write(json.loads(results.read_text()), folders[0] if folders else HERE))
