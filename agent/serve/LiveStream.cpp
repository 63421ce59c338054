#include "agent/serve/LiveStream.h"

#include <utility>

namespace Agent {

LiveStream::LiveStream(EventLoop& loop, int descriptor, size_t most, Failed failed)
   : loop_(loop), descriptor_(descriptor), most_(most), failed_(std::move(failed)),
     outlet_(descriptor) {}

void LiveStream::keep(std::string_view text) {
   kept_ += text;
}

void LiveStream::took(Outlet::Written const& written) {
   written_ += written.bytes;
   // What was written is given up when it is the most of it, or all.
   if (written.error != 0 || written_ > kept_.size() / 2) {
      kept_.erase(0, written.error != 0 ? kept_.size() : written_);
      written_ = 0;
   }
   if (written.error != 0) {
      failed_(written.error);
   }
}

void LiveStream::turnEnd() {
   if (!follower_ && !kept().empty()) {
      write();
   }
   if (kept().empty()) {
      follower_ = nullptr;
   } else if (!follower_) {
      follower_ = std::make_unique<EventLoop::Follower>(
         loop_, descriptor_, EventLoop::Interest::writing, [this] { write(); });
   }
}

} // namespace Agent
