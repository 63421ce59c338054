#pragma once

#include <chrono>
#include <concepts>
#include <thread>

namespace TestSupport {

// Whether something that another process does is seen within a minute.
bool comesTrue(std::predicate auto const& condition) {
   using namespace std::chrono_literals;
   auto const end = std::chrono::steady_clock::now() + 60s;
   while (!condition()) {
      if (std::chrono::steady_clock::now() > end) {
         return false;
      }
      std::this_thread::sleep_for(1ms);
   }
   return true;
}

} // namespace TestSupport
