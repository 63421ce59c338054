#include "agent/JsonText.h"
#include "support/AgentProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <string>
#include <string_view>

// Inputs that are made to cost time, or to do something to the terminal on which they
// are complained of. (Those that are huge stand in tests/agent_huge.)
using namespace TestSupport;
using nlohmann::json;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

class HostileInput : public testing::Test {
 protected:
   Outcome runDocument(std::string const& text) {
      return runAgent(folder_, {"run", folder_.write("state.json", text)});
   }
   Outcome replay(std::string const& line) {
      return runAgent(folder_, {"replay", "-"}, line + '\n');
   }

   TemporaryFolder folder_;
};

void expectRefused(Outcome const& outcome, std::string const& why) {
   EXPECT_EQ(outcome.status, 2);
   EXPECT_THAT(outcome.err, StartsWith("mcastvpn-agent: "));
   EXPECT_THAT(outcome.err, HasSubstr(why));
}

} // namespace

// Its steps were once put in order one by one, each before all the others.
TEST_F(HostileInput, WithAPathOfAMillionStepsIsRefused) {
   expectRefused(
      replay(R"({"op":"remove","path":")" + std::string(1'000'000, '/') + "\"}"),
      "standard input:1: /: the unknown member \"\"");
}

TEST_F(HostileInput, OfManyOperationsInALineIsPlayed) {
   std::string line = "[";
   for (int i = 0; i < 20'000; ++i) {
      line += R"({"op":"add","path":"/mcastEvpnConfig/transitVrf/)" +
              std::to_string(i) + "\",\"value\":{}},";
   }
   line.back() = ']';
   EXPECT_EQ(replay(line).status, 0);
}

TEST_F(HostileInput, WithTerminalCommandsIsQuotedWithoutThem) {
   auto const outcome = runDocument("{\"mlagStatus\": \"\xc2\x9b\xff\x1b[2J\"}");
   expectRefused(outcome, "not JSON");
   EXPECT_EQ(outcome.err.find_first_of("\x1b\xff\x9b"), std::string::npos)
      << outcome.err;
}

TEST_F(HostileInput, WithATerminalCommandInAnInterfaceNameIsBlamedWithoutIt) {
   expectRefused(
      replay(R"({"op":"remove","path":"/transitIntfColl/intf/\u001b[2J/ipAddr/y"})"),
      "allowed is no more than /transitIntfColl/intf/\\u001b[2J/ipAddr");
}

TEST_F(HostileInput, WithANameOfAMegabyteIsRefusedInAShortMessage) {
   auto const outcome =
      runDocument(R"({"transitIntfColl":{"intf":{")" + std::string(1'000'000, 'x') +
                  R"(":{"ipAddr":"10.0.0"}}}})");
   expectRefused(outcome, "\"10.0.0\" stands here; allowed is an IPv4 or IPv6 address");
   EXPECT_LT(outcome.err.size(), 1000U);
}

TEST(LineOf, IsThatOfTheElementOrOfItsNearestParent) {
   constexpr std::string_view kText = R"({
      "a": [
         0,
         {"b/c": 1,
          "~d": [[
             2]]}],
      "e": {}})";
   auto const line = [&](char const* pointer) {
      return Agent::lineOf(kText, json::json_pointer(pointer));
   };
   EXPECT_EQ(line(""), 1U);
   EXPECT_EQ(line("/a"), 2U);
   EXPECT_EQ(line("/a/0"), 3U);
   EXPECT_EQ(line("/a/1"), 4U);
   EXPECT_EQ(line("/a/1/b~1c"), 4U);
   EXPECT_EQ(line("/a/1/~0d/0/0"), 6U);
   EXPECT_EQ(line("/a/1/~0d/7"), 5U);
   EXPECT_EQ(line("/a/1/x/0/0"), 4U);
   EXPECT_EQ(line("/a/01"), 2U);
   EXPECT_EQ(line("/e/x"), 7U);
   EXPECT_EQ(line("/x"), 1U);
}

TEST(LineOf, ReadsALargeDocumentOnce) {
   std::string text = "{\"a\": [";
   for (int i = 0; i < 300'000; ++i) {
      text += "\n{},";
   }
   text.back() = ']';
   text += '}';
   EXPECT_EQ(Agent::lineOf(text, json::json_pointer("/a/299999")), 300'001U);
}

TEST(JsonText, TokensOfAPointerAreItsUnescapedSteps) {
   EXPECT_THAT(Agent::tokensOf(json::json_pointer("/a~1b/~0//7")),
               testing::ElementsAre("a/b", "~", "", "7"));
   EXPECT_THAT(Agent::tokensOf(json::json_pointer()), testing::IsEmpty());
}
