#include "McastVpnLib/McastVpnLib.h"
#include "McastVpnLib/TransitIntfSm/TransitIntfSm.h"
#include "agent/verify/DataflowRule.h"
#include "agent/verify/PathDependence.h"
#include "support/EventLog.h"
#include "support/RandomDataflow.h"
#include "zin/Hash.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>

namespace {

using namespace Support;
using Irb::Multicast::Evpn::TransitIntfColl;
using Irb::Multicast::Evpn::TransitIntfSm;
using Irb::Multicast::Gmp::MembershipJoinStatus;
using testing::IsEmpty;

// A machine with a scheduler and outputs of its own, over inputs that it shares.
struct Machine {
   explicit Machine(DataflowInputs const& theInputs) : inputs(theInputs) {}

   void fill(uint32_t seed) { RandomDataflow(seed).fill(*coll, *joins); }
   // Synchronous without a share.
   void start(std::unique_ptr<Kolm::Share> share = nullptr) {
      Vorn::SmControl control;
      control.taskSchedulerIs(scheduler);
      control.runModeIs(share ? Vorn::RunMode::asynchronous
                              : Vorn::RunMode::synchronous);
      if (share) {
         scheduler->shareIs(std::move(share));
      }
      sm = Irb::Multicast::Evpn::transitIntfSmFactory(
         Lidra::AddressFamily::ipv4, inputs.config, inputs.dir, inputs.mlag, coll,
         joins, inputs.peg, control);
   }

   Verify::Outputs outputs() const { return Verify::outputsOf(*coll, *joins); }
   std::vector<std::string> wrong() const {
      return Verify::complaints(
         Verify::dataflowOutputs({inputs.config, inputs.dir, inputs.mlag, inputs.peg},
                                 Lidra::AddressFamily::ipv4),
         outputs());
   }

   // The machine's groups, against the mapping of now.
   std::vector<std::string> wrongGroups() const {
      auto const status = inputs.dir->vtiStatus(Lidra::IntfId("Vxlan1"));
      std::vector<std::string> found;
      size_t members = 0;
      for (auto const& entry : sm->groupByAttr0()) {
         members += entry.value()->coll().size();
         for (auto const& member : entry.value()->coll()) {
            if (!status || status->vrfToSBDVlan(member.key()) != entry.key()) {
               found.push_back(std::string(member.key().view()) + " is in the group " +
                               std::to_string(entry.key()));
            }
         }
      }
      if (status && members != status->vrfToSBDVlan().size()) {
         found.emplace_back("groups that lack somebody");
      }
      return found;
   }

   DataflowInputs const& inputs;
   Pelk::Ptr<TransitIntfColl> coll = Irb::Multicast::Evpn::transitIntfCollFactory();
   Pelk::Ptr<MembershipJoinStatus> joins = Pelk::makePtr<MembershipJoinStatus>();
   Pelk::Ptr<Kolm::TaskScheduler> scheduler = Pelk::makePtr<Kolm::TaskScheduler>();
   Pelk::Ptr<TransitIntfSm> sm;
};

class TransitIntfSmAtRandom : public testing::TestWithParam<uint32_t> {
 protected:
   TransitIntfSmAtRandom() { Zin::HashHelper::hashSeed32Is(GetParam()); }

   RandomDataflow random{GetParam()};
   DataflowInputs inputs;

