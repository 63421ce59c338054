#include "support/AgentProcess.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

using namespace TestSupport;

// What the documents show is what the program prints. A block that opens with
// "```console" holds commands, each after "$ ", and their whole output below.
namespace {

struct Command {
   std::string file;
   size_t line;
   std::string command;
   std::string output;
};

void collect(std::filesystem::path const& file, std::vector<Command>& commands) {
   std::istringstream in(readText(file.string()));
   bool inside = false;
   size_t number = 0;
   for (std::string line; std::getline(in, line);) {
      ++number;
      if (!inside) {
         inside = line == "```console";
      } else if (line == "```") {
         inside = false;
      } else if (line.starts_with("$ ")) {
         commands.push_back({file.filename().string(), number, line.substr(2), ""});
      } else if (!commands.empty()) {
         commands.back().output += line + '\n';
      }
   }
}

std::vector<Command> commandsOfTheDocuments() {
   std::filesystem::path const root = SOURCE_FOLDER;
   std::vector<Command> commands;
   collect(root / "README.md", commands);
   for (auto const& entry : std::filesystem::directory_iterator(root / "docs")) {
      if (entry.path().extension() == ".md") {
         collect(entry.path(), commands);
      }
   }
   return commands;
}

} // namespace

TEST(Documents, ShowWhatTheProgramPrints) {
   TemporaryFolder folder;
   auto const commands = commandsOfTheDocuments();
   ASSERT_GE(commands.size(), 5U);
   for (auto const& shown : commands) {
      auto const outcome = runShell(folder, "PATH='" AGENT_FOLDER "':\"$PATH\"; " +
                                               shown.command + " 2>&1");
      EXPECT_EQ(outcome.out, shown.output)
         << shown.file << ":" << shown.line << ": " << shown.command;
   }
}
