#pragma once

#include "McastVpnLib/Export.h"

#include <algorithm>
#include <array>
#include <iosfwd>
#include <string_view>

// The dataflow machine's pipeline as data: every node, and every edge on which an event
// can go. What the machine does must be what stands here; a test compares the two.
namespace Irb::Multicast::Evpn::Pipeline {

// The stages that an event passes, in this order.
enum class Stage {
   input,  // an attribute of an input entity, scanned and followed
   source, // a stream of its changes
   merge,  // a stream of the events of several others
   sink,   // the end of the pipeline
   output, // what a sink writes
};

// A stage of the pipeline, by the name under which it is traced.
struct Node {
   std::string_view name;
   // Which kind of stage it is.
   Stage stage;
};

// Where events pass, by the names of the nodes.
struct Edge {
   // Each is a node's name: the one that events leave, and the one that they reach.
   std::string_view from;
   std::string_view to;

   constexpr bool operator==(Edge const&) const noexcept = default;
};

// Every node, from the inputs to the outputs.
inline constexpr std::array kNodes = {
   Node{"mcastEvpnConfig.transitVrf[]", Stage::input},
   Node{"vtiStatusDir.vtiStatus[].{ localVtepAddr, mlagVtepAddr }", Stage::input},
   Node{"mlagStatus.mlagState", Stage::input},
   Node{"pegVlanStatus.pegVlan[]", Stage::input},
   Node{"vtiStatusDir.vtiStatus[].vrfToSBDVlan[]", Stage::input},

   Node{"transitCfgStream", Stage::source},
   Node{"vtepAddrChangeStream", Stage::source},
   Node{"mlagStream", Stage::source},
   Node{"pegVlanStream", Stage::source},
   Node{"vtiStatusStream", Stage::source},

   Node{"vrfStream", Stage::merge},
   Node{"transitVlanStream", Stage::merge},

   Node{"membershipJoinStatusVlanRouterIntfOutput", Stage::sink},
   Node{"membershipJoinStatusVlanGroupSourceExcludeIntfOutput", Stage::sink},
   Node{"membershipJoinStatusVlanGroupSourceIncludeIntfOutput", Stage::sink},
   Node{"transitIntfCollIntfOutput", Stage::sink},

   Node{"membershipJoinStatus.vlan[].routerIntf[]", Stage::output},
   Node{"membershipJoinStatus.vlan[].group[].source[].excludeIntf[]", Stage::output},
   Node{"membershipJoinStatus.vlan[].group[].source[].includeIntf[]", Stage::output},
   Node{"transitIntfColl.intf[]", Stage::output},
};

// Every edge.
inline constexpr std::array kEdges = {
   Edge{"mcastEvpnConfig.transitVrf[]", "transitCfgStream"},
   Edge{"vtiStatusDir.vtiStatus[].{ localVtepAddr, mlagVtepAddr }",
        "vtepAddrChangeStream"},
   Edge{"mlagStatus.mlagState", "mlagStream"},
   Edge{"pegVlanStatus.pegVlan[]", "pegVlanStream"},
   Edge{"vtiStatusDir.vtiStatus[].vrfToSBDVlan[]", "vtiStatusStream"},

   Edge{"transitCfgStream", "vrfStream"},
   Edge{"vtepAddrChangeStream", "vrfStream"},
   Edge{"mlagStream", "vrfStream"},
   Edge{"vrfStream", "transitVlanStream"},
   Edge{"vtiStatusStream", "transitVlanStream"},
   Edge{"pegVlanStream", "transitVlanStream"},

   Edge{"transitVlanStream", "membershipJoinStatusVlanRouterIntfOutput"},
   Edge{"transitVlanStream", "membershipJoinStatusVlanGroupSourceExcludeIntfOutput"},
   Edge{"transitVlanStream", "membershipJoinStatusVlanGroupSourceIncludeIntfOutput"},
   Edge{"transitVlanStream", "transitIntfCollIntfOutput"},

   Edge{"membershipJoinStatusVlanRouterIntfOutput",
        "membershipJoinStatus.vlan[].routerIntf[]"},
   Edge{"membershipJoinStatusVlanGroupSourceExcludeIntfOutput",
        "membershipJoinStatus.vlan[].group[].source[].excludeIntf[]"},
   Edge{"membershipJoinStatusVlanGroupSourceIncludeIntfOutput",
        "membershipJoinStatus.vlan[].group[].source[].includeIntf[]"},
   Edge{"transitIntfCollIntfOutput", "transitIntfColl.intf[]"},
};

// The node's place in kNodes; their number if there is none.
constexpr size_t indexOf(std::string_view name) noexcept {
   auto const* const found = std::ranges::find(kNodes, name, &Node::name);
   return static_cast<size_t>(found - kNodes.begin());
}

static_assert(std::ranges::all_of(kEdges,
                                  [](Edge const& edge) {
                                     return indexOf(edge.from) < indexOf(edge.to) &&
                                            indexOf(edge.to) < kNodes.size();
                                  }),
              "an edge leads from a node to a later one");

// Each prints the graph: for Graphviz, and for Mermaid.
MCASTVPNLIB_EXPORT void printDot(std::ostream& out);
MCASTVPNLIB_EXPORT void printMermaid(std::ostream& out);

} // namespace Irb::Multicast::Evpn::Pipeline
