#pragma once

#include "support/TemporaryFolder.h"

#include <sys/wait.h>

#include <cstdlib>
#include <string>
#include <vector>

// The agent as people run it: a process with files, standard streams and a status.
// AGENT_PROGRAM and SOURCE_FOLDER come from the build.
namespace TestSupport {

struct Outcome {
   int status; // the exit status; 128 + N when signal N ended the process
   std::string out;
   std::string err;
};

// Runs a shell command in the source folder.
inline Outcome runShell(TemporaryFolder const& folder, std::string const& command) {
   auto const out = folder.file("out");
   auto const err = folder.file("err");
   auto const whole =
      "cd '" SOURCE_FOLDER "' && (" + command + ") >" + out + " 2>" + err;
   int const status = std::system(whole.c_str());
   return {WEXITSTATUS(status), readText(out), readText(err)};
}

inline std::string shellQuoted(std::string const& text) {
   std::string quoted = "'";
   for (char const c : text) {
      quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
   }
   return quoted + "'";
}

inline Outcome runAgent(TemporaryFolder const& folder,
                        std::vector<std::string> const& args,
                        std::string const& input = "") {
   std::string command = shellQuoted(AGENT_PROGRAM);
   for (auto const& arg : args) {
      command += ' ' + shellQuoted(arg);
   }
   return runShell(folder, command + " <" + folder.write("in", input));
}

} // namespace TestSupport
