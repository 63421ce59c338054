#include "support/Recordings.h"
#include "support/RunningAgent.h"
#include "support/TransitState.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

using namespace TestSupport;
using nlohmann::json;
using testing::AnyOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

// What the world does to the agent: readers and writers that go, files that change or
// cannot be read, signals. It says what is wrong, ends with the right status, and
// leaves no document half written.
namespace {

constexpr int kInterrupted = 128 + SIGINT;
constexpr auto kUnwritable = "mcastvpn-agent: standard output: the results cannot be "
                             "written: ";

// A file of the test's, open for as long as this lives.
class OpenFile {
 public:
   OpenFile(std::string const& file, int mode)
      : descriptor_(open(file.c_str(), mode | O_CLOEXEC, 0600)) {}
   OpenFile(OpenFile const&) = delete;
   OpenFile& operator=(OpenFile const&) = delete;
   ~OpenFile() { close(descriptor_); }

   int descriptor() const noexcept { return descriptor_; }

 private:
   int descriptor_;
};

class Failure : public testing::Test {
 protected:
   static std::string stateOf(int vlans) { return manyTransitVlans(vlans).dump(1); }
   // So many lines, each of which makes the machine write.
   static std::string eventsOf(int lines) {
      std::string text;
      for (int line = 0; line < lines; ++line) {
         text += json{{"op", "replace"},
                      {"path", "/vtiStatusDir/vtiStatus/Vxlan1/localVtepAddr"},
                      {"value", line % 2 == 0 ? "10.0.0.2" : "10.0.0.1"}}
                    .dump() +
                 '\n';
      }
      return text;
   }
   Outcome shell(std::string const& command) { return runShell(folder_, command); }
   static std::string agent(std::string const& arguments) {
      return shellQuoted(AGENT_PROGRAM) + ' ' + arguments;
   }
   // Every line is a whole JSON value, and the last one ends.
   static void expectWholeRecords(std::string const& text) {
      if (!text.empty()) {
         EXPECT_EQ(text.back(), '\n');
      }
      std::istringstream in(text);
      for (std::string line; std::getline(in, line);) {
         ASSERT_TRUE(json::accept(line)) << line;
      }
   }

   // Runs the agent to its end, and then again and again, interrupted a little later
   // each time. look: what its status was and what is in the file that it wrote to.
   template <typename Look>
   void interruptAtEachMoment(std::vector<std::string> const& arguments,
                              Look const& look) {
      using Clock = std::chrono::steady_clock;
#ifdef KEEPS_FREED_MEMORY // under a sanitizer, whose runs take ten times as long
      constexpr int kMoments = 8;
#else
      constexpr int kMoments = 40;
#endif
      Clock::duration whole{};
      for (int moment = 0; moment <= kMoments; ++moment) {
         OpenFile const out(folder_.file("results"), O_WRONLY | O_CREAT | O_TRUNC);
         auto const begin = Clock::now();
         RunningAgent running(arguments, {-1, out.descriptor(), -1});
         if (moment != 0) {
            std::this_thread::sleep_for(whole * moment / kMoments);
            running.signal(SIGINT);
         }
         auto const status = running.status();
         EXPECT_THAT(status, AnyOf(0, kInterrupted));
         look(status, readText(folder_.file("results")));
         whole = moment == 0 ? Clock::now() - begin : whole;
      }
   }

   TemporaryFolder folder_;
};

} // namespace

TEST_F(Failure, AClosedStandardOutputIsTold) {
   for (auto const* command :
        {"run examples/minimal.jsonc", "--help", "graph",
         "replay --state examples/minimal.jsonc examples/story.jsonl"}) {
      auto const outcome = shell(agent(command) + " >&-");
      EXPECT_EQ(outcome.status, 2) << command;
      EXPECT_EQ(outcome.err, std::string(kUnwritable) + "Bad file descriptor\n")
         << command;
   }
}

TEST_F(Failure, AFullDeviceIsTold) {
   auto const outcome = shell(agent("run examples/minimal.jsonc >/dev/full"));
   EXPECT_EQ(outcome.status, 2);
   EXPECT_EQ(outcome.err, std::string(kUnwritable) + "No space left on device\n");
}

