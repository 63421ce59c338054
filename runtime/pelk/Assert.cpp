#include "pelk/Assert.h"

#include <cstdio>
#include <cstdlib>

namespace Pelk::Impl {

void assertionFailed(char const* file, uint32_t line, char const* function,
                     std::string_view message) noexcept {
   std::fflush(stdout);
   std::fprintf(stderr, "%s:%u: %s: %.*s\n", file, line, function,
                static_cast<int>(message.size()), message.data());
   std::fflush(stderr);
   std::abort();
}

} // namespace Pelk::Impl
