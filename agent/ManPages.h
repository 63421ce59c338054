#pragma once

#include "agent/ManPage.h"

// The help, command by command.
namespace Agent::Pages {

inline constexpr char const* kFineOrBad =
   "  0   fine\n"
   "  2   bad usage or bad input; nothing was published\n";

inline constexpr ManPage kProgram{
   R"(For each SBD VLAN of a transit VRF the agent works out the routed VLAN
interface, the VTEP address that multicast is sourced from, and the wildcard join
that makes the switch forward there, as a leaf switch in an EVPN multicast
deployment over VXLAN does.

The state is one JSON document, and every change is JSON Patch (RFC 6902), in and
out. Results go to standard output, everything else to standard error. Colours and a
progress bar are for terminals, and not shown when NO_COLOR is set.
)",
   R"(  0   fine
  1   a test in the events did not hold (replay), or a recording came out
      otherwise when it was played
  2   bad usage or bad input; nothing was published
  3   a machine and the plain rule disagree (--verify), or two machines
      without a reason that is known (compare, --sm both)
  10  a start would change something (plan)
)",
   R"(  mcastvpn-agent run examples/leaf-pair.jsonc
      what this leaf would publish; with --json the same for a program
  mcastvpn-agent explain --vlan 3302 examples/leaf-pair.jsonc
      why a VLAN is enabled or not, and what would turn that
  mcastvpn-agent replay --state examples/minimal.jsonc examples/story.jsonl
      each change, and what it does
  mcastvpn-agent run --watch --control /tmp/control examples/leaf-pair.jsonc
      the same, and whatever changes; "ctl" asks it
  mcastvpn-agent help replay
      everything about a command
)"};

inline constexpr ManPage kRun{
   R"(Publishes STATE, runs the machine until it is idle, prints the outputs and
ends.

STATE is one JSON document. Comments are allowed, and what is left out stands with
its default:

  { "mcastEvpnConfig": { "transitVrf": ["red"] },
    "vtiStatusDir": { "vtiStatus": { "Vxlan1": {
      "localVtepAddr": "10.0.0.1", "mlagVtepAddr": "10.0.0.100",
      "vrfToSBDVlan": { "red": 10 } } } },
    "mlagStatus": { "mlagState": "active" },
    "pegVlanStatus": { "pegVlan": [10] } }

Outputs that STATE holds (transitIntfColl, membershipJoinStatus) are what an earlier
run left behind: the dataflow machine keeps what is right, and removes the rest.

With --watch it stays: whenever something new stands in the file it publishes what is
different in the inputs, and prints each change of an output with the change of an
input that it comes of. A document that is refused is told, and the last good one
goes on. SIGHUP has the file read again, unless the agent was started at a terminal,
which ends it when it goes; SIGINT or SIGTERM ends it, and leaves the outputs as they
are. Then it can be asked (--control), measured (--metrics) and
supervised: it tells systemd when it is ready, and what it is doing. With --state-dir
its outputs stand in a file, which the next start keeps what is right of; outputs in
STATE are not allowed then.
)",
   R"(  0   fine
  2   bad usage or bad input; nothing was published
  3   the outputs are not what the plain rule says (--verify), or the two
      machines differ without a reason that is known (--sm both)
)",
   R"(  mcastvpn-agent run examples/leaf-pair.jsonc
  mcastvpn-agent run --json --verify examples/leaf-pair.jsonc
  mcastvpn-agent run --sm both examples/two-machines.jsonc
  mcastvpn-agent run --watch --record recording.jsonl examples/leaf-pair.jsonc
  mcastvpn-agent run --watch --control /tmp/control --metrics 9464 \
      examples/leaf-pair.jsonc
)"};

inline constexpr ManPage kReplay{
   R"(Applies the changes in EVENTS line by line, and prints each change that a
machine makes to its outputs as one JSON Patch operation, in the order in which
things happen.

EVENTS holds one JSON value a line; blank lines and lines that start with # are
skipped:

  {"op":"add","path":"/mcastEvpnConfig/transitVrf/red","value":{}}
  {"op":"test","path":"/mlagStatus/mlagState","value":3}
  {"host":"restart"}

Operations are JSON Patch (RFC 6902), alone or in an array. Host lines: drain, slice
(with "count"), stop, start, restart, flag (with "want" and "value"), inside (with
"count" and "event": an operation inside that notification of an output).

With --sm both each record says which machine it is of ("sm"), and the table of the
end, side by side, goes to standard error.

EVENTS may be a recording (--record), or a bundle. It is played again exactly, with the state, the
options and the slices of then, and told if the machine writes anything else.
)",
   R"(  0   fine
  1   a test or a flag in EVENTS did not hold, or a recording came out
      otherwise
  2   bad usage or bad input; nothing of the line that is named was published
  3   the outputs were not what the plain rule says (--verify), or the two
      machines differed without a reason that is known (--sm both)
)",
   R"(  mcastvpn-agent replay --state examples/minimal.jsonc examples/story.jsonl
  mcastvpn-agent replay --trace 7 --state examples/minimal.jsonc \
      examples/story.jsonl
  mcastvpn-agent replay --sm both --state examples/two-machines.jsonc \
      examples/two-machines.jsonl
)"};

