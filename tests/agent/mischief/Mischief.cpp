#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

// Loaded into the agent before everything else, to have happen what the world may do to
// it at the worst moment. The environment says what:
//
//    MISCHIEF_MALLOC=N      the Nth allocation fails, and each one after it
//    MISCHIEF_READ=HOW      after the first part of a file was read, the file is
//                           truncated, appended or removed; or, with error, the next
//                           part cannot be read
extern "C" void* __libc_malloc(size_t size) noexcept;

namespace {

uint64_t allocations = 0;

uint64_t firstThatFails() {
   static uint64_t const first = [] {
      char const* const text = std::getenv("MISCHIEF_MALLOC");
      return text == nullptr ? UINT64_MAX : std::strtoull(text, nullptr, 10);
   }();
   return first;
}

void happen(char const* how, char const* file) {
   if (std::strcmp(how, "truncated") == 0) {
      static_cast<void>(!truncate(file, 1));
   } else if (std::strcmp(how, "appended") == 0) {
      int const end = open(file, O_WRONLY | O_APPEND);
      static_cast<void>(!write(end, " ", 1));
      close(end);
   } else if (std::strcmp(how, "removed") == 0) {
      unlink(file);
   }
}

} // namespace

extern "C" void* malloc(size_t size) noexcept {
   if (++allocations >= firstThatFails()) {
      errno = ENOMEM;
      return nullptr;
   }
   return __libc_malloc(size);
}

extern "C" ssize_t read(int descriptor, void* to, size_t size) {
   using Read = ssize_t (*)(int, void*, size_t);
   static auto const original = reinterpret_cast<Read>(dlsym(RTLD_NEXT, "read"));
   static bool hasHappened = false;
   char const* const how = std::getenv("MISCHIEF_READ");
   struct stat status{};
   bool const isMeant = how != nullptr && fstat(descriptor, &status) == 0 &&
                        S_ISREG(status.st_mode) && descriptor > STDERR_FILENO;
   if (isMeant && hasHappened && std::strcmp(how, "error") == 0) {
      errno = EIO;
      return -1;
   }
   auto const count = original(descriptor, to, size);
   if (isMeant && !hasHappened) {
      hasHappened = true;
      char link[64];
      char file[4096] = {};
      std::snprintf(link, sizeof link, "/proc/self/fd/%d", descriptor);
      static_cast<void>(!readlink(link, file, sizeof file - 1));
      happen(how, file);
   }
   return count;
}
