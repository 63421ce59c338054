#!/usr/bin/env python3
"""What --record costs: of three agents that are given the same changes, one records. They
are given them in blocks, each of the three first in turn, so that whatever else the machine
does in a moment meets all; compared is the processor time that each takes for a block: that
of the agent, which decides how many changes it can follow, and not that of the process
that writes for it. The same blocks are given to new agents again and again, and of each
block the quickest time and the median are taken: where other machines share the processor,
the median shows as much of them as of the agent. The two agents that record nothing tell
how far the method is to be trusted.

    benchmarks/recording.py build/release/agent/mcastvpn-agent [ROUNDS]
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
BLOCKS = 40  # that each agent is given
NAP = 0.015  # seconds; whoever writes a recording looks more often while it grows


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


def read_of(process, name):
    with open(f"/proc/{process}/{name}", encoding="utf-8") as text:
        return text.read()


def waits(process):
    return read_of(process, "stat").rpartition(")")[2].split()[0] == "S"


def time_of(process):
    return int(read_of(process, "schedstat").split()[0])


class Agent:
    """A process whose results go nowhere."""

    def __init__(self, command, **streams):
        self.process = subprocess.Popen(command, stdout=subprocess.DEVNULL, **streams)
        self._times = (0, 0)

    def nanoseconds(self):
        """The processor time since the last call, once it has nothing left to do: its own,
        and that of the process that writes its recording."""
        times = None
        while times != (times := self._times_of_waiting()) or times is None:
            if self.process.poll() is not None:
                sys.exit(f"the agent ended with {self.process.returncode}")
            time.sleep(NAP)
        took = [at - before for at, before in zip(times, self._times)]
        self._times = times
        return took

    def has_all(self):
        """Whether it has taken what it was given."""
        raise NotImplementedError

    def _times_of_waiting(self):
        """The processor time of it and of its children; None unless all of them wait."""
        its = self.process.pid
        children = read_of(its, f"task/{its}/children").split()
        if not self.has_all() or not all(waits(each) for each in (its, *children)):
            return None
        return time_of(its), sum(time_of(child) for child in children)

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


AGENTS = {"none": [], "a recording": ["--record"], "none again": []}


def measure(kind, program, rounds):
    """How long the agents take for all blocks, each block in its quickest time and in its
    median, to the mean of the two that record nothing."""
    print(f"{kind.NAME}: {BLOCKS} blocks, {rounds} rounds of new agents")
    times = [times_of(kind, program, number) for number in range(rounds)]
    changes = BLOCKS * kind.CHANGES
    for how in (min, statistics.median):
        taken = {name: sum(how(took[name][block][0] for took in times)
                           for block in range(BLOCKS)) for name in AGENTS}
        plain = (taken["none"] + taken["none again"]) / 2
        ratios = ", ".join(f"{name} {time / plain:.3f}" for name, time in taken.items())
        print(f"  {how.__name__}: {ratios}; {plain / changes / 1000:.1f} us a change "
              "without", flush=True)
    # It writes when the block is over as well, so no block has a time of it.
    writer = sum(sum(column[1] for column in took["a recording"]) for took in times)
    print(f"  the writer: {writer / changes / rounds / 1000:.1f} us a change", flush=True)


def times_of(kind, program, number):
    """Those of each agent for each block."""
    inputs = Inputs(1)
    times = {name: [] for name in AGENTS}
    names = list(AGENTS)
    with tempfile.TemporaryDirectory() as folder:
        agents = {}
        try:
            for name in turned(names, number):
                own = os.path.join(folder, name)
                os.mkdir(own)
                options = [*AGENTS[name], *([os.path.join(own, "recording.jsonl")]
                                            if AGENTS[name] else [])]
                agents[name] = kind(program, own, options)
            for agent in agents.values():
                agent.nanoseconds()  # of the start
            for block in range(BLOCKS):
                given = kind.block(inputs, kind.CHANGES)
                for name in turned(names, number + block):
                    agents[name].give(given)
                    times[name].append(agents[name].nanoseconds())
            for agent in agents.values():
                agent.end()
        finally:
            for agent in agents.values():
                agent.process.kill()
    return times


def turned(names, number):
    """Each is the first one in turn."""
    first = number % len(names)
    return names[first:] + names[:first]


def main():
    rounds = int(sys.argv[2]) if len(sys.argv) > 2 else 16
    for kind in (Replaying, Watching, WatchingOne):
        measure(kind, sys.argv[1], rounds)


if __name__ == "__main__":
    main()
