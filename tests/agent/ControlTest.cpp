#include "support/ComesTrue.h"
#include "support/LineReader.h"
#include "support/RunningAgent.h"
#include "support/TransitState.h"
#include "support/UnixSocket.h"
#include "support/WatchingAgent.h"

#include <gmock/gmock.h>

#include <poll.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <thread>

using namespace TestSupport;
using namespace std::chrono_literals;
using nlohmann::json;
using testing::Contains;
using testing::HasSubstr;
using testing::StartsWith;

// run --watch --control: a real agent, and real clients of its socket.
namespace {

class Control : public WatchingAgent {
 protected:
   std::string path() const { return folder_.file("control"); }
   // An agent that has come to rest over these VLANs.
   void startOver(json const& state, std::vector<std::string> options = {}) {
      write(state);
      options.insert(options.end(), {"--control", path()});
      start(options);
      ASSERT_TRUE(nextDocument().is_object());
   }
   json ask(json const& question) const { return UnixClient(path()).ask(question); }
   // Whether there come to be so many transit VLANs.
   bool comesTo(int vlans) const {
      return comesTrue([&] {
         return ask({{"ask", "stats"}}).at("answer").at("transitVlans") == vlans;
      });
   }
   // Whether there is such a process that has not ended.
   static bool isRunning(pid_t process) {
      auto const status = readText("/proc/" + std::to_string(process) + "/status");
      return !status.empty() && status.find("State:\tZ") == std::string::npos;
   }
   // The next one that there is; 0 if there is none for long.
   pid_t answeringProcess() const {
      auto const end = std::chrono::steady_clock::now() + 60s;
      auto children = agent_->children();
      while (children.empty() && std::chrono::steady_clock::now() < end) {
         children = agent_->children();
      }
      return children.empty() ? 0 : children.front();
   }
   Outcome ctl(std::vector<std::string> arguments) const {
      arguments.insert(arguments.begin(), "ctl");
      arguments.insert(arguments.end(), {"--control", path()});
      return runAgent(folder_, arguments);
   }
};

} // namespace

TEST_F(Control, OnlyItsUserMayConnect) {
   startOver(transitState({10}));
   struct stat status{};
   ASSERT_EQ(stat(path().c_str(), &status), 0);
   EXPECT_TRUE(S_ISSOCK(status.st_mode));
   EXPECT_EQ(status.st_mode & 0777, 0600u);
   EXPECT_EQ(stop(), 0);
   EXPECT_FALSE(std::filesystem::exists(path()));
}

TEST_F(Control, ShowsTheStateAsRunDoes) {
   startOver(transitState({10, 20}));
   EXPECT_EQ(ctl({"show"}).out, runAgent(folder_, {"run", file()}).out);
   auto const state = json::parse(ctl({"show", "--json"}).out);
   auto const outputs = json::parse(runAgent(folder_, {"run", "--json", file()}).out);
   EXPECT_EQ(state.at("transitIntfColl"), outputs.at("transitIntfColl"));
   EXPECT_EQ(state.at("membershipJoinStatus"), outputs.at("membershipJoinStatus"));
   EXPECT_TRUE(state.at("pegVlanStatus").at("pegVlan").contains("20"));
}

TEST_F(Control, ExplainsAsExplainDoes) {
   auto state = transitState({10, 20});
   state["pegVlanStatus"]["pegVlan"].erase("20");
   startOver(state);
   auto const answer = ask({{"ask", "explain"}, {"vlan", 20}, {"id", "mine"}});
   EXPECT_EQ(answer.at("id"), "mine");
   EXPECT_EQ(answer.at("status"), 0);
   EXPECT_THAT(answer.at("answer").dump(), HasSubstr("PegVlan"));
   auto const text = ctl({"explain", "--vlan", "20"});
   EXPECT_EQ(text.status, 0);
   EXPECT_THAT(text.out, HasSubstr("VLAN 20"));
}

