#include "agent/Streams.h"

#include "agent/BadInput.h"
#include "agent/SignalsHeld.h"

#include <fcntl.h>
#include <stdio_ext.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <iostream>
#include <string>
#include <system_error>

namespace Agent {

namespace {

// Written at once.
std::array<char, size_t{1} << 16> gathered;
// What went wrong first.
int failure = 0;
bool isFile = false;

void takeIfClosed(int descriptor, int mode) {
   if (fcntl(descriptor, F_GETFD) == -1 && errno == EBADF) {
      // The lowest number that is free, since those below were taken before.
      static_cast<void>(open("/dev/null", mode));
   }
}

void writeOut() {
   errno = 0;
   if (std::fflush(stdout) != 0 && failure == 0) {
      failure = errno;
   }
}

} // namespace

void prepareStreams() {
   // Opened the wrong way round, so that they are as good as closed.
   takeIfClosed(STDIN_FILENO, O_WRONLY);
   takeIfClosed(STDOUT_FILENO, O_RDONLY);
   takeIfClosed(STDERR_FILENO, O_WRONLY);
   // What cannot be written is told, be it for a reader that has gone or for a limit of
   // files' size.
   static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
   static_cast<void>(std::signal(SIGXFSZ, SIG_IGN));
   struct stat status{};
   isFile = fstat(STDOUT_FILENO, &status) == 0 && S_ISREG(status.st_mode);
   if (isatty(STDOUT_FILENO) == 0) {
      static_cast<void>(std::setvbuf(stdout, gathered.data(), _IOFBF, gathered.size()));
   }
}

void print(std::string_view text) {
   bool const isMore = __fpending(stdout) + text.size() > __fbufsize(stdout);
   SignalsHeld const held(isFile && isMore);
   if (isMore) {
      writeOut();
   }
   errno = 0;
   if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() &&
       failure == 0) {
      failure = errno;
   }
   if (text.size() > __fbufsize(stdout)) {
      writeOut();
   }
}

void flushResults() {
   SignalsHeld const held(isFile);
   writeOut();
}

void printMessage(std::string_view text) {
   flushResults();
   static_cast<void>(std::fwrite(text.data(), 1, text.size(), stderr));
}

void requireResults() {
   if (failure != 0 || std::ferror(stdout) != 0 || !std::cout.good()) {
      resultsFailed(failure);
   }
}

void resultsFailed(int error) {
   auto const reason = error != 0 ? ": " + std::generic_category().message(error) : "";
   throw InputError("standard output: the results cannot be written" + reason);
}

} // namespace Agent
