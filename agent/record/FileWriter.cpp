#include "agent/record/FileWriter.h"

#include <sys/eventfd.h>

#include <csignal>
#include <ctime>
#include <utility>

namespace Agent {

namespace {

constexpr size_t kMostReserved = size_t{1} << 17; // memory for the next text

} // namespace

FileWriter::FileWriter(Descriptor file)
   : file_(std::move(file)),
     news_(Descriptor::made(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK), "eventfd")),
     thread_([this] { writeTexts(); }) {}

FileWriter::~FileWriter() {
   waitForAll();
   ++taken_; // an empty text
   taken_.notify_one();
   thread_.join();
}

bool FileWriter::take(std::string& text) {
   if (text.empty()) {
      return true;
   }
   if (isOver_) {
      text.clear();
      return true;
   }
   if (isFull()) {
      isRefused_ = true;
      if (isFull()) { // it may have changed before that
         return false;
      }
   }
   left_ += text.size();
   texts_[taken_.load() % kTexts].swap(text);
   ++taken_;
   taken_.notify_one();
   return true;
}

void FileWriter::newsAreRead() const noexcept {
   eventfd_t count = 0;
   static_cast<void>(eventfd_read(news_.number(), &count));
}

// The disk may hang, so the thread writes this, too. What a handler may do is little:
// it looks again and again.
void FileWriter::rescue(std::string_view text) noexcept {
   constexpr timespec kPause{0, 1'000'000};
   isOver_ = true;
   rescued_ = text;
   bool isTaken = false;
   for (int i = 0; i < 1000 && (!isTaken || written_.load() != taken_.load()); ++i) {
      if (!isTaken && !isFull()) {
         ++taken_; // an empty text
         isTaken = true;
      }
      taken_.notify_one(); // of the one, too, that take() may have just taken
      nanosleep(&kPause, nullptr);
   }
   if (!isTaken) {
      rescued_ = {};
   }
}

void FileWriter::writeTexts() {
   // Signals are for the thread that knows what they mean.
   sigset_t all;
   sigfillset(&all);
   pthread_sigmask(SIG_BLOCK, &all, nullptr);
   for (bool isLast = false; !isLast;) {
      auto const number = written_.load();
      taken_.wait(number);
      auto& text = texts_[number % kTexts];
      isLast = text.empty();
      write(isLast ? rescued_ : text);
      left_ -= text.size();
      text.clear();
      if (text.capacity() > kMostReserved) {
         text = std::string();
      }
      written_ = number + 1;
      written_.notify_all();
      if (isRefused_.exchange(false)) {
         tell();
      }
   }
}

void FileWriter::write(std::string_view text) {
   if (error_ == 0) {
      error_ = writeAll(file_.number(), text);
      if (error_ != 0) {
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
