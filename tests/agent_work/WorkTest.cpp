#include "agent/BadInput.h"
#include "agent/Host.h"
#include "agent/OutputTable.h"
#include "support/AgentProcess.h"

#include <cstdint>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <string>

// How much code the agent runs over documents of two sizes: a count, and no time.
namespace {

uint64_t blocks = 0;

} // namespace

// Called in each block of the agent's code.
extern "C" void __sanitizer_cov_trace_pc();
extern "C" void __sanitizer_cov_trace_pc() {
   ++blocks;
}

namespace {

using nlohmann::json;
using testing::HasSubstr;

constexpr int kFew = 2'000;
constexpr int kMany = 8 * kFew;
// A square would be 64 times the work; a logarithm adds less than half.
constexpr uint64_t kMostTimes = 12;

class AgentWork : public testing::Test {
 protected:
   // A document that maps so many VRFs, every second of them a transit VRF.
   static json document(int vrfs) {
      json made;
      auto& mapped = made["vtiStatusDir"]["vtiStatus"]["Vxlan1"]["vrfToSBDVlan"];
      auto& transit = made["mcastEvpnConfig"]["transitVrf"];
      for (int i = 0; i < vrfs; ++i) {
         auto const vrf = "vrf-" + std::to_string(i);
         mapped[vrf] = 1 + i % 4094;
         if (i % 2 == 0) {
            transit.push_back(vrf);
         }
      }
      return made;
   }

   // One to a line.
   Agent::Options options(json const& document) {
      Agent::Options made;
      made.state = folder_.write("state.json", document.dump(1));
      return made;
   }

   template <typename Work>
   static uint64_t blocksOf(Work const& work) {
      auto const before = blocks;
      work();
      return blocks - before;
   }

   TestSupport::TemporaryFolder folder_;
};

TEST_F(AgentWork, GrowsWithTheDocumentAndNotWithItsSquare) {
   auto const workOn = [&](int vrfs) {
      auto const given = options(document(vrfs));
      return blocksOf([&] {
         Agent::Host host(given);
         Agent::loadState({&host}, given);
         host.start();
         host.drain();
         EXPECT_THAT(Agent::outputTable(host.state(), given, false),
                     HasSubstr(" SBD VLANs have a transit interface"));
      });
   };
   auto const few = workOn(kFew);
   EXPECT_GT(few, uint64_t{kFew}) << "the code is not counted";
   EXPECT_LE(workOn(kMany), kMostTimes * few);
}

TEST_F(AgentWork, OnABadDocumentGrowsWithItsSizeAndNotWithItsSquare) {
   auto const workOn = [&](int vrfs) {
      auto bad = document(vrfs);
      bad["vtiStatusDir"]["vtiStatus"]["Vxlan1"]["vrfToSBDVlan"]["vrf-99"] = 4095;
      auto const given = options(bad);
      return blocksOf([&] {
         Agent::Host host(given);
         EXPECT_THROW(Agent::loadState({&host}, given), Agent::InputError);
      });
   };
   auto const few = workOn(kFew);
   EXPECT_GT(few, uint64_t{kFew}) << "the code is not counted";
   EXPECT_LE(workOn(kMany), kMostTimes * few);
}

} // namespace
