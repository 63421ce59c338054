#include "zin/TraceHelper.h"

#include "support/TraceRecorder.h"

#include <gmock/gmock.h>

namespace {

using Support::isLine;
using Support::TraceRecorder;
using testing::ElementsAre;

constexpr auto* kFile = "McastVpnLib/TransitIntfSm";

TEST(TraceHelper, OneStatementIsOneLine) {
   TraceRecorder const recorder;
   Pelk::TraceHandler const handler("TransitIntfSm");
   Zin::TraceHelper const helper(handler, 7, kFile);
   ZIN_TRACE(helper) << "Tuple( " << "Vlan" << 10 << " )";
   uint32_t const line = __LINE__ - 1;
   ZIN_TRACE(helper) << "second";
   ASSERT_THAT(recorder.lines(), ElementsAre(isLine(__func__, 7, "Tuple( Vlan10 )"),
                                             isLine(__func__, 7, "second")));
   EXPECT_EQ(recorder.lines()[0].file, kFile);
   EXPECT_EQ(recorder.lines()[0].line, line);
   EXPECT_EQ(recorder.lines()[0].name, "TransitIntfSm");
}

TEST(TraceHelper, EvaluatesNothingWhileItsLevelIsOff) {
   TraceRecorder const recorder("8");
   Pelk::TraceHandler const handler("TransitIntfSm");
   Zin::TraceHelper const helper(handler, 7, kFile);
   int evaluations = 0;
   ZIN_TRACE(helper) << ++evaluations;
   EXPECT_FALSE(helper.enabled());
   EXPECT_EQ(evaluations, 0);
   EXPECT_TRUE(recorder.empty());
}

TEST(TraceHelper, TakesNoElseThatFollowsIt) {
   TraceRecorder const recorder;
   Pelk::TraceHandler const handler("TransitIntfSm");
   Zin::TraceHelper const helper(handler, 7, kFile);
   bool reached = false;
   if (recorder.empty()) {
      ZIN_TRACE(helper) << "line";
   } else {
      reached = true;
   }
   EXPECT_FALSE(reached);
   EXPECT_EQ(recorder.lines().size(), 1u);
}

TEST(TraceStream, DeliversWhenItGoes) {
   TraceRecorder const recorder;
   Pelk::TraceHandler const handler("TransitIntfSm");
   {
      Zin::TraceStream line(handler, 3, kFile, "print", 9);
      line.stream() << "a";
      EXPECT_TRUE(recorder.empty());
      line.stream() << "b";
   }
   EXPECT_THAT(recorder.lines(), ElementsAre(isLine("print", 3, "ab")));
}

} // namespace
