#include "agent/serve/LiveResults.h"

#include "agent/BadInput.h"
#include "agent/Streams.h"
#include "agent/serve/LiveMessages.h"

#include <unistd.h>

#include <fmt/format.h>

namespace Agent {

LiveResults::LiveResults(EventLoop& loop)
   : stream_(loop, STDOUT_FILENO, kMost, [](int error) { resultsFailed(error); }) {}

void LiveResults::print(std::string_view text) {
   if (!stream_.hasRoomFor(text.size())) {
      ++leftOut_;
      return;
   }
   tellOfLeftOut();
   stream_.keep(text);
}

void LiveResults::turnEnd() {
   stream_.turnEnd();
   if (stream_.kept().empty()) {
      tellOfLeftOut();
   }
}

void LiveResults::tellOfLeftOut() {
   if (leftOut_ != 0) {
      say(fmt::format("standard output: nobody read the results; {} of them were left "
                      "out",
                      leftOut_));
      leftOut_ = 0;
   }
}

void LiveResults::finish() {
   tellOfLeftOut();
   stream_.finish();
   if (!stream_.kept().empty()) {
      throw InputError(
         "standard output: nobody reads the results; the last of them were "
         "left out");
   }
}

} // namespace Agent