TEST_F(Failure, AClosedStandardErrorChangesNoStatus) {
   EXPECT_EQ(shell(agent("run /nowhere 2>&-")).status, 2);
   auto const outcome = shell(agent("run examples/minimal.jsonc 2>&-"));
   EXPECT_EQ(outcome.status, 0);
   EXPECT_EQ(outcome.out, shell(agent("run examples/minimal.jsonc")).out);
}

TEST_F(Failure, AFullStandardErrorChangesNothingElse) {
   auto const file =
      recordedTo(folder_, "recording.jsonl",
                 {"--state", "examples/minimal.jsonc", "examples/story.jsonl"});
   auto const text = readText(file);
   folder_.write("recording.jsonl", text.substr(0, text.size() - 20)); // it has no end
   for (auto const* command : {"replay ", "timeline ", "explain "}) {
      auto const told = shell(agent(command + file));
      EXPECT_FALSE(told.err.empty()) << command;
      auto const untold = shell(agent(command + file + " 2>/dev/full"));
      EXPECT_EQ(untold.status, told.status) << command;
      EXPECT_EQ(untold.out, told.out) << command;
   }
}

TEST_F(Failure, AReaderThatIsGoneIsTold) {
   Pipe out;
   out.closeReading();
   Pipe err;
   RunningAgent running({"run", folder_.write("state.json", stateOf(10))},
                        {-1, out.writing(), err.writing()});
   EXPECT_EQ(running.status(), 2);
   err.closeWriting();
   EXPECT_EQ(err.read(), std::string(kUnwritable) + "Broken pipe\n");
}

TEST_F(Failure, AReaderThatGoesEndsAnEndlessReplay) {
   auto const state = folder_.write("state.json", stateOf(3));
   auto const events = folder_.write("events.jsonl", eventsOf(2));
   auto const outcome =
      shell("while cat '" + events + "'; do :; done 2>&- | (" +
            agent("replay --state '" + state + "' -") + "; echo $? >'" +
            folder_.file("status") + "') | head -n 100");
   expectWholeRecords(outcome.out);
   EXPECT_EQ(readText(folder_.file("status")), "2\n");
   EXPECT_THAT(outcome.err, HasSubstr(kUnwritable));
}

TEST_F(Failure, AReaderThatIsLateGetsAll) {
   auto const state = folder_.write("state.json", stateOf(10));
   auto const events = folder_.write("events.jsonl", eventsOf(500));
   std::vector<std::string> const arguments{"replay", "--mode",  "sync", "--seed",
                                            "1",      "--state", state,  events};
   Pipe out;
   RunningAgent running(arguments, {-1, out.writing(), -1});
   out.closeWriting();
   std::this_thread::sleep_for(std::chrono::milliseconds(300)); // the pipe is full
   auto const late = out.read();
   EXPECT_EQ(running.status(), 0);
   auto const promptly = runAgent(folder_, arguments).out;
   EXPECT_GT(promptly.size(), size_t{1} << 17) << "more than a pipe holds";
   EXPECT_EQ(late, promptly);
}

TEST_F(Failure, AStandardInputThatCannotBeReadIsTold) {
   auto const outcome = shell(agent("replay - <&-"));
   EXPECT_EQ(outcome.status, 2);
   EXPECT_EQ(outcome.err, "mcastvpn-agent: standard input: cannot be read: Bad file "
                          "descriptor\n");
   EXPECT_EQ(shell(agent("replay - </")).err,
             "mcastvpn-agent: standard input: cannot be read: Is a directory\n");
   EXPECT_EQ(shell(agent("run - <&-")).err, outcome.err);
}

TEST_F(Failure, AFileThatFailsWhileItIsReadIsTold) {
   // A process may open its own memory, and has nothing at address 0.
   auto const outcome = shell(agent("run /proc/self/mem"));
   EXPECT_EQ(outcome.status, 2);
   EXPECT_EQ(outcome.err,
             "mcastvpn-agent: /proc/self/mem: cannot be read: Input/output error\n");
   EXPECT_EQ(shell(agent("replay /proc/self/mem")).err, outcome.err);
}

