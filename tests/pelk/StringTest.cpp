#include "pelk/String.h"

#include "pelk/ThreadControl.h"
#include "support/CountingHeap.h"

#include <array>
#include <atomic>
#include <compare>
#include <gtest/gtest.h>
#include <optional>
#include <random>
#include <sstream>
#include <string>
#include <string_view>
#include <thread>
#include <unordered_set>
#include <vector>

namespace {

using namespace std::string_view_literals;
using Pelk::String;

std::string textOfSize(size_t size) {
   std::string text;
   for (size_t i = 0; i < size; ++i) {
      text.push_back(static_cast<char>('a' + i % 26));
   }
   return text;
}

TEST(String, IsSixteenBytesWide) {
   EXPECT_EQ(sizeof(String), 16u);
}

TEST(String, DefaultIsEmpty) {
   String const none;
   EXPECT_TRUE(none.empty());
   EXPECT_EQ(none.size(), 0u);
   EXPECT_EQ(none, "");
   EXPECT_EQ(none, String(""));
}

TEST(String, OfAViewThatPointsNowhereIsEmpty) {
   EXPECT_TRUE(String(std::string_view()).empty());
}

TEST(String, HoldsTextsOfEverySizeAroundWhatFitsInside) {
   for (size_t const size : {1u, 14u, 15u, 16u, 17u, 100u, 70'000u}) {
      std::string const text = textOfSize(size);
      String const string(text);
      EXPECT_EQ(string.size(), size);
      EXPECT_EQ(string.view(), text);
      EXPECT_EQ(std::string_view(string.data(), string.size()), text);
   }
}

TEST(String, KeepsUpToFifteenBytesInTheObjectItself) {
   auto const isInside = [](String const& string) {
      auto const* const object = reinterpret_cast<char const*>(&string);
      return string.data() >= object && string.data() < object + sizeof string;
   };
   EXPECT_TRUE(isInside(String(textOfSize(15))));
   EXPECT_FALSE(isInside(String(textOfSize(16))));
}

TEST(String, CopiesOfALongTextShareIt) {
   String const first(textOfSize(16));
   String const second = first;
   EXPECT_EQ(first.data(), second.data());
   EXPECT_NE(first.data(), String(textOfSize(16)).data());
}

TEST(String, SharedTextStaysUntilItsLastCopyGoes) {
   std::vector<String> copies;
   {
      String const first(textOfSize(40));
      copies.assign(100, first);
   }
   copies.resize(1);
   EXPECT_EQ(copies.front().view(), textOfSize(40));
}

TEST(String, MovingEmptiesTheSource) {
   for (size_t const size : {15u, 16u}) {
      String source(textOfSize(size));
      String const target(std::move(source));
      EXPECT_EQ(target.view(), textOfSize(size));
      EXPECT_TRUE(source.empty());
   }
}

TEST(String, AssignmentReplacesAnyTextByAnyOther) {
   for (size_t const from : {0u, 15u, 16u}) {
      for (size_t const to : {0u, 15u, 16u}) {
         String target(textOfSize(from));
         String const source(textOfSize(to));
         target = source;
         EXPECT_EQ(target, source);
         target = String(textOfSize(from));
         EXPECT_EQ(target.view(), textOfSize(from));
         EXPECT_EQ(source.view(), textOfSize(to));
      }
   }
}

TEST(String, AssignmentToItselfChangesNothing) {
   for (size_t const size : {15u, 16u}) {
      String string(textOfSize(size));
      auto& same = string;
      string = same;
      string = std::move(same);
      EXPECT_EQ(string.view(), textOfSize(size));
   }
}

TEST(String, KeepsAndComparesZeroBytes) {
   for (auto const text : {"a\0b"sv, "\0"sv, "a long text\0with a zero byte"sv}) {
      String const string(text);
      EXPECT_EQ(string.size(), text.size());
      EXPECT_EQ(string, text);
   }
   EXPECT_NE(String("a\0b"sv), String("a"sv));
   EXPECT_NE(String("\0"sv), String());
   EXPECT_LT(String("a"sv), String("a\0"sv));
}

TEST(String, LongTextsAreEqualByTheirBytesNotTheirPlace) {
   EXPECT_EQ(String(textOfSize(16)), String(textOfSize(16)));
   EXPECT_NE(String(textOfSize(16)), String(textOfSize(17)));
   EXPECT_NE(String(textOfSize(15)), String(textOfSize(16)));
}

TEST(String, ComparesLikeTheTextsThatItHolds) {
   std::mt19937 random(7);
   std::uniform_int_distribution<size_t> size(0, 20);
   std::uniform_int_distribution<int> letter(0, 2);
   auto const make = [&] {
      std::string text(size(random), 'x');
      for (auto& c : text) {
         c = static_cast<char>(letter(random) - 1); // 0xff, 0 and 1
      }
      return text;
   };
   for (int i = 0; i < 20'000; ++i) {
      std::string const a = make();
      std::string const b = make();
      EXPECT_EQ(String(a) == String(b), a == b);
      EXPECT_EQ(String(a) <=> String(b), a <=> b);
      EXPECT_EQ(String(a) == std::string_view(b), a == b);
   }
}

TEST(String, SwapExchangesInsideAndSharedTexts) {
   String inside("short");
   String shared(textOfSize(30));
   inside.swap(shared);
   EXPECT_EQ(inside.view(), textOfSize(30));
   EXPECT_EQ(shared, "short");
}

TEST(String, PrintsItsBytes) {
   std::ostringstream out;
   out << String("Vlan10") << '|' << String(textOfSize(20));
   EXPECT_EQ(out.str(), "Vlan10|" + textOfSize(20));
}

TEST(String, HashesByItsText) {
   std::unordered_set<String> const names{String(textOfSize(20)),
                                          String(textOfSize(20)), "a", "a"};
   EXPECT_EQ(names.size(), 2u);
}

TEST(String, CopiesInSeveralThreadsShareOneTextToTheEnd) {
   Pelk::ThreadControl::multiThreadedIs(true);
   {
      std::vector<std::thread> threads;
      {
         String const shared(textOfSize(50));
         for (int i = 0; i < 4; ++i) {
            threads.emplace_back([mine = shared] {
               for (int round = 0; round < 20'000; ++round) {
                  String const copy = mine;
                  ASSERT_EQ(copy.data(), mine.data());
               }
            });
         }
      }
      for (auto& thread : threads) {
         thread.join();
      }
   }
   Pelk::ThreadControl::multiThreadedIs(false);
}

// Counts that were not atomic would miss each other: the text would live on, or go
// early.
TEST(String, WhatIsCopiedInSeveralThreadsAtOnceIsReleasedWithItsLastCopy) {
   Pelk::ThreadControl::multiThreadedIs(true);
   std::optional<String> shared(textOfSize(50));
   // Until they ran at the same moment often enough, which on a busy machine takes
   // long.
   constexpr int kMeetings = 300'000;
   constexpr int kMostRounds = 30'000'000;
   std::array<std::atomic<int>, 2> rounds{};
   std::atomic<bool> isEnough = false;
   std::vector<std::thread> threads;
   for (size_t i = 0; i < rounds.size(); ++i) {
      threads.emplace_back([&, i] {
         auto const& others = rounds[1 - i];
         for (int meetings = 0; meetings < kMeetings && rounds[i] < kMostRounds &&
                                !isEnough.load(std::memory_order_relaxed);
              ++rounds[i]) {
            int const before = others.load(std::memory_order_relaxed);
            String const copy = *shared;
            ASSERT_EQ(copy.size(), 50u);
            meetings += others.load(std::memory_order_relaxed) != before ? 1 : 0;
         }
         isEnough = true;
      });
   }
   for (auto& thread : threads) {
      thread.join();
   }
   Pelk::ThreadControl::multiThreadedIs(false);
   auto const before = TestSupport::heap().releases;
   String last = *shared;
   shared.reset();
   EXPECT_EQ(TestSupport::heap().releases, before);
   last = String();
   EXPECT_EQ(TestSupport::heap().releases, before + 1);
}

} // namespace
