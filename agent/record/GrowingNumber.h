#pragma once

#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace Agent {

// Writes a number that mostly differs from the one before in its last three digits:
// those in front of them are kept. Belongs to one thread.
class GrowingNumber {
 public:
   // Of any number, in bytes.
   static constexpr size_t kMostDigits = 20;

   // REQUIRES room for kMostDigits bytes there, each of which may be overwritten.
   // Returns the end of the number.
   char* write(uint64_t number, char* to) noexcept {
      auto const front = number / 1000;
      if (front == 0) {
         return std::to_chars(to, to + kMostDigits, number).ptr;
      }
      if (front != front_) {
         front_ = front;
         size_ = static_cast<size_t>(
            std::to_chars(digits_.data(), digits_.data() + digits_.size(), front).ptr -
            digits_.data());
      }
      std::memcpy(to, digits_.data(),
                  digits_.size()); // too many, but so without a loop
      to += size_;
      auto const last = static_cast<unsigned>(number % 1000);
      *to++ = static_cast<char>('0' + last / 100);
      *to++ = static_cast<char>('0' + last / 10 % 10);
      *to++ = static_cast<char>('0' + last % 10);
      return to;
   }

 private:
   uint64_t front_ = 0;
   std::array<char, kMostDigits - 3> digits_{}; // of front_
   size_t size_ = 0;
};

} // namespace Agent
