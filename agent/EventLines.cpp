#include "agent/EventLines.h"

#include "agent/InputFile.h"

namespace Agent {

EventLines::EventLines(std::string const& file)
   : isStandardInput_(file == "-"), text_(isStandardInput_ ? "" : readFile(file)) {}

EventLines::Line const* EventLines::peek() {
   while (next_ == nullptr && nextLine()) {
      ++current_.number;
      auto const first = current_.text.find_first_not_of(" \t\r");
      if (first != std::string::npos && current_.text[first] != '#') {
         next_ = &current_;
      }
   }
   return next_;
}

bool EventLines::nextLine() {
   if (isStandardInput_) {
      return readLine(current_.text);
   }
   if (at_ == text_.size()) {
      return false;
   }
   auto const end = text_.find('\n', at_);
   current_.isWhole = end != std::string::npos;
   current_.text = text_.substr(at_, end - at_);
   at_ = current_.isWhole ? end + 1 : text_.size();
   return true;
}

} // namespace Agent
