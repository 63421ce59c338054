#pragma once

#include "support/AgentProcess.h"
#include "support/Pipe.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace TestSupport {

// The agent while it runs, with descriptors of the test's for its standard streams; -1
// is /dev/null. It is killed if it is still there when this goes, or the test does.
class RunningAgent {
 public:
   struct Streams {
      int in = -1;
      int out = -1;
      int err = -1;
      std::string terminal = {}; // that controls it; none if empty
      uid_t user = 0;            // whose it is; the test's own if 0
   };

   RunningAgent(std::vector<std::string> args, Streams const& streams,
                std::vector<std::string> environment = {}) {
      args.insert(args.begin(), AGENT_PROGRAM);
      std::vector<char*> arguments;
      for (auto& each : args) {
         arguments.push_back(each.data());
      }
      arguments.push_back(nullptr);
      child_ = fork();
      if (child_ == 0) {
         prctl(PR_SET_PDEATHSIG, SIGKILL);
         setsid();
         // The first that the leader of a session opens controls it.
         static_cast<void>(open(streams.terminal.c_str(), O_RDWR | O_CLOEXEC));
         // What a test runner ignores, an agent does not.
         for (int const signal : {SIGINT, SIGTERM, SIGPIPE}) {
            std::signal(signal, SIG_DFL);
         }
         streamIs(STDIN_FILENO, streams.in, O_RDONLY);
         streamIs(STDOUT_FILENO, streams.out, O_WRONLY);
         streamIs(STDERR_FILENO, streams.err, O_WRONLY);
         for (auto& each : environment) {
            putenv(each.data());
         }
         if (streams.user != 0 && setuid(streams.user) != 0) {
            _exit(127);
         }
         execv(arguments.front(), arguments.data());
         _exit(127);
      }
   }
   RunningAgent(RunningAgent const&) = delete;
   RunningAgent& operator=(RunningAgent const&) = delete;
   ~RunningAgent() {
      if (child_ > 0) {
         kill(child_, SIGKILL);
         waitpid(child_, nullptr, 0);
      }
   }

   void signal(int number) const { kill(child_, number); }
   // What it writes to files fails from there on, as if a disk were full.
   void mostFileSizeIs(rlim_t bytes) const { mostIs(RLIMIT_FSIZE, bytes); }
   // It, and each process that it makes, gets no more memory than it has.
   void noMoreMemory() const { mostIs(RLIMIT_AS, kilobytes("VmSize:") * 1024); }
   // The processes that it has made and that are there yet.
   std::vector<pid_t> children() const {
      auto const number = std::to_string(child_);
      std::istringstream text(
         readText("/proc/" + number + "/task/" + number + "/children"));
      return {std::istream_iterator<pid_t>(text), {}};
   }
   // How much memory it has at present; 0 if it is not there.
   uint64_t residentKilobytes() const { return kilobytes("VmRSS:"); }

   // How it ended; 128 + N when signal N ended it, -1 when it did not in that time.
   int status(std::chrono::seconds patience = std::chrono::seconds(60)) {
      auto const end = std::chrono::steady_clock::now() + patience;
      int status = 0;
      while (waitpid(child_, &status, WNOHANG) == 0) {
         if (std::chrono::steady_clock::now() > end) {
            return -1;
         }
         std::this_thread::sleep_for(std::chrono::milliseconds(1));
      }
      child_ = -1;
      return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
   }

 private:
   uint64_t kilobytes(std::string const& name) const {
      std::istringstream status(
         readText("/proc/" + std::to_string(child_) + "/status"));
      for (std::string line; std::getline(status, line);) {
         if (line.starts_with(name)) {
            return std::strtoull(line.c_str() + name.size(), nullptr, 10);
         }
      }
      return 0;
   }
   void mostIs(__rlimit_resource resource, rlim_t most) const {
      rlimit const limit{most, RLIM_INFINITY};
      prlimit(child_, resource, &limit, nullptr);
   }
   static void streamIs(int stream, int descriptor, int mode) {
      dup2(descriptor >= 0 ? descriptor : open("/dev/null", mode), stream);
   }

   pid_t child_ = -1;
};

} // namespace TestSupport
