#pragma once

#include "agent/Descriptor.h"

#include <sys/types.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace Agent {

// Writes to a file what is added, in its order, by a process of its own: so whoever
// adds something goes on whatever the disk does, has no second thread, and may be
// killed at any moment without anything of it being lost. Belongs to one thread.
class FileWriter {
 public:
   // How many bytes wait for the disk at most.
   static constexpr size_t kMostLeft = size_t{1} << 24;

   // std::system_error if there can be no process.
   explicit FileWriter(Descriptor file);
   FileWriter(FileWriter const&) = delete;
   FileWriter& operator=(FileWriter const&) = delete;
   // Waits until all is written.
   ~FileWriter();

   // Where so many bytes can be put, to be added then; null if so many are left to be
   // written that there is no room now.
   char* room(size_t most) noexcept {
      auto const left = this->left();
      if (left == 0) {
         beginsAnew();
      }
      if (left + most > kMuchLeft) {
         hurry();
      }
      return left + most <= kMostLeft ? place() : nullptr;
   }
   // The first bytes that stand there are to be written, whatever happens from here on.
   void added(size_t bytes) noexcept {
      if (char* const end = place() + bytes; end > shared_->end()) {
         goOnAtTheBeginning(end);
      }
      added_ += bytes;
      shared_->added.store(added_, std::memory_order_release);
      fetchToWrite(place());
   }
   // The bytes that were added and are not written.
   size_t left() const noexcept {
      return added_ - shared_->written.load(std::memory_order_acquire);
   }
   // Waits until no more than so many are left. False if that will never be, since the
   // process has gone.
   bool waitUntilLeft(size_t most) noexcept;
   // The number of what went wrong first, or 0: EOWNERDEAD if the process has gone.
   // What was added after that is not written.
   int error() const noexcept {
      return isGone_ ? EOWNERDEAD : shared_->error.load(std::memory_order_relaxed);
   }

   // Can be read from once there is an error.
   int news() const noexcept { return connection_.number(); }
   void newsAreRead() noexcept;

 private:
   static constexpr size_t kMuchLeft = size_t{1} << 20;
   static constexpr size_t kCacheLine = 64;
   static constexpr int kLinesFetched = 4; // with the one begun; few texts take more

   // What both processes know. Atomics that had a lock would have one each.
   static_assert(std::atomic<uint64_t>::is_always_lock_free);
   struct Shared {
      // By the one that adds.
      alignas(kCacheLine) std::atomic<uint64_t> added = 0;
      std::atomic<uint64_t> begin = 0;  // the byte that the memory begins with
      std::atomic<uint64_t> wanted = 0; // it is to be told when so many are written
      // By the one that writes.
      alignas(kCacheLine) std::atomic<uint64_t> written = 0;
      std::atomic<int> error = 0;

      // Bytes go round in the first half. What begins there and ends in the other half
      // is moved before it is told of.
      alignas(4096) std::array<char, 2 * kMostLeft> memory;

      char* place(uint64_t byte) noexcept {
         return memory.data() +
                (byte - begin.load(std::memory_order_relaxed)) % kMostLeft;
      }
      char* end() noexcept { return memory.data() + kMostLeft; }
   };
   struct Unmapped {
      void operator()(Shared* shared) const noexcept;
   };
   using SharedPtr = std::unique_ptr<Shared, Unmapped>;
   static SharedPtr makeShared();

   // Of the next byte.
   char* place() const noexcept { return shared_->place(added_); }
   // All that was added is written: what comes next stands where the memory begins,
   // which is in the cache yet.
   void beginsAnew() noexcept {
      shared_->begin.store(added_, std::memory_order_relaxed);
   }
   void goOnAtTheBeginning(char const* end) noexcept;

   // Once the memory has begun anew, the other process has read what stands there, so
   // that each of its cache lines would be waited for with the next bytes: some are
   // brought here meanwhile. In vain, if it begins anew before those come.
   static void fetchToWrite(char const* place) noexcept {
      for (int line = 0; line < kLinesFetched; ++line, place += kCacheLine) {
#if defined(__x86_64__)
         asm volatile("prefetchw %0" : : "m"(*place)); // what compilers take is to read
#else
         __builtin_prefetch(place, 1);
#endif
      }
   }

   // The other process is to look at once.
   void hurry() noexcept;

   // The other process.
   class Process;

   SharedPtr const shared_;
   Descriptor connection_; // can be read from when the other end wants something
   uint64_t added_ = 0;
   uint64_t hurried_ = 0; // the byte with which that was said last
   bool isGone_ = false;
   pid_t process_ = -1;
};

} // namespace Agent
