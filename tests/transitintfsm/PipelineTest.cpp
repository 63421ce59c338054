#include "McastVpnLib/TransitIntfSm/Pipeline.h"

#include "support/DataflowFixture.h"

#include <set>
#include <sstream>
#include <utility>

namespace {

using namespace Support;
namespace Pipeline = Irb::Multicast::Evpn::Pipeline;

using EdgeSet = std::set<std::pair<std::string, std::string>>;

// The edges between streams and sinks, as they stand in the table.
EdgeSet listedEdges() {
   EdgeSet edges;
   for (auto const& edge : Pipeline::kEdges) {
      auto const stage = [](std::string_view name) {
         return Pipeline::kNodes[Pipeline::indexOf(name)].stage;
      };
      if (stage(edge.from) != Pipeline::Stage::input &&
          stage(edge.to) != Pipeline::Stage::output) {
         edges.emplace(edge.from, edge.to);
      }
   }
   return edges;
}

class TransitIntfSmPipeline : public DataflowTest {
 protected:
   // "eventToVrfStream" is the function of vrfStream.
   static std::string streamOf(std::string const& function) {
      auto name = function.substr(std::string("eventTo").size());
      name[0] = static_cast<char>(std::tolower(name[0]));
      return name;
   }
   static std::string sinkOf(std::string const& text) {
      if (text.find("routerIntf[") != std::string::npos) {
         return "membershipJoinStatusVlanRouterIntfOutput";
      }
      if (text.find("excludeIntf[") != std::string::npos) {
         return "membershipJoinStatusVlanGroupSourceExcludeIntfOutput";
      }
      if (text.find("includeIntf[") != std::string::npos) {
         return "membershipJoinStatusVlanGroupSourceIncludeIntfOutput";
      }
      return "transitIntfCollIntfOutput";
   }

   // The edges that the trace shows: streams trace before they call the next one, and
   // each of them traces its own text at level 7.
   static EdgeSet edgesIn(Events const& traced) {
      EdgeSet edges;
      std::string source;   // the last source stream
      std::string upstream; // the last stream that is not the last merge
      for (auto const& event : traced) {
         auto const colon = event.find(": ");
         auto const function = event.substr(2, colon - 2);
         auto const text = event.substr(colon + 2);
         if (text.starts_with("into( ") && function.starts_with("eventTo")) {
            edges.emplace(streamOf(function), sinkOf(text));
         }
         if (event[0] != '7') {
            continue;
         }
         auto const stream = streamOf(function);
         if (stream == "transitVlanStream") {
            edges.emplace(upstream, stream);
         } else if (stream == "vrfStream") {
            edges.emplace(source, stream);
            upstream = stream;
         } else {
            source = upstream = stream;
         }
      }
      return edges;
   }
};

TEST_F(TransitIntfSmPipeline, TheEdgesOfARealTraceAreTheEdgesOfTheTable) {
   startQuietly();
   transitOn("red", 10);
   mlagIs(3);
   status->localVtepAddrIs(Lidra::IpAddr("10.0.0.2"));
   map("red", 20);
   peg->pegVlanIs(20);
   config->transitVrfDel("red");
   EXPECT_EQ(edgesIn(log.takeTraced()), listedEdges());
}

TEST(PipelineGraph, EveryStreamOfEveryStageIsConnected) {
   for (auto const& node : Pipeline::kNodes) {
      auto const& edges = Pipeline::kEdges;
      bool const from = std::any_of(edges.begin(), edges.end(),
                                    [&](auto& edge) { return edge.from == node.name; });
      bool const to = std::any_of(edges.begin(), edges.end(),
                                  [&](auto& edge) { return edge.to == node.name; });
      EXPECT_EQ(to, node.stage != Pipeline::Stage::input) << node.name;
      EXPECT_EQ(from, node.stage != Pipeline::Stage::output) << node.name;
   }
}

TEST(PipelineGraph, PrintsAsDot) {
   std::ostringstream out;
   Pipeline::printDot(out);
   auto const text = out.str();
   EXPECT_TRUE(text.starts_with("digraph TransitIntfSm {\n   rankdir=LR;\n"
                                "   \"mcastEvpnConfig.transitVrf[]\" [shape=box];\n"));
   EXPECT_NE(text.find("   \"vrfStream\" -> \"transitVlanStream\";\n"),
             std::string::npos);
   EXPECT_TRUE(text.ends_with("\"transitIntfColl.intf[]\";\n}\n"));
}

TEST(PipelineGraph, PrintsAsMermaid) {
   std::ostringstream out;
   Pipeline::printMermaid(out);
   EXPECT_EQ(out.str(), R"(flowchart LR
   n0["mcastEvpnConfig.transitVrf[]"]
   n1["vtiStatusDir.vtiStatus[].{ localVtepAddr, mlagVtepAddr }"]
   n2["mlagStatus.mlagState"]
   n3["pegVlanStatus.pegVlan[]"]
   n4["vtiStatusDir.vtiStatus[].vrfToSBDVlan[]"]
   n5(["transitCfgStream"])
   n6(["vtepAddrChangeStream"])
   n7(["mlagStream"])
   n8(["pegVlanStream"])
   n9(["vtiStatusStream"])
   n10{{"vrfStream"}}
   n11{{"transitVlanStream"}}
   n12(["membershipJoinStatusVlanRouterIntfOutput"])
   n13(["membershipJoinStatusVlanGroupSourceExcludeIntfOutput"])
   n14(["membershipJoinStatusVlanGroupSourceIncludeIntfOutput"])
   n15(["transitIntfCollIntfOutput"])
   n16["membershipJoinStatus.vlan[].routerIntf[]"]
   n17["membershipJoinStatus.vlan[].group[].source[].excludeIntf[]"]
   n18["membershipJoinStatus.vlan[].group[].source[].includeIntf[]"]
   n19["transitIntfColl.intf[]"]
   n0 --> n5
   n1 --> n6
   n2 --> n7
   n3 --> n8
   n4 --> n9
   n5 --> n10
   n6 --> n10
   n7 --> n10
   n10 --> n11
   n9 --> n11
   n8 --> n11
   n11 --> n12
   n11 --> n13
   n11 --> n14
   n11 --> n15
   n12 --> n16
   n13 --> n17
   n14 --> n18
   n15 --> n19
)");
}

} // namespace
