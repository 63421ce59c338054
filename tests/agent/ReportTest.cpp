#include "agent/report/Selection.h"
#include "support/ReportFixture.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <map>
#include <regex>
#include <string>
#include <vector>

using namespace TestSupport;
using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

// report: the page as it is written. tests/browser has what a browser makes of it.
namespace {

using Report = ReportFixture;

} // namespace

TEST_F(Report, HasAStripForEachConditionWithWhatItWas) {
   auto const events = folder_.write(
      "events.jsonl",
      R"({"op":"remove","path":"/pegVlanStatus/pegVlan/10"})"
      "\n"
      R"({"op":"add","path":"/mcastEvpnConfig/transitVrf/other","value":{}})"
      "\n"
      R"({"op":"add","path":"/pegVlanStatus/pegVlan/10","value":{}})"
      "\n");
   auto const data = dataOf(readText(reportOf(
      recordedTo(folder_, "recording",
                 {"--mode", "sync", "--state", "examples/minimal.jsonc", events}))));
   EXPECT_EQ(data["conditions"], json({"StatusPresent", "VrfMapped", "VrfAlone",
                                       "TransitVrf", "PegVlan", "NotWithheld"}));
   ASSERT_EQ(data["vlans"].size(), 1u);
   auto const& vlan = data["vlans"][0];
   EXPECT_EQ(vlan["vlan"], 10);
   auto const& peg = vlan["conditions"][4];
   // A start, the three changes, a stop.
   ASSERT_EQ(data["begins"].size(), 5u);
   auto const text = [&](size_t place) {
      return data["texts"][peg[place].get<size_t>()].get<std::string>();
   };
   ASSERT_EQ(peg.size(), 9u);
   EXPECT_EQ(json({peg[0], peg[1], peg[3], peg[4], peg[6], peg[7]}),
             json({0, 1, 1, 0, 3, 1}));
   EXPECT_EQ(text(2), "VLAN 10 is a PEG VLAN");
   EXPECT_EQ(text(5), "VLAN 10 is no PEG VLAN");
   EXPECT_EQ(vlan["conditions"][0].size(), 3u) << "never changed";
   EXPECT_EQ(vlan["join"], json({0, 0, 0, 1, 1, 0, 2, 0, 0, 4, 1, 0}));
   EXPECT_EQ(data["outputs"]["intfs"], json({{0, 0}, {1, 1}, {2, 0}, {4, 1}}));
}

TEST_F(Report, CountsWhatComesToEachSinkAsItIsTraced) {
   std::vector<std::string> const arguments{
      "--trace", "9", "--state", "examples/minimal.jsonc", "examples/story.jsonl"};
   auto withReplay = arguments;
   withReplay.insert(withReplay.begin(), "replay");
   std::map<std::string, uint64_t> traced;
   std::regex const sink("into\\( ([a-zA-Z]+)(.*) \\): .*");
   for (auto const& line : linesOfJson(runAgent(folder_, withReplay).out)) {
      auto const trace = line.value("trace", json::object());
      auto const text = trace.value("text", "");
      std::smatch found;
      if (trace.value("function", "") == "eventToTransitVlanStream" &&
          std::regex_match(text, found, sink)) {
         ++traced[found[1].str() + std::regex_replace(found[2].str(),
                                                      std::regex("\\[ [a-zA-Z]+ \\]"),
                                                      "[]")];
      }
   }
   EXPECT_GT(traced["transitIntfColl.intf[]"], 0u);
   auto const graph =
      dataOf(readText(reportOf(recordedTo(folder_, "recording", arguments))))["graph"];
   std::map<size_t, std::string> outputOfSink;
   for (auto const& edge : graph["edges"]) {
      auto const& to = graph["nodes"][edge["to"].get<size_t>()];
      if (to["stage"] == "output") {
         outputOfSink[edge["from"]] = to["name"];
      }
   }
   ASSERT_EQ(outputOfSink.size(), 4u);
   for (auto const& edge : graph["edges"]) {
      if (auto const to = outputOfSink.find(edge["to"]); to != outputOfSink.end()) {
         EXPECT_EQ(edge["count"], traced[to->second]) << to->second;
      }
   }
}

TEST_F(Report, ANameEndsNothing) {
   auto const text = readText(reportOfHostileNames());
   EXPECT_EQ(timesIn(text, "</script"), 2u);
   EXPECT_EQ(timesIn(text, "<!--"), 0u);
   EXPECT_THAT(dataOf(text)["vlans"][0]["vrfs"].get<std::string>(),
               HasSubstr(hostileName_));
}

TEST_F(Report, OfARecordingInWhichNothingHappenedIsMadeToo) {
   auto const data = dataOf(readText(reportOfNothing()));
   EXPECT_EQ(data["head"]["steps"], 0);
   EXPECT_EQ(data["vlans"].size(), 3u);
}

TEST_F(Report, LoadsNothing) {
   auto const text = readText(reportOf(
      recordedTo(folder_, "recording",
                 {"--state", "examples/minimal.jsonc", "examples/story.jsonl"})));
   EXPECT_THAT(text, HasSubstr("default-src 'none'"));
   for (auto const* part : {"src=", "href=", "@import", "url(", "fetch(", "import "}) {
      EXPECT_THAT(text, Not(HasSubstr(part)));
   }
   EXPECT_EQ(timesIn(text, "://"), 1u) << "the name of SVG's namespace";
}

TEST_F(Report, OfManyVlansHasThoseThatMostHappenedTo) {
   auto const text = readText(reportOfManyVlans());
   auto const data = dataOf(text);
   EXPECT_EQ(data["head"]["vlans"], 4094);
   ASSERT_EQ(data["vlans"].size(), Agent::kMostVlansShown);
   EXPECT_EQ(data["vlans"].back()["vlan"], 4000);
   EXPECT_LT(text.size(), 2'000'000u);
}

TEST_F(Report, OfManyStepsHasTheLast) {
   auto const text = readText(reportOfManySteps());
   auto const data = dataOf(text);
   EXPECT_GE(data["head"]["steps"], kManySteps);
   EXPECT_EQ(data["head"]["inputs"], kManySteps - 1) << "the first is what stood there";
   EXPECT_EQ(data["begins"].size(), Agent::kMostStepsShown);
   EXPECT_LT(text.size(), 2'000'000u);
}
