#include "fennlog/TraceHandle.h"

#include "bridging/VlanId.h"
#include "l3/VrfName.h"
#include "lidra/AddressFamily.h"
#include "lidra/IntfId.h"
#include "lidra/IpGenAddr.h"
#include "support/DeathMessages.h"

#include <algorithm>
#include <chrono>
#include <deque>
#include <gmock/gmock.h>
#include <limits>
#include <random>
#include <string>
#include <thread>

namespace {

using Fennlog::Record;
using Fennlog::TraceHandle;
using Fennlog::TraceReader;
using testing::ElementsAre;
using testing::IsEmpty;

Pelk::Ptr<TraceHandle> makeRing(size_t bytes = TraceHandle::kMinBytes) {
   return Pelk::makePtr<TraceHandle>(bytes);
}

std::vector<std::string> textsOf(Pelk::Ptr<TraceHandle> const& ring) {
   std::vector<std::string> texts;
   for (auto const& record : ring->records()) {
      texts.push_back(record.text);
   }
   return texts;
}

enum class Plain : uint8_t { seven = 7 };

TEST(TraceHandle, KeepsRecordsInTheOrderOfWriting) {
   auto const ring = makeRing();
   EXPECT_THAT(ring->records(), IsEmpty());
   FENNLOG(ring, 4, "first");
   FENNLOG(ring, 8, "second %s", 2);
   auto const records = ring->records();
   ASSERT_EQ(records.size(), 2u);
   EXPECT_EQ(records[0].sequence, 0u);
   EXPECT_EQ(records[0].level, 4);
   EXPECT_EQ(records[0].text, "first");
   EXPECT_EQ(records[1].sequence, 1u);
   EXPECT_EQ(records[1].level, 8);
   EXPECT_EQ(records[1].text, "second 2");
   EXPECT_EQ(ring->written(), 2u);
   EXPECT_EQ(ring->lost(), 0u);
}

TEST(TraceHandle, PrintsNumbersWordsAndNames) {
   auto const ring = makeRing();
   FENNLOG(ring, 1, "%s %s %s", -5, std::numeric_limits<uint64_t>::max(), int64_t{-1});
   FENNLOG(ring, 1, "%s %s %s", uint8_t{65}, int8_t{-2}, 'c');
   FENNLOG(ring, 1, "%s %s %s", true, false, 1.5);
   FENNLOG(ring, 1, "%s", Plain::seven);
   FENNLOG(ring, 1, "%s|%s|%s|%s", "literal", std::string("string"),
           std::string_view("view"), Pelk::String("pelk"));
   FENNLOG(ring, 1, "[%s]", static_cast<char const*>(nullptr));
   EXPECT_THAT(textsOf(ring),
               ElementsAre("-5 18446744073709551615 -1", "65 -2 c", "true false 1.5",
                           "7", "literal|string|view|pelk", "[]"));
}

TEST(TraceHandle, PrintsAnInterfaceByItsShortNameAndOtherValuesByTheirOutput) {
   auto const ring = makeRing();
   FENNLOG(ring, 4, "%s %s %s %s %s", Lidra::AddressFamily::ipv4,
           Lidra::IntfId("Vlan10"), Bridging::VlanId(10), L3::VrfName("red"),
           Lidra::IpGenAddr("10.0.0.1"));
   EXPECT_THAT(textsOf(ring), ElementsAre("ipv4 Vl10 10 red 10.0.0.1"));
}

TEST(TraceHandle, PrintsAHexPlaceInHexadecimal) {
   auto const ring = makeRing();
   FENNLOG(ring, 4, "%s %x %s", 255, 255, 255);
   EXPECT_THAT(textsOf(ring), ElementsAre("255 ff 255"));
}

TEST(TraceHandle, ScansThePlacesForwardSoThatOneInAnArgumentStays) {
   auto const ring = makeRing();
   FENNLOG(ring, 4, "%s and %s, 100%", "%s", "b");
   EXPECT_THAT(textsOf(ring), ElementsAre("%s and b, 100%"));
}

TEST(TraceHandle, KeepsACopyOfATextNotTheTextItself) {
   auto const ring = makeRing();
   std::string name = "before";
   FENNLOG(ring, 4, "%s", name);
   name = "after!";
   EXPECT_THAT(textsOf(ring), ElementsAre("before"));
}

TEST(TraceHandle, CutsATextThatIsTooLongAndSaysSo) {
   auto const ring = makeRing();
   std::string const fits(Fennlog::kMaxText, 'a');
   std::string const longer = fits + "b";
   FENNLOG(ring, 4, "%s|%s|%s", fits, longer, "end");
   EXPECT_THAT(textsOf(ring), ElementsAre(fits + "|" + fits + "...|end"));
}

TEST(TraceHandle, KeepsTextsWithZeroBytes) {
   auto const ring = makeRing();
   std::string const text("a\0b", 3);
   FENNLOG(ring, 4, "%s", text);
   EXPECT_THAT(textsOf(ring), ElementsAre(text));
}

TEST(TraceHandle, HasAllLevelsOnAtFirst) {
   EXPECT_EQ(makeRing()->levels(), Pelk::TraceLevels::all());
}

TEST(TraceHandle, EvaluatesNoArgumentWhileTheLevelIsOff) {
   auto const ring = makeRing();
   ring->levelsIs(Pelk::TraceLevels::of(4));
   int evaluations = 0;
   FENNLOG(ring, 8, "%s", ++evaluations);
   EXPECT_EQ(evaluations, 0);
   EXPECT_EQ(ring->written(), 0u);
   FENNLOG(ring, 4, "%s", ++evaluations);
   EXPECT_EQ(evaluations, 1);
   EXPECT_THAT(textsOf(ring), ElementsAre("1"));
}

TEST(TraceHandle, NullTakesNothing) {
   Pelk::Ptr<TraceHandle> const none;
   TraceHandle* const noPointer = nullptr;
   int evaluations = 0;
   FENNLOG(none, 4, "%s", ++evaluations);
   FENNLOG(noPointer, 4, "%s", ++evaluations);
   EXPECT_EQ(evaluations, 0);
}

TEST(TraceHandle, OverwritesTheOldestAndCountsThem) {
   auto const ring = makeRing();
   for (int i = 0; i < 10000; ++i) {
      FENNLOG(ring, 4, "record %s", i);
   }
   auto const records = ring->records();
   EXPECT_EQ(ring->written(), 10000u);
   EXPECT_EQ(ring->lost() + records.size(), 10000u);
   // 32 bytes a record: a header and a number.
   EXPECT_EQ(records.size(), TraceHandle::kMinBytes / 32);
   EXPECT_EQ(records.front().sequence, ring->lost());
   EXPECT_EQ(records.front().text, "record " + std::to_string(ring->lost()));
   EXPECT_EQ(records.back().sequence, 9999u);
   EXPECT_EQ(records.back().text, "record 9999");
}

TEST(TraceHandle, ATextTakesItsLengthAndOneByte) {
   auto const ring = makeRing();
   std::string const text(7, 'x'); // 32 bytes a record, with the header
   for (size_t i = 0; i < TraceHandle::kMinBytes / 32; ++i) {
      FENNLOG(ring, 4, "%s", text);
   }
   EXPECT_EQ(ring->lost(), 0u);
   FENNLOG(ring, 4, "%s", text);
   EXPECT_EQ(ring->lost(), 1u);
}

TEST(TraceHandle, HoldsTheNewestRecordsWhateverTheirSizes) {
   std::mt19937 random(1);
   auto const ring = makeRing();
   std::deque<std::string> written;
   for (int i = 0; i < 20000; ++i) {
      std::string const text(random() % 120, static_cast<char>('a' + i % 26));
      if (random() % 3 == 0) {
         FENNLOG(ring, 4, "%s", text);
         written.push_back(text);
      } else {
         FENNLOG(ring, 4, "%s %s %s", i, text, uint8_t{3});
         written.push_back(std::to_string(i) + " " + text + " 3");
      }
      if (i % 997 == 0) {
         auto const kept = textsOf(ring);
         ASSERT_EQ(ring->written(), written.size());
         ASSERT_EQ(ring->lost() + kept.size(), written.size());
         ASSERT_GE(kept.size(), std::min<size_t>(written.size(), 20));
         ASSERT_TRUE(std::equal(kept.rbegin(), kept.rend(), written.rbegin()));
      }
   }
}

TEST(TraceHandle, TimesRiseAndLieBetweenBirthAndReading) {
   auto const before = std::chrono::system_clock::now();
   auto const ring = makeRing();
   FENNLOG(ring, 4, "a");
   std::this_thread::sleep_for(std::chrono::milliseconds(30));
   FENNLOG(ring, 4, "b");
   auto const records = ring->records();
   auto const slack = std::chrono::milliseconds(1);
   EXPECT_GE(records[0].time, before - slack);
   EXPECT_LE(records[1].time, std::chrono::system_clock::now() + slack);
   EXPECT_GE(records[1].time - records[0].time, std::chrono::milliseconds(29));
}

TEST(TraceHandle, GivesAMessageTheSameIdAtEverySite) {
   auto const ring = makeRing();
   FENNLOG(ring, 4, "same %s", 1);
   FENNLOG(ring, 4, "same %s", "two");
   FENNLOG(ring, 4, "other %s", 1);
   FENNLOG(ring, 5, "same %s", 1);
   auto const records = ring->records();
   EXPECT_EQ(records[0].id, records[1].id);
   EXPECT_NE(records[0].id, records[2].id);
   EXPECT_NE(records[0].id, records[3].id);
}

TEST(TraceHandle, IsSharedByItsUsers) {
   auto const ring = makeRing();
   Pelk::Ptr<TraceHandle> const second = ring;
   EXPECT_EQ(ring->useCount(), 2u);
   FENNLOG(second, 4, "through the second");
   EXPECT_THAT(textsOf(ring), ElementsAre("through the second"));
}

TEST(TraceHandleDeathTest, ASizeThatIsNoPowerOfTwoOrTooSmallIsFatal) {
   auto const message = Support::assertionMessage(
      "A trace ring's size must be a power of two and at least 4096 bytes");
   EXPECT_DEATH(makeRing(5000), message);
   EXPECT_DEATH(makeRing(2048), message);
}

TEST(TraceReader, GoesOnWithWhatIsWrittenMeanwhile) {
   auto const ring = makeRing();
   TraceReader reader(ring);
   EXPECT_FALSE(reader.next());
   FENNLOG(ring, 4, "a");
   EXPECT_EQ(reader.next()->text, "a");
   EXPECT_FALSE(reader.next());
   FENNLOG(ring, 4, "b");
   EXPECT_EQ(reader.next()->text, "b");
}

TEST(TraceReader, ThatWasOvertakenGoesOnAtTheOldestAndCountsWhatItMissed) {
   auto const ring = makeRing();
   FENNLOG(ring, 4, "read %s", 0);
   FENNLOG(ring, 4, "missed %s", 1);
   TraceReader reader(ring);
   EXPECT_EQ(reader.next()->text, "read 0");
   for (int i = 2; i < 1000; ++i) {
      FENNLOG(ring, 4, "later %s", i);
   }
   auto const record = reader.next();
   ASSERT_TRUE(record);
   EXPECT_EQ(record->sequence, ring->lost());
   EXPECT_EQ(record->text, "later " + std::to_string(ring->lost()));
   EXPECT_EQ(reader.missed(), ring->lost() - 1);
}

TEST(TraceReader, HoldsTheRing) {
   auto ring = makeRing();
   FENNLOG(ring, 4, "kept");
   TraceReader reader(ring);
   ring = nullptr;
   EXPECT_EQ(reader.next()->text, "kept");
}

} // namespace
