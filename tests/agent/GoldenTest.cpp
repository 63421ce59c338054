#include "support/AgentProcess.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace TestSupport;

// What programs read is held by files: whoever changes it sees it in the difference,
// and raises the schema's version where a program would have to know. A file is made
// anew by the command that it holds the output of; its name says which.
namespace {

struct Golden {
   char const* name;
   std::vector<std::string> args;
};

class GoldenFile : public testing::TestWithParam<Golden> {};

} // namespace

TEST_P(GoldenFile, HoldsWhatTheProgramPrints) {
   TemporaryFolder folder;
   auto const file = std::string("tests/agent/golden/") + GetParam().name + ".json";
   auto const outcome = runAgent(folder, GetParam().args);
   EXPECT_EQ(outcome.err, "");
   EXPECT_EQ(outcome.out, readText(SOURCE_FOLDER "/" + file)) << file;
}

INSTANTIATE_TEST_SUITE_P(
   Json, GoldenFile,
   testing::Values(
      Golden{"run_leaf_pair", {"run", "--json", "examples/leaf-pair.jsonc"}},
      Golden{"explain_leaf_pair", {"explain", "--json", "examples/leaf-pair.jsonc"}},
      Golden{"explain_no_overlay", {"explain", "--json", "examples/no-overlay.jsonc"}},
      Golden{"explain_peer_link_lost",
             {"explain", "--json", "examples/peer-link-lost.jsonc"}},
      Golden{"explain_restart", {"explain", "--json", "examples/restart.jsonc"}},
      Golden{
         "plan_restart",
         {"plan", "--json", "--mode", "sync", "--seed", "1", "examples/restart.jsonc"}},
      Golden{"compare_two_machines",
             {"compare", "--json", "--mode", "sync", "--seed", "1",
              "examples/two-machines.jsonc"}}),
   [](auto const& each) { return std::string(each.param.name); });