TEST_F(Failure, AFileWithoutAnEndIsRefused) {
   auto const outcome = shell(agent("run /dev/zero"));
   EXPECT_EQ(outcome.status, 2);
   EXPECT_EQ(outcome.err, "mcastvpn-agent: /dev/zero: it is longer than 128 MiB\n");
   EXPECT_EQ(shell(agent("replay - </dev/zero")).err,
             "mcastvpn-agent: standard input: a line is longer than 128 MiB\n");
}

TEST_F(Failure, AWriterThatDiesInADocumentLeavesNothingPublished) {
   auto const fifo = folder_.file("fifo");
   auto const outcome =
      shell("mkfifo '" + fifo + "' && (printf '{ \"mlagStatus\": {' >'" + fifo +
            "' &) && " + agent("run '" + fifo + "'"));
   EXPECT_EQ(outcome.status, 2);
   EXPECT_EQ(outcome.out, "");
   EXPECT_THAT(outcome.err, HasSubstr(fifo + ":1: not JSON: "));
}

TEST_F(Failure, AWriterThatDiesInALineLeavesThoseBeforePlayed) {
   auto const events = eventsOf(2);
   auto const outcome = runAgent(folder_,
                                 {"replay", "--mode", "sync", "--state",
                                  folder_.write("state.json", stateOf(1)), "-"},
                                 events + events.substr(0, 20));
   EXPECT_EQ(outcome.status, 2);
   expectWholeRecords(outcome.out);
   EXPECT_THAT(outcome.out, HasSubstr("{\"line\":2}\n"));
   EXPECT_THAT(outcome.out, testing::Not(HasSubstr("{\"line\":3}\n")));
   EXPECT_THAT(outcome.err, HasSubstr("standard input:3: not JSON: "));
}

TEST_F(Failure, AnInterruptEndsAnEndlessReplayWhichTookNoMoreMemoryWithTime) {
   Pipe in;
   RunningAgent running(
      {"replay", "--state", folder_.write("state.json", stateOf(3)), "-"},
      {in.reading(), -1, -1});
   auto const events = eventsOf(100);
   auto const play = [&](int rounds) {
      for (int round = 0; round < rounds; ++round) {
         EXPECT_EQ(write(in.writing(), events.data(), events.size()),
                   static_cast<ssize_t>(events.size()));
      }
   };
   play(20);
   auto const before = running.residentKilobytes();
   play(200);
   EXPECT_GT(before, 0U);
#ifndef KEEPS_FREED_MEMORY
   EXPECT_LE(running.residentKilobytes(), before + before / 10);
#endif
   running.signal(SIGINT);
   EXPECT_EQ(running.status(), kInterrupted);
}

TEST_F(Failure, AnInterruptEndsOneWhoseReaderDoesNotRead) {
   auto const state = folder_.write("state.json", stateOf(10));
   auto const events = folder_.write("events.jsonl", eventsOf(2000));
   Pipe out;
   for (int const signal : {SIGINT, SIGTERM}) {
      RunningAgent running({"replay", "--state", state, events},
                           {-1, out.writing(), -1});
      std::this_thread::sleep_for(std::chrono::milliseconds(300)); // it has filled it
      running.signal(signal);
      EXPECT_EQ(running.status(), 128 + signal);
   }
}

TEST_F(Failure, AnInterruptAtAnyMomentLeavesWholeRecordsInAFile) {
   auto const state = folder_.write("state.json", stateOf(20));
   auto const events = folder_.write("events.jsonl", eventsOf(60));
   std::string whole;
   interruptAtEachMoment({"replay", "--seed", "1", "--slice-items", "3", "--trace",
                          "all", "--state", state, events},
                         [&](int status, std::string const& text) {
                            whole = whole.empty() ? text : whole;
                            EXPECT_THAT(whole, StartsWith(text));
                            EXPECT_TRUE(text.empty() || text.back() == '\n');
                            EXPECT_TRUE(status != 0 || text == whole);
                         });
   EXPECT_GT(whole.size(), size_t{1} << 17) << "more than is written at once";
}