TEST_F(Control, ExplainsWhichChangeWroteAnOutput) {
   startOver(transitState({10}));
   replace(transitState({10, 20}));
   while (nextDocument().value("path", "") != "/transitIntfColl/intf/Vlan20") {
   }
   auto const* const change = "written by change 3: add /vtiStatusDir/";
   EXPECT_THAT(ctl({"explain", "--vlan", "20"}).out, HasSubstr(change));
   auto const answer = json::parse(ctl({"explain", "--vlan", "20", "--json"}).out);
   EXPECT_THAT(answer.dump(), HasSubstr("vrfToSBDVlan/vrf-20"));
   EXPECT_THAT(ctl({"explain", "--vlan", "10"}).out, testing::Not(HasSubstr(change)));
}

TEST_F(Control, PlansWhatAStartWouldDo) {
   startOver(transitState({10, 20}));
   auto const plan = ctl({"plan"});
   EXPECT_EQ(plan.status, 0) << plan.err;
   EXPECT_THAT(plan.out, HasSubstr("Nothing would change: 4 to keep."));
   EXPECT_EQ(ask({{"ask", "plan"}}).at("answer"), json::array());
}

TEST_F(Control, CountsWhatHappened) {
   startOver(transitState({10, 20}));
   auto const before = ask({{"ask", "stats"}}).at("answer");
   EXPECT_EQ(before.at("phase").at("phase"), "ready");
   EXPECT_EQ(before.at("transitVlans"), 2);
   EXPECT_EQ(before.at("outputs").at("transit_intf").at("add"), 2);
   EXPECT_EQ(before.at("inputs").at("peg_vlan").at("add"), 0);
   replace(transitState({10, 20, 30}));
   while (nextDocument().value("path", "") != "/transitIntfColl/intf/Vlan30") {
   }
   auto const after = ask({{"ask", "stats"}}).at("answer");
   EXPECT_EQ(after.at("transitVlans"), 3);
   EXPECT_EQ(after.at("inputs").at("transit_vrf").at("add"), 1);
   EXPECT_EQ(after.at("inputs").at("sbd_vlan").at("add"), 1);
   EXPECT_EQ(after.at("inputs").at("peg_vlan").at("add"), 1);
   EXPECT_EQ(after.at("outputs").at("transit_intf").at("add"), 3);
   EXPECT_EQ(after.at("streams").at("pegVlanStream").get<int>(),
             before.at("streams").at("pegVlanStream").get<int>() + 1);
   EXPECT_GT(after.at("sliceSeconds").at("count"), 0);
   EXPECT_GT(after.at("residentBytes"), 1000000);
   EXPECT_THAT(ctl({"stats"}).out, HasSubstr("ready, 3 transit VLANs"));
}

TEST_F(Control, ShowsWhatWasTraced) {
   startOver(transitState({10}));
   auto const trace = ask({{"ask", "trace"}}).at("answer");
   EXPECT_EQ(trace.at("lost"), 0);
   ASSERT_FALSE(trace.at("records").empty());
   EXPECT_EQ(trace.at("written"), trace.at("records").size());
   EXPECT_EQ(trace.at("records").back().at("text"),
             "transit vlan: 10 for VRF: vrf-10 enabled: true");
}

TEST_F(Control, GoesOnWithTheTraceForWhoFollows) {
   startOver(transitState({10}));
   UnixClient client(path());
   EXPECT_EQ(client.ask({{"ask", "trace"}, {"follow", true}}).at("status"), 0);
   replace(transitState({10, 4000}));
   std::string text;
   while (text != "transit vlan: 4000 for VRF: vrf-4000 enabled: true") {
      auto const record = client.next();
      ASSERT_TRUE(record.contains("trace")) << record;
      text = record.at("trace").at("text");
      EXPECT_THAT(text, HasSubstr("4000"));
   }
}

