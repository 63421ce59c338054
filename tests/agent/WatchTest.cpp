#include "agent/Descriptor.h"
#include "support/ComesTrue.h"
#include "support/Recordings.h"
#include "support/SlowDisk.h"
#include "support/TransitState.h"
#include "support/WatchingAgent.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

using namespace TestSupport;
using namespace std::chrono_literals;
using Agent::Descriptor;
using nlohmann::json;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::IsEmpty;
namespace fs = std::filesystem;

// run --watch: a real agent follows a real file.
namespace {

// A terminal, as its owner sees it.
class Terminal {
 public:
   Terminal()
      : descriptor_(Descriptor::made(
           posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK), "posix_openpt")) {
      EXPECT_EQ(grantpt(descriptor_.number()) + unlockpt(descriptor_.number()), 0);
   }
   std::string path() const { return ptsname(descriptor_.number()); }

 private:
   Descriptor descriptor_;
};

class Watch : public WatchingAgent {
 protected:
   static constexpr int kVlans = 1000;

   void startOn(SlowDisk const& disk) {
      write(transitState({}));
      start({"--record", disk.file()});
      nextDocument();
   }
   // Outputs do, and each of their changes is printed.
   void comeAndGo(int times) {
      for (int i = 0; i < times; ++i) {
         replace(i % 2 == 0 ? manyTransitVlans(kVlans) : transitState({}));
         for (int line = 0; line < 5 * kVlans; ++line) {
            ASSERT_TRUE(results_->next()) << line << " of " << i;
         }
      }
   }
   std::string const changesSaid(int changes) const {
      return "mcastvpn-agent: " + file() + ": " + std::to_string(changes) +
             (changes == 1 ? " change" : " changes") + " of the inputs";
   }
   // Takes operations until the outputs are what `run` makes of the file, and not one
   // more: the last one must be the one that gets there.
   void follow(json& outputs, std::vector<json>& operations) {
      auto const wanted = json::parse(runAgent(folder_, {"run", "--json", file()}).out);
      while (outputs != wanted) {
         auto const operation = nextDocument();
         ASSERT_TRUE(operation.is_object()) << outputs.dump(1) << wanted.dump(1);
         outputs.patch_inplace(json::array({operation}));
         operations.push_back(operation);
      }
   }
   // The process that writes the agent's recording, also what it did last.
   pid_t recorder() const { return agent_->children().at(0); }
   // The recording of an agent that could not end it has that operation, which was
   // printed, as its last write.
   void expectToEndWith(json operation, std::string const& recording) {
      auto const played = runAgent(folder_, {"replay", recording});
      EXPECT_EQ(played.status, 0);
      EXPECT_THAT(played.err, HasSubstr("the recording has no end"));
      operation.erase("time");
      operation.erase("cause");
      auto const lines = linesOfJson(readText(recording));
      EXPECT_EQ(lineWith({lines.rbegin(), lines.rend()}, "wrote").at("wrote"),
                operation);
   }
   void expectQuiet() { EXPECT_EQ(results_->next(200ms), std::nullopt); }
};

} // namespace

TEST_F(Watch, PrintsTheOutputsAndThenEachChangeOfThemOnce) {
   write(transitState({10, 20}));
   start();
   auto outputs = nextDocument();
   EXPECT_EQ(outputs, json::parse(runAgent(folder_, {"run", "--json", file()}).out));
   std::vector<json> operations;
   replace(transitState({10, 30}));
   follow(outputs, operations);
   replace(transitState({10, 30}, "10.0.0.9"));
   follow(outputs, operations);
   EXPECT_EQ(operations.back().at("path"), "/transitIntfColl/intf/Vlan30/ipAddr");
   expectQuiet();
   EXPECT_EQ(stop(), 0);
   EXPECT_EQ(results_->next(), std::nullopt);
}

