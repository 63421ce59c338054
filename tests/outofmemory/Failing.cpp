#include "outofmemory/Failing.h"

#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <new>

namespace {

constexpr uint64_t kNever = UINT64_MAX;

uint64_t left = kNever; // allocations until one fails
bool lasts = false;
bool hasFailed = false;

bool mayAllocate() {
   if (left == kNever) {
      return true;
   }
   if (left > 1) {
      --left;
      return true;
   }
   hasFailed = true;
   left = lasts ? 1 : kNever;
   return false;
}

} // namespace

void* operator new(std::size_t size) {
   void* const memory = mayAllocate() ? std::malloc(size) : nullptr;
   if (memory == nullptr) {
      throw std::bad_alloc();
   }
   return memory;
}
void operator delete(void* memory) noexcept {
   std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
   std::free(memory);
}

namespace OutOfMemory {

namespace {

// How long a child may take: what hangs is ended by SIGALRM.
constexpr unsigned kMostSeconds = 60;
constexpr int kComplete = 10;
constexpr int kDespite = 11;
constexpr int kToldCaller = 12;
constexpr int kWrong = 13; // what is wrong is on standard error

[[noreturn]] void leave(int status, std::string const& wrong) {
   if (!wrong.empty()) {
      static_cast<void>(!write(STDERR_FILENO, wrong.data(), wrong.size()));
   }
   _exit(wrong.empty() ? status : kWrong);
}

[[noreturn]] void doWork(Shortage const& shortage, std::function<void()> const& work,
                         std::function<std::string(bool isDone)> const& afterwards) {
   alarm(kMostSeconds);
   left = shortage.first;
   lasts = shortage.lasts;
   bool isDone = true;
   try {
      work();
   } catch (std::bad_alloc const&) {
      isDone = false;
   }
   left = kNever;
   leave(!hasFailed ? kComplete : isDone ? kDespite : kToldCaller, afterwards(isDone));
}

std::string readAll(int descriptor) {
   std::string text;
   std::array<char, 4096> part;
   for (ssize_t count; (count = read(descriptor, part.data(), part.size())) > 0;) {
      text.append(part.data(), static_cast<size_t>(count));
   }
   return text;
}

Ending endingOf(int status, std::string const& said) {
   using Kind = Ending::Kind;
   if (WIFSIGNALED(status)) {
      bool const isTold =
         said.find("terminate called after throwing an instance of 'std::bad_alloc'\n"
                   "  what():  std::bad_alloc\n") != std::string::npos;
      if (WTERMSIG(status) == SIGABRT && isTold) {
         return {Kind::terminated, ""};
      }
      return {Kind::otherwise,
              "signal " + std::to_string(WTERMSIG(status)) + ": " + said};
   }
   switch (WEXITSTATUS(status)) {
      case kComplete:
         return {Kind::complete, ""};
      case kDespite:
         return {Kind::despite, ""};
      case kToldCaller:
         return {Kind::toldCaller, ""};
      default:
         return {Kind::otherwise, said};
   }
}

} // namespace

Ending endingOf(Shortage const& shortage, std::function<void()> const& work,
                std::function<std::string(bool isDone)> const& afterwards) {
   std::array<int, 2> ends{};
   if (pipe(ends.data()) != 0) {
      return {Ending::Kind::otherwise, "no pipe"};
   }
   pid_t const child = fork();
   if (child == 0) {
      dup2(ends[1], STDERR_FILENO);
      close(ends[0]);
      close(ends[1]);
      doWork(shortage, work, afterwards);
   }
   close(ends[1]);
   auto const said = readAll(ends[0]);
   close(ends[0]);
   int status = 0;
   waitpid(child, &status, 0);
   return endingOf(status, said);
}

} // namespace OutOfMemory
