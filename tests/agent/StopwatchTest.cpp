#include "agent/record/Stopwatch.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>

// The time that is read from a counter between two readings of the clock.
namespace {

using namespace std::chrono_literals;

// Clocks that go as a test says, each a little further when it is read.
struct Clocks {
   static inline std::chrono::nanoseconds now{};
   static inline uint64_t counted = 0;
   static inline uint64_t rate = 2; // ticks a nanosecond
   static inline int readings = 0;  // of the clock

   static std::chrono::nanoseconds time() {
      ++readings;
      return now;
   }
   static uint64_t ticks() { return counted; }

   static void pass(std::chrono::nanoseconds time) {
      now += time;
      counted += static_cast<uint64_t>(time.count()) * rate;
   }
};

class StopwatchTest : public testing::Test {
 protected:
   StopwatchTest() {
      Clocks::now = 5s;
      Clocks::counted = 12345;
      Clocks::rate = 2;
   }

   // Until the rate is known.
   static void measure(Agent::Stopwatch<Clocks>& watch) {
      for (int i = 0; i < 20; ++i) {
         Clocks::pass(1ms);
         watch.passed();
      }
   }

   // To the microsecond.
   static void expectToBeRight(auto& watch) {
      EXPECT_LE(abs(Clocks::now - 5s - watch.passed()), 1us);
   }

   // How many readings of the clock as many questions take.
   static int readingsOf(Agent::Stopwatch<Clocks>& watch, int questions,
                         std::chrono::nanoseconds apart) {
      int const before = Clocks::readings;
      for (int i = 0; i < questions; ++i) {
         Clocks::pass(apart);
         expectToBeRight(watch);
      }
      return Clocks::readings - before;
   }
};

TEST_F(StopwatchTest, BeginsWithNothing) {
   Agent::Stopwatch<Clocks> watch;
   EXPECT_EQ(0us, watch.passed());
   Clocks::pass(999ns);
   EXPECT_EQ(0us, watch.passed());
   Clocks::pass(1ns);
   EXPECT_EQ(1us, watch.passed());
}

TEST_F(StopwatchTest, ReadsTheClockEachTimeUntilItKnowsTheRate) {
   Agent::Stopwatch<Clocks> watch;
   EXPECT_EQ(100, readingsOf(watch, 100, 1us));
}

TEST_F(StopwatchTest, ReadsTheClockTwiceAMillisecondOnceItKnowsTheRate) {
   Agent::Stopwatch<Clocks> watch;
   measure(watch);
   int const readings = readingsOf(watch, 100'000, 100ns); // for ten milliseconds
   EXPECT_GE(readings, 10);
   EXPECT_LE(readings, 20);
}

TEST_F(StopwatchTest, ReadsTheClockAfterAPause) {
   Agent::Stopwatch<Clocks> watch;
   measure(watch);
   EXPECT_EQ(10, readingsOf(watch, 10, 1h));
}

TEST_F(StopwatchTest, IsNeverFurtherFromTheClockThanTheRateHasChanged) {
   Agent::Stopwatch<Clocks> watch;
   measure(watch);
   Clocks::rate = 4; // it is taken for half a millisecond at most that a whole one went
   for (int i = 0; i < 1000; ++i) {
      Clocks::pass(10us);
      auto const right = Clocks::now - 5s;
      auto const told = watch.passed();
      EXPECT_GE(told + 1us, right);
      EXPECT_LE(told, right + 300us);
   }
   measure(watch);
   readingsOf(watch, 1000, 10us);
}

TEST_F(StopwatchTest, NeverGoesBack) {
   Agent::Stopwatch<Clocks> watch;
   measure(watch);
   auto last = watch.passed();
   for (int i = 0; i < 10'000; ++i) {
      Clocks::rate = 1 + static_cast<uint64_t>(i) % 7;
      Clocks::pass(1us);
      auto const passed = watch.passed();
      EXPECT_GE(passed, last);
      last = passed;
   }
}

TEST_F(StopwatchTest, ForgivesACounterThatJumps) {
   Agent::Stopwatch<Clocks> watch;
   measure(watch);
   for (uint64_t const to : {uint64_t{0}, UINT64_MAX - 1000, uint64_t{77}}) {
      Clocks::counted = to;
      Clocks::pass(1us);
      expectToBeRight(watch);
      // Until a new rate is measured it may lag by what it trusts the counter for.
      for (int i = 0; i < 50'000; ++i) {
         Clocks::pass(1us);
         auto const behind = Clocks::now - 5s - watch.passed();
         EXPECT_LE(behind, 600us) << to;
         EXPECT_GE(behind, -1us) << to;
      }
      readingsOf(watch, 1000, 1us);
   }
}

TEST_F(StopwatchTest, ForgivesACounterThatStandsStill) {
   Agent::Stopwatch<Clocks> watch;
   measure(watch);
   Clocks::now += std::chrono::hours(1);
   Clocks::pass(9ms);
   expectToBeRight(watch);
   readingsOf(watch, 1000, 100us);
}

// A thread that is interrupted between the two readings, the first time.
struct InterruptedClocks : Clocks {
   static inline int interruptions = 0;

   static std::chrono::nanoseconds time() {
      if (interruptions > 0) {
         --interruptions;
         pass(4ms);
      }
      return Clocks::time();
   }
};

TEST_F(StopwatchTest, ReadsAgainWhenItWasInterrupted) {
   Agent::Stopwatch<InterruptedClocks> watch;
   for (int i = 0; i < 20; ++i) {
      Clocks::pass(1ms);
      watch.passed();
   }
   Clocks::pass(1ms);
   InterruptedClocks::interruptions = 1;
   watch.passed();
   for (int i = 0; i < 100; ++i) {
      Clocks::pass(3us);
      expectToBeRight(watch);
   }
}

TEST(StopwatchOfTheProcess, AgreesWithTheClock) {
   using Clock = std::chrono::steady_clock;
   auto const before = Clock::now();
   Agent::Stopwatch watch;
   auto const after = Clock::now();
   for (auto last = 0us; Clock::now() < after + 50ms;) {
      auto const earliest = Clock::now() - after;
      auto const passed = watch.passed();
      auto const latest = Clock::now() - before;
      EXPECT_GE(passed, last);
      // The rate was measured over ten milliseconds.
      EXPECT_GE(passed, earliest - 100us);
      EXPECT_LE(passed, latest + 100us);
      last = passed;
   }
}

} // namespace
