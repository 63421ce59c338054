#include "agent/report/Selection.h"
#include "support/Recordings.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <map>
#include <regex>
#include <string>
#include <utility>
#include <vector>

using namespace TestSupport;
using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

// report: the data of the page, and what a browser makes of it.
namespace {

constexpr char const* kDataBegin = "<script id=\"data\" type=\"application/json\">";

size_t timesIn(std::string const& text, std::string const& part) {
   size_t times = 0;
   for (size_t at = text.find(part); at != std::string::npos;
        at = text.find(part, at + 1)) {
      ++times;
   }
   return times;
}

// What stands in the page for its script, as a browser finds it.
json dataOf(std::string const& page) {
   auto const begin = page.find(kDataBegin) + std::string(kDataBegin).size();
   return json::parse(page.substr(begin, page.find("</script", begin) - begin));
}

class Report : public testing::Test {
 protected:
   std::string reportOf(std::string const& recording) {
      auto const file = folder_.file("report.html");
      auto const outcome = runAgent(folder_, {"report", recording, "-o", file});
      EXPECT_EQ(outcome.status, 0) << outcome.err;
      EXPECT_EQ(outcome.out + outcome.err, "");
      return file;
   }

   static bool hasBrowser() {
      return std::system("command -v chromium >/dev/null 2>&1") == 0;
   }

   // The page as it is once its script has run.
   std::string drawn(std::string const& file) {
      auto const outcome = runShell(
         folder_,
         "chromium --headless --no-sandbox --disable-gpu --disable-quic "
         "--no-first-run --disable-background-networking --disable-component-update "
         "--disable-sync --user-data-dir=" +
            folder_.file("browser" + std::to_string(++browsers_)) +
            " --virtual-time-budget=5000 --dump-dom file://" + file);
      EXPECT_EQ(outcome.status, 0) << outcome.err;
      EXPECT_THAT(outcome.out,
                  AllOf(HasSubstr("data-drawn=\"yes\""), Not(HasSubstr("id=\"error\"")),
                        Not(HasSubstr("NaN"))));
      // The data, which stand in it too, are none of what was drawn.
      auto const begin = outcome.out.find(kDataBegin);
      auto const end = outcome.out.find("</script>", begin);
      return outcome.out.substr(0, begin) + outcome.out.substr(end);
   }

   TemporaryFolder folder_;
   int browsers_ = 0; // each has a folder of its own
};

// Edge counts as the page shows them, by the names of the nodes.
using EdgeCounts = std::map<std::pair<std::string, std::string>, uint64_t>;

std::string unescaped(std::string text) {
   return std::regex_replace(text, std::regex("&amp;"), "&");
}

EdgeCounts edgeCountsIn(std::string const& page) {
   EdgeCounts counts;
   std::regex const label(
      R"x(data-from="([^"]*)" data-to="([^"]*)" data-count="(\d+)">[^<]*<title>([\d,]+)<)x");
   for (std::sregex_iterator at(page.begin(), page.end(), label), end; at != end;
        ++at) {
      auto const shown = std::regex_replace((*at)[4].str(), std::regex(","), "");
      EXPECT_EQ(shown, (*at)[3]);
      counts[{unescaped((*at)[1]), unescaped((*at)[2])}] = std::stoull((*at)[3]);
   }
   return counts;
}

// The sum of what leads to a node.
uint64_t into(EdgeCounts const& counts, std::string const& node) {
   uint64_t sum = 0;
   for (auto const& [edge, count] : counts) {
      sum += edge.second == node ? count : 0;
   }
   return sum;
}

uint64_t sumOf(json const& changes) {
   uint64_t sum = 0;
   for (auto const& count : changes) {
      sum += count.get<uint64_t>();
   }
   return sum;
}

void expectEqualToStatistics(EdgeCounts const& counts, json const& statistics) {
   ASSERT_EQ(counts.size(), 15u);
   for (auto const& [stream, events] : statistics["streams"].items()) {
      EXPECT_EQ(into(counts, stream), events) << stream;
   }
   for (auto const& [node, output] : std::map<std::string, std::string>{
           {"membershipJoinStatus.vlan[].routerIntf[]", "router_intf"},
           {"membershipJoinStatus.vlan[].group[].source[].excludeIntf[]",
            "exclude_intf"},
           {"membershipJoinStatus.vlan[].group[].source[].includeIntf[]",
            "include_intf"},
           {"transitIntfColl.intf[]", "transit_intf"}}) {
      EXPECT_EQ(into(counts, node), sumOf(statistics["outputs"][output])) << node;
   }
}

} // namespace

