#pragma once

#include "fennlog/MessageFormat.h"
#include "fennlog/RingForm.h"
#include "fennlog/Ticks.h"
#include "pelk/Export.h"
#include "pelk/Ptr.h"
#include "pelk/SharedObject.h"
#include "pelk/TraceLevels.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// The ring trace: binary records in a ring of fixed size, which cost little to write
// and are formatted only when somebody reads them.
namespace Fennlog {

// Prints the argument whose bytes begin at "from", and returns where they end.
using ArgumentPrinter = std::byte const* (*)(std::ostream& out, std::byte const* from);

// What all records of one trace site have in common; a static object.
struct Descriptor {
   // The text with places for the arguments, and the level.
   MessageFormat format;
   uint32_t id = 0; // MessageFormat::id()
   // Each is about the arguments: how each is printed, and how many there are.
   ArgumentPrinter const* printers = nullptr;
   uint32_t arguments = 0;
};

// A record as it is read.
struct Record {
   uint64_t sequence = 0; // 0 for the first that the ring ever took
   // When it was written.
   std::chrono::system_clock::time_point time;
   uint16_t level = 0;
   // Which trace site wrote it: MessageFormat::id().
   uint32_t id = 0;
   std::string text;
};

// A ring. The oldest records are overwritten when it is full; how many is counted.
// Writing allocates nothing. It is counted, since several machines may share one.
//
// A handle has an enable word of its own, one bit a level, with all levels on at
// first; the macros below test it before an argument is evaluated.
//
// Event thread only.
class PELK_EXPORT TraceHandle final : public Pelk::SharedObject {
 public:
   // The size of a ring, if nobody says another, and the smallest.
   static constexpr size_t kDefaultBytes = size_t{1} << 20;
   static constexpr size_t kMinBytes = 4096;
   // The most bytes that one record may take, whatever its texts hold.
   static constexpr size_t kMaxRecord = 2048;

   // The bytes must be a power of two and at least kMinBytes: fatal assertion.
   explicit TraceHandle(size_t bytes = kDefaultBytes);
   ~TraceHandle() override;

   bool enabled(uint16_t level) const noexcept { return levels_.has(level); }
   Pelk::TraceLevels levels() const noexcept { return levels_; }
   // Keeps what has one of these levels from now on.
   void levelsIs(Pelk::TraceLevels levels) noexcept { levels_ = levels; }

   size_t bytes() const noexcept { return mask_ + 1; }
   // How many records were written.
   uint64_t written() const noexcept { return written_; }
   // How many of them were overwritten since.
   uint64_t lost() const noexcept { return lost_; }

   // All that is kept, oldest first.
   std::vector<Record> records() const;

   // Writes one record. Does not test the level.
   template <RingArgument... Args>
   void write(Descriptor const& descriptor, Args const&... args) noexcept {
      constexpr size_t kMost =
         sizeof(Header) + (Impl::Argument<Args>::maxSize() + ... + 0);
      static_assert(kMost <= kMaxRecord, "too many arguments for one record");
      size_t const size = sizeof(Header) + (Impl::Argument<Args>::size(args) + ... + 0);
      [[maybe_unused]] std::byte* to = claim((size + 7) & ~size_t{7}, &descriptor);
      ((to = Impl::Argument<Args>::put(to, args)), ...);
   }

 private:
   friend class TraceReader;

   // A record is this and its arguments, rounded up to 8 bytes. Where the next record
   // would not fit before the ring's end, a filler takes the rest: its header is only
   // the first word.
   struct Header {
      uint32_t size;
      uint32_t isFiller;
      Descriptor const* descriptor;
      uint64_t ticks;
   };

   Header headerAt(uint64_t position) const noexcept {
      Header header{};
      std::memcpy(&header, ring_.get() + (position & mask_), 8);
      return header;
   }

