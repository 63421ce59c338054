#include "support/AgentProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <string>

using namespace TestSupport;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

// One document that must be refused, and what the message must name.
struct BadDocument {
   char const* what;
   char const* text;
   size_t line;
   char const* place;
   char const* found;
   char const* allowed;
};

class RefusedDocument : public testing::TestWithParam<BadDocument> {
 protected:
   TemporaryFolder folder_;
};

void expectRefused(Outcome const& outcome, std::string const& file,
                   BadDocument const& bad) {
   EXPECT_EQ(outcome.status, 2);
   EXPECT_EQ(outcome.out, "");
   EXPECT_THAT(outcome.err, StartsWith("mcastvpn-agent: " + file + ":" +
                                       std::to_string(bad.line) + ": "));
   EXPECT_THAT(outcome.err, HasSubstr(bad.place));
   EXPECT_THAT(outcome.err, HasSubstr(bad.found));
   EXPECT_THAT(outcome.err, HasSubstr(bad.allowed));
}

} // namespace

TEST_P(RefusedDocument, EndsRunWithTwoAndAMessageThatNamesPlaceFindingAndRemedy) {
   auto const file = folder_.write("state.jsonc", GetParam().text);
   expectRefused(runAgent(folder_, {"run", file}), file, GetParam());
}

TEST_P(RefusedDocument, EndsReplayWithTwoBeforeAnythingIsPlayed) {
   auto const file = folder_.write("state.jsonc", GetParam().text);
   auto const events = folder_.write("events.jsonl", "{\"host\":\"restart\"}\n");
   expectRefused(runAgent(folder_, {"replay", "--state", file, events}), file,
                 GetParam());
}

