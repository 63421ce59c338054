#!/usr/bin/env python3
"""Tells which lines and branches of the libraries the tests execute.

usage: coverage.py BUILD

BUILD is a folder built with the preset "coverage", whose tests have run. Prints a table
by folder as Markdown, and each line and each file's branches that no test reaches and
tools/coverage_left.txt does not list with a reason. Status 1 if there are any, or if an
entry of that list is of no use.
"""

import collections
import json
import os
import re
import subprocess
import sys

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
LEFT = "tools/coverage_left.txt"
FOLDERS = ["McastVpnLib", "runtime"]
BRANCH_GOAL = 95.0


def measured(build):
    """gcovr's view of the sources, without the branches that only an exception takes."""
    command = ["gcovr", "--root", ROOT, "--json", "-", "--exclude-throw-branches",
               "--exclude-unreachable-branches", "--gcov-ignore-parse-errors",
               "-j", str(os.cpu_count())]
    for folder in FOLDERS:
        command += ["--filter", os.path.join(ROOT, folder) + "/"]
    return json.loads(subprocess.run(command + [build], check=True, cwd=ROOT,
                                     stdout=subprocess.PIPE).stdout)["files"]


class Left:
    """What is left on purpose: lines "FILE: CODE", each below its reason ("# ...")."""

    def __init__(self):
        self.reasons = {}
        self.used = set()
        reason = None
        path = os.path.join(ROOT, LEFT)
        for line in open(path) if os.path.exists(path) else []:
            line = line.strip()
            if line.startswith("#"):
                reason = line[1:].strip()
            elif line:
                self.reasons[line] = reason

    def has(self, file, code):
        key = f"{file}: {code}"
        if key in self.reasons:
            self.used.add(key)
        return key in self.reasons

    def unused(self):
        return sorted(set(self.reasons) - self.used)


def main(build):
    left = Left()
    totals = collections.defaultdict(lambda: [0, 0, 0, 0])  # lines, hit, branches, hit
    missing, half = [], []
    for file in measured(build):
        name = file["file"]
        source = open(os.path.join(ROOT, name)).read().splitlines()
        total = totals["/".join(name.split("/")[:2])]
        for line in file["lines"]:
            if line.get("gcovr/noncode"):
                continue
            number = line["line_number"]
            code = re.sub(r"\s+", " ", source[number - 1].strip())
            total[0] += 1
            total[1] += 1 if line["count"] else 0
            if not line["count"] and not left.has(name, code):
                missing.append(f"{name}:{number}: {code}")
            for branch in line["branches"]:
                total[2] += 1
                total[3] += 1 if branch["count"] else 0
            if line["count"] and any(not each["count"] for each in line["branches"]):
                half.append(f"{name}:{number}: {code}")

    def percent(part, whole):
        return f"{100 * part / whole:.1f} %" if whole else ""

    print("| folder | lines | executed | branches | taken |")
    print("|---|---|---|---|---|")
    whole = [sum(each[i] for each in totals.values()) for i in range(4)]
    for name, total in [*sorted(totals.items()), ("in all", whole)]:
        print(f"| {name} | {total[0]} | {percent(total[1], total[0])} "
              f"| {total[2]} | {percent(total[3], total[2])} |")
    print(f"\n{len(left.used)} lines are left for the reasons in {LEFT}.")
    for line in half:
        print("branch never taken:", line, file=sys.stderr)
    for line in missing:
        print("never executed, and not listed:", line)
    for line in left.unused():
        print("listed, and executed or gone:", line)
    enough = 100 * whole[3] >= BRANCH_GOAL * whole[2]
    if not enough:
        print(f"fewer than {BRANCH_GOAL} % of the branches are taken")
    return 1 if missing or left.unused() or not enough else 0


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    sys.exit(main(sys.argv[1]))
