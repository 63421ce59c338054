#pragma once

#include "agent/Descriptor.h"

#include <fmt/format.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <thread>

namespace Agent {

// Writes texts to a file, in their order, by a thread of its own, so that whoever hands
// them over can go on whatever the disk does. Belongs to one thread.
class FileWriter {
 public:
   using Text = fmt::memory_buffer;

   // std::system_error if there can be no thread.
   explicit FileWriter(Descriptor file);
   FileWriter(FileWriter const&) = delete;
   FileWriter& operator=(FileWriter const&) = delete;
   // Hands over what stands in text(), and waits until all is written.
   ~FileWriter();

   // What is to be handed over next; empty after that.
   Text& text() noexcept { return texts_[taken_.load() % kTexts]; }
   // Has text() written. False if no more is taken now, for too many are to be written;
   // news() tells when there is room again.
   bool handOver();
   // The bytes that were handed over and are not written.
   size_t left() const { return left_.load(); }
   // Waits until a text can be handed over.
   void waitForRoom() { waitWhileLeft(kMostLeft); }
   // Waits until all that was handed over is written.
   void waitForAll() { waitWhileLeft(1); }
   // The number of what went wrong first, or 0. What was handed over after that is not
   // written.
   int error() const { return error_.load(); }

   // Can be read from once there is an error, or room again after a text was refused.
   int news() const noexcept { return news_.number(); }
   void newsAreRead() const noexcept;

   // Where the process ends: has all written that was handed over, and then text(), and
   // waits for a second at most. What is handed over later is lost. May be called by a
   // signal handler in the middle of anything else, text() being changed included, as
   // long as its size is what changes last.
   void rescue() noexcept;

 private:
   static constexpr uint32_t kTexts = 16; // a power of two, since counts go round
   static constexpr uint32_t kMostLeft = kTexts - 1; // one is filled

   bool isFull() const { return taken_.load() - written_.load() >= kMostLeft; }
   bool handOverLast() noexcept;
   void waitWhileLeft(uint32_t least);
   void writeTexts();
   void nap();
   void hurry() const noexcept;
   void write(std::string_view text);
   void tell() const noexcept;

   Descriptor const file_;
   Descriptor const news_;
   Descriptor const hurried_; // can be read from when the next nap is to end at once
   // A ring, which one thread fills and the other one empties. An empty text is the
   // last one.
   std::array<Text, kTexts> texts_;
   std::atomic<uint32_t> taken_ = 0;
   std::atomic<uint32_t> written_ = 0;
   std::atomic<size_t> left_ = 0;
   std::atomic<int> error_ = 0;
   std::atomic<bool> isRefused_ = false; // a text, since room was told of last
   bool isOver_ = false;
   std::thread thread_;
};

} // namespace Agent
