#!/usr/bin/env python3
"""What --record costs: of two agents that are given the same changes, one records. They
are given them in blocks, each of the two first in turn, so that whatever else the machine
does in a moment meets both; compared is the processor time that each takes for a block:
that of its event thread, which decides how many changes it can follow, and that of all its
threads, since another one writes the file. Two processes of the same program differ, for
where things happen to stand in memory, so there are many pairs of agents; besides, as many
pairs of which none records tell what the method itself shows.

    benchmarks/recording.py build/release/agent/mcastvpn-agent [PAIRS]
"""

import fcntl
import json
import os
import random
import statistics
import struct
import subprocess
import sys
import tempfile
import termios
import time

VLANS = 1000
BLOCKS = 40  # that each pair of agents is given
NAP = 0.015  # seconds; the thread that writes a recording looks more often


class Inputs:
    """PEG VLANs that go and come again, so that each change writes five outputs."""

    def __init__(self, seed):
        self._chance = random.Random(seed)
        self._present = set(range(1, VLANS + 1))

    def change(self):
        vlan = self._chance.randint(1, VLANS)
        self._present ^= {vlan}
        path = f"/pegVlanStatus/pegVlan/{vlan}"
        if vlan in self._present:
            return {"op": "add", "path": path, "value": {}}
        return {"op": "remove", "path": path}

    def document(self):
        vlans = range(1, VLANS + 1)
        return json.dumps({
            "mcastEvpnConfig": {"transitVrf": [f"vrf-{vlan}" for vlan in vlans]},
            "vtiStatusDir": {"vtiStatus": {"Vxlan1": {
                "localVtepAddr": "10.0.0.1", "mlagVtepAddr": "10.0.0.100",
                "vrfToSBDVlan": {f"vrf-{vlan}": vlan for vlan in vlans}}}},
            "mlagStatus": {"mlagState": "active"},
            "pegVlanStatus": {"pegVlan": sorted(self._present)},
        })


class Agent:
    """A process whose results go nowhere."""

    def __init__(self, command, **streams):
        self.process = subprocess.Popen(command, stdout=subprocess.DEVNULL, **streams)
        self._times = {}

    def nanoseconds(self):
        """The processor time since the last call, once it has nothing left to do: of its
        event thread, and of all threads."""
        times = None
        while times != (times := self._times_of_waiting()) or times is None:
            if self.process.poll() is not None:
                sys.exit(f"the agent ended with {self.process.returncode}")
            time.sleep(NAP)
        took = {thread: at - self._times.get(thread, 0) for thread, at in times.items()}
        self._times = times
        return took[self.process.pid], sum(took.values())

    def has_all(self):
        """Whether it has taken what it was given."""
        raise NotImplementedError

    def _times_of_waiting(self):
        """The processor time of each thread; None unless all of them wait."""
        threads = [int(name) for name in os.listdir(self._of_system("task"))]
        if not self.has_all() or not all(self._waits(thread) for thread in threads):
            return None
        return {thread: int(self._read(thread, "schedstat").split()[0])
                for thread in threads}

    def _waits(self, thread):
        return self._read(thread, "stat").rpartition(")")[2].split()[0] == "S"

    def _read(self, thread, name):
        with open(self._of_system(f"task/{thread}/{name}"), encoding="utf-8") as text:
            return text.read()

    def _of_system(self, name):
        return f"/proc/{self.process.pid}/{name}"

    def is_ending(self):
        if self.process.wait() != 0:
            sys.exit(f"the agent ended with {self.process.returncode}")


class Replaying(Agent):
    """One that replays what it is fed."""

    NAME = "replay, 500 changes a block"
    CHANGES = 500

    def __init__(self, program, folder, options):
        state_file = os.path.join(folder, "state.json")
        with open(state_file, "w", encoding="utf-8") as out:
            out.write(Inputs(0).document())
        super().__init__([program, "replay", "--seed", "1", *options,
                          "--state", state_file, "-"], stdin=subprocess.PIPE)
        self._input = self.process.stdin.fileno()

    @staticmethod
    def block(inputs, count):
        return "".join(json.dumps(inputs.change()) + "\n" for _ in range(count)).encode()

    def give(self, block):
        left = memoryview(block)
        while left:
            left = left[os.write(self._input, left):]

    def has_all(self):
        return struct.unpack(
            "i", fcntl.ioctl(self._input, termios.FIONREAD, bytes(4)))[0] == 0

    def end(self):
        self.process.stdin.close()
        self.is_ending()


