#include "pelk/String.h"

#include "pelk/ThreadControl.h"

#include <atomic>
#include <new>
#include <ostream>

namespace Pelk {

struct String::Rep {
   uint32_t uses;
   size_t size;

   char* text() noexcept { return reinterpret_cast<char*>(this + 1); }
};

void String::shareNew(std::string_view text) {
   void* const block = ::operator new(sizeof(Rep) + text.size());
   auto* const made = new (block) Rep{1, text.size()};
   std::memcpy(made->text(), text.data(), text.size());
   std::memcpy(inline_.text, &made, sizeof made);
   inline_.size = kShared;
}

void String::sharedInc() const noexcept {
   if (ThreadControl::multiThreaded()) {
      std::atomic_ref(rep()->uses).fetch_add(1, std::memory_order_relaxed);
   } else {
      ++rep()->uses;
   }
}

void String::sharedDec() const noexcept {
   uint32_t const left =
      ThreadControl::multiThreaded()
         ? std::atomic_ref(rep()->uses).fetch_sub(1, std::memory_order_acq_rel) - 1
         : --rep()->uses;
   if (left == 0) {
      ::operator delete(rep());
   }
}

size_t String::sharedSize() const noexcept {
   return rep()->size;
}

char const* String::sharedText() const noexcept {
   return rep()->text();
}

std::ostream& operator<<(std::ostream& out, String const& text) {
   return out << text.view();
}

} // namespace Pelk