TEST_F(Control, ShowsTheTraceToWhoFollowsAsItGoesOn) {
   startOver(transitState({10}));
   for (auto const* form : {"", "--json"}) {
      SCOPED_TRACE(form);
      std::vector<std::string> arguments{"ctl", "trace", "--follow", "--control",
                                         path()};
      if (*form != '\0') {
         arguments.emplace_back(form);
      }
      Pipe out;
      RunningAgent follower(arguments, {-1, out.writing(), -1});
      out.closeWriting();
      LineReader lines(out.reading());
      // Until one comes of a change that was made after he began to follow.
      std::optional<std::string> line;
      for (int vlan = 11; vlan < 311 && !line; ++vlan) {
         replace(transitState({10, vlan}));
         line = lines.next(200ms);
      }
      ASSERT_TRUE(line);
      EXPECT_THAT(*line, HasSubstr(*form == '\0' ? "Z  " : R"({"trace":{"number":)"));
      follower.signal(SIGINT);
      EXPECT_EQ(follower.status(), 128 + SIGINT);
   }
}

#ifndef KEEPS_FREED_MEMORY // which takes longer than he may take nothing
TEST_F(Control, TellsWhoFollowsTooSlowlyWhatHeMissed) {
   startOver(transitState({}));
   UnixClient slow(path());
   EXPECT_EQ(slow.ask({{"ask", "trace"}, {"follow", true}}).at("status"), 0);
   // Much more is traced than the socket holds and than the ring does.
   for (int const vlans : {4094, 0, 4093, 0}) {
      replace(manyTransitVlans(vlans));
      ASSERT_TRUE(comesTo(vlans)) << "nobody waited for him";
   }
   auto line = slow.next();
   while (line.contains("trace")) {
      line = slow.next();
   }
   EXPECT_GT(line.value("missed", 0), 0) << line;
   EXPECT_TRUE(slow.next().contains("trace"));
}
#endif

TEST_F(Control, VerifiesTheOutputs) {
   startOver(transitState({10, 20}));
   auto const answer = ask({{"ask", "verify"}});
   EXPECT_EQ(answer.at("status"), 0);
   EXPECT_EQ(answer.at("answer"),
             json::parse(R"({"outputs":4,"errors":0,"differences":[]})"));
   EXPECT_EQ(ctl({"verify"}).out,
             "4 outputs, 0 errors, 0 path-dependent differences\n");
}

TEST_F(Control, SetsTheLevelsOfTheTextTrace) {
   startOver(transitState({10}));
   EXPECT_EQ(ctl({"log-level"}).out, "none\n");
   EXPECT_EQ(ask({{"ask", "log-level"}, {"levels", "7"}}).at("answer"),
             json::parse(R"({"levels":"7","before":"none"})"));
   replace(transitState({10, 20}));
   EXPECT_THAT(messages_->nextWith("pegVlanStream").value_or(""),
               HasSubstr("vlanId=20"));
   EXPECT_EQ(ctl({"log-level", "none"}).out, "none\n");
   auto const refused = ctl({"log-level", "17"});
   EXPECT_EQ(refused.status, 2);
   EXPECT_THAT(refused.err, HasSubstr("17"));
}

TEST_F(Control, RefusesWhatItDoesNotKnow) {
   startOver(transitState({10}));
   UnixClient client(path());
   for (auto const& [question, error] : std::map<std::string, std::string>{
           {"no JSON", "question:1: "},
           {"[]", "an object"},
           {R"({})", "show, explain, plan, stats, trace, verify or log-level"},
           {R"({"ask":"explian"})", R"(/ask: "explian" stands here; allowed is show)"},
           {R"({"ask":"stats","vlan":3})", "/vlan: 3 stands here"},
           {R"({"ask":"explain","vlan":4095})", "a number from 1 to 4094"},
           {R"({"ask":"explain","vrf":[1]})", "the name of a VRF"},
           {R"({"ask":"show","as":"xml"})", R"("json" or "text")"},
           {R"({"ask":"trace","follow":1})", "true or false"}}) {
      client.send(question + '\n');
      auto const answer = client.next();
      EXPECT_EQ(answer.value("status", 0), 2) << question;
      EXPECT_THAT(answer.value("error", ""), HasSubstr(error)) << question;
   }
   EXPECT_EQ(client.ask({{"ask", "stats"}}).at("status"), 0);
}

