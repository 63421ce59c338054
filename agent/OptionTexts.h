#pragma once

// What the help says besides the options.
namespace Agent {

inline constexpr char const* kDescription =
   "Computes the transit interfaces of EVPN multicast over VXLAN: for each SBD VLAN "
   "of\n"
   "a transit VRF the routed VLAN interface, the VTEP address that multicast is "
   "sourced\n"
   "from, and the wildcard join that makes the switch forward there.\n";

inline constexpr char const* kExamples =
   "Examples:\n"
   "  mcastvpn-agent run examples/leaf-pair.jsonc          what this leaf would "
   "publish\n"
   "  mcastvpn-agent run --json examples/leaf-pair.jsonc   the same for a program\n"
   "  mcastvpn-agent replay --state examples/minimal.jsonc examples/story.jsonl\n"
   "                                                       each change, and what it "
   "does\n"
   "  mcastvpn-agent help replay                           everything about a command\n"
   "\n"
   "Results go to standard output, everything else to standard error.\n"
   "Exit status: 0 fine; 1 a test did not hold; 2 bad usage or bad input; 3 the "
   "machine\n"
   "and the plain rule disagree (--verify); 10 a start would change something (plan).";

inline constexpr char const* kRunFooter =
   "STATE is one JSON document (comments are allowed; what is left out stands with "
   "its\n"
   "default):\n"
   "\n"
   "  { \"mcastEvpnConfig\": { \"transitVrf\": [\"red\"] },\n"
   "    \"vtiStatusDir\": { \"vtiStatus\": { \"Vxlan1\": {\n"
   "      \"localVtepAddr\": \"10.0.0.1\", \"mlagVtepAddr\": \"10.0.0.100\",\n"
   "      \"vrfToSBDVlan\": { \"red\": 10 } } } },\n"
   "    \"mlagStatus\": { \"mlagState\": \"active\" },\n"
   "    \"pegVlanStatus\": { \"pegVlan\": [10] } }\n"
   "\n"
   "Outputs that STATE holds are what an earlier run left behind: the dataflow "
   "machine\n"
   "keeps what is right, and removes the rest.";

inline constexpr char const* kExplainFooter =
   "One block a VLAN: the conditions that do not hold first; what either machine "
   "makes\n"
   "of it, with the fewest changes that would turn that; and what the outputs in "
   "STATE\n"
   "hold for it. No machine runs.\n"
   "\n"
   "Examples:\n"
   "  mcastvpn-agent explain --vlan 3302 examples/leaf-pair.jsonc\n"
   "  mcastvpn-agent explain --vrf acme-iot --json examples/leaf-pair.jsonc";

inline constexpr char const* kPlanFooter =
   "STATE holds the inputs, and the outputs that a start would find: see \"help "
   "run\".\n"
   "Nothing outside this process is changed. Each entry of the outputs is listed with\n"
   "what becomes of it: keep, rewrite, add or delete, and why. Exit status: 0 when\n"
   "nothing would change, 10 when something would.\n"
   "\n"
   "Examples:\n"
   "  mcastvpn-agent plan examples/restart.jsonc          for people\n"
   "  mcastvpn-agent plan --json examples/restart.jsonc   the JSON Patch itself";

inline constexpr char const* kMachineOrBoth =
   "the machine: dataflow (the default), reactor, or both, each on outputs of its own";

inline constexpr char const* kCompareFooter =
   "Starts TransitSm and TransitIntfSm over the inputs in STATE, each over its own "
   "copy of\n"
   "the outputs in it, and prints the outputs that differ, with the reason. Exit "
   "status: 0\n"
   "when every difference has a reason that is expected, 3 when one has none.\n"
   "\n"
   "Examples:\n"
   "  mcastvpn-agent compare examples/leaf-pair.jsonc      only what differs\n"
   "  mcastvpn-agent run --sm both examples/leaf-pair.jsonc  all of it, side by side";

inline constexpr char const* kGraphFooter =
   "Examples:\n"
   "  mcastvpn-agent graph | dot -Tsvg >pipeline.svg      a picture, with Graphviz\n"
   "  mcastvpn-agent graph --format mermaid               for a Markdown document";

inline constexpr char const* kReplayFooter =
   "EVENTS holds one JSON value a line; blank lines and lines that start with # are\n"
   "skipped:\n"
   "\n"
   "  {\"op\":\"add\",\"path\":\"/mcastEvpnConfig/transitVrf/red\",\"value\":{}}\n"
   "  {\"op\":\"test\",\"path\":\"/transitIntfColl/intf/Vlan10/ipAddr\","
   "\"value\":\"10.0.0.1\"}\n"
   "  {\"host\":\"restart\"}\n"
   "\n"
   "Operations are JSON Patch (RFC 6902), alone or in an array. Host lines: drain,\n"
   "slice (with \"count\"), stop, start, restart, flag (with \"want\" and \"value\").\n"
   "Each change of the outputs is printed as one JSON Patch operation, in the order "
   "in\n"
   "which things happen.";

} // namespace Agent
