#pragma once

#include "pelk/SharedObject.h"

#include <compare>
#include <concepts>
#include <cstddef>
#include <functional>
#include <type_traits>
#include <utility>

namespace Pelk {

// What a Ptr asks of its object, which may be null. SharedObject is the usual way to
// offer it.
template <typename T>
concept Countable = requires(T const* object) {
   { T::useInc(object) } noexcept;
   { T::useDec(object) } noexcept;
};

// A counted handle: one pointer wide, the count stands in the object. Copying adds a
// use, dropping takes one away; the object goes with its last use. T may be
// incomplete where a Ptr is only declared.
template <typename T>
class Ptr {
 public:
   using element_type = T;

   constexpr Ptr() noexcept = default;
   // No object.
   constexpr Ptr(std::nullptr_t) noexcept {}
   // Each adds a use to the object if there is one, or takes over that of the other.
   Ptr(T* object) noexcept : object_(object) { use(); }
   Ptr(Ptr const& other) noexcept : object_(other.object_) { use(); }
   Ptr(Ptr&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
   template <typename U>
      requires std::convertible_to<U*, T*>
   Ptr(Ptr<U> const& other) noexcept : object_(other.get()) {
      use();
   }
   template <typename U>
      requires std::convertible_to<U*, T*>
   Ptr(Ptr<U>&& other) noexcept : object_(other.release()) {}
   // Drops the use, if it has one.
   ~Ptr() { drop(); }

   // Of a copy or of what is moved here; the old object goes last, so that this handle
   // is whole while its destructor runs.
   Ptr& operator=(Ptr other) noexcept {
      swap(other);
      return *this;
   }

   // Takes over a use that the caller holds.
   static Ptr adopt(T* object) noexcept {
      Ptr ptr;
      ptr.object_ = object;
      return ptr;
   }
   // Hands the use to the caller, and is null afterwards.
   [[nodiscard]] T* release() noexcept { return std::exchange(object_, nullptr); }

   void swap(Ptr& other) noexcept { std::swap(object_, other.object_); }
   T* get() const noexcept { return object_; }
   T& operator*() const noexcept { return *object_; }
   T* operator->() const noexcept { return object_; }
   explicit operator bool() const noexcept { return object_ != nullptr; }

   template <typename U>
   bool operator==(Ptr<U> const& other) const noexcept {
      return object_ == other.get();
   }
   bool operator==(std::nullptr_t) const noexcept { return object_ == nullptr; }
   template <typename U>
   std::strong_ordering operator<=>(Ptr<U> const& other) const noexcept {
      return std::compare_three_way{}(object_, other.get());
   }

 private:
   void use() const noexcept {
      static_assert(Countable<T>);
      T::useInc(object_);
   }
   void drop() const noexcept {
      static_assert(Countable<T>);
      T::useDec(object_);
   }

   T* object_ = nullptr;
};

// Makes an object and the first handle to it, which adopts the use that the object
// is born with.
template <std::derived_from<SharedObject> T, typename... Args>
Ptr<T> makePtr(Args&&... args) {
   return Ptr<T>::adopt(new T(std::forward<Args>(args)...));
}

} // namespace Pelk

template <typename T>
struct std::hash<Pelk::Ptr<T>> {
   std::size_t operator()(Pelk::Ptr<T> const& ptr) const noexcept {
      return std::hash<T*>{}(ptr.get());
   }
};
