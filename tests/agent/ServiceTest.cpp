#include "agent/Host.h"
#include "agent/serve/EventLoop.h"
#include "agent/serve/ServiceManager.h"
#include "support/ComesTrue.h"
#include "support/TransitState.h"
#include "support/UnixSocket.h"
#include "support/WatchingAgent.h"

#include <gmock/gmock.h>

#include <poll.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <map>

using namespace TestSupport;
using namespace std::chrono_literals;
using nlohmann::json;
using testing::HasSubstr;

// An agent as a supervisor runs it.
namespace {

// The supervisor's end of its protocol.
class NotifySocket : public BoundSocket {
 public:
   explicit NotifySocket(std::string const& path) : BoundSocket(path, SOCK_DGRAM) {}

   // What was told next; "nothing" if nothing was in that time.
   std::string next(std::chrono::milliseconds patience = 60s) const {
      pollfd wanted{descriptor(), POLLIN, 0};
      std::array<char, 4096> text;
      if (poll(&wanted, 1, static_cast<int>(patience.count())) <= 0) {
         return "nothing";
      }
      auto const count = recv(descriptor(), text.data(), text.size(), 0);
      return {text.data(), count > 0 ? static_cast<size_t>(count) : 0};
   }
   // All that was told until this comes, which is part of it.
   std::vector<std::string> until(std::string const& part) const {
      std::vector<std::string> all;
      do {
         all.push_back(next());
      } while (all.back().find(part) == std::string::npos && all.back() != "nothing");
      return all;
   }
};

// Is set while this lives.
class EnvironmentVariable {
 public:
   EnvironmentVariable(char const* name, std::string const& value) : name_(name) {
      setenv(name, value.c_str(), 1);
   }
   EnvironmentVariable(EnvironmentVariable const&) = delete;
   EnvironmentVariable& operator=(EnvironmentVariable const&) = delete;
   ~EnvironmentVariable() { unsetenv(name_); }

 private:
   char const* name_;
};

class Service : public WatchingAgent {
 protected:
   std::string socketPath() const { return folder_.file("notify"); }
   std::string kept() const { return folder_.file("kept/outputs.json"); }
   // Whether this comes to stand among the outputs that are kept.
   bool isKept(std::string const& text) const {
      return comesTrue(
         [&] { return readText(kept()).find(text) != std::string::npos; });
   }
};

} // namespace

TEST_F(Service, TellsWhenItIsReadyAndWhatItDoes) {
   NotifySocket const supervisor(socketPath());
   ASSERT_TRUE(supervisor.isBound());
   write(manyTransitVlans(200));
   // So that the start takes many turns.
   start({"--slice-items", "1"}, {"NOTIFY_SOCKET=" + socketPath()});
   auto const told = supervisor.until("READY=1");
   EXPECT_EQ(told.back(), "READY=1\nSTATUS=ready: 200 transit VLANs");
   EXPECT_THAT(told, testing::Contains(
                        testing::MatchesRegex("STATUS=scanning: [0-4] of 5 inputs")));
   EXPECT_THAT(told, testing::Contains(testing::MatchesRegex(
                        "STATUS=reconciling: [0-3] of 4 outputs")));
   replace(manyTransitVlans(201));
   EXPECT_EQ(supervisor.next(), "STATUS=ready: 201 transit VLANs");
   EXPECT_EQ(stop(), 0);
   EXPECT_THAT(supervisor.next(), HasSubstr("STOPPING=1"));
   EXPECT_EQ(supervisor.next(100ms), "nothing");
}

TEST_F(Service, TellsTheWatchdogAsLongAsItGoesOn) {
   NotifySocket const supervisor(socketPath());
   write(transitState({10}));
   start({}, {"NOTIFY_SOCKET=" + socketPath(), "WATCHDOG_USEC=100000"});
   supervisor.until("READY=1");
   for (int i = 0; i < 5; ++i) {
      EXPECT_EQ(supervisor.next(), "WATCHDOG=1");
   }
   // It does not run, so nothing is told.
   agent_->signal(SIGSTOP);
   while (supervisor.next(500ms) != "nothing") {
   }
   agent_->signal(SIGCONT);
   EXPECT_EQ(supervisor.next(), "WATCHDOG=1");
}

