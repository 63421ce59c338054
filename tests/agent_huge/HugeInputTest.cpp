#include "support/AgentProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <string_view>

// Inputs of a hundred megabytes, and such as have no end: what they hold that is right
// is taken, and what is not ends with a short message; all in little memory.
using namespace TestSupport;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Lt;
using testing::SizeIs;
using testing::StartsWith;

namespace {

constexpr size_t kHuge = 100'000'000;

std::string repeated(std::string_view part, size_t bytes) {
   std::string text;
   text.reserve(bytes + part.size());
   while (text.size() < bytes) {
      text += part;
   }
   return text;
}

class HugeInput : public testing::Test {
 protected:
   // As on a switch that has no more memory for the agent than 2 GB.
   Outcome run(std::string const& command, std::string const& file) {
      return runShell(folder_, "ulimit -v 2000000; " + shellQuoted(AGENT_PROGRAM) +
                                  ' ' + command + ' ' + shellQuoted(file));
   }
   Outcome runDocument(std::string const& text) {
      return run("run", folder_.write("state.json", text));
   }

   TemporaryFolder folder_;
};

void expectRefused(Outcome const& outcome, std::string const& why) {
   EXPECT_EQ(outcome.status, 2);
   EXPECT_EQ(outcome.out, "");
   EXPECT_THAT(outcome.err, SizeIs(Lt(1000U)));
   EXPECT_THAT(outcome.err, HasSubstr(why));
   EXPECT_THAT(outcome.err, StartsWith("mcastvpn-agent: "));
   EXPECT_THAT(outcome.err, EndsWith("\n"));
}

} // namespace

TEST_F(HugeInput, OfAHundredMegabytesOfSmallValuesIsRefused) {
   expectRefused(runDocument(R"({"mlagStatus":[)" + repeated("{},", kHuge) + "{}]}"),
                 "state.json:1: more than 4000000 values stand here");
}

TEST_F(HugeInput, OfAHundredMegabytesWithOneNameIsRefusedInAShortMessage) {
   expectRefused(runDocument(R"({"mcastEvpnConfig":{"transitVrf":[")" +
                             std::string(kHuge, 'x') + R"("]}})"),
                 "a VRF name of at most 100 bytes");
}

TEST_F(HugeInput, OfAHundredMegabytesWithOneKeyIsRefusedInAShortMessage) {
   expectRefused(runDocument("{\n\"" + std::string(kHuge, 'x') + "\": 0}"),
                 "state.json:2: /xxxxxxxx");
}

TEST_F(HugeInput, OfAHundredMegabytesThatIsCutOffIsRefusedInAShortMessage) {
   expectRefused(runDocument("{\"" + std::string(kHuge, 'x')),
                 "not JSON: syntax error while parsing object key");
}

TEST_F(HugeInput, OfAHundredMegabytesOfDigitsIsRefusedInAShortMessage) {
   expectRefused(
      runDocument(R"({"mlagStatus":{"mlagState":)" + std::string(kHuge, '1') + "}}"),
      "number overflow");
}

TEST_F(HugeInput, OfAHundredMegabytesOfNothingIsRead) {
   auto const outcome = runDocument(std::string(kHuge, ' ') + "{}");
   EXPECT_EQ(outcome.status, 0);
   EXPECT_EQ(outcome.err, "");
}

TEST_F(HugeInput, OfAHundredMegabytesOfLinesIsBlamedAtItsLine) {
   expectRefused(runDocument(std::string(kHuge, '\n') + R"({"x": 0})"),
                 "state.json:100000001: /x: the unknown member \"x\"");
}

TEST_F(HugeInput, NestedAHundredMillionTimesIsRefused) {
   expectRefused(runDocument(std::string(kHuge, '[')), "nested deeper than 64 levels");
}

TEST_F(HugeInput, OfAHundredMegabytesOfNamesIsRead) {
   std::string text = R"({"mcastEvpnConfig":{"transitVrf":[)";
   for (int i = 0; text.size() < kHuge; ++i) {
      auto const number = std::to_string(i);
      text += '"' + number + std::string(100 - number.size(), 'x') + "\",";
   }
   text.back() = ']';
   auto const outcome = runDocument(text + "}}");
   EXPECT_EQ(outcome.status, 0);
   EXPECT_EQ(outcome.err, "");
}