TEST_F(Watch, PublishesOnlyWhatIsDifferent) {
   write(transitState({10, 20}));
   start();
   nextDocument();
   replace(transitState({10, 20, 30}));
   EXPECT_EQ(nextSaid(), changesSaid(3));
   replace(transitState({10, 20, 30}, "10.0.0.9"));
   EXPECT_EQ(nextSaid(), changesSaid(1));
   std::vector<json> operations;
   auto outputs = json::parse(
      runAgent(folder_, {"run", "--json",
                         folder_.write("b.json", transitState({10, 20}).dump())})
         .out);
   follow(outputs, operations);
   replace(transitState({10, 20, 30}, "10.0.0.9"));
   EXPECT_EQ(nextSaid(), changesSaid(0));
   expectQuiet();
   EXPECT_EQ(operations.front().at("cause").at("number"), 3)
      << "the third change is what completes VLAN 30";
   EXPECT_EQ(operations.back().at("cause"),
             json({{"number", 4},
                   {"op", "replace"},
                   {"path", "/vtiStatusDir/vtiStatus/Vxlan1/localVtepAddr"}}));
}

TEST_F(Watch, ADocumentThatIsBrokenIsRefusedWholeAndTheLastGoodOneStays) {
   write(transitState({10}));
   start();
   auto outputs = nextDocument();
   auto broken = transitState({10, 20});
   broken["vtiStatusDir"]["vtiStatus"]["Vxlan1"]["vrfToSBDVlan"]["vrf-30"] = 5000;
   replace(broken);
   EXPECT_THAT(nextSaid(),
               AllOf(HasSubstr(file() + ":"), HasSubstr("5000"), HasSubstr("1 to 4094"),
                     HasSubstr("; nothing of it is published")));
   replace(std::string("{ \"mcastEvpnConfig\": "));
   EXPECT_THAT(nextSaid(), HasSubstr("; nothing of it is published"));
   expectQuiet();
   replace(transitState({10, 20}));
   EXPECT_EQ(nextSaid(), changesSaid(3)) << "from the last good one on";
   std::vector<json> operations;
   follow(outputs, operations);
   EXPECT_EQ(stop(), 0);
}

TEST_F(Watch, AFileThatIsWrittenInPiecesIsReadWhenItIsWhole) {
   write(transitState({10}));
   start();
   auto outputs = nextDocument();
   auto const text = transitState({10, 20}).dump(1);
   {
      std::ofstream out(file(), std::ios::trunc);
      for (size_t at = 0; at < text.size(); at += text.size() / 4) {
         out << text.substr(at, text.size() / 4) << std::flush;
         std::this_thread::sleep_for(50ms);
      }
   }
   EXPECT_EQ(nextSaid(), changesSaid(3));
   std::vector<json> operations;
   follow(outputs, operations);
}

TEST_F(Watch, AFileThatGoesIsToldAndFollowedWhenItComesBack) {
   write(transitState({10}));
   start();
   auto outputs = nextDocument();
   fs::rename(file(), file() + "~"); // as editors keep what was there before
   EXPECT_THAT(nextSaid(), HasSubstr("cannot be read: No such file or directory"));
   write(transitState({20}));
   EXPECT_EQ(nextSaid(), changesSaid(6));
   std::vector<json> operations;
   follow(outputs, operations);
}

TEST_F(Watch, AFolderThatGoesIsFollowedWhenItComesBack) {
   fs::create_directory(folder_.file("config"));
   auto const text = [](std::set<int> const& vlans) {
      return transitState(vlans).dump();
   };
   auto const inFolder = folder_.write("config/state.json", text({10}));
   fs::create_symlink(inFolder, file());
   start();
   nextDocument();
   fs::rename(folder_.file("config"), folder_.file("away"));
   EXPECT_THAT(nextSaid(), HasSubstr("cannot be read"));
   fs::create_directory(folder_.file("config"));
   folder_.write("config/state.json", text({10, 20}));
   EXPECT_EQ(nextSaid(), changesSaid(3));
}

TEST_F(Watch, ALinkThatLeadsElsewhereIsAChange) {
   folder_.write("a.json", transitState({10}).dump());
   folder_.write("b.json", transitState({10, 20}).dump());
   fs::create_symlink("a.json", file());
   start();
   auto outputs = nextDocument();
   fs::create_symlink("b.json", folder_.file("next"));
   fs::rename(folder_.file("next"), file());
   EXPECT_EQ(nextSaid(), changesSaid(3));
   std::vector<json> operations;
   follow(outputs, operations);
   folder_.write("b.json", transitState({10}).dump());
   EXPECT_EQ(nextSaid(), changesSaid(3));
   follow(outputs, operations);
}

