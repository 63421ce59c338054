#pragma once

#include "support/Random.h"

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <source_location>
#include <string>
#include <string_view>
#include <type_traits>

// What every target has: a function that a fuzzer, or PlayInputs.cpp, calls with bytes,
// and that ends the process where something does not hold. Whatever the bytes are, one
// call takes little time and memory, leaves nothing behind, and does the same each
// time.
extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size);

namespace Fuzz {

// what: a text, or a function that makes one, where that takes time.
template <typename What>
   requires std::convertible_to<What, std::string_view> ||
            std::convertible_to<std::invoke_result_t<What>, std::string>
void require(bool holds, What const& what,
             std::source_location where = std::source_location::current()) {
   if (holds) {
      return;
   }
   std::string text;
   if constexpr (std::invocable<What>) {
      text = what();
   } else {
      text = std::string_view(what);
   }
   std::fprintf(stderr, "%s:%u: does not hold: %s\n", where.file_name(), where.line(),
                text.c_str());
   std::abort();
}

// Reads the input from its beginning; behind its end it goes on with zeros.
class Bytes {
 public:
   Bytes(uint8_t const* data, size_t size)
      : rest_(reinterpret_cast<char const*>(data), size) {}

   bool empty() const noexcept { return rest_.empty(); }
   uint8_t byte() {
      if (rest_.empty()) {
         return 0;
      }
      auto const value = static_cast<uint8_t>(rest_.front());
      rest_.remove_prefix(1);
      return value;
   }
   // One byte as one of few numbers.
   uint32_t below(uint32_t bound) { return byte() % bound; }
   // So many bytes as a number, the highest first.
   uint64_t number(size_t bytes) {
      uint64_t value = 0;
      for (; bytes != 0; --bytes) {
         value = value << 8 | byte();
      }
      return value;
   }
   std::string_view text(size_t length) {
      auto const text = rest_.substr(0, length);
      rest_.remove_prefix(text.size());
      return text;
   }
   std::string_view rest() { return text(rest_.size()); }
   // Up to the line's end, which is dropped.
   std::string_view line() {
      auto const line = text(rest_.find('\n'));
      byte();
      return line;
   }

   // In place of random numbers. Refers to this object.
   TestSupport::Random random() {
      return [this] { return byte(); };
   }

 private:
   std::string_view rest_;
};

} // namespace Fuzz
