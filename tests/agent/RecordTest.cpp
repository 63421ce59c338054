#include "agent/record/Recording.h"

#include "support/AgentProcess.h"
#include "support/ComesTrue.h"
#include "support/LineReader.h"
#include "support/Recordings.h"
#include "support/RunningAgent.h"
#include "support/SlowDisk.h"
#include "support/TransitState.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

using namespace TestSupport;
using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

// --record, and replay of what was recorded.
namespace {

// The operations among them, in their order.
std::vector<json> operationsOf(std::string const& text) {
   auto records = linesOfJson(text);
   std::erase_if(records, [](json const& record) { return !record.contains("op"); });
   return records;
}

class Record : public testing::Test {
 protected:
   // What a command made, without the lines of a bundle that say when and with how much
   // memory, and without the name of what it was made of; empty if it made nothing.
   static std::string contentsOf(std::string const& file) {
      auto text = std::filesystem::exists(file) ? Agent::readFile(file) : std::string();
      if (text.starts_with("{\"bundle\":")) {
         text.erase(0, text.find("{\"trace\":"));
      }
      for (std::string const name : {"recording.jsonl", "pipe"}) {
         for (auto at = text.find(name); at != std::string::npos;
              at = text.find(name)) {
            text.replace(at, name.size(), "*");
         }
      }
      return text;
   }
   // Plays events once to record them, and then the recording: it must write the same.
   std::vector<json> recordAndPlay(std::vector<std::string> options) {
      options.insert(options.begin(), {"replay", "--record", recording()});
      auto const recorded = runAgent(folder_, options);
      EXPECT_EQ(recorded.status, 0) << recorded.err;
      auto const played = runAgent(folder_, {"replay", recording()});
      EXPECT_EQ(played.status, 0) << played.err;
      EXPECT_EQ(operationsOf(played.out), operationsOf(recorded.out));
      return operationsOf(recorded.out);
   }
   std::string recording() const { return folder_.file("recording.jsonl"); }
   std::vector<json> recorded(char const* member) const {
      auto records = linesOfJson(readText(recording()));
      std::erase_if(records,
                    [&](json const& record) { return !record.contains(member); });
      return records;
   }
   std::string bigState(int vlans) const {
      return folder_.write("state.json", manyTransitVlans(vlans).dump());
   }

   TemporaryFolder folder_;
};

} // namespace

TEST_F(Record, WhatWasRecordedIsPlayedAgainExactly) {
   struct Example {
      char const* machine;
      char const* state;
      char const* events;
      std::vector<std::string> options{"--slice-items", "2"};
   };
   for (auto const& [machine, state, events, options] :
        {Example{"dataflow", "examples/minimal.jsonc", "examples/story.jsonl"},
         Example{"reactor", "examples/minimal.jsonc", "examples/story.jsonl"},
         Example{"dataflow",
                 "examples/restart.jsonc",
                 "examples/restart.jsonl",
                 {"--manual", "--slice-items", "1"}},
         Example{"dataflow", "examples/two-machines.jsonc",
                 "examples/two-machines.jsonl"},
         Example{"reactor", "examples/two-machines.jsonc",
                 "examples/two-machines.jsonl"}}) {
      std::vector<std::string> arguments{"--state", state, "--sm", machine, events};
      arguments.insert(arguments.end(), options.begin(), options.end());
      auto const operations = recordAndPlay(arguments);
      EXPECT_FALSE(recorded("wrote").empty()) << events;
      EXPECT_GE(operations.size(), recorded("wrote").size());
   }
}

TEST_F(Record, SlicesThatATimeEndedEndWhereTheyDid) {
   auto const events = folder_.write("events.jsonl", R"({"host":"restart"})"
                                                     "\n");
   auto const operations = recordAndPlay({"--state", bigState(3000), events});
   EXPECT_GE(operations.size(), 15000u);
   EXPECT_GT(recorded("ends").size(), 20u) << "slices of a millisecond";
}

TEST_F(Record, WhatOthersWriteIsAStepAndNoWrite) {
   auto const events = folder_.write(
      "events.jsonl",
      R"({"op":"add","path":"/transitIntfColl/intf/Vlan99","value":{"ipAddr":"10.9.9.9"}})"
      "\n"
      R"({"host":"stop"})"
      "\n"
      R"({"op":"remove","path":"/transitIntfColl/intf/Vlan10"})"
      "\n"
      R"({"host":"start"})"
      "\n");
   recordAndPlay({"--state", "examples/minimal.jsonc", events});
   for (auto const& write : recorded("wrote")) {
      EXPECT_NE(write.at("wrote").value("value", json()),
                json({{"ipAddr", "10.9.9.9"}}));
   }
}