TEST_F(Service, DoesNotTellTheWatchdogThatItGoesOnWhileSlicesWaitInVain) {
   NotifySocket const supervisor(socketPath());
   EnvironmentVariable const path("NOTIFY_SOCKET", socketPath());
   EnvironmentVariable const time("WATCHDOG_USEC", "20000");
   Agent::Host host({});
   auto const document = json::parse(manyTransitVlans(20).dump()); // as one reads it
   host.state().assign(host.state().canonical(document, Agent::Checks::plausible));
   host.start();
   ASSERT_GT(host.pending(), 0u);
   Agent::EventLoop loop;
   Agent::ServiceManager const manager(loop, host);
   Agent::EventLoop::Timer end(loop, [&loop] { loop.stop(); });
   end.onceAfter(200ms);
   loop.run();
   EXPECT_EQ(supervisor.next(0ms), "nothing");
   loop.workIs([&host] { return host.slice(1) != 0; });
   end.onceAfter(200ms);
   loop.run();
   EXPECT_EQ(supervisor.next(0ms), "WATCHDOG=1");
}

TEST_F(Service, KeepsItsOutputsForTheNextStart) {
   write(transitState({10, 20}));
   start({"--state-dir", folder_.file("kept")});
   auto const outputs = nextDocument();
   EXPECT_EQ(stop(), 0);
   EXPECT_EQ(json::parse(readText(kept())), outputs);
   write(transitState({20, 30}));
   start({"--state-dir", folder_.file("kept"), "--record", folder_.file("recording")});
   nextDocument();
   EXPECT_EQ(stop(), 0);
   auto const recording = readText(folder_.file("recording"));
   EXPECT_THAT(recording,
               HasSubstr(R"({"op":"remove","path":"/transitIntfColl/intf/Vlan10")"));
   EXPECT_THAT(recording,
               HasSubstr(R"({"op":"add","path":"/transitIntfColl/intf/Vlan30")"));
   EXPECT_THAT(recording,
               testing::Not(HasSubstr(R"("path":"/transitIntfColl/intf/Vlan20")")));
}

TEST_F(Service, KeepsItsOutputsWhileItRuns) {
   write(transitState({10}));
   start({"--state-dir", folder_.file("kept")});
   nextDocument();
   replace(transitState({10, 20}));
   ASSERT_TRUE(isKept("Vlan20"));
   EXPECT_EQ(stop(SIGKILL), 128 + SIGKILL);
   auto const kept = json::parse(readText(this->kept()));
   EXPECT_TRUE(kept.at("transitIntfColl").at("intf").contains("Vlan10"));
   auto const recording = folder_.file("recording");
   start({"--state-dir", folder_.file("kept"), "--record", recording});
   EXPECT_EQ(nextDocument(),
             json::parse(runAgent(folder_, {"run", "--json", file()}).out));
   EXPECT_EQ(stop(), 0);
   // Nothing that stood there was written again.
   EXPECT_THAT(readText(recording), HasSubstr(R"("writes":0})"));
}

TEST_F(Service, KeepsWhatStoodThereWhileTheDiskIsFull) {
   write(transitState({10}));
   start({"--state-dir", folder_.file("kept")});
   nextDocument();
   ASSERT_TRUE(isKept("Vlan10"));
   auto const before = readText(kept());
   agent_->mostFileSizeIs(1);
   replace(transitState({10, 20}));
   EXPECT_TRUE(messages_->nextWith(kept() +
                                   ": the outputs could not be kept: " + kept() +
                                   ".next: it cannot be written: File too large"));
   EXPECT_EQ(readText(kept()), before);
   agent_->mostFileSizeIs(RLIM_INFINITY);
   EXPECT_TRUE(isKept("Vlan20")) << "it is tried again";
   EXPECT_EQ(stop(), 0);
}

