#include "agent/Descriptor.h"

#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace Agent {

void systemFailed(char const* what) {
   throw std::system_error(errno, std::generic_category(), what);
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
