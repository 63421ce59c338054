#include "agent/report/Selection.h"
#include "support/ReportFixture.h"

#include <gmock/gmock.h>

#include <map>
#include <utility>

using namespace TestSupport;
using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

// report: what a real browser makes of the page.
namespace {

class ReportInBrowser : public ReportFixture {
 protected:
   // The page as it is once its script has run.
   std::string drawn(std::string const& file) {
      auto const outcome = runShell(
         folder_,
         BROWSER
            " --headless --no-sandbox --disable-gpu --disable-quic "
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

 private:
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
   ASSERT_EQ(counts.size(), 19u); // all edges
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
   // Each event of the last stream comes to a sink once at most.
   for (auto const& [edge, count] : counts) {
      if (edge.first == "transitVlanStream") {
         EXPECT_LE(count, statistics["streams"]["transitVlanStream"]) << edge.second;
      }
   }
}

} // namespace

TEST_F(ReportInBrowser, IsDrawnWithEveryVlanAndTheCountsOfTheStatistics) {
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

TEST_F(ReportInBrowser, ANameIsShownAsItIs) {
   auto const page = drawn(reportOfHostileNames());
   EXPECT_THAT(page, HasSubstr("&lt;/script&gt;&lt;script&gt;throw 1"));
   EXPECT_EQ(timesIn(page, "<b "), 0u);
   EXPECT_EQ(timesIn(page, "<img"), 0u);
}

TEST_F(ReportInBrowser, ARecordingInWhichNothingHappenedIsDrawnToo) {
   auto const page = drawn(reportOfNothing());
   EXPECT_EQ(timesIn(page, "data-vlan="), 3u);
   EXPECT_THAT(page, HasSubstr("The recording has no end"));
}

TEST_F(ReportInBrowser, OfManyVlansShowsThoseThatMostHappenedTo) {
   auto const page = drawn(reportOfManyVlans());
   EXPECT_EQ(timesIn(page, "data-vlan="), Agent::kMostVlansShown);
   EXPECT_THAT(page, HasSubstr("Shown are 64 of 4,094 VLANs"));
}

TEST_F(ReportInBrowser, OfManyStepsShowsTheLast) {
   auto const file = reportOfManySteps();
   auto const steps = dataOf(readText(file))["head"]["steps"].get<int>();
   EXPECT_THAT(drawn(file), HasSubstr("Shown are the last 2,000 of " +
                                      std::to_string(steps).insert(2, ",")));
}
