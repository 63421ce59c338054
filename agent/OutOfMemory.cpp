#include "agent/OutOfMemory.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string_view>

namespace Agent {

namespace {

Doing const* innermost = nullptr;

// As much of the text as there is room for.
char* put(char* at, char const* end, std::string_view text) noexcept {
   auto const size = std::min(text.size(), static_cast<size_t>(end - at));
   return std::copy_n(text.begin(), size, at);
}

// Allocates nothing, and is not called again for what it calls.
[[noreturn]] void endWithoutMemory() {
   std::set_new_handler(nullptr);
   std::array<char, 1024> message;
   char* const begin = message.data();
   char const* const last = begin + message.size() - 1;
   char* at = put(begin, last, "mcastvpn-agent: out of memory");
   at = Doing::write(at, last);
   *at++ = '\n';
   std::fflush(stdout);
   static_cast<void>(std::fwrite(begin, 1, static_cast<size_t>(at - begin), stderr));
   std::abort();
}

} // namespace

Doing::Doing(char const* what, char const* file, size_t line) noexcept
   : what_(what), file_(std::strcmp(file, "-") == 0 ? "standard input" : file),
     line_(line), before_(innermost) {
   innermost = this;
}

Doing::~Doing() {
   innermost = before_;
}

char* Doing::write(char* at, char const* end) noexcept {
   return innermost == nullptr ? at : innermost->writeThis(at, end);
}

char* Doing::writeThis(char* at, char const* end) const noexcept {
   if (before_ == nullptr) {
      at = put(at, end, " while ");
   } else {
      at = put(before_->writeThis(at, end), end, ": ");
   }
   at = put(at, end, what_);
   if (*file_ != '\0') {
      at = put(put(at, end, " "), end, file_);
   }
   if (line_ != 0) {
      std::array<char, 24> number;
      std::snprintf(number.data(), number.size(), ":%zu", line_);
      at = put(at, end, number.data());
   }
   return at;
}

void endWhenOutOfMemory() noexcept {
   std::set_new_handler(endWithoutMemory);
}

} // namespace Agent
