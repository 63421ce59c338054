#include "support/AgentProcess.h"

#include <gtest/gtest.h>

#include <string>

using namespace TestSupport;

TEST(Documents, DrawThePipelineAsTheProgramPrintsIt) {
   TemporaryFolder folder;
   auto const printed = runAgent(folder, {"graph", "--format", "mermaid"});
   EXPECT_EQ(printed.status, 0) << printed.err;
   auto const document = readText(SOURCE_FOLDER "/docs/Pipeline.md");
   std::string const open = "```mermaid\n";
   auto const begin = document.find(open);
   ASSERT_NE(begin, std::string::npos);
   auto const end = document.find("```", begin + open.size());
   EXPECT_EQ(document.substr(begin + open.size(), end - begin - open.size()),
             printed.out);
}
