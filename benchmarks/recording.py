#!/usr/bin/env python3
"""What --record costs: two agents replay the same events, one of them recording. They are
fed in blocks, each of them in turn, so that whatever else the machine does in a moment
meets both; compared is the processor time that each takes for a block.

    benchmarks/recording.py build/release/agent/mcastvpn-agent [BLOCKS]
"""

import fcntl
import json
import os
import random
import statistics
import subprocess
import struct
import sys
import tempfile
import termios
import time

VLANS = 1000
BLOCK = 500  # events


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


def blocks(count):
    """Of VLANs that go and come again, so that each event writes five outputs."""
    each = events()
    for _ in range(count):
        yield "".join(json.dumps(next(each)) + "\n" for _ in range(BLOCK)).encode()


def events():
    chance = random.Random(1)
    present = set(range(1, VLANS + 1))
    while True:
        vlan = chance.randint(1, VLANS)
        path = f"/pegVlanStatus/pegVlan/{vlan}"
        if vlan in present:
            yield {"op": "remove", "path": path}
        else:
            yield {"op": "add", "path": path, "value": {}}
        present ^= {vlan}


class Agent:
    """One that replays what it is fed, while its results go nowhere."""

    def __init__(self, program, state_file, options):
        self._process = subprocess.Popen(
            [program, "replay", "--seed", "1", *options, "--state", state_file, "-"],
            stdin=subprocess.PIPE, stdout=subprocess.DEVNULL)
        self._input = self._process.stdin.fileno()

    def nanoseconds(self, block):
        """The processor time that it takes to play a block."""
        begin = self._idle_at()
        left = memoryview(block)
        while left:
            left = left[os.write(self._input, left):]
        return self._idle_at() - begin

    def _idle_at(self):
        """Its processor time once it has read all and waits for more."""
        while True:
            unread = struct.unpack(
                "i", fcntl.ioctl(self._input, termios.FIONREAD, bytes(4)))[0]
            if unread == 0 and self._of_system("stat").rpartition(")")[2].split()[0] == "S":
                return int(self._of_system("schedstat").split()[0])
            time.sleep(0.0002)

    def _of_system(self, name):
        with open(f"/proc/{self._process.pid}/{name}", encoding="utf-8") as text:
            return text.read()

    def end(self):
        self._process.stdin.close()
        if self._process.wait() != 0:
            sys.exit(f"the agent ended with {self._process.returncode}")


def main():
    program = sys.argv[1]
    count = int(sys.argv[2]) if len(sys.argv) > 2 else 400
    with tempfile.TemporaryDirectory() as folder:
        state_file = os.path.join(folder, "state.json")
        with open(state_file, "w", encoding="utf-8") as out:
            json.dump(state(), out)
        plain = Agent(program, state_file, [])
        recorded = Agent(program, state_file,
                         ["--record", os.path.join(folder, "recording.jsonl")])
        ratios = []
        for number, block in enumerate(blocks(count)):
            # Each of the two is the first one in turn.
            order = (plain, recorded) if number % 2 else (recorded, plain)
            took = {agent: agent.nanoseconds(block) for agent in order}
            ratios.append(took[recorded] / took[plain])
        for agent in (plain, recorded):
            agent.end()
    quarters = statistics.quantiles(ratios, n=4)
    print(f"{count} blocks of {BLOCK} events: {quarters[1]:.3f} in the median, "
          f"half of them between {quarters[0]:.3f} and {quarters[2]:.3f}")


if __name__ == "__main__":
    main()
