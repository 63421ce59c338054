#include "agent/InputFile.h"

#include "agent/BadInput.h"
#include "agent/Descriptor.h"
#include "agent/OutOfMemory.h"
#include "agent/Zstd.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <string_view>
#include <system_error>
#include <utility>

namespace Agent {

namespace {

[[noreturn]] void refuseFile(std::string const& file, std::string const& why) {
   throw InputError(location(file, 0) + why);
}

[[noreturn]] void cannotBeRead(std::string const& file, int error) {
   refuseFile(file, "cannot be read: " + std::generic_category().message(error));
}

[[noreturn]] void tooLong(std::string const& file, char const* what) {
   refuseFile(file, std::string(what) + " is longer than " +
                       std::to_string(kMostInput >> 20) + " MiB");
}

Descriptor opened(std::string const& file) {
   Descriptor from(file == "-" ? fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0)
                               : open(file.c_str(), O_RDONLY | O_CLOEXEC));
   if (!from) {
      cannotBeRead(file, errno);
   }
   return from;
}

// How long a file is and when it was written last.
struct Stamp {
   bool isFile = false;
   off_t size = 0;
   timespec time{};

   explicit Stamp(Descriptor const& from) {
      struct stat status{};
      if (fstat(from.number(), &status) == 0 && S_ISREG(status.st_mode)) {
         isFile = true;
         size = status.st_size;
         time = status.st_mtim;
      }
   }
   bool operator==(Stamp const& other) const noexcept {
      return isFile == other.isFile && size == other.size &&
             time.tv_sec == other.time.tv_sec && time.tv_nsec == other.time.tv_nsec;
   }
};

std::string readAll(Descriptor const& from, Stamp const& stamp,
                    std::string const& file) {
   std::string text;
   text.reserve(std::min(static_cast<size_t>(stamp.size), kMostInput));
   std::array<char, size_t{1} << 16> part;
   for (;;) {
      auto const count = read(from.number(), part.data(), part.size());
      if (count == 0) {
         return text;
      }
      if (count > 0) {
         text.append(part.data(), static_cast<size_t>(count));
      } else if (errno != EINTR) {
         cannotBeRead(file, errno);
      }
      if (text.size() > kMostInput) {
         tooLong(file, "it");
      }
   }
}

// Some editors begin a file with a byte order mark.
std::string withoutMark(std::string text) {
   constexpr std::string_view kMark = "\xef\xbb\xbf";
   if (text.starts_with(kMark)) {
      text.erase(0, kMark.size());
   }
   return text;
}

} // namespace

std::string readFile(std::string const& file) {
   Descriptor const from = opened(file);
   Stamp const before(from);
   auto text = readAll(from, before, file);
   if (Stamp(from) != before) {
      refuseFile(file, "was written to while it was read");
   }
   return withoutMark(isCompressed(text) ? decompressed(text, file) : std::move(text));
}

void requireFollowable(std::string const& file) {
   struct stat status{};
   if (stat(file.c_str(), &status) == 0 && !S_ISREG(status.st_mode) &&
       !S_ISDIR(status.st_mode)) {
      refuseFile(file,
                 "a pipe or a device stands here; allowed is a file, which can be "
                 "followed");
   }
}

FileText::FileText(std::string file) : file_(std::move(file)) {
   Doing const doing("reading", file_.c_str());
   text_ = std::make_shared<std::string const>(readFile(file_));
}

bool readLine(std::string& line) {
   line.clear();
   errno = 0;
   int next = 0;
   while ((next = getc_unlocked(stdin)) != EOF && next != '\n') {
      if (line.size() == kMostInput) {
         tooLong("-", "a line");
      }
      line.push_back(static_cast<char>(next));
   }
   if (next == EOF && std::ferror(stdin) != 0) {
      cannotBeRead("-", errno);
   }
   return next != EOF || !line.empty();
}

} // namespace Agent
