#pragma once

#include "agent/Descriptor.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <thread>

namespace Agent {

// Writes texts to a file, in their order, by a thread of its own, so that whoever hands
// them over can go on whatever the disk does. Belongs to one thread.
class FileWriter {
 public:
   // std::system_error if there can be no thread.
   explicit FileWriter(Descriptor file);
   FileWriter(FileWriter const&) = delete;
   FileWriter& operator=(FileWriter const&) = delete;
   // Waits until all that was taken is written.
   ~FileWriter();

   // Takes a text and leaves an empty one in its place. False if no more is taken now,
   // for too many are to be written; news() tells when there is room again.
   bool take(std::string& text);
   // The bytes that were taken and are not written.
   size_t left() const { return left_.load(); }
   // Waits until a text can be taken.
   void waitForRoom() const { waitWhileLeft(kTexts); }
   // Waits until all that was taken is written.
   void waitForAll() const { waitWhileLeft(1); }
   // The number of what went wrong first, or 0. What was taken after that is not
   // written.
   int error() const { return error_.load(); }

   // Can be read from once there is an error, or room again after a text was refused.
   int news() const noexcept { return news_.number(); }
   void newsAreRead() const noexcept;

   // Where the process ends: has this written, after what was taken, and waits for a
   // second at most. What is taken later is lost. May be called by a signal handler in
   // the middle of take().
   void rescue(std::string_view text) noexcept;

 private:
   static constexpr uint32_t kTexts = 16;

   bool isFull() const { return taken_.load() - written_.load() == kTexts; }
   void waitWhileLeft(uint32_t least) const;
   void writeTexts();
   void write(std::string_view text);
   void tell() const noexcept;

   Descriptor const file_;
   Descriptor const news_;
   // A ring, which one thread fills and the other one empties. The counts go round; an
   // empty text is the last one.
   std::array<std::string, kTexts> texts_;
   std::atomic<uint32_t> taken_ = 0;
   std::atomic<uint32_t> written_ = 0;
   std::atomic<size_t> left_ = 0;
   std::atomic<int> error_ = 0;
   std::atomic<bool> isRefused_ = false; // a text, since room was told of last
   bool isOver_ = false;
   std::string_view rescued_;
   std::thread thread_;
};

} // namespace Agent
