#include "agent/JsonText.h"

#include "agent/BadInput.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <functional>
#include <iterator>
#include <memory>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

namespace Agent {

namespace {

using nlohmann::json;

constexpr size_t kMaxDepth = 64;
constexpr size_t kMaxValues = 4'000'000;
constexpr size_t kReasonMax = 200;

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

// What is wrong, out of the parser's message, which begins with a code in brackets and
// tells the place in its own way. It quotes what it has read, however long that is and
// whatever bytes it has.
std::string reasonOf(std::string const& message) {
   auto const code = message.find("] ");
   auto const place = message.find("column ");
   auto const detail = message.find(": ", place == std::string::npos ? 0 : place);
   auto const begin = place != std::string::npos && detail != std::string::npos
                         ? detail + 2
                      : code == std::string::npos ? 0
                                                  : code + 2;
   return brief(message.substr(begin, kReasonMax + 1), kReasonMax);
}

// Reads a text without making values of it: checks what the parser does not, and knows
// which element it is at, and in which line.
class Scanner : public json::json_sax_t {
 public:
   // Told of each element as it begins; a member of an object begins with its key.
   // Returning false ends the scan.
   using Element = std::function<bool(Scanner const& at)>;

   explicit Scanner(Element element) : element_(std::move(element)) {}

   // Whether the text was read to its end.
   bool scan(std::string_view text) {
      return json::sax_parse(CountingReader(std::to_address(text.begin()), &lines_),
                             CountingReader(std::to_address(text.end()), &lines_), this,
                             json::input_format_t::json, true, true);
   }

   // What was wrong, if anything was.
   std::string const& error() const noexcept { return error_; }
   // How many line ends stand before the present place.
   size_t lines() const noexcept { return lines_; }
   // How deep the present element stands, and whether it is on the way to this place.
   size_t depth() const noexcept { return levels_.size(); }
   bool isTowards(std::vector<std::string> const& tokens) const {
      size_t level = levels_.size();
      if (level > tokens.size()) {
         return false;
      }
      while (level != 0 && levels_[level - 1].isAt(tokens[level - 1])) {
         --level;
      }
      return level == 0;
   }

   bool null() override { return begin(); }
   bool boolean(bool) override { return begin(); }
   bool number_integer(number_integer_t) override { return begin(); }
   bool number_unsigned(number_unsigned_t) override { return begin(); }
   bool number_float(number_float_t, string_t const&) override { return begin(); }
   bool string(string_t&) override { return begin(); }
   bool binary(binary_t&) override { return begin(); }
   bool start_object(std::size_t) override { return begin() && enter(false); }
   bool start_array(std::size_t) override { return begin() && enter(true); }
   bool end_object() override { return leave(); }
   bool end_array() override { return leave(); }
   bool key(string_t& name) override {
      auto& level = levels_.back();
      level.key = name;
      if (!level.keys.insert(name).second) {
         error_ =
            "the key " + quote(name) +
            " stands here for the second time in its object; allowed is one of each";
         return false;
      }
      return !element_ || element_(*this);
   }
   bool parse_error(std::size_t, std::string const&,
                    json::exception const& error) override {
      error_ = "not JSON: " + reasonOf(error.what());
      return false;
   }

 private:
   struct Level {
      bool isArray;
      size_t begun; // of an array: how many elements have begun
      std::string key;
      std::unordered_set<std::string> keys;

      bool isAt(std::string const& token) const {
         return isArray ? token == std::to_string(begun - 1) : token == key;
      }
   };

   bool begin() {
      if (++values_ > kMaxValues) {
         error_ = "more than " + std::to_string(kMaxValues) +
                  " values stand here; allowed is fewer";
         return false;
      }
      if (levels_.empty() || !levels_.back().isArray) {
         return true;
      }
      ++levels_.back().begun;
      return !element_ || element_(*this);
   }
   bool enter(bool isArray) {
      if (levels_.size() == kMaxDepth) {
         error_ = "nested deeper than " + std::to_string(kMaxDepth) + " levels";
         return false;
      }
      levels_.push_back({isArray, 0, {}, {}});
      return true;
   }
   bool leave() {
      levels_.pop_back();
      return true;
   }