TEST_F(Watch, OutputsInTheFileAreThoseOfTheStart) {
   auto state = transitState({10});
   state["transitIntfColl"]["intf"]["Vlan99"]["ipAddr"] = "10.9.9.9";
   write(state);
   start();
   auto const outputs = nextDocument();
   EXPECT_FALSE(outputs.at("transitIntfColl").at("intf").contains("Vlan99"));
   replace(transitState({10}));
   EXPECT_THAT(nextSaid(),
               HasSubstr("/transitIntfColl: outputs are taken at the start"));
   EXPECT_EQ(nextSaid(), changesSaid(0));
   expectQuiet();
}

TEST_F(Watch, TellsPeopleWhatChangedAndWhy) {
   write(transitState({10}));
   start({"--verify"}, {}, Form::table);
   EXPECT_TRUE(results_->nextWith("1 of 1 SBD VLANs have a transit interface"));
   replace(transitState({10}, "10.0.0.9"));
   EXPECT_THAT(results_->next().value_or(""),
               testing::MatchesRegex(
                  "[0-9:]+\\.[0-9]+  replace /transitIntfColl/intf/Vlan10/ipAddr "
                  "\"10\\.0\\.0\\.9\"  <- 1: replace "
                  "/vtiStatusDir/vtiStatus/Vxlan1/localVtepAddr"));
   EXPECT_EQ(nextSaid(), changesSaid(1));
   EXPECT_EQ(stop(SIGINT), 0);
   EXPECT_THAT(nextSaid(), HasSubstr("2 comparisons"));
   EXPECT_EQ(nextSaid(), "mcastvpn-agent: 1 new document, 1 change of inputs, 1 of "
                         "outputs; 0 refused");
}

TEST_F(Watch, BothMachinesFollowTheFileSideBySide) {
   write(transitState({10}));
   start({"--sm", "both"});
   nextDocument();
   replace(transitState({10, 20}));
   std::set<std::string> machines;
   for (int i = 0; i < 10; ++i) { // five levels each
      machines.insert(nextDocument().value("sm", "none"));
   }
   EXPECT_THAT(machines, testing::UnorderedElementsAre("reactor", "dataflow"));
   expectQuiet();
   EXPECT_EQ(stop(), 0);
}

TEST_F(Watch, ASignalInTheMiddleOfALongStartEndsIt) {
   write(manyTransitVlans(4000));
   for (auto const* slice : {"1", "1000000"}) {
      RunningAgent agent({"run", "--watch", "--slice-items", slice, file()},
                         {-1, -1, -1});
      std::this_thread::sleep_for(50ms);
      agent.signal(SIGTERM);
      EXPECT_THAT(agent.status(), testing::AnyOf(0, 128 + SIGTERM)) << slice;
   }
}

TEST_F(Watch, AReaderWhoDoesNotReadHoldsUpNeitherTheFileNorASignal) {
   write(manyTransitVlans(4000)); // whose table is more than a pipe takes
   start({}, {}, Form::table);
   EXPECT_TRUE(results_->next()) << "the first line, and no more";
   replace(std::string("[]"));
   EXPECT_TRUE(messages_->nextWith("; nothing of it is published"));
   EXPECT_EQ(stop(), 2);
   EXPECT_TRUE(messages_->nextWith("nobody reads the results; the last of them were "));
}

TEST_F(Watch, AReaderWhoReadsLateGetsEveryLine) {
   write(manyTransitVlans(4000));
   start();
   std::this_thread::sleep_for(300ms);
   auto const outputs = nextDocument();
   EXPECT_EQ(outputs.at("transitIntfColl").at("intf").size(), 4000u);
   auto state = transitState({});
   replace(state); // 5 levels of each VLAN, and much more than a pipe takes
   EXPECT_EQ(nextSaid(), changesSaid(3 * 4000));
   std::this_thread::sleep_for(300ms);
   for (int i = 0; i < 5 * 4000; ++i) {
      ASSERT_EQ(nextDocument().value("op", ""), "remove") << i;
   }
   expectQuiet();
   EXPECT_EQ(stop(), 0);
}

