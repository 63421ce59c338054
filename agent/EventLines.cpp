#include "agent/EventLines.h"

namespace Agent {

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
   if (!file_) {
      return readLine(current_.text);
   }
   if (at_ == text().size()) {
      return false;
   }
   auto const end = text().find('\n', at_);
   current_.isWhole = end != std::string_view::npos;
   current_.text = text().substr(at_, end - at_);
   at_ = current_.isWhole ? end + 1 : text().size();
   return true;
}

} // namespace Agent