TEST_F(Record, EachWriteIsPutDownToTheChangeThatCausedIt) {
   auto const events = folder_.write(
      "events.jsonl",
      R"([{"op":"add","path":"/mcastEvpnConfig/transitVrf/x","value":{}},)"
      R"({"op":"add","path":"/vtiStatusDir/vtiStatus/Vxlan1/vrfToSBDVlan/x","value":77},)"
      R"({"op":"add","path":"/pegVlanStatus/pegVlan/77","value":{}}])"
      "\n"
      R"({"op":"remove","path":"/pegVlanStatus/pegVlan/77"})"
      "\n");
   recordAndPlay({"--state", "examples/minimal.jsonc", events});
   for (auto const& write : recorded("wrote")) {
      if (write.at("wrote").at("path") == "/transitIntfColl/intf/Vlan77") {
         EXPECT_EQ(write.at("cause"), write.at("wrote").at("op") == "add" ? 3 : 4);
      }
   }
   EXPECT_EQ(recorded("end").at(0).at("end").at("inputs"), 4);
}

TEST_F(Record, BeginsWithEverythingThatDecidesWhatTheMachineDoes) {
   recordAndPlay({"--state", "examples/minimal.jsonc", "--seed", "7", "--mode", "sync",
                  "--toggle", "McastVpnTransitMlag=off", "examples/story.jsonl"});
   auto const header = recorded("recording").at(0);
   EXPECT_EQ(header.at("recording"), 1);
   EXPECT_EQ(header.at("options"), json({{"sm", "dataflow"},
                                         {"af", "ipv4"},
                                         {"mode", "sync"},
                                         {"seed", 7},
                                         {"unchecked", false},
                                         {"toggles", {"McastVpnTransitMlag=off"}}}));
   EXPECT_EQ(header.at("state"),
             linesOfJson(readText(recording())).front().at("state"));
   EXPECT_TRUE(header.at("state").contains("membershipJoinStatus"));
}

TEST_F(Record, ASeedThatNobodyChoseIsRecordedToo) {
   recordAndPlay({"--state", "examples/minimal.jsonc", "examples/story.jsonl"});
   EXPECT_TRUE(recorded("recording").at(0).at("options").at("seed").is_number());
}

TEST_F(Record, ARunThatWatchesIsPlayedAgainExactly) {
   auto const state =
      folder_.write("state.json", R"({"mcastEvpnConfig":{"transitVrf":[)"
                                  R"("x"]},"pegVlanStatus":{"pegVlan":[5]}})");
   std::vector<json> printed;
   {
      Pipe out;
      RunningAgent agent({"run", "--watch", "--json", "--record", recording(), state},
                         {-1, out.writing(), -1});
      out.closeWriting();
      LineReader lines(out.reading());
      ASSERT_TRUE(lines.next());
      auto const next = [&](char const* mapped, size_t operations) {
         folder_.write("new.json",
                       std::string(R"({"mcastEvpnConfig":{"transitVrf":["x"]},)"
                                   R"("pegVlanStatus":{"pegVlan":[5]},"vtiStatusDir":)"
                                   R"({"vtiStatus":{"Vxlan1":{"vrfToSBDVlan":{)") +
                          mapped + "}}}}}");
         std::filesystem::rename(folder_.file("new.json"), state);
         for (size_t i = 0; i < operations; ++i) {
            auto const line = lines.next();
            ASSERT_TRUE(line);
            printed.push_back(json::parse(*line));
         }
      };
      next(R"("x":5)", 5);
      next(R"("x":6)", 5);
      agent.signal(SIGTERM);
      EXPECT_EQ(agent.status(), 0);
   }
   auto const played = runAgent(folder_, {"replay", recording()});
   EXPECT_EQ(played.status, 0) << played.err;
   for (auto& operation : printed) {
      operation.erase("time");
      operation.erase("cause");
   }
   EXPECT_EQ(operationsOf(played.out), printed);
}

TEST_F(Record, WhatComesOutOtherwiseIsToldOnce) {
   recordAndPlay({"--state", "examples/minimal.jsonc", "examples/story.jsonl"});
   auto text = readText(recording());
   auto const at = text.find("10.0.0.1\"},\"cause\"");
   auto const place = at != std::string::npos ? at : text.find("ipAddr\":\"") + 9;
   text[text.find('1', place)] = '7';
   folder_.write("recording.jsonl", text);
   auto const played = runAgent(folder_, {"replay", recording()});
   EXPECT_EQ(played.status, 1);
   EXPECT_THAT(played.err,
               AllOf(StartsWith("mcastvpn-agent: " + recording() + ":"),
                     HasSubstr("of this step is"), HasSubstr("; recorded is")));
   EXPECT_EQ(std::ranges::count(played.err, '\n'), 1);
}

