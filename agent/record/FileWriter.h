#pragma once

#include "agent/Descriptor.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <string>
#include <string_view>
#include <thread>

namespace Agent {

// Writes texts to a file, in their order, in a thread of its own: who hands them over
// never waits for a disk. All but that thread is of one thread.
class FileWriter {
 public:
   explicit FileWriter(Descriptor file);
   FileWriter(FileWriter const&) = delete;
   FileWriter& operator=(FileWriter const&) = delete;
   // Waits until all that was taken is written.
   ~FileWriter();

   // Takes a text, which is not empty, and leaves an empty one in its place. False if
   // so many are still to be written that no more is taken now; news() tells when one
   // is again.
   bool take(std::string& text);
   // Waits until one can be taken, or all that was taken is written.
   void waitForRoom() const { waitWhileLeft(kTexts); }
   void waitForAll() const { waitWhileLeft(1); }
   // The number of what went wrong first, or 0. What was taken after that is not
   // written.
   int error() const { return error_.load(); }

   // Can be read from once there is an error, or texts are taken again.
   int news() const noexcept { return news_.number(); }
   void newsAreRead() const noexcept;

   // Writes this after what was taken, unless that takes too long. May be called by a
   // signal handler.
   void rescue(std::string_view text) const noexcept;

 private:
   static constexpr uint32_t kTexts = 16;

   bool isFull() const { return taken_.load() - written_.load() == kTexts; }
   void waitWhileLeft(uint32_t least) const;
   void write();
   void tell() const noexcept;

   Descriptor const file_;
   Descriptor const news_;
   // A ring: one thread fills what the other one empties. The counts go round.
   std::array<std::string, kTexts> texts_;
   std::atomic<uint32_t> taken_ = 0;
   std::atomic<uint32_t> written_ = 0;
   std::atomic<int> error_ = 0;
   std::atomic<bool> isRefused_ = false; // a text, since room was told of last
   std::thread thread_;                  // ends at an empty text
};

} // namespace Agent