inline constexpr ManPage kExplain{
   R"(Prints one block a VLAN: the conditions that do not hold first; what either
machine makes of it, with the fewest changes that would turn that; and what the
outputs in STATE hold for it. No machine runs.

STATE may be a recording (--record), or a bundle. It is played to its end, and the
state explained that it ended in, with its options; and of each output it is told
which change of an input last wrote it.
)",
   R"(  0   fine
  1   a recording came out otherwise
  2   bad usage or bad input; nothing was published
)",
   R"(  mcastvpn-agent explain --vlan 3302 examples/leaf-pair.jsonc
  mcastvpn-agent explain --vrf acme-iot --json examples/leaf-pair.jsonc
  mcastvpn-agent explain --vlan 10 recording.jsonl
      which change wrote what stands in the outputs
)"};

inline constexpr ManPage kPlan{
   R"(Starts the machine over the outputs in STATE, in this process, and lists each
entry with what becomes of it, and why: keep, rewrite, add or delete. Nothing
outside this process is changed. STATE is what "help run" describes.
)",
   R"(  0   nothing would change
  2   bad usage or bad input
  10  something would change
)",
   R"(  mcastvpn-agent plan examples/restart.jsonc
  mcastvpn-agent plan --json examples/restart.jsonc
      the JSON Patch itself
  mcastvpn-agent plan --sm reactor examples/restart.jsonc
      what no start of TransitSm would remove
)"};

inline constexpr ManPage kCompare{
   R"(Starts TransitSm and TransitIntfSm over the inputs in STATE, each over a copy
of its own of the outputs there, and prints the outputs that differ, with the
reason. docs/TwoMachines.md lists the reasons.
)",
   R"(  0   every difference has a reason that is known
  2   bad usage or bad input
  3   a difference has none
)",
   R"(  mcastvpn-agent compare examples/leaf-pair.jsonc
      only what differs
  mcastvpn-agent run --sm both examples/leaf-pair.jsonc
      all of it, side by side
)"};

inline constexpr ManPage kGraph{
   R"(Prints the pipeline of the dataflow machine: its inputs, streams and outputs,
and every edge between them.
)",
   kFineOrBad,
   R"(  mcastvpn-agent graph | dot -Tsvg >pipeline.svg
      a picture, with Graphviz
  mcastvpn-agent graph --format mermaid
      for a Markdown document
)"};

inline constexpr ManPage kCtl{
   R"(Asks an agent that was started with "run --watch --control PATH", and prints
what it answers. QUESTION is one of

  show        what the machine made of its inputs, as "run" prints it
  explain     why a VLAN is enabled or not, as "explain" does
  plan        what a start over the outputs would do to them, as "plan" does
  stats       counts of changes, events, slices and trace records
  trace       the decisions that the trace ring holds
  verify      whether the outputs are what the plain rule says
  log-level   which levels are traced to the agent's standard error

Any program can ask: it writes one JSON object as one line to the socket, and reads
one line. With --json the answer is printed as the agent gives it: "show" as a state
document, which "explain", "plan" and "compare" read.
)",
   R"(  0   fine
  2   bad usage, no agent, or a question that it refuses
  3   the outputs are not what the plain rule says (verify)
  10  something would change (plan)
)",
   R"(  mcastvpn-agent ctl show
  mcastvpn-agent ctl explain --vlan 3302 --control /tmp/control
  mcastvpn-agent ctl trace --follow
  mcastvpn-agent ctl log-level 6-9
  echo '{"ask":"stats"}' | socat - UNIX-CONNECT:/run/mcastvpn-agent/control
)"};

inline constexpr char const* kLooked = "  0   fine\n"
                                       "  1   the recording came out otherwise\n"
                                       "  2   bad usage or bad input\n";

inline constexpr ManPage kTimeline{
   R"(Plays RECORDING again and writes what happened in it as a trace in Chrome's
JSON format, which the Perfetto viewer (ui.perfetto.dev) opens: a track for each
task with its slices, for each stream with its events, for each output with what was
written to it, and one for how far each start came.

Slices and writes stand where they were recorded. Events of streams are in exact
order; their times are spread over the time of the step that they are part of.
)",
   kLooked,
   R"(  mcastvpn-agent replay --record recording.jsonl --slice-items 4 \
      --state examples/minimal.jsonc examples/story.jsonl
  mcastvpn-agent timeline recording.jsonl -o timeline.json
)"};

inline constexpr ManPage kReport{
   R"(Plays RECORDING again and makes one page of what happened in it: the pipeline
with the number of events on each edge, a timeline, the outputs over time, and for
each VLAN when each condition of the rule held.

The page needs nothing else, and no network. Of a long recording it shows the last
steps, of many VLANs those that changed most; it says what it leaves out.
)",
   kLooked,
   R"(  mcastvpn-agent report recording.jsonl -o report.html
)"};

inline constexpr ManPage kBundle{
   R"(Plays RECORDING again and writes one file for a bug report: JSON Lines that
zstd compressed, with the versions and the system, the statistics and the trace of
the machine, and the recording itself. What stands in the recording stands in the
bundle: names of VRFs, addresses, VLANs.

replay, explain, timeline and report read a bundle as they read a recording. A
bundle of a recording that comes out otherwise is written all the same.
)",
   kLooked,
   R"(  mcastvpn-agent bundle recording.jsonl -o bundle.zst
  mcastvpn-agent replay bundle.zst
  zstdcat bundle.zst | head -n 3
)"};

inline constexpr ManPage kHelp{
   R"(Prints the page of COMMAND, or that of the program.
)",
   kFineOrBad,
   R"(  mcastvpn-agent help explain
)"};

} // namespace Agent::Pages