TEST_F(Record, AProcessThatWasKilledLeavesARecordingWithoutAnEnd) {
   recordAndPlay({"--state", "examples/minimal.jsonc", "examples/story.jsonl"});
   auto text = readText(recording());
   text.erase(text.rfind("{\"t\""));
   folder_.write("recording.jsonl", text);
   auto const played = runAgent(folder_, {"replay", recording()});
   EXPECT_EQ(played.status, 0);
   EXPECT_THAT(played.err, HasSubstr("the recording has no end"));
}

TEST_F(Record, ALastLineThatIsCutOffIsLeftOut) {
   auto const operations =
      recordAndPlay({"--slice-items", "1", "--state", "examples/minimal.jsonc",
                     "examples/story.jsonl"});
   auto const whole = readText(recording());
   auto const header = whole.find('\n') + 1;
   size_t torn = 0;
   for (size_t size = header; size < whole.size(); size += 61) {
      auto const text = whole.substr(0, size);
      auto const lines = std::ranges::count(text, '\n');
      folder_.write("recording.jsonl", text);
      auto const played = runAgent(folder_, {"replay", recording()});
      EXPECT_EQ(played.status, 0) << played.err;
      auto const found = operationsOf(played.out);
      EXPECT_TRUE(found.size() <= operations.size() &&
                  std::equal(found.begin(), found.end(), operations.begin()));
      EXPECT_EQ(std::ranges::count(played.err, '\n'), 1) << played.err;
      if (!text.ends_with('\n') && !json::accept(text.substr(text.rfind('\n')))) {
         ++torn;
         EXPECT_EQ(
            played.err,
            "mcastvpn-agent: " + recording() + ":" + std::to_string(lines + 1) +
               ": this line is cut off and was left out: the process ended while "
               "it wrote it\n");
      }
      EXPECT_EQ(runAgent(folder_, {"timeline", recording()}).err, played.err);
   }
   EXPECT_GT(torn, 10u);
}

TEST_F(Record, OnlyTheLastLineMayBeCutOff) {
   recordAndPlay({"--state", "examples/minimal.jsonc", "examples/story.jsonl"});
   auto const whole = readText(recording());
   folder_.write("recording.jsonl", whole + "{\"t\":\n");
   auto const ended = runAgent(folder_, {"replay", recording()});
   EXPECT_EQ(ended.status, 0) << "nothing is read behind the end";
   auto const second = whole.find('\n') + 1;
   folder_.write("recording.jsonl", whole.substr(0, second) + "{\"t\":\n");
   auto const played = runAgent(folder_, {"replay", recording()});
   EXPECT_EQ(played.status, 2) << "a line that has an end was written whole";
   EXPECT_THAT(played.err, HasSubstr("recording.jsonl:2: "));
   folder_.write("recording.jsonl", whole.substr(0, second / 2));
   EXPECT_EQ(runAgent(folder_, {"timeline", recording()}).status, 2);
}

TEST_F(Record, WhatIsNoRecordingIsRefusedWithItsLine) {
   auto const refusal = [&](std::string const& text) {
      auto const outcome =
         runAgent(folder_, {"replay", folder_.write("recording.jsonl", text)});
      EXPECT_EQ(outcome.status, 2) << text;
      return outcome.err;
   };
   EXPECT_THAT(refusal(R"({"recording":2,"options":{},"state":{}})"),
               HasSubstr("a recording of version 2; allowed is version 1"));
   EXPECT_THAT(refusal(R"({"recording":1})"),
               HasSubstr("allowed is options and state"));
   EXPECT_THAT(refusal(R"({"recording":1,"options":{},"state":{}})"),
               HasSubstr("options that cannot be used"));
   recordAndPlay({"--state", "examples/minimal.jsonc", "examples/story.jsonl"});
   auto const good = readText(recording());
   auto const header = good.substr(0, good.find('\n') + 1);
   EXPECT_THAT(
      refusal(header + R"({"t":1,"plays":{}})"
                       "\n"),
      AllOf(HasSubstr("recording.jsonl:2: "), HasSubstr("a record with \"play\"")));
   EXPECT_THAT(refusal(header + R"({"t":1,"play":{"host":"jump"}})"
                                "\n"),
               HasSubstr("recording.jsonl:2: "));
   EXPECT_THAT(refusal(header + R"({"t":1,"play":)" + std::string(1000, '[') +
                       std::string(1000, ']') + "}\n"),
               AllOf(HasSubstr("recording.jsonl:2: "),
                     HasSubstr("nested deeper than 64 levels")));
}

