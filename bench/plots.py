"""The report's plots, each from the rows that the benchmarks left."""

import re

import matplotlib

matplotlib.use("Agg")
from matplotlib import pyplot
from matplotlib.ticker import FuncFormatter

ORDERS = {"ascending": "#1b6ca8", "shuffled": "#c8553d", "repeated": "#4a7c3a"}
FLOOR = "#888888"
SIZED = {"ip_route_bulk": "IP routes", "nexthop_group_tunnel_bulk": "nexthop group tunnels",
         "mpls_route_bulk": "MPLS labels"}


def save(figure, path):
    figure.savefig(path, dpi=120)
    pyplot.close(figure)


def plain(value, _=None):
    for limit, letter in ((1e6, "M"), (1e3, "k")):
        if value >= limit:
            return f"{value / limit:g}{letter}"
    return f"{value:g}"


def points(rows, order):
    """Size, rate and the floor's rate of each table."""
    for row in rows:
        found = re.fullmatch(rf"{order} adds, beside (\d+)", row["what"])
        if found and row["ratio_to"] == "floor":
            yield int(found[1]), row["figure"], row["beside"]["other's /s"]


def rate_over_size(benchmarks, path):
    figure, axes = pyplot.subplots(1, len(SIZED), figsize=(13, 5), sharey=True, layout="constrained")
    for axis, (name, title) in zip(axes, SIZED.items()):
        for order, color in ORDERS.items():
            sizes, rates, floors = zip(*points(benchmarks[name]["rows"], order))
            axis.plot(sizes, rates, "o-", color=color, label=order)
            axis.plot(sizes, floors, ":", color=color, alpha=0.6, label=f"floor, {order}")
        axis.set(title=title, xlabel="entries in the table", xscale="log")
        axis.set_xticks(sizes, [plain(size) for size in sizes])
        axis.minorticks_off()
        axis.yaxis.set_major_formatter(FuncFormatter(plain))
        axis.grid(alpha=0.3)
    axes[0].set(ylabel="adds a second", ylim=(0, None))  # they share it, so once the last is drawn
    figure.get_layout_engine().set(rect=(0, 0.08, 1, 0.92))
    figure.legend(*axes[0].get_legend_handles_labels(), ncols=6, loc="lower center")
    figure.suptitle("Bulk adds, 1000 to a call, over the size of the table")
    save(figure, path)


def latencies(benchmarks):
    """Of each event: its name, the middle, the 99th percentile, the longest, and the percentile's goal."""
    for name in ("event_latency", "watch_latency", "watch_fan_out", "sbfd_updates"):
        medians = {}
        for row in benchmarks[name]["rows"]:
            what, _, part = row["what"].rpartition(", ")
            medians.setdefault(what, row["figure"])
            if part == "p99":
                yield what, medians[what], row["figure"], row["beside"]["longest"], row.get("goal_most_figure")


def event_latency(benchmarks, path):
    lines = list(latencies(benchmarks))
    figure, axis = pyplot.subplots(figsize=(10, 1.5 + 0.42 * len(lines)), layout="constrained")
    for y, (_, p50, p99, longest, goal) in enumerate(lines):
        axis.plot([p50, longest], [y, y], color=FLOOR, linewidth=1)
        drawn = [(p50, "o", "#1b6ca8", "p50"), (p99, "s", "#c8553d", "p99"), (longest, "|", FLOOR, "longest")]
        for value, marker, color, label in drawn:
            axis.plot(value, y, marker, color=color, markersize=8, label=label)
        if goal:
            axis.plot(goal, y, "D", color="black", fillstyle="none", markersize=9, label="goal of p99")
    axis.set_yticks(range(len(lines)), [line[0] for line in lines])
    axis.invert_yaxis()
    axis.set(xscale="log", xlabel="milliseconds from just before the cause to the event")
    axis.xaxis.set_major_formatter(FuncFormatter(plain))
    axis.grid(alpha=0.3, axis="x")
    handles, labels = axis.get_legend_handles_labels()
    each = dict(zip(labels, handles))
    axis.legend(each.values(), each.keys(), ncols=4, loc="lower center", bbox_to_anchor=(0.5, 1.0))
    save(figure, path)


def ratios(benchmarks, path):
    rows = [(name, row) for name, benchmark in benchmarks.items() for row in benchmark["rows"]
            if "goal_least_ratio" in row and row["ratio"] is not None]
    figure, axis = pyplot.subplots(figsize=(10, 1.5 + 0.3 * len(rows)), layout="constrained")
    for y, (_, row) in enumerate(rows):
        color = "#4a7c3a" if row["ratio"] >= row["goal_least_ratio"] else "#c8553d"
        axis.plot([row["ratio_low"], row["ratio_high"]], [y, y], color=color, alpha=0.5, linewidth=3)
        axis.plot(row["ratio"], y, "o", color=color)
        axis.plot(row["goal_least_ratio"], y, "D", color="black", fillstyle="none", markersize=9)
    axis.set_yticks(range(len(rows)), [f"{name}: {row['what']}, of {row['ratio_to']}" for name, row in rows],
                    fontsize="small")
    axis.invert_yaxis()
    axis.margins(y=0.03)
    axis.set(xlim=(0, None), xlabel="share of the other's speed: median, lowest, highest; diamond: goal")
    axis.grid(alpha=0.3, axis="x")
    save(figure, path)


def memory(soak, path):
    figure, axis = pyplot.subplots(figsize=(10, 3), layout="constrained")
    axis.plot([seconds / 60 for seconds, _ in soak["memory"]], [mib for _, mib in soak["memory"]], color="#1b6ca8")
    axis.set(xlabel="minutes", ylabel="MiB resident", ylim=(0, None))
    axis.grid(alpha=0.3)
    save(figure, path)


PLOTS = {
    "ratios.png": (ratios, "The ratios that have a goal"),
    "rate-over-size.png": (rate_over_size, "Bulk adds over the size of the table"),
    "event-latency.png": (event_latency, "Latency of events, idle and under load"),
}


def draw(benchmarks, soak, out):
    """Leaves them in the folder; what each shows, by the name of its file."""
    for file, (plot, _) in PLOTS.items():
        plot(benchmarks, out / file)
    drawn = {file: text for file, (_, text) in PLOTS.items()}
    if soak:
        memory(soak, out / "soak-memory.png")
        drawn["soak-memory.png"] = "The agent's memory in the soak"
    return drawn