TEST_F(Report, IsDrawnByABrowserWithEveryVlanAndTheCountsOfTheStatistics) {
   if (!hasBrowser()) {
      GTEST_SKIP() << "there is no chromium here: scripts/setup.sh --browser";
   }
   auto examples = recordingExamples(folder_);
   examples.push_back({"leaf",
                       {"--state", "examples/leaf-pair.jsonc",
                        folder_.write("restart.jsonl", R"({"host":"restart"})"
                                                       "\n")}});
   for (auto const& example : examples) {
      SCOPED_TRACE(example.name);
      auto const recording = recordedTo(folder_, "recording", example.arguments);
      auto const file = reportOf(recording);
      auto const data = dataOf(readText(file));
      auto const page = drawn(file);
      auto const statistics =
         lineWith(bundleOf(folder_, recording), "statistics")["statistics"];
      if (example.isDataflow) {
         expectEqualToStatistics(edgeCountsIn(page), statistics);
      } else {
         EXPECT_EQ(edgeCountsIn(page).size(), 0u);
         EXPECT_THAT(page, HasSubstr("TransitSm has no pipeline"));
      }
      auto const vlans = data["vlans"].size();
      EXPECT_GT(vlans, 0u);
      EXPECT_EQ(timesIn(page, "data-vlan="), vlans);
      EXPECT_EQ(timesIn(page, "data-condition="), vlans * 6);
      EXPECT_EQ(timesIn(page, "data-output="), vlans * 2);
      EXPECT_EQ(timesIn(page, "data-lane="), data["lanes"].size());
      EXPECT_EQ(timesIn(page, "data-series="), 2u);
   }
}

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

TEST_F(Report, ANameEndsNothingAndIsShownAsItIs) {
   std::string const name = "</script><script>throw 1</script><!--<b id=x>&amp;";
   auto const events =
      folder_.write("events.jsonl",
                    json({{"op", "add"},
                          {"path", "/vtiStatusDir/vtiStatus/Vxlan1/vrfToSBDVlan/" +
                                      std::regex_replace(name, std::regex("/"), "~1")},
                          {"value", 10}})
                          .dump() +
                       "\n");
   auto const file =
      reportOf(recordedTo(folder_, "<img src=x onerror=throw>",
                          {"--state", "examples/minimal.jsonc", events}));
   auto const text = readText(file);
   EXPECT_EQ(timesIn(text, "</script"), 2u);
   EXPECT_EQ(timesIn(text, "<!--"), 0u);
   EXPECT_THAT(dataOf(text)["vlans"][0]["vrfs"].get<std::string>(), HasSubstr(name));
   if (hasBrowser()) {
      auto const page = drawn(file);
      EXPECT_THAT(page, HasSubstr("&lt;/script&gt;&lt;script&gt;throw 1"));
      EXPECT_EQ(timesIn(page, "<b "), 0u);
      EXPECT_EQ(timesIn(page, "<img"), 0u);
   }
}

TEST_F(Report, OfARecordingInWhichNothingHappenedIsDrawnToo) {
   auto const recording =
      recordedTo(folder_, "recording",
                 {"--manual", "--slice-items", "1", "--state", "examples/restart.jsonc",
                  "examples/restart.jsonl"});
   auto const whole = readText(recording);
   folder_.write("recording", whole.substr(0, whole.find('\n') + 1));
   auto const file = folder_.file("report.html");
   auto const outcome = runAgent(folder_, {"report", recording, "-o", file});
   EXPECT_EQ(outcome.status, 0);
   EXPECT_THAT(outcome.err, HasSubstr("the recording has no end"));
   auto const data = dataOf(readText(file));
   EXPECT_EQ(data["head"]["steps"], 0);
   EXPECT_EQ(data["vlans"].size(), 3u);
   if (hasBrowser()) {
      auto const page = drawn(file);
      EXPECT_EQ(timesIn(page, "data-vlan="), 3u);
      EXPECT_THAT(page, HasSubstr("The recording has no end"));
   }
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

TEST_F(Report, OfManyVlansShowsThoseThatMostHappenedTo) {
   auto const state = folder_.write("state.json", manyTransitVlans(4094).dump());
   auto const events = folder_.write(
      "events.jsonl", R"({"op":"remove","path":"/pegVlanStatus/pegVlan/4000"})"
                      "\n");
   auto const file =
      reportOf(recordedTo(folder_, "recording", {"--state", state, events}));
   auto const data = dataOf(readText(file));
   EXPECT_EQ(data["head"]["vlans"], 4094);
   ASSERT_EQ(data["vlans"].size(), Agent::kMostVlansShown);
   EXPECT_EQ(data["vlans"].back()["vlan"], 4000);
   EXPECT_LT(readText(file).size(), 2'000'000u);
   if (hasBrowser()) {
      auto const page = drawn(file);
      EXPECT_EQ(timesIn(page, "data-vlan="), Agent::kMostVlansShown);
      EXPECT_THAT(page, HasSubstr("Shown are 64 of 4,094 VLANs"));
   }
}

TEST_F(Report, OfManyStepsShowsTheLast) {
   constexpr int kChanges = 10'000;
   std::string events;
   for (int i = 0; i < kChanges; ++i) {
      events += R"({"op":"replace","path":"/mlagStatus/mlagState","value":)" +
                std::to_string(i % 5) + "}\n";
   }
   auto const state = folder_.write("state.json", manyTransitVlans(5).dump());
   auto const file = reportOf(recordedTo(
      folder_, "recording", {"--state", state, folder_.write("events.jsonl", events)}));
   auto const data = dataOf(readText(file));
   EXPECT_GE(data["head"]["steps"], kChanges);
   EXPECT_EQ(data["head"]["inputs"], kChanges - 1) << "the first is what stood there";
   EXPECT_EQ(data["begins"].size(), Agent::kMostStepsShown);
   EXPECT_LT(readText(file).size(), 2'000'000u);
   if (hasBrowser()) {
      auto const steps =
         std::to_string(data["head"]["steps"].get<int>()).insert(2, ",");
      EXPECT_THAT(drawn(file), HasSubstr("Shown are the last 2,000 of " + steps));
   }
}