TEST_F(Record, IsTakenFromAPipeAsOtherFilesAre) {
   auto const file =
      recordedTo(folder_, "recording.jsonl",
                 {"--state", "examples/minimal.jsonc", "examples/story.jsonl"});
   std::string const output = folder_.file("output");
   struct {
      std::string command;
      std::string input;
      std::string more;
   } const readers[] = {
      {"replay", file, ""},
      {"replay --seed 1 --state examples/minimal.jsonc", "examples/story.jsonl", ""},
      {"timeline", file, ""},
      {"explain", file, ""},
      {"explain", "examples/minimal.jsonc", ""},
      {"report", file, " -o " + output},
      {"bundle", file, " -o " + output}};
   for (auto const& [command, input, more] : readers) {
      auto const agent = "'" AGENT_PROGRAM "' " + command + " ";
      auto const plain = runShell(folder_, agent + input + more);
      auto const made = contentsOf(output);
      auto const pipe = folder_.file("pipe");
      auto const piped =
         runShell(folder_, "mkfifo " + pipe + " && (timeout 60 cat " + input + " >" +
                              pipe + " &) && timeout 60 " + agent + pipe + more +
                              "; status=$?;" + " rm " + pipe + "; exit $status");
      EXPECT_EQ(piped.status, 0) << command << ": " << piped.err;
      EXPECT_EQ(piped.out, plain.out) << command;
      EXPECT_EQ(contentsOf(output), made) << command;
   }
}

TEST_F(Record, TheNineThatCameBeforeAreKept) {
   auto const held = [](int number) {
      return "{\"recording\":1}\n{\"number\":" + std::to_string(number) + "}\n";
   };
   for (int number = 1; number <= 11; ++number) {
      auto const file = folder_.write("recording.jsonl", held(number));
      EXPECT_EQ(Agent::keepRecording(file),
                file + ": what stood here is kept as " + file + ".1");
      EXPECT_FALSE(std::filesystem::exists(file));
      for (int kept = 1; kept <= std::min(number, 9); ++kept) {
         EXPECT_EQ(readText(file + '.' + std::to_string(kept)),
                   held(number + 1 - kept));
      }
   }
   EXPECT_FALSE(std::filesystem::exists(recording() + ".10"));
}

TEST_F(Record, WhatIsRecordedIsSoonInTheFile) {
   Agent::State const state;
   Agent::Recorder recorder(recording(), {}, state);
   recorder.stepBegins(R"({"host":"start"})");
   recorder.wrote(R"({"op":"test"})", 0);
   EXPECT_TRUE(comesTrue([&] {
      return readText(recording())
         .ends_with("\"wrote\":{\"op\":\"test\"},\"cause\":0}\n");
   }));
   EXPECT_THAT(recorded("play"), SizeIs(1));
}

TEST_F(Record, AStepMayBeMoreThanCanWaitForTheDisk) {
   SlowDisk const disk(folder_.file("pipe"));
   Agent::State const state;
   std::string recorded;
   std::thread reader;
   std::string const long_(3 * Agent::FileWriter::kMostLeft, ' ');
   {
      Agent::Recorder recorder(disk.file(), {}, state);
      reader = std::thread([&] { recorded = disk.read(); });
      recorder.stepBegins(long_ + "1");
      recorder.stepBegins("2");
      recorder.end(0);
   }
   reader.join();
   auto const lines = linesOfJson(recorded);
   ASSERT_THAT(lines, SizeIs(4));
   EXPECT_EQ(lines[1].at("play"), 1);
   EXPECT_EQ(lines[2].at("play"), 2);
}

TEST_F(Record, AStepThatIsTooMuchIsNotRecordedInPart) {
   Agent::State const state;
   std::vector<std::string> told;
   Agent::Recorder recorder(recording(), {}, state);
   recorder.failuresGoTo([&](std::string const& error) { told.push_back(error); });
   recorder.stepBegins(std::string(Agent::FileWriter::kMostLeft, ' ') + "1");
   recorder.stepBegins("2");
   recorder.end(0);
   EXPECT_THAT(
      told,
      ElementsAre(recording() +
                  ": cannot be written: more than 16 MiB would wait for the disk"));
   EXPECT_THAT(linesOfJson(readText(recording())), SizeIs(1));
}