TEST_F(Service, TellsOfOutputsInALaterState) {
   write(transitState({10}));
   start({"--state-dir", folder_.file("kept")});
   nextDocument();
   auto state = transitState({10});
   state["transitIntfColl"]["intf"]["Vlan99"]["ipAddr"] = "10.9.9.9";
   replace(state);
   EXPECT_THAT(nextSaid(),
               HasSubstr("/transitIntfColl: outputs are taken at the start"));
   EXPECT_THAT(nextSaid(), HasSubstr("0 changes of the inputs"));
   EXPECT_EQ(stop(), 0);
   EXPECT_FALSE(json::parse(readText(kept()))
                   .at("transitIntfColl")
                   .at("intf")
                   .contains("Vlan99"));
}

TEST_F(Service, SaysWhereItsOutputsCannotBeKept) {
   write(transitState({10}));
   for (auto const& [folder, error] : std::map<std::string, std::string>{
           {file(), "a folder is needed here: Not a directory"},
           {folder_.file("no/folder"), "no folder can be made here: No such file or "},
           {"/proc", "/proc/outputs.json.next: it cannot be written: "}}) {
      auto const outcome =
         runAgent(folder_, {"run", "--watch", "--state-dir", folder, file()});
      EXPECT_EQ(outcome.status, 2) << folder;
      EXPECT_THAT(outcome.err, HasSubstr(error));
   }
}

TEST_F(Service, RefusesOutputsInTheStateBesideItsOwn) {
   auto state = transitState({10});
   state["transitIntfColl"]["intf"]["Vlan10"]["ipAddr"] = "10.0.0.1";
   write(state);
   start({"--state-dir", folder_.file("kept")});
   EXPECT_THAT(nextSaid(), HasSubstr("/transitIntfColl: outputs stand here; with "
                                     "--state-dir allowed are inputs alone"));
   EXPECT_EQ(agent_->status(), 2);
}

TEST_F(Service, KeepsItsOutputsWhateverElseGoesWrong) {
   write(transitState({10}));
   start({"--state-dir", folder_.file("kept")});
   nextDocument();
   out_->closeReading();
   replace(transitState({10, 20}));
   EXPECT_EQ(agent_->status(), 2);
   EXPECT_TRUE(json::parse(readText(kept()))
                  .at("transitIntfColl")
                  .at("intf")
                  .contains("Vlan20"));
}

TEST_F(Service, RefusesItsOwnOutputsAsTheState) {
   std::filesystem::create_directory(folder_.file("kept"));
   folder_.write("kept/outputs.json", "{}");
   auto const outcome = runAgent(
      folder_, {"run", "--watch", "--state-dir", folder_.file("kept"), kept()});
   EXPECT_EQ(outcome.status, 2);
   EXPECT_THAT(outcome.err, HasSubstr("the file in which the outputs are kept stands"));
   EXPECT_EQ(readText(kept()), "{}");
}

TEST_F(Service, RefusesKeptOutputsThatAreBroken) {
   std::filesystem::create_directory(folder_.file("kept"));
   folder_.write("kept/outputs.json", "{");
   write(transitState({10}));
   start({"--state-dir", folder_.file("kept")});
   EXPECT_THAT(nextSaid(), HasSubstr(kept() + ":1: "));
   EXPECT_EQ(agent_->status(), 2);
   EXPECT_EQ(readText(kept()), "{");
}

TEST_F(Service, RefusesAFolderThatAnotherAgentHas) {
   write(transitState({10}));
   start({"--state-dir", folder_.file("kept")});
   nextDocument();
   auto const other = runAgent(
      folder_, {"run", "--watch", "--state-dir", folder_.file("kept"), file()});
   EXPECT_EQ(other.status, 2);
   EXPECT_THAT(other.err, HasSubstr("another agent keeps its outputs here"));
}
