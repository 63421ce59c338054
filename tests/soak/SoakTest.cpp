#include "soak/Soak.h"

#include "soak/Heap.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <vector>

using Soak::Gauges;
using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

constexpr uint64_t kRounds = 4;

Soak::Options settlingFor(uint64_t rounds) {
   Soak::Options options;
   options.settling = rounds * Soak::Soak::kRound;
   return options;
}

} // namespace

TEST(Heap, IsCountedToTheByte) {
   auto const before = Soak::heapInUse();
   auto block = std::make_unique<std::array<char, 1234>>();
   EXPECT_EQ(Soak::heapInUse().bytes, before.bytes + 1234);
   EXPECT_EQ(Soak::heapInUse().blocks, before.blocks + 1);
   block.reset();
   EXPECT_EQ(Soak::heapInUse().bytes, before.bytes);
   EXPECT_EQ(Soak::heapInUse().blocks, before.blocks);
}

TEST(Gauges, TellOnceOfWhatGrewAfterItHadSettled) {
   Gauges gauges;
   auto const taken = [&](uint64_t value, bool isSettling) {
      gauges.read("tasks", value);
      return gauges.taken(isSettling);
   };
   EXPECT_THAT(taken(3, true), IsEmpty());
   EXPECT_THAT(taken(2, true), IsEmpty());
   EXPECT_THAT(taken(3, false), IsEmpty());
   EXPECT_THAT(taken(4, false), Contains("tasks grew from 3 to 4"));
   EXPECT_THAT(taken(5, false), IsEmpty());
   EXPECT_EQ(gauges["tasks"].most, 5U);
   EXPECT_EQ(gauges["tasks"].last, 5U);
   EXPECT_EQ(gauges.readings(), 3U);
}

TEST(Gauges, LetGrowByTheAllowedShare) {
   Gauges gauges;
   auto const taken = [&](uint64_t value, bool isSettling) {
      gauges.read("bytes", value, 0.01);
      return gauges.taken(isSettling);
   };
   EXPECT_THAT(taken(1000, true), IsEmpty());
   EXPECT_THAT(taken(1010, false), IsEmpty());
   EXPECT_THAT(taken(1011, false), Contains("bytes grew from 1000 to 1011"));
}

TEST(Gauges, AddWhatIsReadUnderOneName) {
   Gauges gauges;
   gauges.read("groups", 2);
   gauges.read("groups", 3);
   gauges.taken(true);
   EXPECT_EQ(gauges["groups"].settling, 5U);
   gauges.read("groups", 1);
   gauges.taken(true);
   EXPECT_EQ(gauges["groups"].last, 1U);
}

TEST(Soak, StopsOneMachineOfEachKindAndNeverTheOther) {
   Soak::Soak soak(settlingFor(kRounds));
   std::map<std::string, uint64_t> stops;
   soak.whenStoppedIs([&](Soak::Life const& life) { ++stops[life.name()]; });
   soak.round();
   EXPECT_EQ(stops.size(), 2U);
   EXPECT_GT(stops["the reactor that starts again"], 10U);
   EXPECT_GT(stops["the dataflow machine that starts again"], 10U);
}

TEST(Soak, NoticesWhatEachRoundLeavesBehind) {
   Soak::Soak soak(settlingFor(2));
   std::deque<std::vector<char>> left;
   for (uint64_t round = 0; round < kRounds; ++round) {
      soak.round();
      left.emplace_back(100'000);
   }
   EXPECT_TRUE(soak.isCompared());
   EXPECT_THAT(soak.problems(), Contains(HasSubstr("bytes of heap grew from ")));
}

TEST(Soak, NoticesASubscriberTooMany) {
   Soak::Soak soak(settlingFor(2));
   soak.round();
   soak.round();
   Pelk::Subscriber more([](Pelk::Publisher*, Pelk::Subscriber*, int16_t, void const*,
                            void const*) noexcept {});
   soak.lives().front()->world().config->subscriberAdd(&more, 0);
   soak.round();
   soak.lives().front()->world().config->subscriberRemove(&more);
   EXPECT_THAT(soak.problems(),
               Contains(HasSubstr("subscribers of inputs grew from ")));
}

TEST(Soak, NoticesAnOutputThatTheRuleHasNot) {
   Soak::Soak soak(settlingFor(2));
   // As if the machine had done it: nobody says that another writer did.
   soak.lives().front()->coll().intfIs(Lidra::IntfId("Vlan20"), Lidra::IpGenAddr());
   for (uint64_t round = 0; round < kRounds && soak.problems().empty(); ++round) {
      soak.round();
   }
   EXPECT_THAT(soak.problems(), Contains(HasSubstr("the reactor that is never stopped: "
                                                   "intf Vlan20: ")));
}

TEST(Soak, PlaysTheSameEventsAgain) {
   auto const play = [] {
      Soak::Options options = settlingFor(kRounds);
      options.machines = Soak::Machines::reactor;
      Soak::Soak soak(options);
      soak.round();
      soak.round();
      EXPECT_THAT(soak.problems(), IsEmpty());
      auto const& figures = soak.figures();
      return std::vector{figures.events, figures.inside, figures.starts,
                         figures.foreignWrites, figures.comparisons};
   };
   EXPECT_EQ(play(), play());
}
