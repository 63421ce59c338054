#pragma once

#include <cstddef>
#include <string>

namespace Agent {

// The lines of a file of events that hold something, one at a time, so that a program
// can write a line and wait for what it does. "-" is standard input.
class EventLines {
 public:
   struct Line {
      size_t number; // in the file, from 1
      std::string text;
      bool isWhole =
         true; // it has an end; what is read of standard input counts as whole
   };

   // InputError if the file cannot be read.
   explicit EventLines(std::string const& file);

   // How much there is to read, in bytes; 0 if that is not known.
   size_t size() const noexcept { return text_.size(); }

   // The next line, which stays the next one; null at the end. InputError if it cannot
   // be read.
   Line const* peek();
   void drop() { next_ = nullptr; }

 private:
   bool nextLine();

   bool isStandardInput_;
   std::string text_;
   size_t at_ = 0; // where the next line begins
   Line current_{0, {}};
   Line const* next_ = nullptr;
};

} // namespace Agent
