#pragma once

#include "support/Recordings.h"
#include "support/TransitState.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <regex>
#include <string>

namespace TestSupport {

inline constexpr char const* kDataBegin =
   "<script id=\"data\" type=\"application/json\">";

inline size_t timesIn(std::string const& text, std::string const& part) {
   size_t times = 0;
   for (size_t at = text.find(part); at != std::string::npos;
        at = text.find(part, at + 1)) {
      ++times;
   }
   return times;
}

// What stands in the page for its script, as a browser finds it.
inline nlohmann::json dataOf(std::string const& page) {
   auto const begin = page.find(kDataBegin) + std::string(kDataBegin).size();
   return nlohmann::json::parse(
      page.substr(begin, page.find("</script", begin) - begin));
}

// A test with pages of recordings (report).
class ReportFixture : public testing::Test {
 protected:
   std::string reportOf(std::string const& recording) const {
      auto const file = folder_.file("report.html");
      auto const outcome = runAgent(folder_, {"report", recording, "-o", file});
      EXPECT_EQ(outcome.status, 0) << outcome.err;
      EXPECT_EQ(outcome.out + outcome.err, "");
      return file;
   }

   // Of a recording whose name, and the name of a VRF in it, would be markup.
   std::string reportOfHostileNames() const {
      auto const path = "/vtiStatusDir/vtiStatus/Vxlan1/vrfToSBDVlan/" +
                        std::regex_replace(hostileName_, std::regex("/"), "~1");
      auto const events = folder_.write(
         "events.jsonl",
         nlohmann::json({{"op", "add"}, {"path", path}, {"value", 10}}).dump() + "\n");
      return reportOf(recordedTo(folder_, "<img src=x onerror=throw>",
                                 {"--state", "examples/minimal.jsonc", events}));
   }

   // Of a recording that was ended before anything happened, which is said.
   std::string reportOfNothing() const {
      auto const recording =
         recordedTo(folder_, "recording",
                    {"--manual", "--slice-items", "1", "--state",
                     "examples/restart.jsonc", "examples/restart.jsonl"});
      auto const whole = readText(recording);
      folder_.write("recording", whole.substr(0, whole.find('\n') + 1));
      auto const file = folder_.file("report.html");
      auto const outcome = runAgent(folder_, {"report", recording, "-o", file});
      EXPECT_EQ(outcome.status, 0);
      EXPECT_NE(outcome.err.find("the recording has no end"), std::string::npos);
      return file;
   }

   // Of 4,094 VLANs, of which one changes.
   std::string reportOfManyVlans() const {
      auto const state = folder_.write("state.json", manyTransitVlans(4094).dump());
      auto const events = folder_.write(
         "events.jsonl", R"({"op":"remove","path":"/pegVlanStatus/pegVlan/4000"})"
                         "\n");
      return reportOf(recordedTo(folder_, "recording",
                                 {"--slice-items", "64", "--state", state, events}));
   }

   std::string reportOfManySteps() const {
      std::string events;
      for (int i = 0; i < kManySteps; ++i) {
         events += R"({"op":"replace","path":"/mlagStatus/mlagState","value":)" +
                   std::to_string(i % 5) + "}\n";
      }
      auto const state = folder_.write("state.json", manyTransitVlans(5).dump());
      return reportOf(
         recordedTo(folder_, "recording",
                    {"--state", state, folder_.write("events.jsonl", events)}));
   }

   static constexpr int kManySteps = 10'000;
   std::string const hostileName_ =
      "</script><script>throw 1</script><!--<b id=x>&amp;";
   TemporaryFolder folder_;
};

} // namespace TestSupport
