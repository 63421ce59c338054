#!/usr/bin/env python3
"""Runs hashmap_bench and prints HashMap2018's time divided by each other map's.

usage: hashmap_ratios.py PROGRAM [REPETITIONS [SECONDS [FILTER]]]

The repetitions of all benchmarks are mixed at random within the one run, and the
median of each stands for it. Exits with 1 if a target is missed by more than 5 %.
"""

import json
import subprocess
import sys

OPERATIONS = ["hit", "miss", "fill", "eraseInsert", "iterate"]
SMALL = {"hit": 1.0, "iterate": 0.8, "miss": 1.3, "fill": 1.3, "eraseInsert": 1.3}
LARGE = 1.8
NOISE = 1.05


def medians(program, repetitions, seconds, selected):
    command = [
        program,
        f"--benchmark_repetitions={repetitions}",
        f"--benchmark_min_time={seconds}",
        f"--benchmark_filter={selected}",
        "--benchmark_enable_random_interleaving=true",
        "--benchmark_report_aggregates_only=true",
        "--benchmark_format=json",
    ]
    output = subprocess.run(command, check=True, stdout=subprocess.PIPE).stdout
    times = {}
    for row in json.loads(output)["benchmarks"]:
        if row["aggregate_name"] == "median":
            times[tuple(row["run_name"].split("/"))] = row["cpu_time"]
    return times


def main(program, repetitions="9", seconds="0.05", selected="."):
    times = medians(program, repetitions, seconds, selected)
    cases = sorted({(int(n), key) for _, key, n, _ in times})
    missed = []
    for other in ["absl", "std"]:
        print(f"\nHashMap2018 / {other}\n")
        print("| members | key | " + " | ".join(OPERATIONS) + " |")
        print("|---:|:---|" + "---:|" * len(OPERATIONS))
        for count, key in cases:
            cells = []
            for operation in OPERATIONS:
                own = times.get((operation, key, str(count), "zin"))
                reference = times.get((operation, key, str(count), other))
                if not own or not reference:
                    cells.append("")
                    continue
                ratio = own / reference
                limit = SMALL[operation] if count <= 4094 else LARGE
                cells.append(f"{ratio:.2f}")
                if other == "absl" and ratio > limit * NOISE:
                    cells[-1] = f"**{ratio:.2f}**"
                    missed.append(f"{operation}/{key}/{count}: {ratio:.2f} > {limit}")
            print(f"| {count} | {key} | " + " | ".join(cells) + " |")
    print("\nmissed targets: " + ("; ".join(missed) or "none"))
    return 1 if missed else 0


if __name__ == "__main__":
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    sys.exit(main(*sys.argv[1:]))
