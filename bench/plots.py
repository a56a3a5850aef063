"""The report's plots, each from what the benchmarks left in their rows and claims."""

import matplotlib

matplotlib.use("Agg")
from matplotlib import pyplot
from matplotlib.ticker import FuncFormatter

ORDERS = {"ascending": "#1b6ca8", "shuffled": "#c8553d", "repeated": "#4a7c3a"}
FLOOR = "#888888"
SIZED = {"ip_route_sizes": "IP routes", "nexthop_group_tunnel_bulk": "nexthop group tunnels",
         "mpls_route_bulk": "MPLS labels"}


def save(figure, path):
    figure.savefig(path, dpi=120)
    pyplot.close(figure)


def plain(value, _=None):
    for limit, letter in ((1e6, "M"), (1e3, "k")):
        if value >= limit:
            return f"{value / limit:g}{letter}"
    return f"{value:g}"


def rate_over_size(benchmarks, path):
    figure, axes = pyplot.subplots(1, len(SIZED), figsize=(13, 5), sharey=True, layout="constrained")
    for axis, (name, title) in zip(axes, SIZED.items()):
        rows = benchmarks[name]["rows"]
        for order, color in ORDERS.items():
            own = [row for row in rows if row["order"] == order]
            sizes = [row["size"] for row in own]
            axis.plot(sizes, [row["adds_per_second"] for row in own], "o-", color=color, label=order)
            axis.plot(sizes, [row["floor_adds_per_second"] for row in own], ":", color=color, alpha=0.6,
                      label=f"floor, {order}")
        axis.set(title=title, xlabel="entries in the table", xscale="log")
        axis.set_xticks(sizes, [plain(size) for size in sizes])
        axis.minorticks_off()
        axis.yaxis.set_major_formatter(FuncFormatter(plain))
        axis.grid(alpha=0.3)
    axes[0].set(ylabel="adds a second", ylim=(0, None))  # they share it, so behind the last
    figure.get_layout_engine().set(rect=(0, 0.08, 1, 0.92))
    figure.legend(*axes[0].get_legend_handles_labels(), ncols=6, loc="lower center")
    figure.suptitle("Bulk adds, 1000 to a call, over the size of the table")
    save(figure, path)


def latency_lines(benchmarks):
    """What is drawn of each load: its name, the middle, the 99th percentile, the longest, and the percentile's goal."""
    for row in benchmarks["event_latency"]["rows"]:
        goal = None if row["load"] == "idle" else benchmarks["event_latency"]["goal_p99_ms"]
        yield f"in the switch, {row['load']}", row["p50_ms"], row["p99_ms"], row["max_ms"], goal
    watch = benchmarks["watch_latency"]
    for row in watch["rows"]:
        goal = watch[f"goal_{row['load']}_p99_ms"] if row["server"] == "agent" else None
        yield (f"watch, {row['server']}, {row['load']}", row["event_p50_ms"], row["event_p99_ms"], row["event_max_ms"],
               goal)
    sbfd = benchmarks["sbfd_updates"]
    for row in sbfd["rows"]:
        if row["change"] == "one status":
            yield (f"sBFD status, load: {row['load']}", row["heard_p50_ms"], row["heard_p99_ms"], row["heard_max_ms"],
                   sbfd["goal_status_p99_ms"])


def event_latency(benchmarks, path):
    lines = list(latency_lines(benchmarks))
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
    claims = [(name, claim) for name, benchmark in benchmarks.items() for claim in benchmark["claims"]
              if "goal_least_ratio" in claim and claim["ratio"] is not None]
    figure, axis = pyplot.subplots(figsize=(10, 1.5 + 0.3 * len(claims)), layout="constrained")
    for y, (_, claim) in enumerate(claims):
        met = claim["ratio"] >= claim["goal_least_ratio"]
        color = "#4a7c3a" if met else "#c8553d"
        axis.plot([claim["ratio_low"], claim["ratio_high"]], [y, y], color=color, alpha=0.5, linewidth=3)
        axis.plot(claim["ratio"], y, "o", color=color)
        axis.plot(claim["goal_least_ratio"], y, "D", color="black", fillstyle="none", markersize=9)
    axis.set_yticks(range(len(claims)), [f"{name}: {claim['what']}, of {claim['ratio_to']}" for name, claim in claims],
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
