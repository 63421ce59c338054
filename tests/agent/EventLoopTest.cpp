#include "agent/serve/EventLoop.h"

#include "agent/serve/SignalWatch.h"
#include "support/RunningAgent.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace {

using namespace std::chrono_literals;
using Agent::EventLoop;
using TestSupport::Pipe;
using Follower = EventLoop::Follower;
using Timer = EventLoop::Timer;
constexpr auto kReading = EventLoop::Interest::reading;

void writeByte(Pipe const& pipe) {
   ASSERT_EQ(write(pipe.writing(), "x", 1), 1);
}

} // namespace

TEST(EventLoop, WorkWithoutAnEndLetsTimersAndDescriptorsHaveTheirTurn) {
   EventLoop loop;
   Pipe pipe;
   int calls = 0;
   std::optional<Timer> timer;
   Follower const follower(loop, pipe.reading(), kReading, [&] {
      pipe.read(1);
      if (++calls == 3) {
         timer->onceAfter(1ms);
      } else {
         writeByte(pipe);
      }
   });
   timer.emplace(loop, [&] { loop.stop(); });
   size_t pieces = 0;
   loop.workIs([&] {
      ++pieces;
      return true;
   });
   writeByte(pipe);
   loop.run();
   EXPECT_EQ(calls, 3);
   EXPECT_GE(pieces, 4u);
}

TEST(EventLoop, DescriptorsThatAreAlwaysReadyLetTheWorkGoOn) {
   EventLoop loop;
   Pipe always;
   writeByte(always);
   size_t calls = 0;
   Follower const follower(loop, always.reading(), kReading, [&] { ++calls; });
   size_t pieces = 0;
   loop.workIs([&] {
      if (++pieces == 100) {
         loop.stop();
      }
      return true;
   });
   loop.run();
   EXPECT_EQ(calls, 99u) << "once in each turn";
}

TEST(EventLoop, EachDescriptorIsServedOnceInATurn) {
   EventLoop loop;
   std::vector<Pipe> pipes(3);
   std::vector<int> served;
   std::vector<std::unique_ptr<Follower>> followers;
   for (int i = 0; i < 3; ++i) {
      auto const& pipe = pipes[static_cast<size_t>(i)];
      writeByte(pipe);
      followers.push_back(std::make_unique<Follower>(
         loop, pipe.reading(), kReading, [&served, i] { served.push_back(i); }));
   }
   int turns = 0;
   loop.workIs([&] {
      if (turns++ == 4) {
         loop.stop();
      }
      return true;
   });
   loop.run();
   ASSERT_EQ(served.size(), 12u);
   for (int turn = 0; turn < 4; ++turn) {
      EXPECT_THAT(std::vector(served.begin() + 3 * turn, served.begin() + 3 * turn + 3),
                  testing::UnorderedElementsAre(0, 1, 2));
   }
}

TEST(EventLoop, AFollowerMayEndItselfAndOthersInItsCall) {
   EventLoop loop;
   Pipe first;
   Pipe second;
   writeByte(first);
   writeByte(second);
   int calls = 0;
   std::vector<std::unique_ptr<Follower>> followers;
   auto const endAll = [&] {
      ++calls;
      followers.clear();
   };
   followers.push_back(
      std::make_unique<Follower>(loop, first.reading(), kReading, endAll));
   followers.push_back(
      std::make_unique<Follower>(loop, second.reading(), kReading, endAll));
   Timer end(loop, [&] { loop.stop(); });
   end.onceAfter(20ms);
   loop.run();
   EXPECT_EQ(calls, 1);
}

TEST(EventLoop, ATimerThatIsSetOnceIsDueOnce) {
   EventLoop loop;
   int once = 0;
   int often = 0;
   int never = 0;
   Timer single(loop, [&] { ++once; });
   Timer unset(loop, [&] { ++never; });
   Timer repeated(loop, [&] {
      if (++often == 5) {
         loop.stop();
      }
   });
   single.onceAfter(1ms);
   unset.onceAfter(1ms);
   unset.unset();
   repeated.every(2ms);
   EXPECT_TRUE(single.isSet());
   EXPECT_FALSE(unset.isSet());
   loop.run();
   EXPECT_EQ(once, 1);
   EXPECT_EQ(often, 5);
   EXPECT_EQ(never, 0);
   EXPECT_FALSE(single.isSet());
   EXPECT_TRUE(repeated.isSet());
}

TEST(EventLoop, TheEndOfATurnIsCalledBeforeTheLoopWaits) {
   EventLoop loop;
   std::vector<char> order;
   Timer timer(loop, [&] {
      order.push_back('t');
      loop.stop();
   });
   timer.onceAfter(5ms);
   loop.workIs([&] {
      order.push_back('w');
      return false;
   });
   loop.turnEndIs([&] { order.push_back('e'); });
   loop.run();
   EXPECT_THAT(order, testing::ElementsAre('w', 'e', 't'));
}

TEST(EventLoop, ASignalIsAnEvent) {
   EventLoop loop;
   std::vector<int> received;
   Agent::SignalWatch const signals(loop, {SIGUSR1, SIGUSR2}, [&](int signal) {
      received.push_back(signal);
      if (received.size() == 2) {
         loop.stop();
      }
   });
   kill(getpid(), SIGUSR1);
   kill(getpid(), SIGUSR2);
   loop.run();
   EXPECT_THAT(received, testing::UnorderedElementsAre(SIGUSR1, SIGUSR2));
}
