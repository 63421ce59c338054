#include "pelk/Trace.h"

#include <gtest/gtest.h>

namespace {

TEST(TraceFacility, ItsLevelsAreThoseOfItsHandlersAndOfNoOthers) {
   Pelk::TraceHandler const first("first");
   Pelk::TraceHandler const second("second");
   auto const before = second.levels();
   Pelk::Trace::levelsIs("first", Pelk::TraceLevels::of(3));
   EXPECT_EQ(first.levels(), Pelk::TraceLevels::of(3));
   EXPECT_EQ(second.levels(), before);
   Pelk::TraceHandler const later("first");
   EXPECT_EQ(later.levels(), Pelk::TraceLevels::of(3));
   Pelk::Trace::levelsDel("first");
}

} // namespace
