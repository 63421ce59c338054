#include "agent/Terminal.h"

#include "agent/Descriptor.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>

namespace Agent {

bool mayDecorate(std::FILE* stream) {
   char const* const noColor = std::getenv("NO_COLOR");
   return (noColor == nullptr || *noColor == '\0') && isatty(fileno(stream)) == 1;
}

bool hasTerminal() {
   return static_cast<bool>(
      Descriptor(open("/dev/tty", O_RDWR | O_NOCTTY | O_CLOEXEC)));
}

} // namespace Agent
