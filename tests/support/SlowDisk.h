#pragma once

#include "agent/Descriptor.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

namespace TestSupport {

// A file that holds what a pipe does until it is read.
class SlowDisk {
 public:
   explicit SlowDisk(std::string file) : file_(std::move(file)) {
      EXPECT_EQ(mkfifo(file_.c_str(), 0600), 0);
      pipe_ = Agent::Descriptor::made(
         open(file_.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC), "open");
   }
   std::string const& file() const { return file_; }
   // What is written until there is this in it so many times, or its writer goes.
   std::string read(std::string_view wanted = {}, int times = 0) const {
      fcntl(pipe_.number(), F_SETFL, 0);
      std::string text;
      std::array<char, 4096> part;
      for (size_t seen = 0; wanted.empty() || times > 0;) {
         auto const size = ::read(pipe_.number(), part.data(), part.size());
         if (size <= 0) {
            break;
         }
         text.append(part.data(), static_cast<size_t>(size));
         for (; !wanted.empty(); --times, seen += wanted.size()) {
            auto const at = text.find(wanted, seen);
            if (at == std::string::npos) {
               break;
            }
            seen = at;
         }
      }
      return text;
   }

 private:
   std::string const file_;
   Agent::Descriptor pipe_;
};

} // namespace TestSupport
