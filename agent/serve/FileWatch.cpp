#include "agent/serve/FileWatch.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <set>
#include <system_error>
#include <utility>

namespace Agent {

namespace {

using namespace std::chrono_literals;

// Whoever writes a file in steps is done with it by then.
constexpr auto kSettle = 30ms;
constexpr auto kRetry = 1s;

constexpr uint32_t kEvents = IN_CLOSE_WRITE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE |
                             IN_CREATE | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;

// The folders in which a change can put something else in the place of the file: that
// of the file as it is named, and those that links lead to.
std::set<std::string> foldersOf(std::filesystem::path file) {
   constexpr int kMostLinks = 40; // as many as the system follows
   std::set<std::string> folders;
   for (int links = 0; links < kMostLinks; ++links) {
      auto const folder = file.has_parent_path() ? file.parent_path() : ".";
      folders.insert(folder.string());
      std::error_code none;
      auto const target = std::filesystem::read_symlink(file, none);
      if (none) {
         break;
      }
      file = target.is_absolute() ? target : folder / target;
   }
   // A link may stand for a folder on the way, too.
   std::error_code gone;
   auto const real = std::filesystem::canonical(file, gone);
   if (!gone) {
      folders.insert(real.parent_path().string());
   }
   return folders;
}

} // namespace

bool FileWatch::Stamp::operator==(Stamp const& other) const noexcept {
   return device == other.device && number == other.number && size == other.size &&
          written.tv_sec == other.written.tv_sec &&
          written.tv_nsec == other.written.tv_nsec;
}

FileWatch::FileWatch(EventLoop& loop, std::string file, EventLoop::Call changed)
   : file_(std::move(file)), changed_(std::move(changed)),
     inotify_(
        Descriptor::made(inotify_init1(IN_NONBLOCK | IN_CLOEXEC), "inotify_init1")),
     settled_(loop, [this] { look(); }), retry_(loop, [this] { look(); }),
     follower_(loop, inotify_.number(), EventLoop::Interest::reading,
               [this] { readEvents(); }) {
   follow();
}

void FileWatch::follow() {
   bool isWhole = true;
   for (auto const& folder : foldersOf(file_)) {
      // One that is followed is given the same number again.
      int const number = inotify_add_watch(inotify_.number(), folder.c_str(), kEvents);
      if (number >= 0) {
         folders_[number] = folder;
      } else if (errno == ENOENT || errno == ENOTDIR || errno == EACCES) {
         isWhole = false;
      } else {
         throw std::system_error(errno, std::generic_category(), "following " + folder);
      }
   }
   if (!isWhole) {
      retry_.onceAfter(kRetry);
   }
}

void FileWatch::seen() {
   seen_ = stamp();
}

std::optional<FileWatch::Stamp> FileWatch::stamp() const {
   struct stat status{};
   if (stat(file_.c_str(), &status) != 0) {
      return std::nullopt;
   }
   return Stamp{status.st_dev, status.st_ino, status.st_size, status.st_mtim};
}

void FileWatch::readEvents() {
   alignas(inotify_event) std::array<char, 1 << 14> events;
   ssize_t size = 0;
   bool isAny = false;
   while ((size = read(inotify_.number(), events.data(), events.size())) > 0) {
      for (auto* at = events.data(); at < events.data() + size;) {
         auto const* const event = reinterpret_cast<inotify_event const*>(at);
         isAny = isNews(*event) || isAny;
         if ((event->mask & IN_IGNORED) != 0) {
            folders_.erase(event->wd);
         }
         at += sizeof(inotify_event) + event->len;
      }
   }
   // The first change decides when to look: one who writes all the time is heard, too.
   if (isAny && !settled_.isSet()) {
      settled_.onceAfter(kSettle);
   }
}

// A file that is made is written next, and tells when that is done. A link or a folder
// is whole at once.
bool FileWatch::isNews(inotify_event const& event) const {
   if ((event.mask & IN_CREATE) == 0 || (event.mask & IN_ISDIR) != 0) {
      return true;
   }
   auto const folder = folders_.find(event.wd);
   std::error_code gone;
   return folder != folders_.end() &&
          std::filesystem::is_symlink(
             std::filesystem::path(folder->second) / event.name, gone);
}

void FileWatch::look() {
   follow();
   if (stamp() != seen_) {
      changed_();
   }
}

} // namespace Agent
