#include "agent/JsonText.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <string_view>
#include <type_traits>

// Values as text on one line.
namespace {

class RandomValues {
 public:
   template <typename Json>
   Json value(int levels) {
      switch (below(levels == 0 ? 6 : 8)) {
         case 0:
            return nullptr;
         case 1:
            return below(2) == 0;
         case 2:
            return static_cast<int64_t>(random_()) >> below(64);
         case 3:
            return uint64_t{random_()} >> below(64);
         case 4:
            return std::bit_cast<double>(uint64_t{random_()});
         case 5:
            return text();
         case 6: {
            auto array = Json::array();
            for (auto left = below(5); left > 0; --left) {
               array.push_back(value<Json>(levels - 1));
            }
            return array;
         }
         default: {
            auto object = Json::object();
            for (auto left = below(5); left > 0; --left) {
               object[text()] = value<Json>(levels - 1);
            }
            return object;
         }
      }
   }

 private:
   uint64_t below(uint64_t end) { return random_() % end; }
   // Every byte comes up, most often those that need nothing.
   std::string text() {
      std::string text;
      bool const isAnything = below(3) == 0;
      for (auto left = below(12); left > 0; --left) {
         text += isAnything && below(2) == 0
                    ? static_cast<char>(random_())
                    : static_cast<char>(' ' + below('~' - ' ' + 1));
      }
      return isAnything && below(4) == 0 ? text + "\xC3\xA9\xE2\x82\xAC" : text;
   }

   std::mt19937_64 random_{1};
};

std::string byTheLibrary(auto const& value) {
   using Json = std::remove_cvref_t<decltype(value)>;
   return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

template <typename Json>
class AJsonText : public testing::Test {};

using Values = testing::Types<nlohmann::json, nlohmann::ordered_json>;
TYPED_TEST_SUITE(AJsonText, Values);

} // namespace

TYPED_TEST(AJsonText, IsWhatTheLibraryWrites) {
   RandomValues random;
   for (int i = 0; i < 20'000; ++i) {
      auto const value = random.template value<TypeParam>(i % 5);
      ASSERT_EQ(Agent::jsonText(value), byTheLibrary(value));
   }
}

// Each byte alone, and at the end of a text, where UTF-8 may be cut off.
TYPED_TEST(AJsonText, HasEachByteAsTheLibraryWritesIt) {
   for (int byte = 0; byte < 256; ++byte) {
      for (std::string before : {"", "a"}) {
         auto const text = before + static_cast<char>(byte);
         auto object = TypeParam::object();
         object[text] = text;
         EXPECT_EQ(Agent::jsonText(object), byTheLibrary(object)) << byte;
         EXPECT_EQ(Agent::jsonText(std::string_view(text)),
                   byTheLibrary(TypeParam(text)))
            << byte;
      }
   }
}

TYPED_TEST(AJsonText, HasEachKindAsTheLibraryWritesIt) {
   for (TypeParam const& value :
        {TypeParam(nullptr), TypeParam(true), TypeParam(0), TypeParam(-1),
         TypeParam(std::numeric_limits<int64_t>::min()),
         TypeParam(std::numeric_limits<uint64_t>::max()), TypeParam(-0.0),
         TypeParam(0.1), TypeParam(1e300), TypeParam(std::nan("")), TypeParam(""),
         TypeParam::array(), TypeParam::object(), TypeParam::binary({1, 2}),
         TypeParam(TypeParam::value_t::discarded)}) {
      EXPECT_EQ(Agent::jsonText(value), byTheLibrary(value));
      EXPECT_EQ(Agent::jsonText(TypeParam::array({value, value})),
                byTheLibrary(TypeParam::array({value, value})));
   }
}
