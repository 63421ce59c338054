#include "agent/JsonText.h"

#include "agent/BadInput.h"

#include <cerrno>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <system_error>
#include <unordered_set>
#include <vector>

namespace Agent {

namespace {

using nlohmann::json;

constexpr size_t kMaxDepth = 64;

// Reads the text and counts the line ends before the character read last. (One behind,
// since the parser reads a number's successor before it reports the number.)
class CountingReader {
 public:
   using iterator_category = std::input_iterator_tag;
   using value_type = char;
   using difference_type = std::ptrdiff_t;
   using pointer = char const*;
   using reference = char const&;

   CountingReader(char const* at, size_t* lines) : at_(at), lines_(lines) {}

   reference operator*() const { return *at_; }
   CountingReader& operator++() {
      if (afterLineEnd_) {
         ++*lines_;
      }
      afterLineEnd_ = *at_ == '\n';
      ++at_;
      return *this;
   }
   CountingReader operator++(int) {
      auto const before = *this;
      ++*this;
      return before;
   }
   bool operator==(CountingReader const& other) const { return at_ == other.at_; }
   bool operator!=(CountingReader const& other) const { return at_ != other.at_; }

 private:
   char const* at_;
   size_t* lines_;
   bool afterLineEnd_ = false;
};

// Parses; lines is the number of line ends before what the callback is told of.
json parse(std::string_view text, size_t& lines,
           json::parser_callback_t const& callback) {
   return json::parse(CountingReader(std::to_address(text.begin()), &lines),
                      CountingReader(std::to_address(text.end()), &lines), callback,
                      true, true);
}

using Event = json::parse_event_t;

// Follows a parse and knows which element it is at.
class Position {
 public:
   // True if an element begins here, whose place is pointer() until the next event. A
   // member of an object begins with its key.
   bool step(Event event, json const& parsed) {
      bool const inArray = !levels_.empty() && levels_.back().isArray;
      switch (event) {
         case Event::key:
            levels_.back().key = parsed.get<std::string>();
            return true;
         case Event::value:
            if (inArray) {
               ++levels_.back().next;
            }
            return inArray;
         case Event::object_start:
         case Event::array_start:
            if (inArray) {
               ++levels_.back().next;
            }
            entered_ = Level{event == Event::array_start, 0, {}};
            return inArray;
         case Event::object_end:
         case Event::array_end:
            levels_.pop_back();
            return false;
      }
      return false;
   }
   // To be called after step(), once pointer() was looked at.
   void settle(Event event) {
      if (event == Event::object_start || event == Event::array_start) {
         levels_.push_back(entered_);
      }
   }

   json::json_pointer pointer() const {
      json::json_pointer pointer;
      for (auto const& level : levels_) {
         if (level.isArray) {
            pointer /= level.next - 1;
         } else {
            pointer /= level.key;
         }
      }
      return pointer;
   }

 private:
   struct Level {
      bool isArray;
      size_t next; // of an array: how many elements have begun
      std::string key;
   };
   std::vector<Level> levels_;
   Level entered_{};
};

// The keys that each open object has had.
class KeyCheck {
 public:
   void step(Event event, json const& parsed) {
      switch (event) {
         case Event::object_start:
         case Event::array_start:
            if (keys_.size() == kMaxDepth) {
               throw std::length_error("nested deeper than " +
                                       std::to_string(kMaxDepth) + " levels");
            }
            keys_.emplace_back();
            break;
         case Event::object_end:
         case Event::array_end:
            keys_.pop_back();
            break;
         case Event::key: {
            auto const& key = parsed.get_ref<std::string const&>();
            if (!keys_.back().insert(key).second) {
               throw std::length_error(
                  "the key " + quote(key) +
                  " stands here for the second time in its object; "
                  "allowed is one of each");
            }
            break;
         }
         case Event::value:
            break;
      }
   }

 private:
   std::vector<std::unordered_set<std::string>> keys_;
};

// What is wrong, out of the parser's message, which also tells the place in its own
// way.
std::string reasonOf(json::parse_error const& error) {
   std::string const message = error.what();
   auto const detail = message.find(": ");
   return detail == std::string::npos ? message : message.substr(detail + 2);
}

} // namespace

std::string readFile(std::string const& file) {
   std::ostringstream text;
   if (file == "-") {
      text << std::cin.rdbuf();
      return std::move(text).str();
   }
   std::ifstream in(file, std::ios::binary);
   // A folder opens, and fails when it is read.
   if (!in || (in.peek() == std::ifstream::traits_type::eof() && !in.eof())) {
      throw InputError(location(file, 0) +
                       "cannot be read: " + std::generic_category().message(errno));
   }
   text << in.rdbuf();
   return std::move(text).str();
}

json parseJson(std::string_view text, std::string const& file, size_t firstLine) {
   size_t lines = 0;
   KeyCheck keys;
   try {
      return parse(text, lines, [&](int, Event event, json& parsed) {
         keys.step(event, parsed);
         return true;
      });
   } catch (json::parse_error const& error) {
      throw InputError(location(file, firstLine + lines) +
                       "not JSON: " + reasonOf(error));
   } catch (std::length_error const& error) {
      throw InputError(location(file, firstLine + lines) + error.what());
   }
}

size_t lineOf(std::string_view text, json::json_pointer const& pointer) {
   struct Found {};
   auto const wanted = pointer.to_string();
   size_t lines = 0;
   size_t line = 1;
   size_t longest = 0;
   Position position;
   try {
      parse(text, lines, [&](int, Event event, json& parsed) {
         if (position.step(event, parsed)) {
            auto const here = position.pointer().to_string();
            bool const isParent = wanted.size() > here.size() &&
                                  wanted.starts_with(here) &&
                                  wanted[here.size()] == '/';
            if (here == wanted || (isParent && here.size() > longest)) {
               longest = here.size();
               line = lines + 1;
            }
            if (here == wanted) {
               throw Found();
            }
         }
         position.settle(event);
         return true;
      });
   } catch (Found const&) {
      return line;
   }
   return line;
}

} // namespace Agent
