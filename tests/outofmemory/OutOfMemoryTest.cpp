#include "outofmemory/Failing.h"

#include "McastVpnLib/McastVpnLib.h"
#include "McastVpnLib/McastVpnTransitSm/TransitSm.h"
#include "McastVpnLib/TransitIntfSm/TransitIntfSm.h"
#include "agent/verify/DataflowRule.h"
#include "agent/verify/PathDependence.h"
#include "agent/verify/ReactorRule.h"
#include "kolm/TaskScheduler.h"
#include "support/Entities.h"
#include "support/RandomOutputs.h"
#include "vorn/SmControl.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <map>
#include <memory>
#include <ostream>
#include <string>

// What becomes of the process when any one allocation of a handler or a start fails, or
// that one and all after it: the caller is told and everything is as it was, or the
// process ends and says why. Nobody goes on with half of an event.
namespace {

using namespace OutOfMemory;
using Kind = Ending::Kind;

enum class Machine { reactor, synchronous, asynchronous };

std::ostream& operator<<(std::ostream& out, Machine machine) {
   switch (machine) {
      case Machine::reactor:
         return out << "Reactor";
      case Machine::synchronous:
         return out << "SynchronousDataflow";
      case Machine::asynchronous:
         break;
   }
   return out << "AsynchronousDataflow";
}

constexpr auto kIpv4 = Lidra::AddressFamily::ipv4;

class OutOfMemoryTest : public testing::TestWithParam<Machine>,
                        protected Support::InputEntities,
                        protected Support::OutputEntities {
 protected:
   using Work = std::function<void()>;

   OutOfMemoryTest() {
      for (auto const* vrf : {"red", "blue", "a name that is not short"}) {
         config->transitVrfIs(vrf);
      }
      for (auto const vlan : std::initializer_list<uint16_t>{10, 20, 30, 40}) {
         pegVlans->pegVlanIs(vlan);
      }
      status->localVtepAddrIs(Lidra::IpAddr(std::string_view("10.0.0.1")));
      status->mlagVtepAddrIs(Lidra::IpAddr(std::string_view("10.0.0.99")));
      status->vrfToSBDVlanIs("red", 10);
      status->vrfToSBDVlanIs("blue", 20);
      dir->vtiStatusIs(status);
      scheduler->shareIs(std::make_unique<Kolm::PollShare>(2));
   }

   void start() {
      if (GetParam() == Machine::reactor) {
         reactor = Irb::Multicast::Evpn::transitSmFactory(kIpv4, config, dir, mlag,
                                                          coll, joins);
         return;
      }
      Vorn::SmControl control;
      control.taskSchedulerIs(scheduler);
      control.runModeIs(GetParam() == Machine::synchronous
                           ? Vorn::RunMode::synchronous
                           : Vorn::RunMode::asynchronous);
      dataflow = Irb::Multicast::Evpn::transitIntfSmFactory(
         kIpv4, config, dir, mlag, coll, joins, pegVlans, control);
   }
   void stop() {
      reactor = nullptr;
      dataflow = nullptr;
   }
   void startAndRun() {
      start();
      scheduler->runUntilIdle();
   }

   uint32_t subscribers() const {
      return config->subscribers() + mlag->subscribers() + status->subscribers() +
             dir->subscribers() + pegVlans->subscribers() + coll->subscribers() +
             joins->subscribers();
   }
   // What stands otherwise in the outputs than the plain rule has it.
   std::string disagreement() const {
      Verify::Inputs const inputs{config, dir, mlag, pegVlans};
      auto const should = GetParam() == Machine::reactor
                             ? Verify::reactorOutputs(inputs, kIpv4, true)
                             : Verify::dataflowOutputs(inputs, kIpv4);
      std::string text;
      for (auto const& each :
           Verify::complaints(should, Verify::outputsOf(*coll, *joins))) {
         text += each + "; ";
      }
      return text;
   }

   // Does the work again and again, and has another allocation fail each time, until
   // none is left. How often it ended in which way.
   std::map<Kind, uint64_t>
   endings(Work const& work, std::function<std::string(bool)> const& afterwards) {
      std::map<Kind, uint64_t> times;
      for (bool const lasts : {false, true}) {
         for (uint64_t first = 1;; ++first) {
            auto const ending = endingOf({first, lasts}, work, afterwards);
            ++times[ending.kind];
            EXPECT_NE(ending.kind, Kind::otherwise)
               << "without allocation " << first << ": " << ending.what;
            if (ending.kind == Kind::complete || ending.kind == Kind::otherwise) {
               break;
            }
         }
      }
      return times;
   }

   // A change of an input of a machine that is ready. Who is told can do it again, and
   // the outputs are the rule's.
   std::map<Kind, uint64_t> endingsOfChange(Work const& change) {
      return endingsOfChange(change, [this] { return disagreement(); });
   }
   // wrong: what is, once the change is made.
   std::map<Kind, uint64_t> endingsOfChange(Work const& change,
                                            std::function<std::string()> const& wrong) {
      startAndRun();
      EXPECT_EQ(disagreement(), "");
      auto const before = subscribers();
      auto times = endings(
         [&] {
            change();
            scheduler->runUntilIdle();
         },
         [&, before](bool isDone) {
            if (!isDone) {
               if (subscribers() != before) {
                  return std::string("somebody subscribed and stayed");
               }
               change();
               scheduler->runUntilIdle();
            }
            return wrong();
         });
      return times;
   }

   Pelk::Ptr<Vxlan::VtiStatus> const status =
      Pelk::makePtr<Vxlan::VtiStatus>(Lidra::IntfId("Vxlan1"));
   Pelk::Ptr<Kolm::TaskScheduler> const scheduler =
      Pelk::makePtr<Kolm::TaskScheduler>();
   Pelk::Ptr<Irb::Multicast::Evpn::TransitSm> reactor;
   Pelk::Ptr<Irb::Multicast::Evpn::TransitIntfSm> dataflow;
};

} // namespace

