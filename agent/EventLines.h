#pragma once

#include "agent/InputFile.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace Agent {

// The lines of a file of events that hold something, one at a time. Standard input is
// read as it comes, so that a program can write a line and wait for what it does.
class EventLines {
 public:
   struct Line {
      size_t number; // in the file, from 1
      std::string text;
      bool isWhole =
         true; // it has an end; what is read of standard input counts as whole
   };

   // Those of standard input.
   EventLines() = default;
   explicit EventLines(FileText file) : file_(std::move(file)) {}
   EventLines(EventLines const&) = delete;
   EventLines& operator=(EventLines const&) = delete;

   // How much there is to read, in bytes; 0 if that is not known.
   size_t size() const noexcept { return text().size(); }

   // The next line, which stays the next one; null at the end. InputError if it cannot
   // be read.
   Line const* peek();
   void drop() { next_ = nullptr; }

 private:
   std::string_view text() const noexcept {
      return file_ ? file_->text() : std::string_view();
   }
   bool nextLine();

   std::optional<FileText> file_; // none for standard input
   size_t at_ = 0;                // where the next line begins
   Line current_{0, {}};
   Line const* next_ = nullptr;
};

} // namespace Agent
