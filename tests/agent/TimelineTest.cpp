#include "support/Recordings.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

using namespace TestSupport;
using nlohmann::json;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

// timeline: what it writes must be what viewers of Chrome traces read.
namespace {

struct Track {
   std::string name;
   bool hasOrder = false;
   double now = 0; // when the last event began, or was over
   size_t events = 0;
};

// The tracks of a trace by their names, once it is checked against the format's rules.
std::map<std::string, Track> checkedTracks(json const& trace) {
   std::map<int, Track> tracks;
   EXPECT_EQ(trace.at("displayTimeUnit"), "ms");
   for (auto const& event : trace.at("traceEvents")) {
      auto const text = event.dump();
      auto const ph = event.at("ph").get<std::string>();
      EXPECT_THAT((std::set<std::string>{"M", "X", "i"}), testing::Contains(ph))
         << text;
      EXPECT_TRUE(event.at("name").is_string()) << text;
      EXPECT_EQ(event.at("pid"), 1) << text;
      auto& track = tracks[event.at("tid").get<int>()];
      if (ph == "M") {
         if (event.at("name") == "thread_name") {
            EXPECT_EQ(track.name, "") << "a second name: " << text;
            track.name = event.at("args").at("name").get<std::string>();
         } else if (event.at("name") == "thread_sort_index") {
            track.hasOrder = event.at("args").at("sort_index").is_number_integer();
         }
         continue;
      }
      EXPECT_TRUE(event.at("ts").is_number()) << text;
      auto const begin = event.at("ts").get<double>();
      EXPECT_GE(begin, track.now) << text;
      track.now = begin;
      ++track.events;
      if (ph == "X") {
         EXPECT_GE(event.at("dur").get<double>(), 0) << text;
         track.now += event.at("dur").get<double>();
      } else {
         EXPECT_THAT((std::set<std::string>{"t", "p", "g"}),
                     testing::Contains(event.at("s").get<std::string>()));
      }
   }
   std::map<std::string, Track> named;
   for (auto const& [tid, track] : tracks) {
      EXPECT_NE(track.name, "") << tid;
      EXPECT_TRUE(track.hasOrder) << track.name;
      EXPECT_TRUE(named.emplace(track.name, track).second) << track.name;
   }
   return named;
}

size_t eventsOf(std::map<std::string, Track> const& tracks, std::string const& prefix) {
   size_t events = 0;
   for (auto const& [name, track] : tracks) {
      events += name.starts_with(prefix) ? track.events : 0;
   }
   return events;
}

std::vector<std::string> namesOn(json const& trace, int tid) {
   std::vector<std::string> names;
   for (auto const& event : trace.at("traceEvents")) {
      if (event.at("tid") == tid && event.at("ph") != "M") {
         names.push_back(event.at("name"));
      }
   }
   return names;
}

class Timeline : public testing::Test {
 protected:
   json timelineOf(std::string const& recording) {
      auto const outcome = runAgent(folder_, {"timeline", recording});
      EXPECT_EQ(outcome.status, 0) << outcome.err;
      EXPECT_EQ(outcome.err, "");
      return json::parse(outcome.out);
   }

   TemporaryFolder folder_;
};

} // namespace

TEST_F(Timeline, IsATraceOfEverythingThatWasRecorded) {
   for (auto const& example : recordingExamples(folder_)) {
      SCOPED_TRACE(example.name);
      auto const recording = recordedTo(folder_, "recording", example.arguments);
      auto const lines = linesOfJson(readText(recording));
      auto const tracks = checkedTracks(timelineOf(recording));
      EXPECT_EQ(eventsOf(tracks, "output "), countWith(lines, "wrote"));
      EXPECT_EQ(eventsOf(tracks, "task "), countWith(lines, "slice"));
      EXPECT_EQ(eventsOf(tracks, "inputs"), lineWith(lines, "end")["end"]["inputs"]);
      auto const statistics = lineWith(bundleOf(folder_, recording), "statistics");
      size_t events = 0;
      for (auto const& [stream, count] : statistics["statistics"]["streams"].items()) {
         EXPECT_EQ(eventsOf(tracks, stream), count) << stream;
         events += count.get<size_t>();
      }
      EXPECT_EQ(events != 0, example.isDataflow);
      EXPECT_EQ(tracks.contains("vrfStream"), example.isDataflow);
   }
}

