#include "kolm/Task.h"
#include "pelk/TraceSinks.h"
#include "support/DataflowFixture.h"
#include "support/DeathMessages.h"
#include "support/NotificationRecorder.h"
#include "support/ThrownMessage.h"
#include "zin/RangeException.h"

namespace {

using namespace Support;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

class TransitIntfSmFrame : public DataflowTest {
 protected:
   static std::string line(std::string const& function, std::string const& text) {
      return "9 " + function + ": " + text;
   }
   // The text lines of one pass of the five scans over inputs that hold nothing but
   // "Vxlan1".
   static Events pass(bool second) {
      std::string const flag = second ? "true" : "false";
      std::string const begin = " scan complete: false resumed: false scan: " + flag;
      std::string const name = second ? "" : " initial";
      auto const done = [&](std::string const& machine, std::string const& function) {
         return line(function, machine + name + " scan, and parent scan, complete.");
      };
      auto const enter = [&](std::string const& function) {
         return Events{line(function, function), line(function, begin)};
      };
      auto const only = [second](Events const& events) {
         return second ? events : Events{};
      };
      return then(
         {line("doInputScan", "PegVlanStatusSm4")}, enter("doInputScan4"),
         Events{done("PegVlanStatusSm4", "doInputScan4"),
                line("doInputScan", "MlagStatusSm3")},
         enter("doInputScan2"),
         only({"7 eventToMlagStream: mlagStream = from( mlagStatus.mlagState ):",
               "6 eventToMlagStream:  foreach( mcastEvpnConfig.transitVrf ) flattening "
               "0 elements"}),
         Events{done("MlagStatusSm3", "doInputScan2"),
                line("doInputScan", "VtiStatusDirSm1")},
         enter("doInputScan1"), Events{"8 handleVtiStatus1: k: Vxlan1"},
         enter("doInputScan1"),
         only({"7 eventToVtepAddrChangeStream: vtepAddrChangeStream = from( "
               "vtiStatusDir.vtiStatus[].{ localVtepAddr, mlagVtepAddr } ): "
               "vtiIntf=Vxlan1",
               "6 eventToVtepAddrChangeStream:  foreach( mcastEvpnConfig.transitVrf ) "
               "flattening 0 elements"}),
         Events{done("VtiStatusDirSm1", "doInputScan1")}, enter("doInputScan3"),
         Events{"8 handleVtiStatus3: k: Vxlan1"}, enter("doInputScan3"),
         Events{line("doInputScan3",
                     "VtiStatusSm2" + name + " scan complete. Processed 0 children. "),
                done("VtiStatusDirSm1", "doInputScan3"),
                line("doInputScan", "McastEvpnConfigSm0")},
         enter("doInputScan0"), Events{done("McastEvpnConfigSm0", "doInputScan0")});
   }
   static constexpr char const* kHandlers[] = {
      "handleMembershipJoinStatusVlanGroupSourceIncludeIntfOutputInputReady",
      "handleMembershipJoinStatusVlanGroupSourceExcludeIntfOutputInputReady",
      "handleTransitIntfCollIntfOutputInputReady",
      "handleMembershipJoinStatusVlanRouterIntfOutputInputReady"};
   static Events handlersEntered() {
      Events events;
      for (auto const* handler : kHandlers) {
         events.push_back(line(handler, handler));
      }
      return events;
   }
   static Events handlersReconcile() {
      Events events;
      for (std::string const handler : kHandlers) {
         auto output = handler.substr(6, handler.size() - 16);
         output[0] = static_cast<char>(std::tolower(output[0]));
         events = then(
            events,
            Events{line(handler, handler),
                   line(handler, "Input scans for " + output + " complete"),
                   line(handler,
                        "Setting reconciliationState to skip deletions for " + output),
                   line(handler, "Insertion scan for reconciliation is done after "
                                 "processing 0 items in last run. Total seen: 0"),
                   line(handler,
                        "Setting reconciliationState to skip nothing for " + output),
                   line(handler, "Deletion scan for reconciliation is done, last task "
                                 "run processed 0 items, deleting 0 items.")});
      }
      return events;
   }
   Events reconcilingFlags() const {
      Events events;
      for (auto const* output :
           {"membershipJoinStatusVlanGroupSourceIncludeIntfOutput",
            "membershipJoinStatusVlanGroupSourceExcludeIntfOutput",
            "transitIntfCollIntfOutput", "membershipJoinStatusVlanRouterIntfOutput"}) {
         events.push_back(
            line("handleInitialized", std::string("Reconciling ") + output + ": true"));
      }
      return events;
   }
};

TEST_F(TransitIntfSmFrame, ASynchronousStartSaysEveryStepInItsOrder) {
   start();
   Events const republished = then({}, handlersEntered(), handlersEntered(),
                                   handlersEntered(), handlersEntered());
   EXPECT_THAT(
      log.take(),
      ElementsAreArray(then(
         {"8 handleInitialized: handleInitialized"}, reconcilingFlags(),
         Events{line("handleInitialized", "create local SMs"),
                line("handleInitialized", "create non-public arg SMs")},
         pass(false),
         Events{line(kHandlers[2], kHandlers[2]),
                line("handleInitialScanDone", "Initial scan done for child SMs. Now "
                                              "scanning with events triggered.")},
         republished, handlersEntered(), pass(true), handlersReconcile())));
}

TEST_F(TransitIntfSmFrame, ASynchronousStartIsReadyWhenTheFactoryReturnsWithoutTasks) {
   transitOn("red", 10);
   start();
   EXPECT_TRUE(sm->synchronous());
   EXPECT_TRUE(sm->initialized());
   EXPECT_TRUE(sm->initialScanDone());
   EXPECT_TRUE(sm->idle());
   EXPECT_TRUE(sm->ready());
   EXPECT_EQ(addressOf(10), kLocal);
   EXPECT_TRUE(hasJoin(10));
   EXPECT_EQ(scheduler->pending(), 0u);
   EXPECT_EQ(scheduler->useCount(), 3u); // the test's, and two control records'
}

TEST_F(TransitIntfSmFrame, AnAsynchronousStartOverEmptyInputsIsDoneInItsFirstSlices) {
   dir->vtiStatusDelAll();
   startAsync<Kolm::UnlimitedShare>();
   EXPECT_FALSE(sm->synchronous());
   EXPECT_TRUE(sm->initialScanDone());
   EXPECT_TRUE(sm->idle());
   EXPECT_TRUE(sm->ready());
   EXPECT_EQ(scheduler->pending(), 0u);
}

TEST_F(TransitIntfSmFrame, FlagsAreAnnouncedOnceAndAgainWhenTheInitialScanIsDone) {
   transitOn("red", 10);
   transitOn("blue", 20);
   startAsync<Kolm::PollShare>(1u);
   EXPECT_FALSE(sm->initialScanDone());
   EXPECT_TRUE(sm->inputSmScanState()->mlagStreamScan());
   EXPECT_FALSE(sm->ready());
   EXPECT_FALSE(sm->idle());
   NotificationRecorder const recorder(*sm->inputSmScanState());
   runUntilReady();
   EXPECT_THAT(recorder.texts(),
               ElementsAre("pegVlanStreamScan = true", "vtiStatusStreamScan = true",
                           "vtiStatusStreamScan = true", "pegVlanStreamScan = true",
                           "mlagStreamScan = true", "vtepAddrChangeStreamScan = true",
                           "transitCfgStreamScan = true", "idle = true",
                           "transitCfgStreamScan = true"));
}

TEST_F(TransitIntfSmFrame, ASecondCallOnceTheInitialScanIsDoneDoesNothing) {
   startQuietly();
   sm->handleInitialScanDone();
   EXPECT_THAT(log.take(), IsEmpty());
}

TEST_F(TransitIntfSmFrame, TheFirstStreamThatIsNotScannedIsNamed) {
   transitOn("red", 10);
   transitOn("blue", 20);
   startAsync<Kolm::PollShare>(1u);
   log.take();
   sm->handleInitialScanDone();
   EXPECT_THAT(log.take(), ElementsAre("9 handleInitialScanDone:  vtiStatusStream scan "
                                       "is false"));
   sm->inputSmScanState()->vtiStatusStreamScanIs(true);
   log.take();
   sm->handleInitialScanDone();
   EXPECT_THAT(log.take(),
               ElementsAre("9 handleInitialScanDone:  pegVlanStream scan is false"));
   scheduler->runUntilIdle();
}

TEST_F(TransitIntfSmFrame, IsNotReadyWithoutAnOutputState) {
   startQuietly();
   EXPECT_TRUE(sm->ready());
   sm->outputStateDel();
   EXPECT_FALSE(sm->ready());
   auto const made = sm->outputStateIs();
   EXPECT_FALSE(sm->ready());
   EXPECT_EQ(sm->outputStateIs(), made);
   sm->handleInputReady();
   EXPECT_TRUE(sm->ready());
}

TEST_F(TransitIntfSmFrame, AnyOtherRunModeIsAsynchronous) {
   control.runModeIs(static_cast<Vorn::RunMode>(7));
   start();
   EXPECT_FALSE(sm->synchronous());
   scheduler->runUntilIdle();
}

TEST_F(TransitIntfSmFrame, WithoutASchedulerTheProcesssIsTakenAndToldInTheRecord) {
   auto const root = Kolm::TaskSchedulerRoot::findOrCreateScheduler();
   control.taskSchedulerIs(nullptr);
   control.runModeIs(Vorn::RunMode::asynchronous);
   start();
   EXPECT_EQ(sm->smControl().taskScheduler(), root);
   root->runUntilIdle();
   control.runModeIs(Vorn::RunMode::synchronous);
   start();
   EXPECT_FALSE(sm->smControl().taskScheduler());
}

TEST_F(TransitIntfSmFrame, AttributesAreThoseThatTheFactoryWasGiven) {
   control.qtHandleIs(Pelk::makePtr<Fennlog::TraceHandle>());
   start();
   EXPECT_EQ(sm->addressFamily(), kIpv4);
   EXPECT_EQ(sm->mcastEvpnConfig(), config);
   EXPECT_EQ(sm->vtiStatusDir(), dir);
   EXPECT_EQ(sm->mlagStatus(), mlag);
   EXPECT_EQ(sm->transitIntfColl(), coll);
   EXPECT_EQ(sm->membershipJoinStatus(), joins);
   EXPECT_EQ(sm->pegVlanStatus(), peg);
   EXPECT_EQ(sm->smControl(), control);
   EXPECT_EQ(sm->qtHandle(), control.qtHandle());
   EXPECT_EQ(sm->entityType().name, "Irb::Multicast::Evpn::TransitIntfSm");
   std::vector<std::string_view> names;
   std::vector<int16_t> ids;
   for (auto const& attribute : sm->entityType().attributes) {
      names.push_back(attribute.name);
      ids.push_back(attribute.id);
   }
   EXPECT_THAT(names,
               ElementsAre("addressFamily", "mcastEvpnConfig", "vtiStatusDir",
                           "mlagStatus", "transitIntfColl", "membershipJoinStatus",
                           "pegVlanStatus", "initialized", "synchronous",
                           "initialScanDone", "inputSmScanState", "outputState",
                           "groupByAttr0", "idle", "ready", "mcastEvpnConfigSm0",
                           "vtiStatusDirSm1", "mlagStatusSm3", "pegVlanStatusSm4"));
   EXPECT_EQ(ids.front(), 258);
   EXPECT_EQ(ids.back(), 276);
}

TEST_F(TransitIntfSmFrame, ANullArgumentEndsTheProcess) {
   auto const startWithout = [&](auto& argument, std::string const& accessor) {
      auto const kept = std::exchange(argument, nullptr);
      EXPECT_DEATH(start(), assertionMessage("handleInitialized: " + accessor +
                                             "() && \"Pointer SM args cannot be null "
                                             "unless they are marked Optional\""));
      argument = kept;
   };
   startWithout(config, "mcastEvpnConfig");
   startWithout(dir, "vtiStatusDir");
   startWithout(mlag, "mlagStatus");
   startWithout(coll, "transitIntfColl");
   startWithout(joins, "membershipJoinStatus");
   startWithout(peg, "pegVlanStatus");
}

TEST_F(TransitIntfSmFrame, AnIpv6MachineJoinsTheIpv6WildcardOverAnIpv4Address) {
   transitOn("red", 10);
   start(kIpv6);
   EXPECT_EQ(addressOf(10), kLocal);
   EXPECT_EQ(outputs().at("join 10"), "(::, ::) include Null0");
}

class TransitIntfSmEnd : public DataflowTest {};

TEST_F(TransitIntfSmEnd, DestructionLeavesTheOutputsAndLetsGoOfTheInputs) {
   transitOn("red", 10);
   startQuietly();
   auto const before = outputs();
   EXPECT_EQ(subscribers(), 5u);
   sm = nullptr;
   EXPECT_EQ(subscribers(), 0u);
   EXPECT_EQ(outputs(), before);
   EXPECT_THAT(log.takeNotified(), IsEmpty());
}

// Calls back at each line of the trace, and passes on nothing.
class TraceCalls final : public Pelk::TraceSink {
 public:
   using Call = std::function<void(Pelk::TraceRecord const&)>;