TEST_P(OutOfMemoryTest, AStartTellsItsCallerAndLeavesNobodySubscribedOrEndsTheProcess) {
   for (bool const overOthers : {false, true}) {
      if (overOthers) {
         if (GetParam() == Machine::reactor) {
            break; // which leaves alone what others left
         }
         Support::leaveRandomOutputs(7, *coll, *joins);
      }
      auto const before = subscribers();
      auto const times =
         endings([&] { startAndRun(); },
                 [&, before](bool isDone) {
                    if (!isDone) {
                       stop();
                       if (subscribers() != before) {
                          return std::string("somebody subscribed and stayed");
                       }
                       startAndRun();
                    }
                    return disagreement();
                 });
      EXPECT_GT(times.at(Kind::toldCaller), 10U);
   }
}

TEST_P(OutOfMemoryTest, AChangeTellsItsCallerOrEndsTheProcess) {
   auto const times = endingsOfChange([&] {
      config->transitVrfIs("another name that is not short");
      status->vrfToSBDVlanIs("another name that is not short", 40);
   });
   EXPECT_GT(times.at(Kind::terminated), 4U);
}

TEST_P(OutOfMemoryTest, AMoveTellsItsCallerOrEndsTheProcess) {
   endingsOfChange([&] { status->vrfToSBDVlanIs("red", 30); });
}

TEST_P(OutOfMemoryTest, ARemovalTellsItsCallerOrEndsTheProcess) {
   endingsOfChange([&] { status->vrfToSBDVlanDel("red"); });
}

TEST_P(OutOfMemoryTest, AnAddressTellsItsCallerOrEndsTheProcess) {
   endingsOfChange(
      [&] { status->localVtepAddrIs(Lidra::IpAddr(std::string_view("10.9.9.9"))); });
}

TEST_P(OutOfMemoryTest, AWithdrawnVrfTellsItsCallerOrEndsTheProcess) {
   endingsOfChange([&] { config->transitVrfDel("red"); });
}

TEST_P(OutOfMemoryTest, APegVlanTellsItsCallerOrEndsTheProcess) {
   status->vrfToSBDVlanIs("a name that is not short", 50);
   endingsOfChange([&] { pegVlans->pegVlanIs(50); });
}

TEST_P(OutOfMemoryTest, AWithdrawnPegVlanTellsItsCallerOrEndsTheProcess) {
   endingsOfChange([&] { pegVlans->pegVlanDel(10); });
}

TEST_P(OutOfMemoryTest, AnMlagStateTellsItsCallerOrEndsTheProcess) {
   endingsOfChange([&] { mlag->mlagStateIs(Mlag::MlagState::active); });
   endingsOfChange([&] { mlag->mlagStateIs(Mlag::MlagState::withheld); });
   mlag->mlagStateIs(Mlag::MlagState::withheld);
   endingsOfChange([&] { mlag->mlagStateIs(Mlag::MlagState::disabled); });
}

TEST_P(OutOfMemoryTest, ASharedAddressTellsItsCallerOrEndsTheProcess) {
   mlag->mlagStateIs(Mlag::MlagState::active);
   endingsOfChange(
      [&] { status->mlagVtepAddrIs(Lidra::IpAddr(std::string_view("10.9.9.9"))); });
}

TEST_P(OutOfMemoryTest, AStatusThatGoesTellsItsCallerOrEndsTheProcess) {
   Work const go = [&] { dir->vtiStatusDel(Lidra::IntfId("Vxlan1")); };
   if (GetParam() == Machine::reactor) {
      endingsOfChange(go);
      return;
   }
   // Of what the dataflow machine had enabled some stays, so no rule of the inputs
   // alone tells it.
   startAndRun();
   go();
   scheduler->runUntilIdle();
   auto const expected = Verify::outputsOf(*coll, *joins);
   stop();
   dir->vtiStatusIs(status);
   endingsOfChange(go, [&] {
      return Verify::outputsOf(*coll, *joins) == expected
                ? std::string()
                : std::string("the outputs are not those that memory would leave");
   });
}

TEST_P(OutOfMemoryTest, AnotherStatusTellsItsCallerOrEndsTheProcess) {
   auto const other = Pelk::makePtr<Vxlan::VtiStatus>(Lidra::IntfId("Vxlan1"));
   other->localVtepAddrIs(Lidra::IpAddr(std::string_view("10.0.0.2")));
   other->vrfToSBDVlanIs("a name that is not short", 30);
   other->vrfToSBDVlanIs("blue", 40);
   endingsOfChange([&] { dir->vtiStatusIs(other); });
}

TEST_P(OutOfMemoryTest, AStopNeedsNoMemory) {
   startAndRun();
   auto const times = endings([&] { stop(); },
                              [&](bool) {
                                 return subscribers() == 0
                                           ? std::string()
                                           : std::string("somebody stayed subscribed");
                              });
   EXPECT_EQ(times, (std::map<Kind, uint64_t>{{Kind::complete, 2}}));
}

INSTANTIATE_TEST_SUITE_P(EachMachine, OutOfMemoryTest,
                         testing::Values(Machine::reactor, Machine::synchronous,
                                         Machine::asynchronous),
                         testing::PrintToStringParamName());
