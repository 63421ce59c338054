#include "McastVpnLib/TransitIntfSm/Pipeline.h"
#include "scenarios/Scenario.h"
#include "support/TraceRecorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <utility>

using namespace Support;
using namespace Irb::Multicast::Evpn::Pipeline;

namespace {

using Edges = std::set<std::pair<std::string, std::string>>;

bool isStage(std::string_view name, Stage stage) {
   auto const node = std::ranges::find(kNodes, name, &Node::name);
   return node != kNodes.end() && node->stage == stage;
}

// The text between the two, from the first on; empty if one is not there.
std::string between(std::string const& text, std::string_view first,
                    std::string_view last) {
   auto const begin = text.find(first);
   auto const end = begin == std::string::npos ? begin : text.find(last, begin);
   return end == std::string::npos
             ? std::string()
             : text.substr(begin + first.size(), end - begin - first.size());
}

// Reads off a trace which edges were taken. Each line of a stream stands inside the
// call of the stream that called it, so the caller is the stream named last, unless
// that has called already and the flattening of its source goes on.
class TraceReader {
 public:
   void read(TraceLine const& line) {
      if (line.level == 7) {
         readStream(line.text);
      } else if (line.text.starts_with("into( ")) {
         auto const target = targetOf(line.text);
         if (line.function == "eventToTransitVlanStream") {
            targetsOfStreams_.insert(target);
         } else {
            // "handle" X "InputReady" of output x.
            auto output = between(line.function, "handle", "InputReady");
            output[0] = static_cast<char>(std::tolower(output[0]));
            edges_.emplace(output, target);
         }
      }
   }

   // With the edges into the outputs, which the writes of the stream show.
   Edges edges() const {
      Edges all = edges_;
      for (auto const& [output, target] : edges_) {
         if (targetsOfStreams_.contains(target)) {
            all.emplace("transitVlanStream", output);
         }
      }
      return all;
   }
   // What the text of a merged stream says that it merges.
   Edges const& merged() const { return merged_; }

 private:
   // "x[]" of "into( x[ key ] ): ...".
   static std::string targetOf(std::string const& text) {
      std::string target;
      bool inKey = false;
      for (char const c : between(text, "into( ", " ): ")) {
         inKey = inKey && c != ']';
         target += inKey ? "" : std::string(1, c);
         inKey = inKey || c == '[';
      }
      return target;
   }

   void readStream(std::string const& text) {
      auto const name = text.substr(0, text.find(' '));
      auto const input = between(text, " = from( ", " ):");
      if (!input.empty()) {
         edges_.emplace(input, name);
         source_ = name;
      } else {
         auto const& caller =
            last_ == "vrfStream" && name != "vrfStream" ? last_ : source_;
         edges_.emplace(caller, name);
         std::string list = between(text, " = merge( ", " ):") + ", ";
         for (auto at = list.find(", "); at != std::string::npos;
              at = list.find(", ")) {
            merged_.emplace(list.substr(0, at), name);
            list.erase(0, at + 2);
         }
      }
      last_ = name;
   }

