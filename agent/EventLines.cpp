#include "agent/EventLines.h"

#include "agent/InputFile.h"

namespace Agent {

EventLines::EventLines(std::string const& file)
   : isStandardInput_(file == "-"), text_(isStandardInput_ ? "" : readFile(file)),
     content_(text_) {}

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
   return isStandardInput_ ? readLine(current_.text)
                           : static_cast<bool>(std::getline(content_, current_.text));
}

} // namespace Agent