TEST_F(Watch, AReaderOfMessagesWhoDoesNotReadHoldsUpNothing) {
   // The journal of a system is a socket.
   for (auto const streams : {Pipe::Kind::pipe, Pipe::Kind::sockets}) {
      SCOPED_TRACE(streams == Pipe::Kind::pipe ? "pipes" : "sockets");
      streams_ = streams;
      write(transitState({}));
      start({"--trace", "all"});
      auto outputs = nextDocument();
      // Of each of these much more is traced than a pipe takes, and than is kept.
      for (auto const& state :
           {manyTransitVlans(1000), transitState({10}), manyTransitVlans(999)}) {
         replace(state);
         std::vector<json> operations;
         follow(outputs, operations);
      }
      EXPECT_TRUE(messages_->nextWith("standard error: nobody read it; "));
      agent_->signal(SIGTERM);
      EXPECT_TRUE(messages_->nextWith("0 refused"));
      EXPECT_EQ(agent_->status(), 0);
   }
}

TEST_F(Watch, WhatWasKeptForAReaderComesInItsOrder) {
   write(transitState({}));
   start({"--trace", "7"});
   auto outputs = nextDocument();
   auto const state = manyTransitVlans(1000);
   replace(state); // more is traced of it than a pipe takes, and less than is kept
   std::vector<json> operations;
   follow(outputs, operations);
   agent_->signal(SIGTERM);
   // In the order of the document's keys, which are texts.
   for (auto const& [vlan, value] : state.at("pegVlanStatus").at("pegVlan").items()) {
      auto const line = messages_->nextWith("eventToPegVlanStream");
      ASSERT_THAT(line.value_or("nothing"), testing::EndsWith("vlanId=" + vlan));
   }
   EXPECT_TRUE(messages_->nextWith("0 refused"));
}

TEST_F(Watch, AHangUpHasTheFileReadAgain) {
   write(transitState({10}));
   start();
   nextDocument();
   agent_->signal(SIGHUP);
   EXPECT_EQ(nextSaid(), changesSaid(0));
   EXPECT_EQ(stop(), 0);
}

TEST_F(Watch, ATerminalThatGoesEndsIt) {
   std::optional<Terminal> terminal(std::in_place);
   terminal_ = terminal->path();
   write(transitState({10}));
   start();
   nextDocument();
   terminal.reset();
   EXPECT_EQ(agent_->status(), 0);
   EXPECT_TRUE(messages_->nextWith("0 refused"));
}

TEST_F(Watch, ATerminalThatGoesDoesNotEndOneThatIgnoresIt) {
   std::optional<Terminal> terminal(std::in_place);
   terminal_ = terminal->path();
   write(transitState({10}));
   auto const before = std::signal(SIGHUP, SIG_IGN);
   start();
   std::signal(SIGHUP, before);
   nextDocument();
   terminal.reset();
   replace(transitState({10, 20}));
   EXPECT_EQ(nextDocument().value("op", ""), "add");
   EXPECT_EQ(stop(), 0);
}

TEST_F(Watch, ATerminalThatNobodyReadsHoldsUpNothing) {
   // Nobody may open the terminal of another user, but whoever has it open may write.
   constexpr uid_t kOther = 65534;
   fs::permissions(folder_.file("."), fs::perms(0755));
   for (uid_t const user : {uid_t{0}, kOther}) {
      if (user != 0 && geteuid() != 0) {
         break;
      }
      SCOPED_TRACE(user);
      Terminal const terminal;
      Descriptor const other(
         open(terminal.path().c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC));
      Pipe results;
      write(transitState({}));
      RunningAgent agent({"run", "--watch", "--json", "--trace", "all", file()},
                         {-1, results.writing(), other.number(), {}, user});
      results.closeWriting();
      LineReader lines(results.reading());
      ASSERT_TRUE(lines.next());
      replace(manyTransitVlans(200));
      for (int i = 0; i < 5 * 200; ++i) {
         ASSERT_TRUE(lines.next()) << i;
      }
      agent.signal(SIGTERM);
      EXPECT_EQ(agent.status(), 0);
   }
}

