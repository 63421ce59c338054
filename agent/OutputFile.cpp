#include "agent/OutputFile.h"

#include "agent/BadInput.h"
#include "agent/Descriptor.h"
#include "agent/SignalsHeld.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace Agent {

namespace {

[[noreturn]] void cannotBeWritten(std::string const& file, int error) {
   throw InputError(location(file, 0) +
                    "cannot be written: " + std::generic_category().message(error));
}

// Of a file that is made anew.
mode_t usualMode() {
   auto const mask = umask(0);
   umask(mask);
   return 0666 & ~mask;
}

// Beside the file, so that it can take its place; gone if it does not.
class Draft {
 public:
   explicit Draft(std::string const& file)
      // mkostemp() puts characters of its own in the place of the last six.
      : name_(file + '.' + std::string(6, 'X')),
        descriptor_(mkostemp(name_.data(), O_CLOEXEC)) {}
   Draft(Draft const&) = delete;
   Draft& operator=(Draft const&) = delete;
   ~Draft() {
      if (descriptor_ && !isPlaced_) {
         unlink(name_.c_str());
      }
   }

   // The number of what went wrong, or 0.
   int place(std::string const& file, std::string_view text, mode_t mode) {
      if (!descriptor_) {
         return errno;
      }
      if (int const error = writeAll(descriptor_.number(), text); error != 0) {
         return error;
      }
      if (fchmod(descriptor_.number(), mode) != 0 || fsync(descriptor_.number()) != 0 ||
          std::rename(name_.c_str(), file.c_str()) != 0) {
         return errno;
      }
      isPlaced_ = true;
      return 0;
   }

 private:
   std::string name_;
   Descriptor descriptor_;
   bool isPlaced_ = false;
};

} // namespace

void replaceFile(std::string const& file, std::string_view text) {
   struct stat status{};
   bool const isThere = stat(file.c_str(), &status) == 0;
   int error = 0;
   if (isThere && !S_ISREG(status.st_mode)) {
      Descriptor const to(open(file.c_str(), O_WRONLY | O_CLOEXEC));
      error = to ? writeAll(to.number(), text) : errno;
   } else {
      // What a symbolic link leads to is replaced, not the link.
      SignalsHeld const held; // no draft is left behind
      std::error_code ignored;
      auto const real = std::filesystem::canonical(file, ignored);
      auto const name = ignored ? file : real.string();
      error =
         Draft(name).place(name, text, isThere ? status.st_mode & 07777 : usualMode());
   }
   if (error != 0) {
      cannotBeWritten(file, error);
   }
}

} // namespace Agent