TEST_F(Control, AnswersQuestionsInTheirOrder) {
   startOver(transitState({10}));
   UnixClient client(path());
   std::string questions;
   for (int id = 0; id < 20; ++id) {
      questions +=
         json{{"ask", id % 2 == 0 ? "show" : "stats"}, {"id", id}}.dump() + '\n';
   }
   client.send(questions);
   shutdown(client.descriptor(), SHUT_WR);
   for (int id = 0; id < 20; ++id) {
      EXPECT_EQ(client.next().value("id", -1), id);
   }
}

TEST_F(Control, CutsOffWhoSendsALineWithoutAnEnd) {
   startOver(transitState({10}));
   UnixClient client(path());
   std::string const much(100000, 'x');
   for (ssize_t sent = 0; sent >= 0 && sent < 100 * 100000;) {
      auto const count = client.send(much);
      sent = count < 0 ? -1 : sent + count;
      ASSERT_LT(sent, 100 * 100000);
   }
   EXPECT_EQ(ask({{"ask", "stats"}}).at("status"), 0);
}

TEST_F(Control, IsNotDelayedByWhoTakesNoAnswer) {
   startOver(manyTransitVlans(4094));
   UnixClient client(path());
   // More than the socket holds, of one who reads nothing.
   for (int i = 0; i < 8; ++i) {
      client.send("{\"ask\":\"show\"}\n");
   }
   for (int i = 0; i < 5; ++i) {
      EXPECT_EQ(ask({{"ask", "stats"}}).at("status"), 0);
   }
   auto state = manyTransitVlans(4094);
   state["pegVlanStatus"]["pegVlan"].erase("7");
   replace(state);
   EXPECT_EQ(nextDocument().value("op", ""), "remove");
   pollfd waited{client.descriptor(), 0, 0};
   EXPECT_EQ(poll(&waited, 1, 0), 0) << "it was cut off, so the others may have waited";
}

