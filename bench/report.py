#!/usr/bin/python3
"""report.py RESULTS [OUT]: report.md and its plots, anew from a results.json."""

import json
import pathlib
import re
import sys

sys.dont_write_bytecode = True
import plots

README = pathlib.Path(__file__).parent / "README.md"
SOAK = "soak.json"  # what `make soak` leaves, if it was put beside the results


def verdict(claim):
    """met, missed, or no goal. What could not be measured has missed its goal."""
    if "goal_least_ratio" in claim:
        met = claim["ratio"] is not None and claim["ratio"] >= claim["goal_least_ratio"]
    elif "goal_most_figure" in claim:
        met = claim["figure"] is not None and claim["figure"] <= claim["goal_most_figure"]
    else:
        return "no goal"
    return "met" if met else "missed"


def number(value):
    if value is None:
        return "–"
    return f"{value:,.0f}" if abs(value) >= 100 else f"{value:.3g}"


def ratio_text(claim):
    if claim.get("ratio") is None:
        return ""
    low, high = claim["ratio_low"], claim["ratio_high"]
    spread = f" ({low:.2f}–{high:.2f})" if low != high else ""
    return f"{claim['ratio']:.2f}{spread} of {claim['ratio_to']}"


def goal_text(claim):
    if "goal_least_ratio" in claim:
        return f"≥ {claim['goal_least_ratio']:.2f} of {claim['ratio_to']}"
    if "goal_most_figure" in claim:
        return f"≤ {number(claim['goal_most_figure'])} {claim['unit']}"
    return ""


def anchors(markdown):
    """Those of the headings, as a forge makes them."""
    headings = re.findall(r"^#+ (.*)$", markdown, re.MULTILINE)
    return {re.sub(r"[^\w -]", "", heading.lower()).replace(" ", "-") for heading in headings}


def verdict_cell(name, claim, explained):
    said = verdict(claim)
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


def summary(claims):
    said = [verdict(claim) for claim in claims]
    met, missed, none = (said.count(each) for each in ("met", "missed", "no goal"))
    return f"{met} goals met, {missed} missed; {none} figures without a goal."


def table(benchmarks, explained):
    lines = ["| benchmark | what | figure | ratio | goal | verdict |", "|---|---|--:|---|---|---|"]
    for name, benchmark in benchmarks.items():
        for claim in benchmark["claims"]:
            cells = [f"[{name}](README.md#{name})", claim["what"], f"{number(claim['figure'])} {claim['unit']}",
                     ratio_text(claim), goal_text(claim), verdict_cell(name, claim, explained)]
            lines.append(f"| {' | '.join(cells)} |")
    return "\n".join(lines)


def soak_text(soak):
    def times(quarter, what):
        return " / ".join(f"{value:.2f}" for value in quarter[f"{what}_ms"])

    kinds = ("route", "description", "event", "bulk")
    lines = ["## Soak",
             f"{soak['seconds'] / 3600:.2f} hours: {soak['routes_programmed']:,} routes programmed in bulks of 1000, "
             f"{soak['resyncs']} resyncs of the whole table, {soak['calls']:,} random calls; {soak['cpu_seconds']:.0f} s "
             f"of processor. Over the second half the agent's memory changed by "
             f"{soak['memory_slope_mib_per_hour']:+.2f} MiB an hour. Times are the 50th and 99th percentile and the "
             f"longest, in milliseconds.",
             "| quarter | memory MiB | open files | threads | longest queue | one route | one description | its event "
             "| a bulk |\n|--:|--:|--:|--:|--:|--:|--:|--:|--:|\n" + "\n".join(
                 f"| {i} | {q['resident_mib']} | {q['descriptors']} | {q['threads']} | {q['longest_queue']} | "
                 + " | ".join(times(q, kind) for kind in kinds) + " |" for i, q in enumerate(soak["quarters"], 1))]
    return "\n\n".join(lines)


def markdown(results, images, soak):
    benchmarks = results["benchmarks"]
    claims = [claim for benchmark in benchmarks.values() for claim in benchmark["claims"]]
    parts = ["# What the benchmarks say",
             "Made by `bench/run`; all figures are in [results.json](results.json), and [README.md](README.md) tells "
             "what each benchmark measures, beside what floor, and why."]
    if results["quick"]:
        parts.append("**A quick run: tables too small to tell anything.**")
    parts += [machine_text(results["machine"], benchmarks), summary(claims),
              "A ratio is a speed as a share of the other's, so above 1 is better: the median of the pairs, and in "
              "brackets the lowest and the highest where each round is a pair.",
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
    claims = [claim for benchmark in results["benchmarks"].values() for claim in benchmark["claims"]]
    return f"{out / 'report.md'}: {summary(claims)}"


if __name__ == "__main__":
    path = pathlib.Path(sys.argv[1])
    print(write(json.loads(path.read_text()), pathlib.Path(sys.argv[2]) if len(sys.argv) > 2 else path.parent))