   Element element_;
   size_t lines_ = 0;
   size_t values_ = 0;
   std::string error_;
   std::vector<Level> levels_;
};

// Of each byte, whether it stands in a string as it is. What is beyond ASCII is left to
// the library, which knows what is UTF-8.
constexpr auto kPlain = [] {
   std::array<bool, 256> isPlain{};
   for (size_t byte = ' '; byte <= '~'; ++byte) {
      isPlain[byte] = byte != '"' && byte != '\\';
   }
   return isPlain;
}();

bool isPlain(std::string_view text) {
   return std::ranges::all_of(
      text, [](char each) { return kPlain[static_cast<unsigned char>(each)]; });
}

void appendString(std::string& text, std::string_view string) {
   if (isPlain(string)) {
      text.append(1, '"').append(string).append(1, '"');
   } else {
      text += json(string).dump(-1, ' ', false, json::error_handler_t::replace);
   }
}

void appendItems(std::string& text, char const (&brackets)[3], auto const& items,
                 auto const& append) {
   text += brackets[0];
   bool isFirst = true;
   for (auto const& item : items) {
      if (!std::exchange(isFirst, false)) {
         text += ',';
      }
      append(item);
   }
   text += brackets[1];
}

// What most values consist of is written here, several times as fast as the library
// does, which writes all else.
template <typename Json>
void appendValue(std::string& text, Json const& value) {
   using Object = typename Json::object_t;
   using Array = typename Json::array_t;
   if (auto const* const object = value.template get_ptr<Object const*>()) {
      appendItems(text, "{}", *object, [&text](auto const& member) {
         appendString(text, member.first);
         text += ':';
         appendValue(text, member.second);
      });
   } else if (auto const* const array = value.template get_ptr<Array const*>()) {
      appendItems(text, "[]", *array,
                  [&text](Json const& item) { appendValue(text, item); });
   } else if (value.is_string()) {
      appendString(text, value.template get_ref<std::string const&>());
   } else if (value.is_number_unsigned()) {
      fmt::format_int const digits(value.template get<uint64_t>());
      text.append(digits.data(), digits.size());
   } else {
      text += value.dump();
   }
}

template <typename Json>
std::string textOfValue(Json const& value, int indent) {
   if (indent >= 0) {
      return value.dump(indent, ' ', false, Json::error_handler_t::replace);
   }
   constexpr size_t kLine = 128; // what most need, so that it is made room for once
   std::string text;
   text.reserve(kLine);
   appendValue(text, value);
   return text;
}

} // namespace

std::string jsonText(json const& value, int indent) {
   return textOfValue(value, indent);
}

std::string jsonText(nlohmann::ordered_json const& value, int indent) {
   return textOfValue(value, indent);
}

std::string jsonText(std::string_view string) {
   std::string text;
   appendString(text, string);
   return text;
}

json parseJson(std::string_view text, std::string const& file, size_t firstLine) {
   Scanner scanner({});
   if (!scanner.scan(text)) {
      throw InputError(location(file, firstLine + scanner.lines()) + scanner.error());
   }
   return json::parse(text, nullptr, true, true);
}

size_t lineOf(std::string_view text, json::json_pointer const& pointer) {
   auto const wanted = tokensOf(pointer);
   size_t line = 1;
   size_t deepest = 0;
   Scanner scanner([&](Scanner const& at) {
      if (at.depth() <= deepest || !at.isTowards(wanted)) {
         return true;
      }
      deepest = at.depth();
      line = at.lines() + 1;
      return deepest != wanted.size();
   });
   scanner.scan(text);
   return line;
}

std::vector<std::string> tokensOf(json::json_pointer pointer) {
   std::vector<std::string> tokens;
   for (; !pointer.empty(); pointer.pop_back()) {
      tokens.push_back(pointer.back());
   }
   std::ranges::reverse(tokens);
   return tokens;
}

} // namespace Agent
