#pragma once

#include "pelk/Export.h"

#include <compare>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iosfwd>
#include <string_view>
#include <utility>

namespace Pelk {

// A text that never changes, copied by value: names of VRFs, interfaces and tasks.
// Sixteen bytes: up to 15 bytes of text stand in the object; a longer one is shared by
// its copies and counted by the rule of ThreadControl. The text is bytes; it need not
// end in a zero byte and may hold some.
class PELK_EXPORT String {
 public:
   constexpr String() noexcept = default;
   String(std::string_view text) {
      if (text.size() <= kInlineMax) {
         text.copy(inline_.text, text.size()); // which may be nothing, from nowhere
         inline_.size = static_cast<uint8_t>(text.size());
      } else {
         shareNew(text);
      }
   }
   String(char const* text) : String(std::string_view(text)) {}
   String(String const& other) noexcept : inline_(other.inline_) {
      if (isShared()) {
         sharedInc();
      }
   }
   String(String&& other) noexcept : inline_(std::exchange(other.inline_, Inline{})) {}
   String& operator=(String const& other) noexcept {
      String(other).swap(*this);
      return *this;
   }
   String& operator=(String&& other) noexcept {
      String(std::move(other)).swap(*this);
      return *this;
   }
   ~String() {
      if (isShared()) {
         sharedDec();
      }
   }

   void swap(String& other) noexcept { std::swap(inline_, other.inline_); }

   size_t size() const noexcept { return isShared() ? sharedSize() : inline_.size; }
   bool empty() const noexcept { return size() == 0; }
   char const* data() const noexcept {
      return isShared() ? sharedText() : inline_.text;
   }
   std::string_view view() const noexcept { return {data(), size()}; }
   operator std::string_view() const noexcept { return view(); }

   // Byte-wise.
   bool operator==(String const& other) const noexcept {
      return std::memcmp(&inline_, &other.inline_, sizeof inline_) == 0 ||
             (isShared() && view() == other.view());
   }
   std::strong_ordering operator<=>(String const& other) const noexcept {
      return view() <=> other.view();
   }
   bool operator==(std::string_view text) const noexcept { return view() == text; }
   bool operator==(char const* text) const noexcept { return view() == text; }

 private:
   static constexpr size_t kInlineMax = 15;
   static constexpr uint8_t kShared = 0xff;

   struct Rep; // use count, size and text, in one allocation
   struct alignas(8) Inline {
      char text[kInlineMax] = {}; // a shared text's Rep address stands in the first 8
      uint8_t size = 0;           // kShared for a shared text
   };

   bool isShared() const noexcept { return inline_.size == kShared; }
   Rep* rep() const noexcept {
      Rep* address;
      std::memcpy(&address, inline_.text, sizeof address);
      return address;
   }
   void shareNew(std::string_view text);
   void sharedInc() const noexcept;
   void sharedDec() const noexcept;
   size_t sharedSize() const noexcept;
   char const* sharedText() const noexcept;

   Inline inline_;
};

PELK_EXPORT std::ostream& operator<<(std::ostream& out, String const& text);

} // namespace Pelk

template <>
struct std::hash<Pelk::String> {
   std::size_t operator()(Pelk::String const& text) const noexcept {
      return std::hash<std::string_view>{}(text.view());
   }
};
