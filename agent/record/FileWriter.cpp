#include "agent/record/FileWriter.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <csignal>
#include <ctime>
#include <utility>

namespace Agent {

FileWriter::FileWriter(Descriptor file)
   : file_(std::move(file)),
     news_(Descriptor::made(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK), "eventfd")),
     thread_([this] { write(); }) {}

FileWriter::~FileWriter() {
   waitForAll();
   ++taken_; // an empty text
   taken_.notify_one();
   thread_.join();
}

bool FileWriter::take(std::string& text) {
   if (isFull()) {
      isRefused_ = true;
      if (isFull()) { // it may have changed before that
         return false;
      }
   }
   texts_[taken_.load() % kTexts].swap(text);
   ++taken_;
   taken_.notify_one();
   return true;
}

void FileWriter::newsAreRead() const noexcept {
   eventfd_t count = 0;
   static_cast<void>(eventfd_read(news_.number(), &count));
}

// What a handler may do is little: it looks again and again.
void FileWriter::rescue(std::string_view text) const noexcept {
   constexpr timespec kPause{0, 1'000'000};
   for (int i = 0; i < 1000 && written_.load() != taken_.load(); ++i) {
      nanosleep(&kPause, nullptr);
   }
   if (written_.load() == taken_.load() && error_.load() == 0) {
      static_cast<void>(writeAll(file_.number(), text));
   }
}

void FileWriter::write() {
   // Signals are for the thread that knows what they mean.
   sigset_t all;
   sigfillset(&all);
   pthread_sigmask(SIG_BLOCK, &all, nullptr);
   for (uint32_t number = 0;; ++number) {
      taken_.wait(number);
      auto& text = texts_[number % kTexts];
      if (text.empty()) {
         return;
      }
      if (error_ == 0) {
         error_ = writeAll(file_.number(), text);
         if (error_ != 0) {
            tell();
         }
      }
      text.clear();
      written_ = number + 1;
      written_.notify_all();
      if (isRefused_.exchange(false)) {
         tell();
      }
   }
}

// While so many at least are to be written.
void FileWriter::waitWhileLeft(uint32_t least) const {
   for (auto written = written_.load(); taken_.load() - written >= least;
        written = written_.load()) {
      written_.wait(written);
   }
}

void FileWriter::tell() const noexcept {
   static_cast<void>(eventfd_write(news_.number(), 1));
}

} // namespace Agent
