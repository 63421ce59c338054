#pragma once

#include <array>
#include <string_view>

// What is counted, as people and programs know it: in statistics, metrics and pictures.
namespace Agent {

// The kinds of a change, as JSON Patch names them.
inline constexpr std::array<std::string_view, 3> kChangeKinds{"add", "replace",
                                                              "remove"};
// Inputs and outputs. The last of the outputs are the levels of the tree that hold
// others; those before it end the pipeline.
inline constexpr std::array<std::string_view, 5> kInputNames{
   "transit_vrf", "vti_status", "sbd_vlan", "mlag_state", "peg_vlan"};
inline constexpr std::array<std::string_view, 5> kOutputNames{
   "transit_intf", "router_intf", "include_intf", "exclude_intf", "join_level"};

} // namespace Agent
