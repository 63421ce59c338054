#include "agent/Terminal.h"

#include <unistd.h>

#include <cstdlib>

namespace Agent {

bool mayDecorate(std::FILE* stream) {
   char const* const noColor = std::getenv("NO_COLOR");
   return (noColor == nullptr || *noColor == '\0') && isatty(fileno(stream)) == 1;
}

} // namespace Agent
