#include "agent/serve/LiveMessages.h"

#include "agent/Streams.h"

#include <fmt/format.h>

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <climits>
#include <csignal>
#include <utility>

namespace Agent {

namespace {

constexpr size_t kNoteBytes = 128;

// In a process that answers something, which has the standard streams alone, and is not
// waited for.
void printInOther(std::string_view text) {
   while (!text.empty()) {
      pollfd wanted{STDERR_FILENO, POLLOUT, 0};
      constexpr auto kPatience = static_cast<int>(Outlet::kPatience.count());
      auto const count =
         poll(&wanted, 1, kPatience) > 0
            ? write(STDERR_FILENO, text.data(), std::min(text.size(), size_t{PIPE_BUF}))
            : -1;
      if (count <= 0) {
         return;
      }
      text.remove_prefix(static_cast<size_t>(count));
   }
}

// Whose messages a process that aborts writes.
LiveMessages* live = nullptr;

} // namespace

void say(std::string_view text) {
   printMessage(fmt::format("mcastvpn-agent: {}\n", text));
}

// Standard error is replaced as the C library knows it, so that nobody who prints has
// to know of this. Its memory is taken before there is none left, which is told here,
// too.
LiveMessages::LiveMessages(EventLoop& loop)
   : stream_(loop, STDERR_FILENO, kMost, [](int) {}), owner_(getpid()),
     file_(fopencookie(this, "w", {nullptr, &LiveMessages::printed, nullptr, nullptr})),
     before_(stderr) {
   if (!file_) {
      return;
   }
   stream_.reserve();
   static_cast<void>(std::setvbuf(file_.get(), nullptr, _IONBF, 0));
   stderr = file_.get();
   trace_.emplace(file_.get());
   traceBefore_ = Pelk::Trace::sinkIs(&*trace_);
   live = this;
   static_cast<void>(std::signal(SIGABRT, &LiveMessages::aborting));
}

LiveMessages::~LiveMessages() {
   if (file_) {
      static_cast<void>(std::signal(SIGABRT, SIG_DFL));
      live = nullptr;
      Pelk::Trace::sinkIs(traceBefore_);
      stderr = before_;
      stream_.finish();
      tellOfLeftOut();
      stream_.finish();
   }
}

ssize_t LiveMessages::printed(void* self, char const* text, size_t size) {
   static_cast<LiveMessages*>(self)->print({text, size});
   return static_cast<ssize_t>(size);
}

void LiveMessages::print(std::string_view text) {
   if (getpid() != owner_) {
      printInOther(text);
      return;
   }
   if (!stream_.hasRoomFor(text.size() + kNoteBytes)) {
      leftOut_ += static_cast<size_t>(std::ranges::count(text, '\n'));
      return;
   }
   tellOfLeftOut();
   stream_.keep(text);
   stream_.write();
}

void LiveMessages::turnEnd() {
   if (stream_.kept().empty()) {
      tellOfLeftOut();
   }
   stream_.turnEnd();
}

// Allocates nothing, as memory may be what there is none of.
void LiveMessages::tellOfLeftOut() {
   if (leftOut_ != 0) {
      std::array<char, kNoteBytes> note;
      auto const end =
         fmt::format_to_n(note.data(), note.size(),
                          "mcastvpn-agent: standard error: nobody read it; "
                          "{} lines were left out\n",
                          leftOut_);
      leftOut_ = 0;
      stream_.keep({note.data(), std::min(end.size, note.size())});
   }
}

// What stands there is written without being touched: it may be in any state but empty.
void LiveMessages::aborting(int signal) {
   if (live != nullptr && getpid() == live->owner_) {
      static_cast<void>(live->stream_.outlet().writeAtEnd(live->stream_.kept()));
   }
   // By itself that ends the process where abort() was called, and nowhere else.
   static_cast<void>(std::signal(signal, SIG_DFL));
   static_cast<void>(raise(signal));
}

} // namespace Agent
