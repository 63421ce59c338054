#include "McastVpnLib/TransitIntfSm/Pipeline.h"
#include "support/AgentProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

using namespace TestSupport;
using namespace Irb::Multicast::Evpn::Pipeline;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

size_t count(std::string const& text, std::string const& part) {
   size_t found = 0;
   for (auto at = text.find(part); at != std::string::npos;
        at = text.find(part, at + 1)) {
      ++found;
   }
   return found;
}

} // namespace

TEST(Graph, HasEveryEdgeInEitherFormat) {
   TemporaryFolder folder;
   auto const dot = runAgent(folder, {"graph"});
   EXPECT_EQ(dot.status, 0);
   EXPECT_EQ(dot.err, "");
   EXPECT_THAT(dot.out, StartsWith("digraph TransitIntfSm {\n"));
   EXPECT_EQ(count(dot.out, " -> "), kEdges.size());
   EXPECT_THAT(dot.out, HasSubstr("   \"vrfStream\" -> \"transitVlanStream\";\n"));
   EXPECT_EQ(runAgent(folder, {"graph", "--format", "dot"}).out, dot.out);

   auto const mermaid = runAgent(folder, {"graph", "--format", "mermaid"});
   EXPECT_EQ(mermaid.status, 0);
   EXPECT_THAT(mermaid.out, StartsWith("flowchart LR\n"));
   EXPECT_EQ(count(mermaid.out, " --> "), kEdges.size());
   EXPECT_THAT(mermaid.out, HasSubstr("\"vrfStream\""));
}