TEST_F(Record, AFileThatIsBeingWrittenIsLeftToItsWriter) {
   Agent::State const state;
   {
      Agent::Recorder recorder(recording(), {}, state);
      auto const refused =
         runAgent(folder_, {"replay", "--record", recording(), "/dev/null"});
      EXPECT_EQ(refused.status, 2);
      EXPECT_THAT(
         refused.err,
         HasSubstr(recording() + ": cannot be written: another process writes it"));
      recorder.stepBegins("1");
      recorder.end(0);
      EXPECT_THAT(linesOfJson(readText(recording())), SizeIs(3));
   }
   {
      Agent::Recorder recorder(recording(), {}, state);
      // Nothing has happened in it yet, but may.
      EXPECT_EQ(Agent::keepRecording(recording()),
                recording() + ": what stood here is kept as " + recording() + ".1");
      Agent::Recorder next(recording(), {}, state);
      recorder.stepBegins("1");
      recorder.end(0);
      next.end(0);
   }
   EXPECT_THAT(linesOfJson(readText(recording() + ".1")), SizeIs(3));
   EXPECT_THAT(linesOfJson(readText(recording())), SizeIs(2));
}

TEST_F(Record, ADiskThatIsTooSlowIsToldOnce) {
   SlowDisk const disk(folder_.file("pipe"));
   Agent::State const state;
   std::string const megabyte(size_t{1} << 20, ' ');
   std::vector<std::string> told;
   std::string recorded;
   std::thread reader;
   {
      Agent::Recorder recorder(disk.file(), {}, state);
      recorder.failuresGoTo([&](std::string const& error) { told.push_back(error); });
      for (int i = 0; i < 15; ++i) { // a little in the pipe, and the others wait
         recorder.stepBegins(megabyte + "15");
      }
      EXPECT_THAT(told, IsEmpty());
      for (int i = 0; i < 16; ++i) { // with the first, more than 16 MiB
         recorder.stepBegins(megabyte + "16");
      }
      EXPECT_THAT(
         told,
         ElementsAre(disk.file() +
                     ": cannot be written: more than 16 MiB would wait for the disk"));
      reader = std::thread([&] { recorded = disk.read(); });
      recorder.end(0);
   }
   reader.join();
   auto const lines = linesOfJson(recorded);
   EXPECT_THAT(lines, SizeIs(1 + 15)) << "and none of those that were too much";
   EXPECT_EQ(lines.back().at("play"), 15) << lines.back();
   EXPECT_EQ(told.size(), 1u);
}

TEST_F(Record, AFileThatCannotBeWrittenIsTold) {
   auto const outcome = runAgent(
      folder_, {"replay", "--record", folder_.file("no/file"), "examples/story.jsonl"});
   EXPECT_EQ(outcome.status, 2);
   EXPECT_THAT(outcome.err, HasSubstr("no/file: cannot be written: No such file"));
   auto const full =
      runAgent(folder_, {"replay", "--record", "/dev/full", "examples/story.jsonl"});
   EXPECT_EQ(full.status, 2);
   EXPECT_THAT(full.err, HasSubstr("cannot be written: No space left on device"));
}

TEST_F(Record, ADeviceThatGetsFullInTheMiddleIsTold) {
   auto const outcome =
      runShell(folder_, "trap '' XFSZ; ulimit -f 1000; exec '" AGENT_PROGRAM
                        "' replay --record " +
                           recording() + " --state " + bigState(3000) + " " +
                           folder_.write("events.jsonl", R"({"host":"restart"})"
                                                         "\n") +
                           " >/dev/null");
   EXPECT_EQ(outcome.status, 2) << outcome.err;
   EXPECT_THAT(outcome.err,
               HasSubstr("recording.jsonl: cannot be written: File too large"));
}

TEST_F(Record, IsForOneMachineAndForWhatGoesOn) {
   for (std::vector<std::string> const& arguments :
        {std::vector<std::string>{"replay", "--sm", "both", "--record", "x", "e"},
         {"run", "--record", "x", "s"}}) {
      auto with = arguments;
      with.back() = "examples/minimal.jsonc";
      auto const outcome = runAgent(folder_, with);
      EXPECT_EQ(outcome.status, 2);
      EXPECT_THAT(outcome.err, HasSubstr("--record: "));
   }
}

TEST_F(Record, WritesOverNothingThatIsRead) {
   auto const state = folder_.write("state.json", "{}");
   auto const events = folder_.write("events.jsonl", "");
   for (auto const& file : {state, events}) {
      auto const before = readText(file);
      auto const outcome =
         runAgent(folder_, {"replay", "--record", file, "--state", state, events});
      EXPECT_EQ(outcome.status, 2);
      EXPECT_THAT(outcome.err, HasSubstr("another file than the one that is read"));
      EXPECT_EQ(readText(file), before);
   }
}
