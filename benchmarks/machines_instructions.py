#!/usr/bin/env python3
"""Counts the instructions of the machines' events, which repeat where times do not.

Runs machines_events under callgrind, which collects inside countedEvents() only, and
prints a table: instructions an event, or an event and VLAN where the event is about all
VLANs. Needs valgrind.

   benchmarks/machines_instructions.py build/bench/benchmarks/machines_events [FILTER]

FILTER is a regular expression on "program/event/vlans". With --profile the functions
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
VLANS = [16, 256, 4094]
FOR_ALL = {"mlag", "address"}


def count(program, what, event, vlans, profile):
    pairs = 3 if event in FOR_ALL else 50
    with tempfile.TemporaryDirectory() as folder:
        out = os.path.join(folder, "callgrind.out")
        done = subprocess.run(
            ["valgrind", "--tool=callgrind", f"--callgrind-out-file={out}",
             "--toggle-collect=*countedEvents*", program, what, event, str(vlans),
             str(pairs)],
            capture_output=True, text=True)
        if done.returncode != 0:
            sys.exit(f"{what}/{event}/{vlans}: {done.stderr}")
        if profile:
            print(subprocess.run(
                ["callgrind_annotate", "--show-percs=yes", out],
                capture_output=True, text=True, check=True).stdout[:6000])
        total = int(re.search(r"^(?:summary|totals): (\d+)", open(out).read(),
                              re.MULTILINE).group(1))
    return total / (2 * pairs) / (vlans - 1 if event in FOR_ALL else 1)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("program")
    parser.add_argument("filter", nargs="?", default="")
    parser.add_argument("--profile", action="store_true")
    options = parser.parse_args()
    print("instructions an event; beside the contract floor in brackets")
    for machine, events in EVENTS.items():
        for event in events:
            for vlans in VLANS:
                counts = {}
                for peer in PROGRAMS:
                    name = f"{machine}{peer}/{event}/{vlans}"
                    if re.search(options.filter, name):
                        counts[peer] = count(options.program, machine + peer, event,
                                             vlans, options.profile)
                if not counts:
                    continue
                line = f"{machine + '/' + event + '/' + str(vlans):24}"
                for peer, value in counts.items():
                    line += f" {peer[1:] or 'machine':>9} {value:9.0f}"
                if "" in counts and ".contract" in counts:
                    line += f"   ({counts[''] / counts['.contract']:.2f})"
                print(line, flush=True)


if __name__ == "__main__":
    main()
