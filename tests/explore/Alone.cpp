#include "explore/Alone.h"

#include "explore/Player.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace Explore {

namespace {

constexpr int kSignalled = 128;

} // namespace

int aloneStatus(std::function<int()> const& work) {
   std::fflush(stdout); // what is kept there is not written twice
   pid_t const child = fork();
   if (child < 0) {
      std::perror("fork");
      std::abort();
   }
   if (child == 0) {
      int const status = [&]() noexcept { return work(); }();
      std::fflush(stdout);
      _exit(status);
   }
   int status = 0;
   while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
   }
   return WIFSIGNALED(status) ? kSignalled + WTERMSIG(status) : WEXITSTATUS(status);
}

std::string playedAlone(Schedule const& schedule) {
   std::array<int, 2> ends{};
   if (pipe(ends.data()) != 0) {
      std::perror("pipe");
      std::abort();
   }
   int const status = aloneStatus([&] {
      dup2(open("/dev/null", O_WRONLY), STDERR_FILENO);
      Figures ignored;
      auto const problems = Player(schedule, ignored).play();
      if (problems.empty()) {
         return 0;
      }
      // Less than a pipe takes, since nobody reads it yet.
      auto const text = problems.front().substr(0, 4096);
      return write(ends[1], text.data(), text.size()) > 0 ? 1 : 2;
   });
   close(ends[1]);
   std::array<char, 4096> text;
   auto const count = read(ends[0], text.data(), text.size());
   close(ends[0]);
   if (status > kSignalled) {
      return std::string("ends the process: ") + strsignal(status - kSignalled);
   }
   return {text.data(), count > 0 ? static_cast<size_t>(count) : 0};
}

} // namespace Explore
