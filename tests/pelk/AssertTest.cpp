#include "pelk/Assert.h"

#include "support/DeathMessages.h"

#include <csignal>
#include <cstdio>
#include <gtest/gtest.h>
#include <ostream>
#include <unistd.h>

namespace {

using Pelk::Impl::vfmassert;

// Counts how often it is printed.
struct Printed {
   int* times;
};
std::ostream& operator<<(std::ostream& out, Printed const& printed) {
   ++*printed.times;
   return out << "printed";
}

TEST(Assert, ThatHoldsDoesNothingAndPrintsNoArgument) {
   int times = 0;
   vfmassert(true, "File", 1, "function", "%s", Printed{&times});
   EXPECT_EQ(times, 0);
}

TEST(AssertDeathTest, ThatFailsSaysFileLineFunctionAndMessage) {
   EXPECT_DEATH(vfmassert(false, "McastVpnLib/TransitIntfSm", 42, "handleInitialized",
                          "missed a notification"),
                "^McastVpnLib/TransitIntfSm:42: handleInitialized: "
                "missed a notification\n$");
}

TEST(AssertDeathTest, ThatFailsPutsTheArgumentsIntoTheMessage) {
   EXPECT_DEATH(
      vfmassert(false, "File", 7, "f", "%s at version %s, not %s", "intf", 5u, -1),
      "^File:7: f: intf at version 5, not -1\n$");
}

TEST(AssertDeathTest, ThatFailsEndsTheProcessBySigabrt) {
   EXPECT_EXIT(vfmassert(false, "File", 7, "f", "over"),
               testing::KilledBySignal(SIGABRT), "over");
}

TEST(AssertDeathTest, OfTheRuntimeNamesItsSourceFileWithoutAPath) {
   EXPECT_DEATH(PELK_ASSERT(1 > 2, "one is not above two"),
                testing::AllOf(testing::StartsWith("AssertTest.cpp:"),
                               Support::assertionMessage("one is not above two")));
}

TEST(AssertDeathTest, WritesWhatStandsInTheOutputBufferFirst) {
   auto const failing = [] {
      std::fputs("before", stdout);
      dup2(2, 1); // the death test looks at standard error only
      PELK_ASSERT(false, "after");
   };
   EXPECT_DEATH(failing(), "^before.*after");
}

} // namespace
