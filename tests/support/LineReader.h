#pragma once

#include <poll.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <optional>
#include <string>

namespace TestSupport {

// Reads lines from a descriptor as they come.
class LineReader {
 public:
   explicit LineReader(int descriptor) : descriptor_(descriptor) {}

   // The next line, without its end; none if there is no whole one in that time.
   std::optional<std::string>
   next(std::chrono::milliseconds patience = std::chrono::seconds(60)) {
      auto const end = std::chrono::steady_clock::now() + patience;
      for (;;) {
         if (auto const at = text_.find('\n'); at != std::string::npos) {
            auto line = text_.substr(0, at);
            text_.erase(0, at + 1);
            return line;
         }
         auto const left = std::chrono::duration_cast<std::chrono::milliseconds>(
            end - std::chrono::steady_clock::now());
         pollfd wanted{descriptor_, POLLIN, 0};
         if (left.count() < 0 ||
             poll(&wanted, 1, static_cast<int>(left.count()) + 1) <= 0) {
            return std::nullopt;
         }
         std::array<char, 4096> part;
         auto const count = read(descriptor_, part.data(), part.size());
         if (count <= 0) {
            return std::nullopt;
         }
         text_.append(part.data(), static_cast<size_t>(count));
      }
   }

   // The next line with this in it; those before it are dropped.
   std::optional<std::string> nextWith(std::string const& text) {
      auto line = next();
      while (line && line->find(text) == std::string::npos) {
         line = next();
      }
      return line;
   }

 private:
   int descriptor_;
   std::string text_;
};

} // namespace TestSupport
