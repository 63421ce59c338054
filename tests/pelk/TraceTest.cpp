#include "pelk/Trace.h"

#include "pelk/Fmtrace.h"
#include "pelk/TraceSinks.h"
#include "support/TraceRecorder.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <iterator>
#include <memory>
#include <system_error>
#include <unistd.h>

namespace {

using Pelk::Trace;
using Pelk::TraceHandler;
using Pelk::TraceLevels;
using Support::isLine;
using Support::TraceRecorder;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr auto* kFile = "McastVpnLib/TransitIntfSm";

std::string contentsOf(std::filesystem::path const& path) {
   std::ifstream in(path);
   return {std::istreambuf_iterator<char>(in), {}};
}

struct TemporaryFile {
   explicit TemporaryFile(std::string const& name)
      : path(std::filesystem::temp_directory_path() /
             (name + std::to_string(::getpid()))) {}
   ~TemporaryFile() { std::filesystem::remove(path); }
   std::filesystem::path path;
};

TEST(TraceHandler, HasNoLevelOnAtFirst) {
   TraceHandler const handler("Facility");
   EXPECT_EQ(handler.levels(), TraceLevels());
}

TEST(TraceHandler, FollowsTheCommonLevelsAlsoWhenItIsMadeLater) {
   TraceHandler const early("Early");
   TraceRecorder const recorder("4,8");
   TraceHandler const late("Late");
   EXPECT_EQ(early.levels(), TraceLevels::fromText("4,8"));
   EXPECT_EQ(late.levels(), TraceLevels::fromText("4,8"));
}

TEST(TraceHandler, OfAFacilityWithLevelsOfItsOwnIgnoresTheCommonOnes) {
   TraceRecorder const recorder("8");
   TraceHandler const early("Mine");
   TraceHandler const other("Other");
   Trace::levelsIs("Mine", TraceLevels::fromText("9"));
   TraceHandler const late("Mine");
   Trace::levelsIs(TraceLevels::fromText("7"));
   EXPECT_EQ(early.levels(), TraceLevels::of(9));
   EXPECT_EQ(late.levels(), TraceLevels::of(9));
   EXPECT_EQ(other.levels(), TraceLevels::of(7));
   Trace::levelsDel("Mine");
   EXPECT_EQ(early.levels(), TraceLevels::of(7));
   EXPECT_EQ(late.levels(), TraceLevels::of(7));
}

TEST(TraceHandler, MayHaveLevelsOfItsOwnUntilTheCommonOnesAreSet) {
   TraceHandler handler("Facility");
   TraceHandler const namesake("Facility");
   handler.levelsIs(TraceLevels::of(3));
   EXPECT_TRUE(handler.enabled(3));
   EXPECT_FALSE(namesake.enabled(3));
   Trace::levelsIs(TraceLevels());
   EXPECT_FALSE(handler.enabled(3));
}

TEST(TraceHandler, LeavesTheOthersInReachWhenItGoes) {
   TraceHandler const first("First");
   auto middle = std::make_unique<TraceHandler>("Middle");
   TraceHandler const last("Last");
   middle.reset();
   TraceRecorder const recorder("2");
   EXPECT_TRUE(first.enabled(2));
   EXPECT_TRUE(last.enabled(2));
}

TEST(Trace, ARecordHasNameFileFunctionLineLevelAndText) {
   TraceRecorder const recorder;
   TraceHandler const handler("TransitIntfSm");
   handler.deliver(7, kFile, "eventToVrfStream", 42, "the text");
   ASSERT_THAT(recorder.lines(),
               ElementsAre(isLine("eventToVrfStream", 7, "the text")));
   EXPECT_EQ(recorder.lines()[0].name, "TransitIntfSm");
   EXPECT_EQ(recorder.lines()[0].file, kFile);
   EXPECT_EQ(recorder.lines()[0].line, 42u);
}

TEST(Trace, ANullSinkDropsTheLines) {
   TraceRecorder const recorder;
   TraceHandler const handler("TransitIntfSm");
   EXPECT_EQ(Trace::sinkIs(nullptr), &recorder);
   handler.deliver(7, kFile, "f", 1, "dropped");
   Trace::sinkIs(const_cast<TraceRecorder*>(&recorder));
   EXPECT_TRUE(recorder.empty());
}

TEST(Trace, StandardErrorIsTheSinkAtFirst) {
   EXPECT_EQ(Trace::sink(), &Pelk::StreamTraceSink::standardError());
   TraceHandler const handler("TransitIntfSm");
   testing::internal::CaptureStderr();
   handler.deliver(7, kFile, "eventToVrfStream", 42, "the text");
   EXPECT_EQ(
      testing::internal::GetCapturedStderr(),
      "TransitIntfSm 7 McastVpnLib/TransitIntfSm:42 eventToVrfStream: the text\n");
}

TEST(Trace, AFileSinkHasEachLineInTheFileWhenTheCallReturns) {
   TemporaryFile const file("trace-sink-");
   std::ofstream(file.path) << "what stood there before";
   Pelk::FileTraceSink sink(file.path.string());
   auto* const before = Trace::sinkIs(&sink);
   TraceHandler const handler("A");
   handler.deliver(4, "B", "c", 5, "one");
   EXPECT_EQ(contentsOf(file.path), "A 4 B:5 c: one\n");
   handler.deliver(4, "B", "c", 6, "two");
   EXPECT_EQ(contentsOf(file.path), "A 4 B:5 c: one\nA 4 B:6 c: two\n");
   Trace::sinkIs(before);
}

TEST(Trace, AFileSinkClosesItsFile) {
   TemporaryFile const file("trace-sink-");
   std::filesystem::path const open("/proc/self/fd");
   auto const isOpen = [&] {
      return std::ranges::any_of(
         std::filesystem::directory_iterator(open), [&](auto const& descriptor) {
            std::error_code gone; // the one of the iterator itself
            return std::filesystem::read_symlink(descriptor, gone) ==
                   std::filesystem::canonical(file.path);
         });
   };
   {
      Pelk::FileTraceSink const sink(file.path.string());
      EXPECT_TRUE(isOpen());
   }
   EXPECT_FALSE(isOpen());
}

TEST(Trace, AFileSinkThatCannotBeOpenedNamesThePath) {
   try {
      Pelk::FileTraceSink const sink("/no/such/folder/trace");
      FAIL() << "opened";
   } catch (std::system_error const& error) {
      EXPECT_STREQ(error.what(),
                   "trace file /no/such/folder/trace: No such file or directory");
      EXPECT_EQ(error.code().value(), ENOENT);
   }
}

struct Counted {
   int& evaluations;
   int value() const { return ++evaluations; }
};

TEST(Fmtrace, EvaluatesNoArgumentWhileTheLevelIsOff) {
   TraceRecorder recorder("7");
   TraceHandler const handler("TransitIntfSm");
   int evaluations = 0;
   Counted const counted{evaluations};
   PELK_FMTRACE(handler, 8, kFile, "value {}", counted.value());
   EXPECT_EQ(evaluations, 0);
   EXPECT_TRUE(recorder.empty());
   PELK_FMTRACE(handler, 7, kFile, "value {}", counted.value());
   EXPECT_EQ(evaluations, 1);
   EXPECT_THAT(recorder.texts(), ElementsAre("value 1"));
}

TEST(Fmtrace, NamesTheEnclosingFunctionTheFixedFileAndTheLine) {
   TraceRecorder const recorder;
   TraceHandler const handler("TransitIntfSm");
   PELK_FMTRACE(handler, 9, kFile, "entered");
   uint32_t const line = __LINE__ - 1;
   ASSERT_THAT(recorder.lines(), ElementsAre(isLine(__func__, 9, "entered")));
   EXPECT_EQ(recorder.lines()[0].file, kFile);
   EXPECT_EQ(recorder.lines()[0].line, line);
   EXPECT_EQ(recorder.lines()[0].name, "TransitIntfSm");
}

TEST(Fmtrace, NamesTheFunctionThatIsGiven) {
   TraceRecorder const recorder;
   TraceHandler const handler("TransitIntfSm");
   PELK_FMTRACE_AS(handler, 9, kFile, "eventToTransitVlanStream", "k1={}, k2={}", 1, 2);
   EXPECT_THAT(recorder.lines(),
               ElementsAre(isLine("eventToTransitVlanStream", 9, "k1=1, k2=2")));
}

TEST(Fmtrace, PrintsDoubledBracesAsSingleOnes) {
   TraceRecorder const recorder;
   TraceHandler const handler("TransitIntfSm");
   PELK_FMTRACE(handler, 7, kFile, "{{ localVtepAddr }}: vtiIntf={:}", "Vxlan1");
   EXPECT_THAT(recorder.texts(), ElementsAre("{ localVtepAddr }: vtiIntf=Vxlan1"));
}

TEST(Fmtrace, AsAFunctionTestsTheLevelToo) {
   TraceRecorder recorder("7");
   TraceHandler const handler("TransitIntfSm");
   Pelk::fmtrace(handler, 6, kFile, "f", 1, "off {}", 1);
   EXPECT_THAT(recorder.texts(), IsEmpty());
   Pelk::fmtrace(handler, 7, kFile, "f", 1, "on {}", 1);
   EXPECT_THAT(recorder.texts(), ElementsAre("on 1"));
}

TEST(Fmtrace, StandsInAnIfWithoutBraces) {
   TraceRecorder const recorder;
   TraceHandler const handler("TransitIntfSm");
   if (recorder.lines().size() == 1)
      PELK_FMTRACE(handler, 9, kFile, "then");
   else
      PELK_FMTRACE(handler, 9, kFile, "else");
   EXPECT_THAT(recorder.texts(), ElementsAre("else"));
}

TEST(TraceRecorder, PutsBackLevelsAndSink) {
   auto* const before = Trace::sink();
   TraceHandler const handler("TransitIntfSm");
   {
      TraceRecorder const outer("4");
      {
         TraceRecorder const inner("5");
         EXPECT_TRUE(handler.enabled(5));
         EXPECT_FALSE(handler.enabled(4));
      }
      EXPECT_TRUE(handler.enabled(4));
      EXPECT_EQ(Trace::sink(), &outer);
   }
   EXPECT_EQ(Trace::sink(), before);
   EXPECT_EQ(Trace::levels(), TraceLevels());
}

} // namespace
