#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace Agent {

// How many values fell between which bounds. A value that is a bound is below it.
template <size_t kBounds>
class Histogram {
 public:
   constexpr explicit Histogram(std::array<double, kBounds> const& bounds)
      : bounds_(bounds) {}

   void add(double value) noexcept {
      size_t bucket = 0;
      while (bucket < kBounds && value > bounds_[bucket]) {
         ++bucket;
      }
      ++buckets_[bucket];
      ++count_;
      sum_ += value;
      most_ = value > most_ ? value : most_;
   }

   std::span<double const> bounds() const noexcept { return bounds_; }
   // Of each bucket; the last has what is above all bounds.
   std::span<uint64_t const> buckets() const noexcept { return buckets_; }
   uint64_t count() const noexcept { return count_; }
   double sum() const noexcept { return sum_; }
   double most() const noexcept { return most_; }

 private:
   std::array<double, kBounds> bounds_;
   std::array<uint64_t, kBounds + 1> buckets_{};
   uint64_t count_ = 0;
   double sum_ = 0;
   double most_ = 0;
};

} // namespace Agent
