#pragma once

#include "agent/Descriptor.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>

namespace Agent {

// Waits for what happens outside the process, and works in between. In each turn every
// descriptor that is ready is served once and one piece of work is done, so that
// neither keeps the other waiting for long. Event thread only.
class EventLoop {
 public:
   using Call = std::function<void()>;

   EventLoop();
   EventLoop(EventLoop const&) = delete;
   EventLoop& operator=(EventLoop const&) = delete;
   ~EventLoop();

   // What a descriptor is waited for.
   enum class Interest : uint8_t { reading, writing, both };

   // Follows a descriptor while it lives: calls back when it is ready, or has failed,
   // which the next read or write then tells. It may go, or others may, inside a call.
   class Follower {
    public:
      Follower(EventLoop& loop, int descriptor, Interest interest, Call ready);
      Follower(Follower const&) = delete;
      Follower& operator=(Follower const&) = delete;
      ~Follower();

      void interestIs(Interest interest);

    private:
      EventLoop& loop_;
      int descriptor_;
      Interest interest_;
   };

   // Calls back once when the time has come, or again and again. It may go inside a
   // call.
   class Timer {
    public:
      Timer(EventLoop& loop, Call due);

      bool isSet() const noexcept { return isSet_; }
      void onceAfter(std::chrono::nanoseconds time);
      void every(std::chrono::nanoseconds time);
      void unset();

    private:
      void set(std::chrono::nanoseconds first, std::chrono::nanoseconds next);

      Call due_;
      Descriptor descriptor_;
      bool isSet_ = false;
      bool isOnce_ = true;
      Follower follower_;
   };

   // Does a piece of work and returns whether there is more. Asked in every turn.
   void workIs(std::function<bool()> piece) { piece_ = std::move(piece); }
   // Called at the end of each turn, before the loop waits.
   void turnEndIs(Call call) { turnEnd_ = std::move(call); }

   // Turns until stop() was called.
   void run();
   void stop() noexcept { isStopped_ = true; }

 private:
   void turn(int timeout);

   Descriptor epoll_;
   // By descriptor; shared with the call in progress, which may end it.
   std::map<int, std::shared_ptr<Call>> calls_;
   std::function<bool()> piece_;
   Call turnEnd_;
   bool isStopped_ = false;
};

} // namespace Agent
