#include "fennlog/MessageFormat.h"

#include "fennlog/TraceHandle.h"
#include "pelk/String.h"

#include <gmock/gmock.h>
#include <string>

namespace Sample {

// A value that is no number, with a ring form of its own beside it.
struct Vni {
   uint32_t number;
   std::string remark; // not worth keeping in a ring
};

} // namespace Sample

template <>
struct Fennlog::RingForm<Sample::Vni> {
   using Raw = uint32_t;
   static Raw raw(Sample::Vni const& vni) noexcept { return vni.number; }
   static void print(std::ostream& out, Raw const& raw) { out << "vni-" << raw; }
};

namespace {

using Fennlog::MessageFormat;
using Fennlog::Placeholders;

MessageFormat brace(std::string_view text) {
   return {text, 0, Placeholders::brace};
}

TEST(MessageFormat, CountsItsPlaces) {
   EXPECT_EQ(MessageFormat{""}.places(), 0u);
   EXPECT_EQ(MessageFormat{"%s"}.places(), 1u);
   EXPECT_EQ(MessageFormat{"( %s, *, * ) %x 100% %d %"}.places(), 2u);
   EXPECT_EQ(MessageFormat{"{}"}.places(), 0u);
   EXPECT_EQ(brace("").places(), 0u);
   EXPECT_EQ(brace("a={} b={:}").places(), 2u);
   EXPECT_EQ(brace("{{ x }} {}").places(), 1u);
   EXPECT_EQ(brace("%s").places(), 0u);
}

TEST(MessageFormat, KnowsItsHexPlaces) {
   MessageFormat const format{"%s %x %s"};
   EXPECT_FALSE(format.isHexPlace(0));
   EXPECT_TRUE(format.isHexPlace(1));
   EXPECT_FALSE(format.isHexPlace(2));
   EXPECT_FALSE(format.isHexPlace(3));
   EXPECT_FALSE(brace("%x").isHexPlace(0));
}

TEST(FormatMessage, PrintsBracesAsFmtDoes) {
   EXPECT_EQ(Fennlog::formatMessage(brace("a={} {{b}} {:}|{}"), {"1", "{}", "3"}),
             "a=1 {b} {}|3");
}

TEST(FormatMessage, LeavesAPlaceWithoutAnArgumentEmptyAndASingleBraceAsItIs) {
   EXPECT_EQ(Fennlog::formatMessage(brace("a={} b={}"), {"1"}), "a=1 b=");
   EXPECT_EQ(Fennlog::formatMessage(brace("a } b }"), {}), "a } b }");
}

TEST(RingForm, OfATypeWithItsOwnKeepsTheRawValueAndPrintsItWhenRead) {
   auto const ring =
      Pelk::makePtr<Fennlog::TraceHandle>(Fennlog::TraceHandle::kMinBytes);
   FENNLOG(ring, 4, "%s %x", Sample::Vni({10010, "x"}), Sample::Vni({255, "y"}));
   EXPECT_EQ(ring->records().at(0).text, "vni-10010 vni-ff");
}

struct NoForm {
   std::string text;
};

static_assert(Fennlog::RingArgument<int>);
static_assert(Fennlog::RingArgument<Pelk::String>);
static_assert(Fennlog::HasTextForm<char[4]>);
static_assert(!Fennlog::RingArgument<NoForm>);
static_assert(!Fennlog::RingArgument<int*>);

} // namespace
