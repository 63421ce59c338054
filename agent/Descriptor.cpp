#include "agent/Descriptor.h"

#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace Agent {

void systemFailed(char const* what) {
   throw std::system_error(errno, std::generic_category(), what);
}

int writeAll(int descriptor, std::string_view text) noexcept {
   while (!text.empty()) {
      auto const count = write(descriptor, text.data(), text.size());
      if (count < 0 && errno != EINTR) {
         return errno;
      }
      text.remove_prefix(count < 0 ? 0 : static_cast<size_t>(count));
   }
   return 0;
}

Descriptor::~Descriptor() {
   if (number_ >= 0) {
      close(number_);
   }
}

Descriptor Descriptor::made(int number, char const* what) {
   if (number < 0) {
      systemFailed(what);
   }
   return Descriptor(number);
}

} // namespace Agent
