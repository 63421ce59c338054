#!/usr/bin/env python3
"""Runs machines_bench and prints the tables of times of Machines.md.

usage: machines_tables.py PROGRAM [REPETITIONS [FILTER]]

The repetitions of all benchmarks are mixed at random within the one run, and the
median of each stands for it. What the program itself prints (the comparisons with their
targets, memory, slices) follows.
"""

import json
import subprocess
import sys
import tempfile

MACHINES = ["reactor", "dataflow"]
KINDS = ["move", "transit", "peg", "mlag", "address", "start", "restartRight",
         "restartForeign"]
PEERS = ["contract", "floor", "sqlite", "recompute"]


def run(program, repetitions, selected):
    with tempfile.NamedTemporaryFile(suffix=".json") as out:
        text = subprocess.run(
            [program, f"--benchmark_repetitions={repetitions}",
             f"--benchmark_filter={selected}",
             "--benchmark_enable_random_interleaving=true",
             "--benchmark_report_aggregates_only=true",
             f"--benchmark_out={out.name}", "--benchmark_out_format=json"],
            check=True, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
            text=True).stdout
        rows = json.load(open(out.name))["benchmarks"]
    # An item is an event, an event and VLAN where it is about all, or a VRF at a start.
    times = {tuple(row["run_name"].split("/")[:3]): 1e9 / row["items_per_second"]
             for row in rows if row["aggregate_name"] == "median"}
    return times, text


def ratio(value, other):
    if not value or not other:
        return ""
    quotient = value / other
    return f"{quotient:.2f}" if quotient < 5 else f"{quotient:.1f}" \
        if quotient < 25 else f"{quotient:.0f}"


def duration(nanoseconds):
    return f"{nanoseconds:.0f} ns" if nanoseconds < 1000 else \
        f"{nanoseconds / 1000:.2f} us"


def main(program, repetitions="9", selected="."):
    times, text = run(program, repetitions, selected)
    # They ran in random order.
    cases = sorted((case for case in times if case[0] in MACHINES),
                   key=lambda case: (MACHINES.index(case[0]), KINDS.index(case[1]),
                                     [int(size) for size in case[2].split("x")]))
    print("| event | VLANs | machine | times the contract floor | times the floor "
          "| times faster than SQLite | than a recomputation |")
    print("|---|---|---|---|---|---|---|")
    for machine, event, size in cases:
        if event.startswith(("start", "restart")):
            continue
        own = times[machine, event, size]
        beside = [times.get((f"{machine}.{peer}", event, size)) for peer in PEERS]
        print(f"| {machine} {event} | {size} | {duration(own)} "
              f"| {ratio(own, beside[0])} | {ratio(own, beside[1])} "
              f"| {ratio(beside[2], own)} | {ratio(beside[3], own)} |")
    print("\n| start | VRFs (x PEG VLANs) | machine, a VRF "
          "| times the contract floor | in tasks |")
    print("|---|---|---|---|---|")
    for machine, kind, size in cases:
        if not kind.startswith(("start", "restart")):
            continue
        own = times[machine, kind, size]
        floor = times.get((f"{machine}.contract", kind, size))
        tasks = times.get((f"{machine}Tasks", kind, size))
        print(f"| {machine} {kind} | {size} | {duration(own)} "
              f"| {ratio(own, floor)} | {ratio(tasks, floor)} |")
    print(text[text.index("comparison of medians"):])


if __name__ == "__main__":
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    main(*sys.argv[1:])
