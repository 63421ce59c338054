#!/usr/bin/env python3
"""What --record costs: two agents replay the same events, one of them recording. They are
fed in blocks, each of them in turn, so that whatever else the machine does in a moment
meets both; compared is the processor time that each takes for a block: that of its event
thread, which decides how many changes it can follow, and that of all its threads, since
another one writes the file.

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
        """The processor time that it takes to play a block: of its event thread, and of
        all threads."""
        begin = self._idle_at()
        left = memoryview(block)
        while left:
            left = left[os.write(self._input, left):]
        return [after - before for after, before in zip(self._idle_at(), begin)]

    def _idle_at(self):
        """Its processor times once it has read all and waits for more. A thread may wait
        for one that is looked at before it, so all of them are seen to wait twice."""
        seen = None
        while True:
            unread = struct.unpack(
                "i", fcntl.ioctl(self._input, termios.FIONREAD, bytes(4)))[0]
            threads = [int(name) for name in os.listdir(self._of_system("task"))]
            if unread == 0 and all(self._waits(thread) for thread in threads):
                times = {thread: int(self._read(thread, "schedstat").split()[0])
                         for thread in threads}
                if times == seen:
                    return times[self._process.pid], sum(times.values())
                seen = times
            time.sleep(0.0002)

    def _waits(self, thread):
        return self._read(thread, "stat").rpartition(")")[2].split()[0] == "S"

    def _read(self, thread, name):
        with open(self._of_system(f"task/{thread}/{name}"), encoding="utf-8") as text:
            return text.read()

    def _of_system(self, name):
        return f"/proc/{self._process.pid}/{name}"

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
        ratios = {"the event thread": [], "all threads": []}
        for number, block in enumerate(blocks(count)):
            # Each of the two is the first one in turn.
            order = (plain, recorded) if number % 2 else (recorded, plain)
            took = {agent: agent.nanoseconds(block) for agent in order}
            for of, more, less in zip(ratios, took[recorded], took[plain]):
                ratios[of].append(more / less)
        for agent in (plain, recorded):
            agent.end()
    print(f"{count} blocks of {BLOCK} events, with a recording to without one:")
    for of, values in ratios.items():
        quarters = statistics.quantiles(values, n=4)
        print(f"{of}: {quarters[1]:.3f} in the median, "
              f"half of them between {quarters[0]:.3f} and {quarters[2]:.3f}")


if __name__ == "__main__":
    main()