TEST_F(Timeline, HasASliceWhereItWasRecorded) {
   auto const recording =
      recordedTo(folder_, "recording",
                 {"--slice-items", "1", "--state", "examples/minimal.jsonc",
                  "examples/story.jsonl"});
   auto const trace = timelineOf(recording);
   std::vector<json> slices;
   for (auto const& event : trace.at("traceEvents")) {
      if (event.at("ph") == "X") {
         slices.push_back(event);
      }
   }
   std::vector<json> recorded;
   json play;
   for (auto const& line : linesOfJson(readText(recording))) {
      if (line.contains("play")) {
         play = line;
      } else if (line.contains("slice")) {
         recorded.push_back({{"ts", play["t"]},
                             {"dur", line["t"].get<int>() - play["t"].get<int>()},
                             {"items", line["slice"]["items"]},
                             {"name", line["slice"]["task"]}});
      }
   }
   ASSERT_EQ(slices.size(), recorded.size());
   for (size_t i = 0; i < slices.size(); ++i) {
      EXPECT_EQ(slices[i]["ts"], recorded[i]["ts"]);
      EXPECT_EQ(slices[i]["dur"], recorded[i]["dur"]);
      EXPECT_EQ(slices[i]["name"], recorded[i]["name"]);
      EXPECT_EQ(slices[i]["args"]["items"], recorded[i]["items"]);
   }
}

TEST_F(Timeline, TellsHowFarEachStartCame) {
   auto const events = folder_.write("events.jsonl", R"({"host":"restart"})"
                                                     "\n");
   // A machine that does all at once has them done in no order that can be seen.
   std::map<std::string, std::vector<std::string>> const reconciled{
      {"async",
       {"router_intf reconciled, 1 of 4", "exclude_intf reconciled, 2 of 4",
        "include_intf reconciled, 3 of 4", "transit_intf reconciled, 4 of 4"}},
      {"sync",
       {"transit_intf reconciled, 1 of 4", "router_intf reconciled, 2 of 4",
        "include_intf reconciled, 3 of 4", "exclude_intf reconciled, 4 of 4"}}};
   for (auto const& [mode, outputs] : reconciled) {
      std::vector<std::string> twice;
      for (int i = 0; i < 2; ++i) {
         twice.insert(twice.end(), {"start", "scanning done"});
         twice.insert(twice.end(), outputs.begin(), outputs.end());
         twice.insert(twice.end(), {"ready", "stop"});
      }
      auto const recording =
         recordedTo(folder_, "recording",
                    {"--mode", mode, "--slice-items", "1000", "--state",
                     "examples/leaf-pair.jsonc", events});
      EXPECT_EQ(namesOn(timelineOf(recording), 1), twice);
   }
   auto const recording =
      recordedTo(folder_, "recording",
                 {"--sm", "reactor", "--state", "examples/leaf-pair.jsonc", events});
   EXPECT_THAT(
      namesOn(timelineOf(recording), 1),
      testing::ElementsAre("start", "ready", "stop", "start", "ready", "stop"));
}