   // Makes room for a record, writes its header and returns the place for the rest.
   std::byte* claim(size_t size, Descriptor const* descriptor) noexcept {
      if ((head_ & mask_) + size > bytes()) [[unlikely]] {
         fillToEnd();
      }
      while (head_ + size - tail_ > bytes()) {
         dropOldest();
      }
      std::byte* const at = ring_.get() + (head_ & mask_);
      Header const header{static_cast<uint32_t>(size), 0, descriptor, ticks()};
      std::memcpy(at, &header, sizeof header);
      head_ += size;
      ++written_;
      return at + sizeof header;
   }
   void dropOldest() noexcept {
      Header const oldest = headerAt(tail_);
      tail_ += oldest.size;
      lost_ += 1 - oldest.isFiller;
   }
   void fillToEnd() noexcept;
   std::chrono::system_clock::time_point timeOf(uint64_t at) const;

   uint64_t head_ = 0; // positions run on for ever; a place is a position & mask_
   uint64_t tail_ = 0;
   size_t mask_;
   std::unique_ptr<std::byte[]> ring_;
   uint64_t written_ = 0;
   uint64_t lost_ = 0;
   Pelk::TraceLevels levels_ = Pelk::TraceLevels::all();
   uint64_t bornTicks_;
   std::chrono::system_clock::time_point bornTime_;
};

// Walks a ring from its oldest record to its newest. Records may be written
// meanwhile: a reader that was overtaken goes on at the oldest that is left.
class PELK_EXPORT TraceReader {
 public:
   explicit TraceReader(Pelk::Ptr<TraceHandle const> ring);

   // The next record; none at the end, where new ones may still come.
   std::optional<Record> next();
   // How many records were overwritten before this reader came to them, since it began.
   uint64_t missed() const noexcept { return missed_; }

 private:
   Pelk::Ptr<TraceHandle const> ring_;
   uint64_t position_;
   uint64_t sequence_;
   uint64_t missed_ = 0;
};

// The text of a message whose arguments are printed.
PELK_EXPORT std::string formatMessage(MessageFormat const& format,
                                      std::vector<std::string> const& arguments);

namespace Impl {

template <typename... Args>
inline constexpr ArgumentPrinter kPrinters[sizeof...(Args) + 1] = {
   &Argument<Args>::print..., nullptr};

// The descriptor of the site whose format Make makes: a lambda of the site, so that
// every site has one of its own and it is made when the site is compiled.
template <typename Make, typename... Args>
struct Site {
   static constexpr MessageFormat kFormat = Make{}();
   static_assert(kFormat.places() == sizeof...(Args),
                 "the format and the arguments differ in number");
   static_assert(kFormat.level <= Pelk::TraceLevels::kMax, "levels are 0 to 15");
   static constexpr Descriptor kDescriptor{kFormat, kFormat.id(), kPrinters<Args...>,
                                           sizeof...(Args)};
};

} // namespace Impl

// Writes a record for the site.
template <typename Make, RingArgument... Args>
void write(Make, TraceHandle& ring, Args const&... args) noexcept {
   ring.write(Impl::Site<Make, Args...>::kDescriptor, args...);
}

// The ring behind a pointer or a Ptr; null for none.
inline TraceHandle* ringOf(TraceHandle* ring) noexcept {
   return ring;
}
inline TraceHandle* ringOf(Pelk::Ptr<TraceHandle> const& ring) noexcept {
   return ring.get();
}

} // namespace Fennlog

// Writes a record into the ring (a Ptr or a pointer; null writes nothing) if its bit
// for the level is set. The format is a literal with "%s" and "%x"; no argument is
// evaluated while the level is off.
#define FENNLOG(ring, recordLevel, format, ...)                                        \
   do {                                                                                \
      auto* const fennlogRing = ::Fennlog::ringOf(ring);                               \
      if (fennlogRing != nullptr && fennlogRing->enabled(recordLevel)) [[likely]] {    \
         ::Fennlog::write(                                                             \
            [] { return ::Fennlog::MessageFormat{format, recordLevel}; },              \
            *fennlogRing __VA_OPT__(, ) __VA_ARGS__);                                  \
      }                                                                                \
   } while (false)
