#include "agent/record/FileWriter.h"

#include <poll.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <new>
#include <string_view>

namespace Agent {

namespace {

// Written at once, so that there is room soon.
constexpr size_t kAtOnce = size_t{1} << 18;

// The process that writes looks for more by itself, since to wake it costs whoever does
// it some 30 µs. In milliseconds: while more comes, and at most when nothing does.
constexpr int kNap = 10;
constexpr int kLongNap = 640;

void call(Descriptor const& connection) noexcept {
   send(connection.number(), "", 1, MSG_DONTWAIT | MSG_NOSIGNAL);
}

// Takes all calls. False if the other end has gone.
bool hearsFrom(Descriptor const& connection) noexcept {
   std::array<char, 64> heard;
   for (;;) {
      auto const size =
         recv(connection.number(), heard.data(), heard.size(), MSG_DONTWAIT);
      if (size == 0 || (size < 0 && errno != EAGAIN && errno != EINTR)) {
         return false;
      }
      if (size < 0 && errno == EAGAIN) {
         return true;
      }
   }
}

void waitFor(Descriptor const& connection, int milliseconds) noexcept {
   pollfd wanted{connection.number(), POLLIN, 0};
   poll(&wanted, 1, milliseconds);
}

// What others wait for to be closed is not held open here.
void closeAllBut(Descriptor const& one, Descriptor const& other) noexcept {
   auto const [low, high] = std::minmax({one.number(), other.number()});
   if (low > 0) {
      close_range(0, static_cast<unsigned>(low - 1), 0);
   }
   if (high - low > 1) {
      close_range(static_cast<unsigned>(low + 1), static_cast<unsigned>(high - 1), 0);
   }
   close_range(static_cast<unsigned>(high + 1), ~0U, 0);
}

class SignalsBlocked {
 public:
   SignalsBlocked() noexcept {
      sigset_t all;
      sigfillset(&all);
      pthread_sigmask(SIG_BLOCK, &all, &before_);
   }
   SignalsBlocked(SignalsBlocked const&) = delete;
   SignalsBlocked& operator=(SignalsBlocked const&) = delete;
   ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

 private:
   sigset_t before_;
};

} // namespace

// What it does may be done between fork() and _exit(), in whatever state the other
// process was.
class FileWriter::Process {
 public:
   Process(FileWriter const& writer, Descriptor const& file,
           Descriptor const& connection)
      : shared_(*writer.shared_), file_(file), connection_(connection) {}

   [[noreturn]] void run() noexcept {
      prctl(PR_SET_NAME, "recorder");
      closeAllBut(file_, connection_);
      for (int nap = kNap;;) {
         bool const isAlone =
            !hearsFrom(connection_); // before it looks for the last time
         bool const hasWritten = writeAdded();
         tellIfWanted();
         if (isAlone) {
            _exit(0);
         }
         nap = hasWritten ? kNap : std::min(2 * nap, kLongNap);
         waitFor(connection_, nap);
      }
   }

 private:
   bool writeAdded() noexcept {
      auto const before = written_;
      for (uint64_t added = 0;
           (added = shared_.added.load(std::memory_order_acquire)) != written_;) {
         auto const* const place = shared_.place(written_);
         write({place, std::min({static_cast<size_t>(added - written_), kAtOnce,
                                 static_cast<size_t>(shared_.end() - place)})});
      }
      return written_ != before;
   }

   void write(std::string_view text) noexcept {
      bool const isFirst =
         error_ == 0 && (error_ = writeAll(file_.number(), text)) != 0;
      if (isFirst) {
         shared_.error.store(error_, std::memory_order_relaxed);
      }
      written_ += text.size();
      shared_.written.store(written_, std::memory_order_release);
      if (isFirst) {
         call(connection_);
      }
      tellIfWanted();
   }

   // It asks for it and then calls, which is heard before this looks again.
   void tellIfWanted() noexcept {
      auto const wanted = shared_.wanted.load();
      if (wanted != 0 && written_ >= wanted && shared_.wanted.exchange(0) != 0) {
         call(connection_);
      }
   }

   Shared& shared_;
   Descriptor const& file_;
   Descriptor const& connection_;
   uint64_t written_ = 0;
   int error_ = 0;
};

FileWriter::SharedPtr FileWriter::makeShared() {
   auto* const memory = mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE,
                             MAP_SHARED | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
   if (memory == MAP_FAILED) {
      systemFailed("mmap");
   }
   return SharedPtr(new (memory) Shared);
}

void FileWriter::Unmapped::operator()(Shared* shared) const noexcept {
   munmap(shared, sizeof(Shared));
}

FileWriter::FileWriter(Descriptor file) : shared_(makeShared()) {
   std::array<int, 2> ends{};
   if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
      systemFailed("socketpair");
   }
   connection_ = Descriptor(ends[0]);
   Descriptor const others(ends[1]);
   SignalsBlocked const blocked; // they are for the process that knows what they mean
   process_ = fork();
   if (process_ == 0) {
      Process(*this, file, others).run();
   }
   if (process_ < 0) {
      systemFailed("fork");
   }
}

FileWriter::~FileWriter() {
   waitUntilLeft(0);
   connection_ = Descriptor();
   while (process_ > 0 && waitpid(process_, nullptr, 0) < 0 && errno == EINTR) {
   }
}

bool FileWriter::waitUntilLeft(size_t most) noexcept {
   while (left() > most && !isGone_) {
      shared_->wanted.store(added_ - most);
      call(connection_);
      waitFor(connection_, kLongNap); // and asks again, should the call not come
      newsAreRead();
   }
   return !isGone_;
}

void FileWriter::goOnAtTheBeginning(char const* end) noexcept {
   std::copy(static_cast<char const*>(shared_->end()), end, shared_->memory.data());
}

void FileWriter::hurry() noexcept {
   if (added_ - hurried_ > kMuchLeft / 4) {
      hurried_ = added_;
      call(connection_);
   }
}

void FileWriter::newsAreRead() noexcept {
   isGone_ = !hearsFrom(connection_) || isGone_;
   if (isGone_ && process_ > 0 && waitpid(process_, nullptr, WNOHANG) == process_) {
      process_ = -1;
   }
}

} // namespace Agent
