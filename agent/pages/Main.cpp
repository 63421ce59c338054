#include "agent/Version.h"
#include "agent/observe/MetricTable.h"
#include "agent/pages/BashCompletion.h"
#include "agent/pages/ManSource.h"
#include "agent/pages/ZshCompletion.h"

#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <stdexcept>

using namespace Agent::Pages;

namespace {

void write(std::filesystem::path const& file, std::string const& text) {
   std::filesystem::create_directories(file.parent_path());
   std::ofstream out(file, std::ios::binary);
   out << text << std::flush;
   if (!out) {
      throw std::runtime_error(file.string() + " cannot be written");
   }
}

} // namespace

// Writes, below the folder that is named, the sources of the manual pages and the
// completions of the shells, each made of what --help says, and docs/Metrics.md, made
// of the metrics that are served.
int main(int argc, char** argv) {
   if (argc != 2) {
      std::cerr << "usage: mcastvpn-pages FOLDER\n";
      return EXIT_FAILURE;
   }
   try {
      std::filesystem::path const folder = argv[1];
      auto const program = Agent::Pages::program();
      for (auto const& placed : allCommands(program)) {
         write(folder / "man" / (manName(program, placed.path) + ".1.scd"),
               manSource(program, placed,
                         program.name + ' ' + std::string(Agent::kVersion)));
      }
      write(folder / "Metrics.md", Agent::metricsDocument());
      write(folder / "bash" / program.name, bashCompletion(program));
      write(folder / "zsh" / ('_' + program.name), zshCompletion(program));
   } catch (std::exception const& error) {
      std::cerr << "mcastvpn-pages: " << error.what() << '\n';
      return EXIT_FAILURE;
   }
   return EXIT_SUCCESS;
}
