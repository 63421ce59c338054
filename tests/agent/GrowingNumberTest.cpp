#include "agent/record/GrowingNumber.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <random>
#include <string>

namespace Agent {
namespace {

constexpr uint64_t kMost = std::numeric_limits<uint64_t>::max();

std::string textOf(GrowingNumber& growing, uint64_t number) {
   std::string text(GrowingNumber::kMostDigits + 1, '#');
   char* const end = growing.write(number, text.data());
   EXPECT_EQ(text.back(), '#') << "more was written than may be";
   return {text.data(), end};
}

TEST(GrowingNumberText, HasTheDigitsOfEachNumberWhateverCameBefore) {
   GrowingNumber growing;
   uint64_t const numbers[] = {
      0,     1,         999,       1000, 1001,  1999,      2000, 999999,       0, 1234,
      12345, 1'000'000, 1'000'007, 12,   kMost, kMost - 1, 1000, kMost - 1000, 5};
   for (auto const number : numbers) {
      EXPECT_EQ(textOf(growing, number), std::to_string(number));
   }
}

TEST(GrowingNumberText, HasTheDigitsOfNumbersThatGrow) {
   GrowingNumber growing;
   std::mt19937_64 random(1);
   for (uint64_t number = 0; number < kMost / 2; number += random() % (number + 2)) {
      for (uint64_t next = number; next < number + 3000; next += 1 + random() % 700) {
         ASSERT_EQ(textOf(growing, next), std::to_string(next));
      }
   }
}

} // namespace
} // namespace Agent