TEST_F(Failure, AnInterruptAtAnyMomentLeavesAWholeDocumentOrNone) {
   std::string whole;
   interruptAtEachMoment({"run", "--json", folder_.write("state.json", stateOf(2000))},
                         [&](int status, std::string const& text) {
                            whole = whole.empty() ? text : whole;
                            EXPECT_TRUE(text.empty() || text == whole) << text.size();
                            EXPECT_TRUE(status != 0 || text == whole);
                         });
   EXPECT_GT(whole.size(), size_t{1} << 17) << "more than is written at once";
}

#ifndef KEEPS_FREED_MEMORY // where a library can be put before all others

TEST_F(Failure, AFileThatIsWrittenToWhileItIsReadIsRefused) {
   auto const state = folder_.file("state.json");
   auto const text = stateOf(3000);
   ASSERT_GT(text.size(), size_t{1} << 17) << "more than is read at once";
   auto const outcome = [&](std::string const& how) {
      folder_.write("state.json", text);
      return shell("LD_PRELOAD=" MISCHIEF " MISCHIEF_READ=" + how + ' ' +
                   agent("run --json '" + state + "'"));
   };
   for (auto const* how : {"truncated", "appended"}) {
      EXPECT_EQ(outcome(how).status, 2);
      EXPECT_EQ(outcome(how).out, "");
      EXPECT_EQ(outcome(how).err,
                "mcastvpn-agent: " + state + ": was written to while it was read\n");
   }
   EXPECT_EQ(outcome("error").status, 2);
   EXPECT_EQ(outcome("error").err,
             "mcastvpn-agent: " + state + ": cannot be read: Input/output error\n");
   // What was opened stays, whatever its name becomes.
   EXPECT_EQ(outcome("removed").status, 0);
   EXPECT_EQ(outcome("removed").out, outcome("nothing").out);
   EXPECT_EQ(outcome("removed").err, "");
}

TEST_F(Failure, NoMemoryIsToldWithWhatWasBeingDone) {
   auto const state = folder_.write("state.json", stateOf(40));
   auto const events = folder_.write("events.jsonl", eventsOf(20));
   std::vector<std::string> const arguments{"replay", "--mode",  "sync", "--seed",
                                            "1",      "--state", state,  events};
   auto const whole = runAgent(folder_, arguments);
   uint64_t ended = 0;
   std::string messages;
   for (uint64_t first = 1;; first += 1 + first / 16) {
      Pipe err;
      OpenFile const out(folder_.file("records"), O_WRONLY | O_CREAT | O_TRUNC);
      RunningAgent running(
         arguments, {-1, out.descriptor(), err.writing()},
         {"LD_PRELOAD=" MISCHIEF, "MISCHIEF_MALLOC=" + std::to_string(first)});
      err.closeWriting();
      auto const said = err.read();
      auto const status = running.status();
      auto const text = readText(folder_.file("records"));
      if (status == 0) {
         EXPECT_EQ(text, whole.out);
         EXPECT_EQ(said, "");
         break;
      }
      ++ended;
      expectWholeRecords(text);
      EXPECT_THAT(whole.out, StartsWith(text));
      EXPECT_THAT(status, AnyOf(128 + SIGABRT, 2, 127)) << first << ": " << said;
      // Before it begins there is only what the system says.
      EXPECT_THAT(said, AnyOf(HasSubstr("out of memory"), HasSubstr("annot allocate"),
                              HasSubstr("terminate called")))
         << first;
      EXPECT_THAT(said, EndsWith("\n"));
      messages += said;
   }
   EXPECT_GT(ended, 50U);
   EXPECT_THAT(messages,
               HasSubstr("mcastvpn-agent: out of memory while reading " + state));
   EXPECT_THAT(messages,
               HasSubstr("mcastvpn-agent: out of memory while publishing " + state));
   EXPECT_THAT(messages,
               HasSubstr("mcastvpn-agent: out of memory while starting the machine"));
   EXPECT_THAT(messages, HasSubstr("mcastvpn-agent: out of memory while playing " +
                                   events + ':'));
}

#endif
