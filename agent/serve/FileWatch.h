#pragma once

#include "agent/Descriptor.h"
#include "agent/serve/EventLoop.h"

#include <sys/inotify.h>
#include <sys/stat.h>

#include <map>
#include <optional>
#include <string>

namespace Agent {

// Tells when there is something new in a file, however it came there: written in place,
// replaced by another one as editors do, by way of a symbolic link in its path, or
// after it was gone. Follows the folders, since a file that is replaced takes with it
// whoever follows the file. Event thread only.
class FileWatch {
 public:
   // changed: called a moment after the change, so that what is written in several
   // steps is one change. Also when the file is gone: reading it then tells.
   // std::system_error if the system cannot follow it.
   FileWatch(EventLoop& loop, std::string file, EventLoop::Call changed);

   // What stands in the file now is known: to be called before the file is read.
   void seen();

 private:
   // What is different when something new stands in a file.
   struct Stamp {
      dev_t device;
      ino_t number;
      off_t size;
      timespec written;

      bool operator==(Stamp const& other) const noexcept;
   };

   void follow();
   void readEvents();
   bool isNews(inotify_event const& event) const;
   void look();
   std::optional<Stamp> stamp() const;

   std::string file_;
   EventLoop::Call changed_;
   Descriptor inotify_;
   std::map<int, std::string>
      folders_; // that are followed, by what the system calls them
   std::optional<Stamp> seen_;
   EventLoop::Timer settled_;
   EventLoop::Timer retry_; // while a folder is not there
   EventLoop::Follower follower_;
};

} // namespace Agent
