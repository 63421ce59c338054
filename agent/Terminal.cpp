#include "agent/Terminal.h"

#include <unistd.h>

#include <cstdlib>

namespace Agent {

bool mayDecorate(std::FILE* stream) {
   char const* const noColor = std::getenv("NO_COLOR");
   return (noColor == nullptr || *noColor == '\0') && isatty(fileno(stream)) == 1;
}

bool flushed(std::FILE* stream) {
   return std::fflush(stream) == 0 && std::ferror(stream) == 0;
}

} // namespace Agent
