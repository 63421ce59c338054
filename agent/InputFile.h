#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace Agent {

// No document and no line of events is longer; a longer one is refused before it takes
// the memory of the machine.
inline constexpr size_t kMostInput = size_t{128} << 20;

// The whole file, without a byte order mark, and decompressed if zstd compressed it;
// "-" is standard input. InputError if it cannot be read, is longer than kMostInput,
// before or after that, or was written to meanwhile.
std::string readFile(std::string const& file);

// InputError if a pipe or a device stands there: it may never end, and nobody is told
// what comes. Whatever else there is, reading it tells.
void requireFollowable(std::string const& file);

// A file as it was read, once: it may be a pipe. Copies share the text.
class FileText {
 public:
   // As readFile().
   explicit FileText(std::string file);

   std::string const& file() const noexcept { return file_; }
   std::string_view text() const noexcept { return *text_; }

 private:
   std::string file_;
   std::shared_ptr<std::string const> text_;
};

// The next line of standard input, without its end; false at the end. InputError if it
// cannot be read or is longer than kMostInput.
bool readLine(std::string& line);

} // namespace Agent