   explicit TraceCalls(Call call)
      : call_(std::move(call)), before_(Pelk::Trace::sinkIs(this)) {}
   ~TraceCalls() override { Pelk::Trace::sinkIs(before_); }
   void trace(Pelk::TraceRecord const& record) override { call_(record); }

 private:
   Call call_;
   Pelk::TraceSink* before_;
};

TEST_F(TransitIntfSmEnd, IsMarkedBeforeItsInputMachinesAreAskedAndItsStreamsAreClosed) {
   transitOn("red", 10);
   startQuietly();
   auto const before = outputs();
   auto* const machine = sm.get();
   std::vector<std::string> asked;
   TraceCalls const calls([&](Pelk::TraceRecord const& record) {
      asked.emplace_back(record.name);
      EXPECT_TRUE(machine->isBeingDeleted());
      EXPECT_EQ(subscribers(), 0u);
      machine->eventToTransitVlanStream(10, "red", false);
      machine->eventToVrfStream("red");
      machine->handleInputReady();
   });
   sm = nullptr;
   EXPECT_THAT(asked,
               ElementsAre("McastEvpnConfigSm0", "MlagStatusSm3", "PegVlanStatusSm4",
                           "VtiStatusDirSm1", "VtiStatusSm2"));
   EXPECT_EQ(outputs(), before);
   EXPECT_THAT(log.take(), IsEmpty());
}

TEST_F(TransitIntfSmEnd, AnEndInTheMiddleOfAScanLeavesNoTask) {
   transitOn("red", 10);
   transitOn("blue", 20);
   startAsync<Kolm::PollShare>(1u);
   for (int slices = 0; scheduler->pending() != 0; ++slices) {
      sm = nullptr;
      EXPECT_EQ(scheduler->pending(), 0u);
      EXPECT_EQ(subscribers(), 0u);
      start();
      for (int slice = 0; slice <= slices; ++slice) {
         scheduler->runSlice();
      }
   }
}

TEST_F(TransitIntfSmEnd, SwitchingNotificationsOffAndOnSubscribesToEveryInput) {
   startQuietly();
   sm->hasNotificationActiveIs(false);
   EXPECT_EQ(subscribers(), 0u);
   sm->hasNotificationActiveIs(true);
   sm->hasNotificationActiveIs(true);
   EXPECT_EQ(subscribers(), 5u);
   sm->zinDoZombieReactors(true);
   transitOn("red", 10);
   EXPECT_EQ(addressOf(10), kLocal);
}

TEST_F(TransitIntfSmEnd,
       AMissedChangeEndsTheProcessWhenTheMachineGoesAndIsTracedFirst) {
   startQuietly();
   auto const missed = [&](auto change, std::string const& machine,
                           std::string const& attribute) {
      EXPECT_DEATH(
         {
            Pelk::Trace::sinkIs(&Pelk::StreamTraceSink::standardError());
            sm->hasNotificationActiveIs(false);
            change();
            sm = nullptr;
         },
         testing::AllOf(
            testing::ContainsRegex(machine + " [^\n]* doDeleteAll:[^\n]*\n"
                                             "[^\n]*We missed notifications"),
            assertionMessage("doDeleteAll: We missed notifications that happened to " +
                             attribute + " before the enclosing entity got deleted")));
   };
   missed([&] { transit("red"); }, "McastEvpnConfigSm0", "transitVrf");
   missed([&] { peg->pegVlanIs(10); }, "PegVlanStatusSm4", "pegVlan");
   missed([&] { map("red", 10); }, "VtiStatusSm2", "vrfToSBDVlan");
}

TEST_F(TransitIntfSmEnd, ALiveDeleteAllWithdrawsWhatTheInputsContributed) {
   transitOn("red", 10);
   transitOn("blue", 20);
   startQuietly();
   sm->hasNotificationActiveIs(false);
   sm->doDeleteAll();
   EXPECT_THAT(outputs(), IsEmpty());
   EXPECT_TRUE(sm->groupByAttr0().empty());
   Events machines;
   for (auto const& event : log.takeTraced()) {
      if (event == "9 doDeleteAll: doDeleteAll") {
         machines.push_back(event);
      }
   }
   EXPECT_EQ(machines.size(), 5u); // four input machines and one child
   sm = nullptr;
}

TEST_F(TransitIntfSmEnd, ALiveDeleteAllWithdrawsTheMappingsLast) {
   transitOn("red", 10);
   startQuietly();
   sm->doDeleteAll();
   auto const said = log.take();
   auto const place = [&](std::string const& start) {
      return std::find_if(
                said.begin(), said.end(),
                [&](std::string const& event) { return event.starts_with(start); }) -
             said.begin();
   };
   EXPECT_LT(place("7 eventToTransitCfgStream"), place("7 eventToMlagStream"));
   EXPECT_LT(place("7 eventToMlagStream"), place("7 eventToPegVlanStream"));
   EXPECT_LT(place("7 eventToPegVlanStream"), place("7 eventToVtepAddrChangeStream"));
   EXPECT_LT(place("7 eventToVtepAddrChangeStream"), place("7 eventToVtiStatusStream"));
   EXPECT_LT(place("7 eventToVtiStatusStream"), place("- intf[Vlan10]"));
   sm = nullptr;
}

TEST_F(TransitIntfSmEnd, AMachineDroppedInsideAnOutputsNotificationEndsItsEvent) {
   transitOn("red", 10);
   map("red", 0x7fff); // no VLAN that the machine could evaluate is lost meanwhile
   status->vrfToSBDVlanDel("red");
   startQuietly();
   log.actionIs([&](std::string const&) { sm = nullptr; });
   map("red", 10);
   log.actionIs(nullptr);
   EXPECT_THAT(log.takeNotified(), ElementsAreArray(made(10, kLocal)));
   EXPECT_EQ(subscribers(), 0u);
}

TEST_F(TransitIntfSmEnd, AMachineDroppedInsideATaskEndsTheSlice) {
   transitOn("red", 10);
   transitOn("blue", 20);
   startAsync<Kolm::PollShare>(1u);
   log.actionIs([&](std::string const&) { sm = nullptr; });
   scheduler->runUntilIdle();
   EXPECT_FALSE(sm);
   EXPECT_EQ(subscribers(), 0u);
   EXPECT_EQ(scheduler->useCount(), 2u); // the test's and its control record's
}

TEST_F(TransitIntfSmEnd, AMachineDroppedWhenItBecomesReadyIsGone) {
   transitOn("red", 10);
   startAsync<Kolm::PollShare>(1u);
   auto const state = sm->outputState();
   NotificationRecorder recorder(*state);
   recorder.actionIs([&] {
      if (state->ready()) {
         sm = nullptr;
      }
   });
   scheduler->runUntilIdle();
   EXPECT_FALSE(sm);
   EXPECT_EQ(subscribers(), 0u);
   EXPECT_EQ(outputs().size(), 2u);
}

class TransitIntfSmVlan0 : public DataflowTest {
 protected:
   static constexpr char const* kMessage =
      "Bridging::VlanId::value < 1 or > 4094 not allowed";
};

TEST_F(TransitIntfSmVlan0, LeavesASynchronousStartAsAnExceptionWithoutSubscriptions) {
   map("red", 0);
   auto const message = thrownMessage<Zin::RangeException>([&] {
      start();
      return 0;
   });
   EXPECT_EQ(message, kMessage);
   EXPECT_EQ(subscribers(), 0u);
   EXPECT_THAT(outputs(), IsEmpty());
}

TEST_F(TransitIntfSmVlan0, EndsTheProcessOutOfANotification) {
   startQuietly();
   EXPECT_DEATH(map("red", 0), escapedExceptionMessage(kMessage));
}

TEST_F(TransitIntfSmVlan0, EndsTheProcessOutOfATask) {
   map("red", 0);
   map("blue", 10);
   startAsync<Kolm::PollShare>(1u);
   EXPECT_DEATH(scheduler->runUntilIdle(), escapedExceptionMessage(kMessage));
   sm = nullptr;
}

TEST_F(TransitIntfSmVlan0, IsGroupedBeforeItRaises) {
   startQuietly();
   EXPECT_EQ(thrownMessage<Zin::RangeException>([&] {
                sm->eventToTransitVlanStream(0, "red", true);
                return 0;
             }),
             kMessage);
   EXPECT_TRUE(sm->groupByAttr0(0)->collHas("red"));
   EXPECT_THAT(log.takeNotified(), IsEmpty());
   EXPECT_EQ(thrownMessage<Zin::RangeException>([&] {
                sm->eventToTransitVlanStream(0, "red", false);
                return 0;
             }),
             kMessage);
   EXPECT_FALSE(sm->groupByAttr0(0));
}

TEST_F(TransitIntfSmVlan0, NumbersBehindTheLastVlanAreGroupedLikewise) {
   startQuietly();
   for (uint16_t const number : {uint16_t{4095}, uint16_t{4096}, uint16_t{65535}}) {
      EXPECT_THROW(sm->eventToTransitVlanStream(number, "red", true),
                   Zin::RangeException);
      EXPECT_TRUE(sm->groupByAttr0(number)->collHas("red"));
      EXPECT_THROW(sm->eventToTransitVlanStream(number, "red", false),
                   Zin::RangeException);
      EXPECT_FALSE(sm->groupByAttr0(number));
   }
}

} // namespace
