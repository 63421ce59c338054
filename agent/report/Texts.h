#pragma once

#include <nlohmann/json.hpp>

#include <cstddef>
#include <string>
#include <unordered_map>
#include <vector>

namespace Agent {

// The texts of a page, each once, as many as fit.
class Texts {
 public:
   // Its number; 0, the empty text, once there is no more room.
   size_t add(std::string const& text) {
      auto const found = numbers_.find(text);
      if (found != numbers_.end()) {
         return found->second;
      }
      if (bytes_ + text.size() > kMostBytes) {
         return 0;
      }
      bytes_ += text.size();
      texts_.push_back(text);
      return numbers_[text] = texts_.size() - 1;
   }

   std::vector<std::string> const& all() const noexcept { return texts_; }

 private:
   static constexpr size_t kMostBytes = size_t{2} << 20;

   std::vector<std::string> texts_{""};
   std::unordered_map<std::string, size_t> numbers_{{"", 0}};
   size_t bytes_ = 0;
};

} // namespace Agent