TEST_F(Watch, WhatWasKeptIsWrittenWhereTheProcessAborts) {
   write(transitState({}));
   auto const recording = folder_.file("recording");
   start({"--trace", "7", "--record", recording});
   auto outputs = nextDocument();
   replace(manyTransitVlans(1000));
   std::vector<json> operations;
   follow(outputs, operations);
   auto const writer = recorder();
   agent_->signal(SIGABRT); // as a supervisor does whom nothing was told
   EXPECT_TRUE(messages_->nextWith("pegVlan[] ): vlanId=999")) << "the last one";
   EXPECT_EQ(agent_->status(), 128 + SIGABRT);
   expectToEnd(writer);
   expectToEndWith(operations.back(), recording);
}

TEST_F(Watch, ARecordingHasAllThatHappenedHoweverTheProcessEnds) {
   for (int const signal : {SIGKILL, SIGSEGV}) {
      write(transitState({}));
      auto const recording = folder_.file("recording" + std::to_string(signal));
      start({"--record", recording});
      auto outputs = nextDocument();
      replace(manyTransitVlans(200));
      std::vector<json> operations;
      follow(outputs, operations);
      auto const writer = recorder();
      EXPECT_NE(stop(signal), 0);
      expectToEnd(writer);
      expectToEndWith(operations.back(), recording);
   }
}

TEST_F(Watch, ARecordingWhoseProcessIsKilledIsToldOnceAndEndsNothing) {
   write(transitState({10}));
   auto const recording = folder_.file("recording");
   start({"--record", recording});
   nextDocument();
   kill(recorder(), SIGKILL);
   EXPECT_THAT(nextSaid(),
               HasSubstr(recording +
                         ": cannot be written: the process that writes it has ended"));
   replace(transitState({10, 20}));
   EXPECT_EQ(nextSaid(), changesSaid(3));
   EXPECT_EQ(stop(), 0);
}

TEST_F(Watch, APipeInThePlaceOfTheFileIsRefused) {
   write(transitState({10}));
   start();
   nextDocument();
   ASSERT_EQ(mkfifo(folder_.file("pipe").c_str(), 0600), 0);
   fs::rename(folder_.file("pipe"), file());
   EXPECT_THAT(nextSaid(), HasSubstr("a pipe or a device stands here"));
   replace(transitState({10, 20}));
   EXPECT_EQ(nextSaid(), changesSaid(3));
   EXPECT_EQ(stop(), 0);
   auto const outcome = runAgent(folder_, {"run", "--watch", "/dev/null"});
   EXPECT_EQ(outcome.status, 2);
   EXPECT_THAT(outcome.err, HasSubstr("/dev/null: a pipe or a device stands here"));
}

TEST_F(Watch, WhatAnAgentHasRecordedIsKeptWhenTheNextOneBegins) {
   write(transitState({10}));
   auto const recording = folder_.file("recording");
   std::vector<std::string> recorded;
   for (int number = 1; number <= 2; ++number) {
      start({"--record", recording});
      if (number > 1) {
         EXPECT_EQ(nextSaid(), "mcastvpn-agent: " + recording +
                                  ": what stood here is kept as " + recording + ".1");
      }
      nextDocument();
      // It is written a moment later, by another process.
      EXPECT_TRUE(comesTrue(
         [&] { return readText(recording).find("Vlan10") != std::string::npos; }));
      auto const writer = recorder();
      EXPECT_EQ(stop(SIGKILL), 128 + SIGKILL);
      expectToEnd(writer);
      recorded.push_back(readText(recording));
   }
   EXPECT_NE(recorded[0], recorded[1]);
   EXPECT_EQ(readText(recording + ".1"), recorded[0]);
   // A start that is refused leaves it where it is.
   auto const refused = runAgent(
      folder_, {"run", "--watch", "--record", recording, "--control", file(), file()});
   EXPECT_EQ(refused.status, 2);
   EXPECT_EQ(readText(recording), recorded[1]);
   start({"--record", recording});
   EXPECT_THAT(nextSaid(), HasSubstr("is kept as " + recording + ".1"));
   nextDocument();
   EXPECT_EQ(stop(), 0);
   EXPECT_EQ(readText(recording + ".1"), recorded[1]);
   EXPECT_EQ(readText(recording + ".2"), recorded[0]);
}