   Edges edges_;
   Edges merged_;
   std::set<std::string> targetsOfStreams_;
   std::string source_;
   std::string last_;
};

void readAll(TraceReader& reader, TraceRecorder const& trace) {
   for (auto const& line : trace.lines()) {
      reader.read(line);
   }
}

// A machine that is led along every edge by its inputs, once it is ready; joins of
// every kind are there to be withdrawn.
TraceReader readOfEvents() {
   World world(1);
   Side side("traced", world, Vorn::RunMode::synchronous,
             std::make_unique<Kolm::UnlimitedShare>());
   auto const status = Pelk::makePtr<Vxlan::VtiStatus>(Lidra::IntfId("Vxlan1"));
   world.dir->vtiStatusIs(status);
   world.config->transitVrfIs("red");
   status->vrfToSBDVlanIs("red", 10);
   world.pegVlans->pegVlanIs(10);
   side.start();
   auto const any = Lidra::IpGenAddr::ipGenAddrZero(kIpv4);
   auto const vlan = side.joins->vlanIs(10);
   vlan->routerIntfIs(Lidra::IntfId("Null0"));
   vlan->groupIs(any)->sourceIs(any)->excludeIntfIs(Lidra::IntfId("Null0"));
   TraceRecorder const trace;
   world.mlag->mlagStateIs(Mlag::MlagState::active);
   status->localVtepAddrIs(Lidra::IpAddr(std::string_view("10.0.0.2")));
   status->vrfToSBDVlanIs("red", 20);
   world.pegVlans->pegVlanIs(20);
   world.config->transitVrfDel("red");
   EXPECT_THAT(side.complaints(), testing::IsEmpty());
   TraceReader reader;
   readAll(reader, trace);
   return reader;
}

// The same, and what each reconciliation writes. No stream asks for router and exclude
// entries, so the test puts one of each into the tables of what is to stand there.
TraceReader readOfEverything() {
   auto reader = readOfEvents();
   World world(1);
   Side side("traced", world, Vorn::RunMode::asynchronous,
             std::make_unique<Kolm::PollShare>(1));
   auto const status = Pelk::makePtr<Vxlan::VtiStatus>(Lidra::IntfId("Vxlan1"));
   for (uint16_t vlanId = 1; vlanId <= 20; ++vlanId) {
      auto const vrf = "vrf-" + std::to_string(vlanId);
      world.config->transitVrfIs(vrf.c_str());
      status->vrfToSBDVlanIs(vrf.c_str(), vlanId);
      world.pegVlans->pegVlanIs(vlanId);
   }
   world.dir->vtiStatusIs(status);
   side.start();
   EXPECT_FALSE(side.machine->ready());
   using Machine = Irb::Multicast::Evpn::TransitIntfSm;
   auto const any = Lidra::IpGenAddr::ipGenAddrZero(kIpv4);
   Lidra::IntfId const null0("Null0");
   Machine::MembershipJoinStatusVlanRouterIntfOutputKeyType router(30, null0);
   Machine::MembershipJoinStatusVlanGroupSourceExcludeIntfOutputKeyType exclude(
      30, any, any, null0);
   router.validate();
   exclude.validate();
   side.machine->membershipJoinStatusVlanRouterIntfOutputSeenIs(router);
   side.machine->membershipJoinStatusVlanGroupSourceExcludeIntfOutputSeenIs(exclude);
   TraceRecorder const trace;
   EXPECT_THAT(
      side.complaints(),
      testing::ElementsAre("traced: join 30: (0.0.0.0, 0.0.0.0) exclude Null0; "
                           "router Null0 in place of nothing"));
   readAll(reader, trace);
   return reader;
}

Edges listed() {
   Edges edges;
   for (auto const& edge : kEdges) {
      edges.emplace(edge.from, edge.to);
   }
   return edges;
}

} // namespace

TEST(Pipeline, EdgesTakenInATraceAreTheEdgesListed) {
   EXPECT_EQ(readOfEverything().edges(), listed());
}

TEST(Pipeline, RandomEventsTakeNoOtherEdge) {
   for (uint32_t seed = 0; seed < 20; ++seed) {
      World world(seed);
      world.inputs.fill();
      Side side("traced", world, Vorn::RunMode::asynchronous,
                std::make_unique<Kolm::RandomShare>(seed, 3));
      leaveRandomOutputs(seed, *side.coll, *side.joins);
      TraceRecorder trace;
      side.start();
      for (int left = 20; left != 0; --left) {
         side.slices(world.inputs.below(4));
         world.inputs.step();
      }
      ASSERT_THAT(side.complaints(), testing::IsEmpty());
      TraceReader reader;
      readAll(reader, trace);
      Edges others;
      std::ranges::set_difference(reader.edges(), listed(),
                                  std::inserter(others, others.end()));
      ASSERT_THAT(others, testing::IsEmpty()) << "seed " << seed;
   }
}

TEST(Pipeline, TextOfAMergedStreamNamesWhatTheTableMerges) {
   Edges merged;
   for (auto const& edge : kEdges) {
      if (isStage(edge.to, Stage::merge)) {
         merged.emplace(edge.from, edge.to);
      }
   }
   EXPECT_EQ(readOfEvents().merged(), merged);
}
