#!/usr/bin/env python3
"""What --record costs: the agent replays the same events with and without it, in turn,
and the processor time of each process is compared pair by pair.

    benchmarks/recording.py build/release/agent/mcastvpn-agent [PAIRS]
"""

import json
import os
import random
import statistics
import subprocess
import sys
import tempfile

VLANS = 1000
EVENTS = 20000


def state():
    vlans = range(1, VLANS + 1)
    return {
        "mcastEvpnConfig": {"transitVrf": [f"vrf-{vlan}" for vlan in vlans]},
        "vtiStatusDir": {"vtiStatus": {"Vxlan1": {
            "localVtepAddr": "10.0.0.1", "mlagVtepAddr": "10.0.0.100",
            "vrfToSBDVlan": {f"vrf-{vlan}": vlan for vlan in vlans}}}},
        "mlagStatus": {"mlagState": "active"},
        "pegVlanStatus": {"pegVlan": list(vlans)},
    }


def events():
    """VLANs that go and come again, so that each event writes five outputs."""
    chance = random.Random(1)
    present = set(range(1, VLANS + 1))
    for _ in range(EVENTS):
        vlan = chance.randint(1, VLANS)
        path = f"/pegVlanStatus/pegVlan/{vlan}"
        if vlan in present:
            yield {"op": "remove", "path": path}
        else:
            yield {"op": "add", "path": path, "value": {}}
        present ^= {vlan}


def seconds(command):
    """The processor time of a process, whose results nobody reads."""
    process = subprocess.Popen(command, stdout=subprocess.DEVNULL)
    _, status, usage = os.wait4(process.pid, 0)
    process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode != 0:
        sys.exit(f"{' '.join(command)}: ended with {process.returncode}")
    return usage.ru_utime + usage.ru_stime


def main():
    program = sys.argv[1]
    pairs = int(sys.argv[2]) if len(sys.argv) > 2 else 100
    with tempfile.TemporaryDirectory() as folder:
        files = {name: os.path.join(folder, name)
                 for name in ("state.json", "events.jsonl", "recording.jsonl")}
        with open(files["state.json"], "w", encoding="utf-8") as out:
            json.dump(state(), out)
        with open(files["events.jsonl"], "w", encoding="utf-8") as out:
            out.writelines(json.dumps(event) + "\n" for event in events())
        plain = [program, "replay", "--seed", "1", "--state", files["state.json"],
                 files["events.jsonl"]]
        recorded = plain[:2] + ["--record", files["recording.jsonl"]] + plain[2:]
        seconds(plain)  # so that files and program are in memory
        measured = []
        for number in range(pairs):
            # Each of the two is the first one in turn.
            order = (recorded, plain) if number % 2 else (plain, recorded)
            times = {command is recorded: seconds(command) for command in order}
            measured.append((times[True], times[False]))
            os.remove(files["recording.jsonl"])  # the next one is a new file, too
    ratios = sorted(with_it / without for with_it, without in measured)
    least = min(with_it for with_it, _ in measured) / min(
        without for _, without in measured)
    print(f"{pairs} pairs of {EVENTS} events: {min(ratios):.3f}, "
          f"{statistics.median(ratios):.3f} in the median, {max(ratios):.3f}; "
          f"{least:.3f} between the least times of either")


if __name__ == "__main__":
    main()