TEST_F(Control, CutsOffWhoTakesTooLong) {
   startOver(manyTransitVlans(4094));
   UnixClient slowToAsk(path());
   UnixClient slowToTake(path());
   slowToAsk.send("{\"ask\":");
   slowToTake.send("{\"ask\":\"show\"}\n"); // more than the socket holds
   EXPECT_THAT(slowToAsk.next().value("error", ""), HasSubstr("it took too long"));
   pollfd ended{slowToTake.descriptor(), 0, 0};
   EXPECT_EQ(poll(&ended, 1, 60'000), 1);
   EXPECT_NE(ended.revents & POLLHUP, 0);
   EXPECT_EQ(ask({{"ask", "stats"}}).at("status"), 0);
}

TEST_F(Control, HasRoomForWhoComesWhereOthersAreIdle) {
   startOver(transitState({10}));
   std::vector<std::unique_ptr<UnixClient>> clients;
   for (int i = 0; i < 40; ++i) {
      clients.push_back(std::make_unique<UnixClient>(path()));
      EXPECT_EQ(clients.back()->ask({{"ask", "stats"}}).value("status", -1), 0) << i;
   }
   EXPECT_THAT(clients.front()->next().value("error", ""), HasSubstr("another client"));
}

TEST_F(Control, TakesThePlaceOfASocketThatNobodyListensOn) {
   startOver(transitState({10}));
   EXPECT_EQ(stop(SIGKILL), 128 + SIGKILL);
   EXPECT_TRUE(std::filesystem::exists(path()));
   startOver(transitState({10}));
   EXPECT_EQ(ask({{"ask", "stats"}}).at("status"), 0);
}

TEST_F(Control, LeavesWhatIsThereToItsOwner) {
   startOver(transitState({10}));
   auto const second =
      runAgent(folder_, {"run", "--watch", "--control", path(), file()});
   EXPECT_EQ(second.status, 2);
   EXPECT_THAT(second.err, HasSubstr(path() + ": another agent listens here"));
   auto const file = folder_.write("important", "text");
   auto const third =
      runAgent(folder_, {"run", "--watch", "--control", file, this->file()});
   EXPECT_EQ(third.status, 2);
   EXPECT_THAT(third.err, HasSubstr("something that is no socket stands here"));
   EXPECT_EQ(readText(file), "text");
}

TEST_F(Control, LeavesSocketsThatAreNotItsOwn) {
   BoundSocket const datagrams(path(), SOCK_DGRAM);
   ASSERT_TRUE(datagrams.isBound());
   write(transitState({10}));
   auto const refused =
      runAgent(folder_, {"run", "--watch", "--control", path(), file()});
   EXPECT_EQ(refused.status, 2);
   EXPECT_THAT(refused.err, HasSubstr("a socket of something else stands here"));
   EXPECT_TRUE(std::filesystem::exists(path()));

   std::filesystem::remove(path());
   startOver(transitState({10}));
   std::filesystem::remove(path());
   BoundSocket const successor(path(), SOCK_STREAM);
   EXPECT_EQ(stop(), 0);
   EXPECT_TRUE(std::filesystem::exists(path()));
}

TEST_F(Control, TheMachineGoesOnWhileNobodyReadsTheResults) {
   startOver(manyTransitVlans(3));
   for (int const vlans : {1500, 3, 1499, 2}) {
      replace(manyTransitVlans(vlans));
      ASSERT_TRUE(comesTo(vlans));
   }
}

TEST_F(Control, AReaderWhoIsSlowGetsEveryResultAtTheEnd) {
   startOver(transitState({}));
   replace(manyTransitVlans(4094));
   ASSERT_TRUE(comesTo(4094));
   agent_->signal(SIGTERM);
   // Slower than a second in all, with never a second in which nothing is taken.
   std::string text;
   std::array<char, 1 << 16> part;
   for (ssize_t count = 1; count > 0;) {
      std::this_thread::sleep_for(50ms);
      count = read(out_->reading(), part.data(), part.size());
      text.append(part.data(), static_cast<size_t>(std::max<ssize_t>(count, 0)));
   }
   EXPECT_EQ(agent_->status(), 0);
   EXPECT_EQ(std::ranges::count(text, '\n'), 5 * 4094);
   EXPECT_TRUE(text.ends_with("}\n"));
}

#ifndef KEEPS_FREED_MEMORY
TEST_F(Control, AProcessThatAnswersSaysWhatKeepsItFromIt) {
   startOver(manyTransitVlans(4094));
   agent_->noMoreMemory();
   EXPECT_THAT(ask({{"ask", "show"}}).value("error", ""), HasSubstr("was killed"));
   EXPECT_TRUE(messages_->nextWith("out of memory"));
}
#endif

TEST_F(Control, SaysWhereNoAgentIs) {
   auto const outcome = ctl({"show"});
   EXPECT_EQ(outcome.status, 2);
   EXPECT_THAT(outcome.err, StartsWith("mcastvpn-agent: " + path() + ": no agent"));
   EXPECT_EQ(outcome.out, "");
}

TEST_F(Control, EndsInTheMiddleOfAnswers) {
   startOver(manyTransitVlans(4094));
   UnixClient client(path());
   client.send("{\"ask\":\"explain\"}\n");
   auto const answering = answeringProcess();
   ASSERT_GT(answering, 0);
   kill(answering, SIGSTOP); // it does not end by itself
   EXPECT_EQ(stop(), 0);
   EXPECT_TRUE(comesTrue([&] { return !isRunning(answering); }));
}

TEST_F(Control, ProcessesThatAnswerHaveNothingOfTheAgentsOpen) {
   startOver(manyTransitVlans(4094));
   UnixClient client(path());
   std::set<std::string> const standard{"0", "1", "2"};
   std::set<std::string> open;
   client.send("{\"ask\":\"explain\"}\n");
   auto const answering = answeringProcess();
   ASSERT_GT(answering, 0);
   kill(answering, SIGSTOP);
   // It closes what it has when it begins, and may have been stopped before.
   for (int i = 0; i < 1000 && open != standard && isRunning(answering); ++i) {
      kill(answering, SIGCONT);
      std::this_thread::sleep_for(100us);
      kill(answering, SIGSTOP);
      open.clear();
      for (auto const& each : std::filesystem::directory_iterator(
              "/proc/" + std::to_string(answering) + "/fd")) {
         open.insert(each.path().filename());
      }
   }
   kill(answering, SIGCONT);
   EXPECT_EQ(open, standard);
}
