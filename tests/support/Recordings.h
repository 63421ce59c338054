#pragma once

#include "agent/InputFile.h"
#include "support/AgentProcess.h"
#include "support/Random.h"
#include "support/TransitState.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <sstream>
#include <string>
#include <utility>
#include <vector>

// Recordings to look at, and what stands in them.
namespace TestSupport {

// One JSON value a line.
inline std::vector<nlohmann::json> linesOfJson(std::string const& text) {
   std::vector<nlohmann::json> lines;
   std::istringstream in(text);
   for (std::string line; std::getline(in, line);) {
      lines.push_back(nlohmann::json::parse(line));
   }
   return lines;
}

// The first of the lines that has the member; null for none.
inline nlohmann::json lineWith(std::vector<nlohmann::json> const& lines,
                               char const* member) {
   for (auto const& line : lines) {
      if (line.contains(member)) {
         return line;
      }
   }
   return {};
}

inline size_t countWith(std::vector<nlohmann::json> const& lines, char const* member) {
   size_t count = 0;
   for (auto const& line : lines) {
      count += line.contains(member) ? 1 : 0;
   }
   return count;
}

// Records what replay does with these arguments.
inline std::string recordedTo(TemporaryFolder const& folder, std::string const& name,
                              std::vector<std::string> arguments) {
   arguments.insert(arguments.begin(), {"replay", "--record", folder.file(name)});
   auto const outcome = runAgent(folder, arguments);
   EXPECT_EQ(outcome.status, 0) << outcome.err;
   return folder.file(name);
}

// An event file in which slices of random lengths and restarts stand between changes.
inline std::string randomEvents(TemporaryFolder const& folder, uint32_t seed,
                                int vlans) {
   auto const random = seededRandom(seed);
   std::string events;
   for (int i = 0; i < 120; ++i) {
      auto const vlan = std::to_string(1 + random() % static_cast<uint32_t>(vlans));
      auto const path = "/pegVlanStatus/pegVlan/" + vlan;
      nlohmann::json line;
      switch (random() % 4) {
         case 0:
            line = {{"op", "add"}, {"path", path}, {"value", nlohmann::json::object()}};
            break;
         case 1:
            line = {{"host", random() % 3 == 0 ? "restart" : "drain"}};
            break;
         case 2:
            line = {{"op", "replace"},
                    {"path", "/mlagStatus/mlagState"},
                    {"value", random() % 5}};
            break;
         default:
            line = {{"host", "slice"},
                    {"count", 1 + random() % 5},
                    {"items", 1 + random() % 7}};
      }
      events += line.dump() + '\n';
   }
   return folder.write("random.jsonl", events);
}

// A recording, and what it is of.
struct RecordingExample {
   char const* name;
   std::vector<std::string> arguments;
   bool isDataflow = true;
};

// Recordings of many kinds.
inline std::vector<RecordingExample> recordingExamples(TemporaryFolder const& folder) {
   auto const big = folder.write("big.json", manyTransitVlans(1500).dump());
   auto const small = folder.write("small.json", manyTransitVlans(40).dump());
   auto const restart = folder.write("restart.jsonl", R"({"host":"restart"})"
                                                      "\n");
   std::string const minimal = "examples/minimal.jsonc";
   std::string const story = "examples/story.jsonl";
   return {{"slices", {"--slice-items", "2", "--state", minimal, story}},
           {"synchronous", {"--mode", "sync", "--state", minimal, story}},
           {"reactor", {"--sm", "reactor", "--state", minimal, story}, false},
           {"restart",
            {"--manual", "--slice-items", "1", "--state", "examples/restart.jsonc",
             "examples/restart.jsonl"}},
           {"times", {"--state", big, restart}},
           {"random", {"--manual", "--state", small, randomEvents(folder, 5, 40)}},
           {"nothing", {"--state", minimal, folder.write("empty.jsonl", "")}}};
}

// The lines of a bundle that the agent makes of a recording.
inline std::vector<nlohmann::json> bundleOf(TemporaryFolder const& folder,
                                            std::string const& recording) {
   auto const file = folder.file("bundle");
   auto const outcome = runAgent(folder, {"bundle", recording, "-o", file});
   EXPECT_EQ(outcome.status, 0) << outcome.err;
   return linesOfJson(Agent::readFile(file));
}

} // namespace TestSupport
