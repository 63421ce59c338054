#pragma once

#include <string_view>
#include <utility>

namespace Agent {

// A system call failed: std::system_error with what it was to do.
[[noreturn]] void systemFailed(char const* what);

// Writes all of it, or as much as can be. Returns the number of what went wrong, or 0.
// May be called between fork() and _exit().
int writeAll(int descriptor, std::string_view text) noexcept;

// Owns a file descriptor, or none (-1).
class Descriptor {
 public:
   Descriptor() noexcept = default;
   explicit Descriptor(int number) noexcept : number_(number) {}
   Descriptor(Descriptor&& other) noexcept
      : number_(std::exchange(other.number_, -1)) {}
   Descriptor& operator=(Descriptor&& other) noexcept {
      std::swap(number_, other.number_);
      return *this;
   }
   ~Descriptor();

   // The descriptor that a system call returned. std::system_error with what it was to
   // do if it is none.
   static Descriptor made(int number, char const* what);

   int number() const noexcept { return number_; }
   explicit operator bool() const noexcept { return number_ >= 0; }

 private:
   int number_ = -1;
};

} // namespace Agent