INSTANTIATE_TEST_SUITE_P(
   OfEveryKind, RefusedDocument,
   testing::Values(
      BadDocument{"UnknownMember", "{\n  \"mlagStatu\": {}\n}", 2, "/mlagStatu",
                  "the unknown member \"mlagStatu\"", "mcastEvpnConfig, vtiStatusDir"},
      BadDocument{"UnknownAttribute",
                  "{ \"vtiStatusDir\": { \"vtiStatus\": { \"Vxlan1\":\n"
                  "  { \"localVtep\": \"10.0.0.1\" } } } }",
                  2, "/vtiStatusDir/vtiStatus/Vxlan1/localVtep",
                  "the unknown member \"localVtep\"",
                  "localVtepAddr, mlagVtepAddr, vrfToSBDVlan"},
      BadDocument{"KeyAttribute",
                  "{ \"transitIntfColl\": { \"intf\": { \"Vlan10\":"
                  " { \"intfId\": \"Vlan10\" } } } }",
                  1, "/transitIntfColl/intf/Vlan10/intfId", "the unknown member",
                  "ipAddr"},
      BadDocument{"DocumentThatIsNoObject", "\n[1]", 1, "the document", "[1]",
                  "an object"},
      BadDocument{"EntityThatIsNoObject", "{ \"mlagStatus\": 3 }", 1, "/mlagStatus",
                  "3", "an object"},
      BadDocument{"VlanZero",
                  "{ \"vtiStatusDir\": { \"vtiStatus\": { \"Vxlan1\": {\n"
                  "\"vrfToSBDVlan\": {\n\"red\": 0\n} } } } }",
                  3, "/vtiStatusDir/vtiStatus/Vxlan1/vrfToSBDVlan/red", "0",
                  "a VLAN number from 1 to 4094"},
      BadDocument{"VlanTooLarge",
                  "{ \"vtiStatusDir\": { \"vtiStatus\": { \"Vxlan1\": {\n"
                  "\"vrfToSBDVlan\": {\n\"red\": 4095 } } } } }",
                  3, "/vtiStatusDir/vtiStatus/Vxlan1/vrfToSBDVlan/red", "4095",
                  "a VLAN number from 1 to 4094"},
      BadDocument{"VlanNegative",
                  "{ \"vtiStatusDir\": { \"vtiStatus\": { \"Vxlan1\": {\n"
                  "\"vrfToSBDVlan\": {\"red\": -1 } } } } }",
                  2, "/vrfToSBDVlan/red", "-1", "a VLAN number from 1 to 4094"},
      BadDocument{"VlanBeyondSixteenBits",
                  "{ \"vtiStatusDir\": { \"vtiStatus\": { \"Vxlan1\": {\n"
                  "\"vrfToSBDVlan\": {\"red\": 65546 } } } } }",
                  2, "/vrfToSBDVlan/red", "65546", "a VLAN number from 1 to 4094"},
      BadDocument{"VlanAsText",
                  "{ \"vtiStatusDir\": { \"vtiStatus\": { \"Vxlan1\": {\n"
                  "\"vrfToSBDVlan\": {\"red\": \"10\" } } } } }",
                  2, "/vrfToSBDVlan/red", "\"10\"", "a VLAN number from 1 to 4094"},
      BadDocument{"VlanAsFraction",
                  "{ \"vtiStatusDir\": { \"vtiStatus\": { \"Vxlan1\": {\n"
                  "\"vrfToSBDVlan\": {\"red\": 10.5 } } } } }",
                  2, "/vrfToSBDVlan/red", "10.5", "a VLAN number from 1 to 4094"},
      BadDocument{"PegVlanInArray",
                  "{ \"pegVlanStatus\": { \"pegVlan\": [\n10,\n5000\n] } }", 3,
                  "/pegVlanStatus/pegVlan/1", "5000", "a VLAN number from 1 to 4094"},
      BadDocument{"PegVlanKey", "{ \"pegVlanStatus\": { \"pegVlan\": { \"0\": {} } } }",
                  1, "/pegVlanStatus/pegVlan/0", "\"0\"",
                  "a VLAN number from 1 to 4094"},
      BadDocument{"PegVlanKeyWithLeadingZero",
                  "{ \"pegVlanStatus\": { \"pegVlan\": { \"010\": {} } } }", 1,
                  "/pegVlanStatus/pegVlan/010", "\"010\"",
                  "a VLAN number from 1 to 4094"},
      BadDocument{"MemberOfASetWithAValue",
                  "{ \"pegVlanStatus\": { \"pegVlan\": { \"10\": true } } }", 1,
                  "/pegVlanStatus/pegVlan/10", "true", "{}"},
      BadDocument{"KeyTwiceInAnArray",
                  "{ \"mcastEvpnConfig\": { \"transitVrf\": [\"a\",\n\"a\"] } }", 2,
                  "/mcastEvpnConfig/transitVrf/1", "\"a\" for the second time",
                  "one of each"},
      BadDocument{
         "SetThatIsAText", "{ \"mcastEvpnConfig\": { \"transitVrf\": \"red\" } }", 1,
         "/mcastEvpnConfig/transitVrf", "\"red\"", "an object or an array of keys"},
      BadDocument{
         "VrfNameTooLong",
         "{ \"mcastEvpnConfig\": { \"transitVrf\": [\n"
         "\"0123456789012345678901234567890123456789012345678901234567890123456789"
         "0123456789012345678901234567890\"] } }",
         2, "/mcastEvpnConfig/transitVrf/0", "\"0123456789",
         "a VRF name of at most 100 bytes"},
      BadDocument{"Address",
                  "{ \"vtiStatusDir\": { \"vtiStatus\": { \"Vxlan1\": {\n"
                  "\"localVtepAddr\": \"10.0.0\" } } } }",
                  2, "/vtiStatusDir/vtiStatus/Vxlan1/localVtepAddr", "\"10.0.0\"",
                  "an IPv4 address"},
      BadDocument{"AddressOfTheOtherFamily",
                  "{ \"vtiStatusDir\": { \"vtiStatus\": { \"Vxlan1\": {\n"
                  "\"mlagVtepAddr\": \"::1\" } } } }",
                  2, "/vtiStatusDir/vtiStatus/Vxlan1/mlagVtepAddr", "\"::1\"",
                  "an IPv4 address"},
      BadDocument{"AddressThatIsANumber",
                  "{ \"vtiStatusDir\": { \"vtiStatus\": { \"Vxlan1\": {\n"
                  "\"mlagVtepAddr\": 10 } } } }",
                  2, "/mlagVtepAddr", "10", "an IPv4 address"},
      BadDocument{"GroupAddress",
                  "{ \"membershipJoinStatus\": { \"vlan\": { \"10\": { \"group\":\n"
                  "{ \"any\": {} } } } } }",
                  2, "/membershipJoinStatus/vlan/10/group/any", "\"any\"",
                  "an IPv4 or IPv6 address"},
      BadDocument{"KeyTwiceInTwoForms",
                  "{ \"membershipJoinStatus\": { \"vlan\": { \"10\": { \"group\": {\n"
                  "\"::1\": {},\n\"0:0::1\": {} } } } } }",
                  2, "/membershipJoinStatus/vlan/10/group/::1",
                  "the key \"::1\" for the second time", "one of each"},
      BadDocument{"NumberOfTooManyDigits",
                  "{ \"mlagStatus\":\n{ \"mlagState\": 1e400 } }", 2, "not JSON",
                  "number overflow", "1e400"},
      BadDocument{"ControlCharactersInAKey", "{ \"\\u001b[31m\": {} }", 1,
                  "/\\u001b[31m: ", "the unknown member \"\\u001b[31m\"",
                  "mcastEvpnConfig"},
      BadDocument{"EmptyInterfaceName",
                  "{ \"vtiStatusDir\": { \"vtiStatus\": { \"\": {} } } }", 1,
                  "/vtiStatusDir/vtiStatus/", "\"\"", "a non-empty interface name"},
      BadDocument{"MlagStateName", "{ \"mlagStatus\": { \"mlagState\": \"up\" } }", 1,
                  "/mlagStatus/mlagState", "\"up\"",
                  "disabled, inactive, connecting, active, withheld"},
      BadDocument{"MlagStateType", "{ \"mlagStatus\": { \"mlagState\": true } }", 1,
                  "/mlagStatus/mlagState", "true",
                  "a number from 0 to 4294967295, or one of disabled"},
      BadDocument{"MlagStateTooHigh",
                  "{ \"mlagStatus\": { \"mlagState\": 4294967296 } }", 1,
                  "/mlagStatus/mlagState: ", "4294967296 stands here",
                  "a number from 0 to 4294967295, or one of disabled"},
      BadDocument{"MlagStateBelowNothing", "{ \"mlagStatus\": { \"mlagState\": -1 } }",
                  1, "/mlagStatus/mlagState: ", "-1 stands here",
                  "a number from 0 to 4294967295, or one of disabled"},
      BadDocument{"KeyTwice", "{ \"mlagStatus\": {},\n  \"mlagStatus\": {} }", 2,
                  "\"mlagStatus\"", "for the second time", "one of each"},
      BadDocument{"NoJson", "{ \"mlagStatus\": {},\n  mlag }", 2, "not JSON",
                  "invalid literal", "expected"},
      BadDocument{"TruncatedJson", "{ \"mlagStatus\": {\n", 1, "not JSON",
                  "end of input", "expected"},
      BadDocument{"NotUtf8", "{ \"mlagStatus\": {},\n \"\xff\": {} }", 2, "not JSON",
                  "invalid string", "UTF-8"}),
   [](auto const& param) { return std::string(param.param.what); });

