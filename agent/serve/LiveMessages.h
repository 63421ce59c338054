#pragma once

#include "agent/serve/LiveStream.h"
#include "pelk/TraceSinks.h"

#include <sys/types.h>

#include <cstddef>
#include <cstdio>
#include <memory>
#include <optional>
#include <string_view>

namespace Agent {

// Tells people something: a line on standard error, after the program's name.
void say(std::string_view text);

// Standard error of an agent that goes on: whatever is printed there while this lives,
// by whomever, messages and trace. What is more than can be kept for a reader who does
// not take it is left out, and he is told how much when he does. What is kept is
// written as well when this goes, or the process aborts. One in a process; event thread
// only.
class LiveMessages {
 public:
   explicit LiveMessages(EventLoop& loop);
   LiveMessages(LiveMessages const&) = delete;
   LiveMessages& operator=(LiveMessages const&) = delete;
   // Standard error is as it was before.
   ~LiveMessages();

   // To be called at the end of each turn of the loop.
   void turnEnd();

 private:
   static constexpr size_t kMost = size_t{1} << 20;

   struct Close {
      void operator()(std::FILE* file) const noexcept { std::fclose(file); }
   };

   static ssize_t printed(void* self, char const* text, size_t size);
   static void aborting(int signal);

   void print(std::string_view text);
   void tellOfLeftOut();

   LiveStream stream_;
   size_t leftOut_ = 0; // lines, since the last one that was kept
   pid_t const owner_;
   std::unique_ptr<std::FILE, Close> const file_; // null if there can be none
   std::FILE* const before_;
   std::optional<Pelk::StreamTraceSink> trace_;
   Pelk::TraceSink* traceBefore_ = nullptr;
};

} // namespace Agent
