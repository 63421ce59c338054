#include "agent/record/FileWriter.h"

#include <poll.h>
#include <sys/eventfd.h>

#include <csignal>
#include <ctime>
#include <utility>

namespace Agent {

namespace {

constexpr size_t kReserved = size_t{1} << 17; // memory for each text

// To wake a thread costs whoever does it some 30 µs, and soon after a text another one
// comes as a rule: it is found after a nap of so many milliseconds.
constexpr int kNap = 10;

Descriptor eventDescriptor() {
   return Descriptor::made(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK), "eventfd");
}

void readEvents(Descriptor const& events) noexcept {
   eventfd_t count = 0;
   static_cast<void>(eventfd_read(events.number(), &count));
}

} // namespace

FileWriter::FileWriter(Descriptor file)
   : file_(std::move(file)), news_(eventDescriptor()), hurried_(eventDescriptor()),
     thread_([this] { writeTexts(); }) {}

FileWriter::~FileWriter() {
   while (!handOver()) {
      waitForRoom();
   }
   waitForAll();
   handOverLast();
   thread_.join();
}

bool FileWriter::handOver() {
   if (isOver_) {
      text().clear();
   }
   if (text().size() == 0) {
      return true;
   }
   if (isFull()) {
      isRefused_ = true;
      hurry();
      if (isFull()) { // it may have changed before that
         return false;
      }
   }
   left_ += text().size();
   ++taken_;
   taken_.notify_one();
   text().reserve(kReserved);
   return true;
}

void FileWriter::newsAreRead() const noexcept {
   readEvents(news_);
}

// The disk may hang, so the thread writes this, too. What a handler may do is little:
// it looks again and again.
void FileWriter::rescue() noexcept {
   constexpr timespec kPause{0, 1'000'000};
   isOver_ = true;
   bool isEnded = false;
   for (int i = 0; i < 1000 && (!isEnded || written_.load() != taken_.load()); ++i) {
      if (!isEnded && !isFull()) {
         isEnded = handOverLast();
      }
      hurry();
      taken_.notify_one(); // of the one, too, that handOver() may have just counted
      nanosleep(&kPause, nullptr);
   }
}

// What stands in text(), if anything does, or the empty text that ends all. Returns
// whether it was that one.
bool FileWriter::handOverLast() noexcept {
   auto const size = text().size();
   left_ += size;
   ++taken_;
   taken_.notify_one();
   hurry();
   return size == 0;
}

void FileWriter::writeTexts() {
   // Signals are for the thread that knows what they mean.
   sigset_t all;
   sigfillset(&all);
   pthread_sigmask(SIG_BLOCK, &all, nullptr);
   for (bool isLast = false; !isLast;) {
      auto const number = written_.load();
      if (number != 0 && taken_.load() == number) { // there was one before
         nap();
      }
      taken_.wait(number);
      auto& text = texts_[number % kTexts];
      isLast = text.size() == 0;
      write({text.data(), text.size()});
      left_ -= text.size();
      text.clear();
      if (text.capacity() > kReserved) {
         text = Text();
      }
      written_ = number + 1;
      written_.notify_all();
      if (isRefused_.exchange(false)) {
         tell();
      }
   }
}

void FileWriter::nap() {
   pollfd wanted{hurried_.number(), POLLIN, 0};
   poll(&wanted, 1, kNap);
   readEvents(hurried_);
}

void FileWriter::hurry() const noexcept {
   static_cast<void>(eventfd_write(hurried_.number(), 1));
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
void FileWriter::waitWhileLeft(uint32_t least) {
   auto written = written_.load();
   if (taken_.load() - written >= least) {
      hurry();
   }
   for (; taken_.load() - written >= least; written = written_.load()) {
      written_.wait(written);
   }
}

void FileWriter::tell() const noexcept {
   static_cast<void>(eventfd_write(news_.number(), 1));
}

} // namespace Agent