TEST_F(Watch, ARecordingInWhichNothingHappenedIsNotKept) {
   write(transitState({10}));
   auto const recording = folder_.file("recording");
   start({"--record", recording});
   nextDocument();
   EXPECT_EQ(stop(), 0);
   auto const text = readText(recording);
   folder_.write("recording", text.substr(0, text.find('\n') + 1));
   start({"--record", recording});
   nextDocument();
   EXPECT_EQ(stop(), 0);
   EXPECT_FALSE(fs::exists(recording + ".1"));
}

TEST_F(Watch, ARecordingThatIsOutOfRoomIsToldOnceAndEndsNothing) {
   write(transitState({10}));
   auto const unlimited = std::signal(SIGXFSZ, SIG_IGN);
   rlimit before{};
   getrlimit(RLIMIT_FSIZE, &before);
   rlimit const little{16384, before.rlim_max};
   setrlimit(RLIMIT_FSIZE, &little);
   start({"--record", folder_.file("recording")});
   setrlimit(RLIMIT_FSIZE, &before);
   std::signal(SIGXFSZ, unlimited);
   auto outputs = nextDocument();
   std::vector<json> operations;
   replace(manyTransitVlans(200));
   follow(outputs, operations);
   auto const told = folder_.file("recording") +
                     ": cannot be written: File too large; nothing more is recorded";
   EXPECT_TRUE(messages_->nextWith(told)) << "also if nothing happens any more";
   replace(manyTransitVlans(100));
   follow(outputs, operations);
   agent_->mostFileSizeIs(before.rlim_cur); // a counted build writes counts at the end
   agent_->signal(SIGTERM);
   EXPECT_FALSE(messages_->nextWith(told));
   EXPECT_EQ(agent_->status(), 0);
   EXPECT_EQ(fs::file_size(folder_.file("recording")), 16384u);
}

TEST_F(Watch, ADiskThatIsSlowHoldsUpNothing) {
   SlowDisk disk(folder_.file("pipe"));
   startOn(disk);
   comeAndGo(2);
   // What waits for the disk is written also if nothing happens any more.
   auto recorded = disk.read("\"wrote\"", 2 * 5 * kVlans);
   agent_->signal(SIGTERM);
   recorded += disk.read();
   auto const recording = folder_.write("recording", recorded);
   EXPECT_EQ(agent_->status(), 0);
   auto const played = runAgent(folder_, {"replay", recording});
   EXPECT_EQ(played.status, 0);
   EXPECT_THAT(played.err, IsEmpty()) << "nothing is missing";
}

TEST_F(Watch, ARecordingThatCannotBeBegunIsRefused) {
   write(transitState({10}));
   auto const outcome =
      runAgent(folder_, {"run", "--watch", "--record", "/dev/full", file()});
   EXPECT_EQ(outcome.status, 2);
   EXPECT_EQ(outcome.err, "mcastvpn-agent: /dev/full: cannot be written: No space left "
                          "on device\n");
}

TEST_F(Watch, AReaderThatIsGoneEndsIt) {
   write(transitState({10}));
   start({"--record", folder_.file("recording")});
   nextDocument();
   out_->closeReading();
   replace(transitState({20}));
   EXPECT_EQ(agent_->status(), 2);
   EXPECT_TRUE(messages_->nextWith("the results cannot be written: Broken pipe"));
   auto const played = runAgent(folder_, {"replay", folder_.file("recording")});
   EXPECT_EQ(played.status, 0);
   EXPECT_THAT(played.err, IsEmpty()) << "it has an end";
}

TEST_F(Watch, ABadDocumentAtTheStartPublishesNothing) {
   folder_.write("state.json", "[]");
   start();
   EXPECT_EQ(agent_->status(), 2);
   EXPECT_EQ(results_->next(), std::nullopt);
}

TEST_F(Watch, StandardInputCannotBeFollowed) {
   auto const outcome = runAgent(folder_, {"run", "--watch", "-"}, "{}");
   EXPECT_EQ(outcome.status, 2);
   EXPECT_THAT(outcome.err, HasSubstr("--watch: \"-\""));
   EXPECT_THAT(outcome.out, IsEmpty());
}