class Watching(Agent):
    """One that follows a file, which is replaced, as editors do."""

    NAME = "run --watch, 100 changes a document"
    CHANGES = 100

    def __init__(self, program, folder, options):
        self._file = os.path.join(folder, "watched.json")
        self._put(Inputs(0).document())
        super().__init__([program, "run", "--watch", "--seed", "1", *options, self._file],
                         stderr=subprocess.PIPE, text=True)
        while not self._follows():
            time.sleep(NAP)

    @staticmethod
    def block(inputs, count):
        for _ in range(count):
            inputs.change()
        return inputs.document()

    def give(self, block):
        self._put(block)
        told = self.process.stderr.readline()
        if "of the inputs" not in told:
            sys.exit(f"of a document it was told: {told}")

    def _follows(self):
        folder = f"/proc/{self.process.pid}/fd"
        try:
            return any("inotify" in os.readlink(os.path.join(folder, name))
                       for name in os.listdir(folder))
        except FileNotFoundError:
            return False  # one was closed meanwhile

    def _put(self, document):
        with open(self._file + ".new", "w", encoding="utf-8") as out:
            out.write(document)
        os.rename(self._file + ".new", self._file)

    def has_all(self):
        return True

    def end(self):
        self.process.terminate()
        self.is_ending()


class WatchingOne(Watching):
    """One of those whose file is replaced for little."""

    NAME = "run --watch, 1 change a document"
    CHANGES = 1


def measure(kind, program, pairs):
    """The ratios of pairs of agents, in the medians of their blocks: of those with and
    without a recording, and of those that both have none."""
    ratios = {(what, of): [] for what in ("recording", "the same")
              for of in ("event thread", "all threads")}
    for seed in range(pairs):
        for what in ("recording", "the same"):
            for of, values in ratios_of(kind, program, what == "recording", seed).items():
                ratios[what, of].append(statistics.median(values))
    print(f"{kind.NAME}: {pairs} pairs of agents, {BLOCKS} blocks each")
    for (what, of), values in ratios.items():
        quarters = statistics.quantiles(values, n=4)
        print(f"  {what}, {of}: {quarters[1]:.3f} in the median, "
              f"half of them between {quarters[0]:.3f} and {quarters[2]:.3f}", flush=True)


def ratios_of(kind, program, is_recorded, seed):
    """Those of the second agent to the first, block by block."""
    inputs = Inputs(seed)
    ratios = {"event thread": [], "all threads": []}
    with tempfile.TemporaryDirectory() as one, tempfile.TemporaryDirectory() as other:
        options = ["--record", os.path.join(other, "recording.jsonl")] if is_recorded else []
        agents = []
        try:
            # Each of the two is the first one in turn.
            for folder, its in ((one, []), (other, options))[::1 if seed % 2 else -1]:
                agents.append(kind(program, folder, its))
            first, second = agents[::1 if seed % 2 else -1]
            for agent in agents:
                agent.nanoseconds()  # of the start
            for number in range(BLOCKS):
                block = kind.block(inputs, kind.CHANGES)
                took = {}
                for agent in (first, second)[::1 if number % 2 else -1]:
                    agent.give(block)
                    took[agent] = agent.nanoseconds()
                for of, more, less in zip(ratios, took[second], took[first]):
                    ratios[of].append(more / less)
            for agent in agents:
                agent.end()
        finally:
            for agent in agents:
                agent.process.kill()
    return ratios


def main():
    pairs = int(sys.argv[2]) if len(sys.argv) > 2 else 16
    for kind in (Replaying, Watching, WatchingOne):
        measure(kind, sys.argv[1], pairs)


if __name__ == "__main__":
    main()
