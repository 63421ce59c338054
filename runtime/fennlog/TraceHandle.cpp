#include "fennlog/TraceHandle.h"

#include "pelk/Assert.h"
#include "pelk/Placeholders.h"

#include <algorithm>
#include <bit>
#include <sstream>

namespace Fennlog {

TraceHandle::TraceHandle(size_t bytes)
   : mask_(bytes - 1), bornTicks_(ticks()),
     bornTime_(std::chrono::system_clock::now()) {
   PELK_ASSERT(std::has_single_bit(bytes) && bytes >= kMinBytes,
               "A trace ring's size must be a power of two and at least 4096 bytes");
   // Zeroed, so that no record is the first to touch its page.
   ring_ = std::make_unique<std::byte[]>(bytes);
}

TraceHandle::~TraceHandle() = default;

void TraceHandle::fillToEnd() noexcept {
   size_t const left = bytes() - (head_ & mask_);
   while (head_ + left - tail_ > bytes()) {
      dropOldest();
   }
   Header const filler{static_cast<uint32_t>(left), 1, nullptr, 0};
   std::memcpy(ring_.get() + (head_ & mask_), &filler, 8);
   head_ += left;
}

// Ticks run evenly, so the time of one follows from the ring's birth and from now.
std::chrono::system_clock::time_point TraceHandle::timeOf(uint64_t at) const {
   using std::chrono::duration;
   auto const nowTime = std::chrono::system_clock::now();
   uint64_t const nowTicks = ticks();
   if (nowTicks <= bornTicks_ || at <= bornTicks_) {
      return bornTime_;
   }
   double const share =
      static_cast<double>(at - bornTicks_) / static_cast<double>(nowTicks - bornTicks_);
   auto const since = duration<double>(nowTime - bornTime_) * std::min(share, 1.0);
   return bornTime_ +
          std::chrono::duration_cast<std::chrono::system_clock::duration>(since);
}

std::vector<Record> TraceHandle::records() const {
   std::vector<Record> all;
   all.reserve(written_ - lost_);
   TraceReader reader{Pelk::Ptr<TraceHandle const>(this)};
   while (auto record = reader.next()) {
      all.push_back(*std::move(record));
   }
   return all;
}

TraceReader::TraceReader(Pelk::Ptr<TraceHandle const> ring)
   : ring_(std::move(ring)), position_(ring_->tail_), sequence_(ring_->lost_) {}

std::optional<Record> TraceReader::next() {
   if (position_ < ring_->tail_) {
      missed_ += ring_->lost_ - sequence_;
      position_ = ring_->tail_;
      sequence_ = ring_->lost_;
   }
   std::byte const* at = nullptr;
   TraceHandle::Header header{};
   do {
      if (position_ == ring_->head_) {
         return std::nullopt;
      }
      at = ring_->ring_.get() + (position_ & ring_->mask_);
      header = ring_->headerAt(position_);
      position_ += header.size;
   } while (header.isFiller != 0);
   std::memcpy(&header, at, sizeof header);
   at += sizeof header;

   auto const& descriptor = *header.descriptor;
   std::vector<std::string> arguments;
   arguments.reserve(descriptor.arguments);
   for (uint32_t i = 0; i < descriptor.arguments; ++i) {
      std::ostringstream out;
      if (descriptor.format.isHexPlace(i)) {
         out << std::hex;
      }
      at = descriptor.printers[i](out, at);
      arguments.push_back(std::move(out).str());
   }
   return Record{sequence_++, ring_->timeOf(header.ticks), descriptor.format.level,
                 descriptor.id, formatMessage(descriptor.format, arguments)};
}

std::string formatMessage(MessageFormat const& format,
                          std::vector<std::string> const& arguments) {
   if (format.placeholders == Placeholders::percent) {
      return Pelk::replacePlaceholders(format.text, arguments);
   }
   std::string text;
   auto argument = arguments.begin();
   for (size_t at = 0; at < format.text.size(); ++at) {
      char const c = format.text[at];
      bool const isDoubled = at + 1 < format.text.size() && format.text[at + 1] == c;
      if (c == '{' && !isDoubled) {
         at = std::min(format.text.find('}', at), format.text.size());
         text.append(argument != arguments.end() ? *argument++ : std::string());
      } else {
         text.push_back(c);
         at += (c == '{' || c == '}') && isDoubled ? 1 : 0;
      }
   }
   return text;
}

} // namespace Fennlog
