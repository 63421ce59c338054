#include "agent/verify/ExpectedDifferences.h"
#include "support/AgentProcess.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

using namespace TestSupport;
using Verify::ExpectedDifference;

// The document shows the table that the comparison uses, and the examples meet it
// whole.
namespace {

std::string rowsOfTheCode(ExpectedDifference::In in) {
   std::ostringstream rows;
   for (auto const* const each : Verify::Expected::kAll) {
      if (each->in == in) {
         rows << "| " << each->name << " | " << each->brief << " | " << each->what
              << " | " << each->reason << " |\n";
      }
   }
   return rows.str();
}

// The tables of the document, without their two lines of head.
std::vector<std::string> rowsOfTheDocument() {
   std::istringstream in(readText(SOURCE_FOLDER "/docs/TwoMachines.md"));
   std::vector<std::string> tables;
   int inside = 0;
   for (std::string line; std::getline(in, line);) {
      inside = line.starts_with("|") ? inside + 1 : 0;
      if (inside == 1) {
         tables.emplace_back();
      } else if (inside > 2) {
         tables.back() += line + '\n';
      }
   }
   return tables;
}

} // namespace

TEST(Documents, ShowEachExpectedDifferenceAsTheComparisonHasIt) {
   EXPECT_EQ(rowsOfTheDocument(), (std::vector<std::string>{
                                     rowsOfTheCode(ExpectedDifference::In::outputs),
                                     rowsOfTheCode(ExpectedDifference::In::changes)}));
}

TEST(Documents, HaveAnExampleOfEachExpectedDifference) {
   TemporaryFolder folder;
   std::string const story = "examples/two-machines.jsonl";
   std::string const state = "examples/two-machines.jsonc";
   std::string met;
   for (std::vector<std::string> const& args : std::vector<std::vector<std::string>>{
           {"replay", "--sm", "both", "--seed", "1", "--state", state, story},
           {"compare", "--af", "ipv6", "examples/leaf-pair.jsonc"},
           {"compare", "--toggle", "McastVpnTransitMlag=off",
            "examples/minimal.jsonc"}}) {
      auto const outcome = runAgent(folder, args);
      EXPECT_EQ(outcome.status, 0) << outcome.err;
      met += outcome.out + outcome.err;
   }
   for (auto const* const each : Verify::Expected::kAll) {
      EXPECT_NE(met.find(each->brief), std::string::npos) << each->name;
   }
}