TEST_F(Timeline, TakesTheFilesPlaceAtOnce) {
   auto const recording =
      recordedTo(folder_, "recording",
                 {"--state", "examples/minimal.jsonc", "examples/story.jsonl"});
   auto const printed = runAgent(folder_, {"timeline", recording}).out;
   auto const file = folder_.write("timeline.json", "what stood here");
   EXPECT_EQ(runAgent(folder_, {"timeline", recording, "-o", file}).status, 0);
   EXPECT_EQ(readText(file), printed);
   std::filesystem::permissions(file, std::filesystem::perms::owner_all);
   std::filesystem::create_symlink(file, folder_.file("link"));
   folder_.write("timeline.json", "what stood here");
   EXPECT_EQ(
      runAgent(folder_, {"timeline", recording, "-o", folder_.file("link")}).status, 0);
   EXPECT_TRUE(std::filesystem::is_symlink(folder_.file("link")));
   EXPECT_EQ(readText(file), printed);
   EXPECT_EQ(std::filesystem::status(file).permissions(),
             std::filesystem::perms::owner_all);
   auto const to = folder_.file("no/file");
   auto const refused = runAgent(folder_, {"timeline", recording, "-o", to});
   EXPECT_EQ(refused.status, 2);
   EXPECT_EQ(refused.err, "mcastvpn-agent: " + to +
                             ": cannot be written: No such file or directory\n");
   auto const full = runAgent(folder_, {"timeline", recording, "-o", "/dev/full"});
   EXPECT_EQ(full.status, 2);
   EXPECT_THAT(full.err, HasSubstr("No space left on device"));
   // One that runs out of room leaves what stood there, and no draft.
   folder_.write("timeline.json", "what stood here");
   auto const small = runShell(
      folder_, "trap '' XFSZ; ulimit -f 1; exec '" AGENT_PROGRAM "' timeline " +
                  recording + " -o " + file);
   EXPECT_EQ(small.status, 2);
   EXPECT_THAT(small.err, HasSubstr("cannot be written: File too large"));
   EXPECT_EQ(readText(file), "what stood here");
   for (auto const& entry : std::filesystem::directory_iterator(folder_.file(""))) {
      EXPECT_FALSE(entry.path().filename().string().starts_with("timeline.json."));
   }
}

TEST_F(Timeline, IsNotMadeOfARecordingThatComesOutOtherwise) {
   auto const recording =
      recordedTo(folder_, "recording",
                 {"--state", "examples/minimal.jsonc", "examples/story.jsonl"});
   auto text = readText(recording);
   auto const wrote = text.find("\"wrote\"");
   ASSERT_NE(wrote, std::string::npos);
   text[text.find("Null0", wrote) + 4] = '1';
   folder_.write("recording", text);
   auto const file = folder_.write("timeline.json", "what stood here");
   for (auto const* command : {"timeline", "report"}) {
      auto const outcome = runAgent(folder_, {command, recording, "-o", file});
      EXPECT_EQ(outcome.status, 1);
      EXPECT_THAT(outcome.err, AllOf(StartsWith("mcastvpn-agent: " + recording + ":"),
                                     HasSubstr("; recorded is")));
      EXPECT_EQ(std::ranges::count(outcome.err, '\n'), 1);
      EXPECT_EQ(readText(file), "what stood here");
   }
   EXPECT_EQ(runAgent(folder_, {"explain", recording}).status, 1);
   EXPECT_THAT(runAgent(folder_, {"explain", recording}).out, IsEmpty());
}

TEST_F(Timeline, TellsWhoWroteAnOutput) {
   auto const events = folder_.write(
      "events.jsonl",
      R"({"op":"add","path":"/mcastEvpnConfig/transitVrf/z","value":{}})"
      "\n"
      R"({"op":"add","path":"/transitIntfColl/intf/Vlan99","value":{"ipAddr":"10.9.9.9"}})"
      "\n");
   auto const trace = timelineOf(
      recordedTo(folder_, "recording", {"--state", "examples/minimal.jsonc", events}));
   std::vector<std::string> writers;
   for (auto const& event : trace.at("traceEvents")) {
      if (event.at("name") == "insert /transitIntfColl/intf/Vlan10" ||
          event.at("name") == "insert /transitIntfColl/intf/Vlan99") {
         writers.push_back(event.at("args").at("writtenBy"));
      }
   }
   EXPECT_THAT(writers, testing::ElementsAre("the start", "another writer"));
}
