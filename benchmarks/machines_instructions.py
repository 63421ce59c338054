#!/usr/bin/env python3
"""Counts the instructions of the machines' events and starts, which repeat where times
do not.

Runs machines_events under callgrind, which collects inside countedEvents() and
countedStart() only, and prints a table: instructions an event, an event and VLAN where
the event is about all VLANs, or a start and VRF. Needs valgrind.

   benchmarks/machines_instructions.py build/bench/benchmarks/machines_events [FILTER]

FILTER is a regular expression on "program/event/size". With --profile the functions
that cost most are printed too.
"""
import argparse
import os
import re
import subprocess
import sys
import tempfile

PROGRAMS = ["", ".contract", ".floor", ".sqlite"]
EVENTS = {
    "reactor": ["move", "transit", "mlag", "address"],
    "dataflow": ["move", "transit", "peg", "mlag", "address"],
}
VLANS = ["16", "256", "4094"]
FOR_ALL = {"mlag", "address"}
STARTS = ["start", "restartRight", "restartForeign"]
SHARED = ["100000x1000", "100000x4094"]


def vrfs(size):
    return int(size.split("x")[0]) if "x" in size else int(size) - 1


def count(program, what, event, size, profile):
    times = 1 if "x" in size else 3 if event in FOR_ALL or event in STARTS else 50
    with tempfile.TemporaryDirectory() as folder:
        out = os.path.join(folder, "callgrind.out")
        done = subprocess.run(
            ["valgrind", "--tool=callgrind", f"--callgrind-out-file={out}",
             "--toggle-collect=*countedEvents*", "--toggle-collect=*countedStart*",
             program, what, event, size, str(times)],
            capture_output=True, text=True)
        if done.returncode != 0:
            sys.exit(f"{what}/{event}/{size}: {done.stderr}")
        if profile:
            print(subprocess.run(
                ["callgrind_annotate", "--show-percs=yes", out],
                capture_output=True, text=True, check=True).stdout[:6000])
        total = int(re.search(r"^(?:summary|totals): (\d+)", open(out).read(),
                              re.MULTILINE).group(1))
    if event in STARTS:
        return total / times / vrfs(size)
    return total / (2 * times) / (vrfs(size) if event in FOR_ALL else 1)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("program")
    parser.add_argument("filter", nargs="?", default="")
    parser.add_argument("--profile", action="store_true")
    options = parser.parse_args()
    print("instructions an event; beside the contract floor in brackets")
    for machine, events in EVENTS.items():
        for event in events + STARTS:
            for size in VLANS + (SHARED if event == "start" else []):
                counts = {}
                for peer in PROGRAMS if event not in STARTS else PROGRAMS[:2]:
                    name = f"{machine}{peer}/{event}/{size}"
                    if re.search(options.filter, name):
                        counts[peer] = count(options.program, machine + peer, event,
                                             size, options.profile)
                if not counts:
                    continue
                line = f"{machine + '/' + event + '/' + size:28}"
                for peer, value in counts.items():
                    line += f" {peer[1:] or 'machine':>9} {value:9.0f}"
                if "" in counts and ".contract" in counts:
                    line += f"   ({counts[''] / counts['.contract']:.2f})"
                print(line, flush=True)


if __name__ == "__main__":
    main()
