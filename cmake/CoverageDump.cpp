// Part of every program and library of a build that counts what is executed: a process
// that aborts, as one does in a death test, writes its counts all the same. Each module
// has counts of its own, so each adds a handler, which goes on to the one before it.
#include <csignal>
#include <cstdlib>

extern "C" void __gcov_dump();

namespace {

using Handler = void (*)(int);
Handler before;

void dump(int number) {
   __gcov_dump();
   if (before != SIG_DFL && before != SIG_IGN && before != SIG_ERR) {
      before(number);
   } else {
      std::signal(number, SIG_DFL);
      std::raise(number);
   }
}

[[maybe_unused]] bool const isInstalled = [] {
   before = std::signal(SIGABRT, dump);
   return true;
}();

} // namespace