TEST(Document, ThatDoesNotExistIsNamed) {
   TemporaryFolder folder;
   auto const file = folder.file("absent.json");
   auto const outcome = runAgent(folder, {"run", file});
   EXPECT_EQ(outcome.status, 2);
   EXPECT_EQ(outcome.err, "mcastvpn-agent: " + file +
                             ": cannot be read: No such file or directory\n");
}

TEST(Document, ThatIsAFolderIsNamed) {
   TemporaryFolder folder;
   auto const outcome = runAgent(folder, {"run", "/"});
   EXPECT_EQ(outcome.status, 2);
   EXPECT_EQ(outcome.err, "mcastvpn-agent: /: cannot be read: Is a directory\n");
}

TEST(Document, NestedTooDeepIsRefusedAtItsLine) {
   TemporaryFolder folder;
   auto const file =
      folder.write("deep.json", "{ \"mlagStatus\":\n" + std::string(100000, '['));
   auto const outcome = runAgent(folder, {"run", file});
   EXPECT_EQ(outcome.status, 2);
   EXPECT_EQ(outcome.err,
             "mcastvpn-agent: " + file + ":2: nested deeper than 64 levels\n");
}

TEST(Document, MayHoldWhatTheTypesHoldWhenItIsUnchecked) {
   TemporaryFolder folder;
   auto const file =
      folder.write("state.json", "{ \"vtiStatusDir\": { \"vtiStatus\": { \"Vxlan1\": {"
                                 "\"vrfToSBDVlan\": { \"red\": 0 } } } } }");
   EXPECT_EQ(runAgent(folder, {"run", file}).status, 2);
   EXPECT_EQ(runAgent(folder, {"run", "--sm", "reactor", "--unchecked", file}).status,
             0);
}

TEST(Document, UncheckedVlanOutOfRangeFailsAsTheLibraryDoes) {
   TemporaryFolder folder;
   auto const file =
      folder.write("state.json", "{ \"vtiStatusDir\": { \"vtiStatus\": { \"Vxlan1\": {"
                                 "\"vrfToSBDVlan\": { \"red\": 5000 } } } } }");
   auto const outcome =
      runAgent(folder, {"run", "--sm", "reactor", "--unchecked", file});
   EXPECT_EQ(outcome.status, 2);
   EXPECT_EQ(outcome.err, "mcastvpn-agent: the machine cannot be constructed: "
                          "Bridging::VlanId::value < 1 or > 4094 not allowed\n");
}

TEST(Document, UncheckedVlanOutOfRangeInANotificationEndsTheProcessWithItsMessage) {
   TemporaryFolder folder;
   auto const events = folder.write(
      "events.jsonl",
      "{\"op\":\"add\",\"path\":\"/vtiStatusDir/vtiStatus/Vxlan1\",\"value\":{}}\n"
      "{\"op\":\"add\",\"path\":\"/vtiStatusDir/vtiStatus/Vxlan1/vrfToSBDVlan/red\","
      "\"value\":5000}\n");
   auto const outcome =
      runAgent(folder, {"replay", "--sm", "reactor", "--unchecked", events});
   EXPECT_EQ(outcome.status, 128 + SIGABRT);
   EXPECT_EQ(outcome.out, "{\"line\":0}\n{\"line\":1}\n{\"line\":2}\n");
   EXPECT_THAT(outcome.err,
               HasSubstr("Bridging::VlanId::value < 1 or > 4094 not allowed"));
}