   void someInputs(int events) {
      for (int event = 0; event < events; ++event) {
         random.step(inputs);
      }
   }
};

TEST_P(TransitIntfSmAtRandom, SynchronousAndAsynchronousMachinesEndInTheSameOutputs) {
   for (int round = 0; round < 100; ++round) {
      someInputs(static_cast<int>(random.below(40)));
      uint32_t const seed = random.below(1u << 30);
      Machine sync(inputs);
      Machine slices(inputs);
      Machine each(inputs);
      for (auto* const machine : {&sync, &slices, &each}) {
         machine->fill(seed);
      }
      sync.start();
      slices.start(std::make_unique<Kolm::RandomShare>(seed, 1 + seed % 4));
      each.start(std::make_unique<Kolm::PollShare>(1));
      ASSERT_TRUE(sync.sm->ready());
      ASSERT_THAT(sync.wrong(), IsEmpty());
      // Changes come between the slices.
      bool more = true;
      while (more) {
         more = false;
         for (auto* const machine : {&slices, &each}) {
            more |= machine->scheduler->runSlice();
         }
         if (random.oneIn(4)) {
            auto const what = random.step(inputs);
            ASSERT_THAT(sync.wrong(), IsEmpty()) << round << ": " << what;
         }
      }
      for (auto* const machine : {&slices, &each}) {
         ASSERT_TRUE(machine->sm->ready());
         ASSERT_THAT(machine->wrong(), IsEmpty()) << round;
         ASSERT_EQ(machine->scheduler->pending(), 0u);
      }
      for (int event = 0; event < 20; ++event) {
         auto const what = random.step(inputs);
         for (auto* const machine : {&sync, &slices, &each}) {
            ASSERT_THAT(machine->wrong(), IsEmpty()) << round << ": " << what;
         }
      }
   }
}

TEST_P(TransitIntfSmAtRandom, ARestartOverRightOutputsAnnouncesNothing) {
   for (int round = 0; round < 100; ++round) {
      someInputs(40);
      Machine machine(inputs);
      machine.fill(random.below(1u << 30));
      machine.start();
      someInputs(10);
      EventLog log("0");
      log.follow(*machine.coll);
      log.follow(*machine.joins);
      machine.sm = nullptr;
      if (random.oneIn(3)) {
         machine.start();
      } else {
         machine.start(
            std::make_unique<Kolm::RandomShare>(random.below(1000), 1 + round % 5));
         // Perhaps only some way.
         for (uint32_t left = random.below(60); left != 0; --left) {
            machine.scheduler->runSlice();
         }
      }
      machine.sm = nullptr;
      machine.start(std::make_unique<Kolm::PollShare>(1 + random.below(3)));
      machine.scheduler->runUntilIdle();
      ASSERT_TRUE(machine.sm->ready());
      ASSERT_THAT(log.take(), IsEmpty()) << round;
      ASSERT_THAT(machine.wrong(), IsEmpty()) << round;
   }
}

TEST_P(TransitIntfSmAtRandom,
       SubscribersThatChangeTheInputsFromInsideEndInTheSameState) {
   for (int round = 0; round < 40; ++round) {
      someInputs(20);
      Machine machine(inputs);
      machine.fill(random.below(1u << 30));
      // With level 6 every VRF is walked for a PEG VLAN, without it an index is asked.
      EventLog log(round % 2 == 0 ? "0" : "6");
      log.follow(*machine.coll);
      log.follow(*machine.joins);
      int depth = 0;
      log.actionIs([&](std::string const&) {
         if (depth < 3 && random.oneIn(5)) {
            ++depth;
            random.step(inputs);
            --depth;
         }
      });
      if (random.oneIn(2)) {
         machine.start();
      } else {
         machine.start(std::make_unique<Kolm::RandomShare>(round, 2));
      }
      machine.scheduler->runUntilIdle();
      ASSERT_TRUE(machine.sm->ready());
      ASSERT_THAT(machine.wrong(), IsEmpty()) << round;
      for (int event = 0; event < 100; ++event) {
         auto const what = random.step(inputs);
         log.take();
         ASSERT_THAT(machine.wrong(), IsEmpty()) << round << ": " << what;
         ASSERT_THAT(machine.wrongGroups(), IsEmpty()) << round << ": " << what;
      }
      log.actionIs(nullptr);
   }
}

INSTANTIATE_TEST_SUITE_P(Seeds, TransitIntfSmAtRandom, testing::Range(1u, 9u));

} // namespace
