#include "agent/InputFile.h"
#include "agent/Zstd.h"
#include "support/Recordings.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

using namespace TestSupport;
using nlohmann::json;
using testing::HasSubstr;
using testing::StartsWith;

// bundle, and reading what zstd compressed.
namespace {

class Bundle : public testing::Test {
 protected:
   std::string recording() {
      return recordedTo(
         folder_, "recording",
         {"--seed", "3", "--state", "examples/minimal.jsonc", "examples/story.jsonl"});
   }
   std::string bundled(std::string const& recording) {
      auto const file = recording + ".zst";
      auto const outcome = runAgent(folder_, {"bundle", recording, "-o", file});
      EXPECT_EQ(outcome.status, 0) << outcome.err;
      EXPECT_EQ(outcome.out + outcome.err, "");
      return file;
   }
   // Every command that reads a recording refuses it, in one line.
   void expectRefused(std::string const& file, std::string const& why) {
      auto const out = folder_.file("result");
      for (std::vector<std::string> const& arguments :
           {std::vector<std::string>{"replay", file},
            {"explain", file},
            {"timeline", file},
            {"report", file, "-o", out},
            {"bundle", file, "-o", out}}) {
         auto const outcome = runAgent(folder_, arguments);
         EXPECT_EQ(outcome.status, 2) << arguments[0];
         EXPECT_EQ(outcome.out, "") << arguments[0];
         EXPECT_THAT(outcome.err, AllOf(StartsWith("mcastvpn-agent: " + file + ": "),
                                        HasSubstr(why)));
         EXPECT_EQ(std::ranges::count(outcome.err, '\n'), 1) << outcome.err;
         EXPECT_FALSE(std::filesystem::exists(out)) << arguments[0];
      }
   }

   TemporaryFolder folder_;
};

} // namespace

TEST_F(Bundle, HoldsWhatABugReportNeedsAndThenTheRecordingAsItIs) {
   auto const made = recording();
   auto const text = Agent::readFile(bundled(made));
   auto const original = readText(made);
   EXPECT_TRUE(text.ends_with("]}\n" + original));
   auto const lines = linesOfJson(text);
   ASSERT_EQ(lines.size(), 3 + linesOfJson(original).size());
   EXPECT_EQ(lines[0]["bundle"], 1);
   for (auto const* member : {"agent", "library", "compiler", "time"}) {
      EXPECT_TRUE(lines[0][member].is_string()) << member;
   }
   EXPECT_EQ(lines[0]["system"]["sysname"], "Linux");
   EXPECT_FALSE(lines[0]["system"].contains("nodename")) << "is nobody's business";
   EXPECT_EQ(lines[1]["statistics"]["since"], lines[3]["time"]);
   EXPECT_EQ(lines[1]["statistics"]["sliceItems"]["count"], countWith(lines, "slice"));
   EXPECT_FALSE(lines[2]["trace"].empty());
   EXPECT_EQ(lines[2]["trace"].size(), lines[1]["statistics"]["trace"]["written"]);
   EXPECT_EQ(lines[2]["trace"][0]["sequence"], 0);
}

TEST_F(Bundle, IsReadAsTheRecordingIs) {
   auto const made = recording();
   auto const file = bundled(made);
   auto const outputOf = [this](std::string const& command, std::string const& of) {
      auto const outcome = runAgent(folder_, {command, of});
      EXPECT_EQ(outcome.status, 0) << outcome.err;
      EXPECT_EQ(outcome.err, "");
      return outcome.out;
   };
   EXPECT_EQ(outputOf("explain", file), outputOf("explain", made));
   auto const traceOf = [&](std::string const& of) {
      auto trace = json::parse(outputOf("timeline", of));
      for (auto& event : trace["traceEvents"]) {
         if (event.contains("args")) {
            event["args"].erase("line"); // three lines stand before
         }
      }
      return trace;
   };
   EXPECT_EQ(traceOf(file), traceOf(made));
   auto const operations = [&](std::string const& of) {
      auto lines = linesOfJson(outputOf("replay", of));
      std::erase_if(lines, [](json const& line) { return !line.contains("op"); });
      return lines;
   };
   EXPECT_EQ(operations(file), operations(made));
   auto const again = Agent::readFile(bundled(file));
   EXPECT_EQ(again.substr(again.find("{\"recording\"")), readText(made));
   EXPECT_EQ(std::ranges::count(again, '\n'),
             std::ranges::count(readText(made), '\n') + 3);
}

TEST_F(Bundle, AnyFileMayBeCompressedWhateverItsName) {
   auto const plain = readText(SOURCE_FOLDER "/examples/minimal.jsonc");
   auto const state = folder_.write("state.jsonc", Agent::compressed(plain));
   EXPECT_EQ(runAgent(folder_, {"run", "--json", state}).out,
             runAgent(folder_, {"run", "--json", "examples/minimal.jsonc"}).out);
   auto const recording =
      folder_.write("compressed", Agent::compressed(readText(this->recording())));
   EXPECT_EQ(runAgent(folder_, {"replay", recording}).status, 0);
   auto const half = plain.size() / 2;
   auto const frames =
      folder_.write("frames", Agent::compressed(plain.substr(0, half)) +
                                 Agent::compressed(plain.substr(half)));
   EXPECT_EQ(Agent::readFile(frames), plain) << "two frames are one text";
}

TEST_F(Bundle, ThatIsCutOffIsRefused) {
   auto const whole = readText(bundled(recording()));
   for (size_t const size :
        {size_t{4}, size_t{9}, whole.size() / 2, whole.size() - 1}) {
      expectRefused(folder_.write("cut", whole.substr(0, size)),
                    "cannot be decompressed: its end is missing");
   }
}

TEST_F(Bundle, ThatIsDamagedIsRefused) {
   auto damaged = readText(bundled(recording()));
   expectRefused(folder_.write("more", damaged + "x"), "cannot be decompressed: ");
   damaged[damaged.size() / 2] = static_cast<char>(~damaged[damaged.size() / 2]);
   damaged[4] = '\x7f'; // a reserved bit of the frame's header
   expectRefused(folder_.write("damaged", damaged), "cannot be decompressed: ");
}

TEST_F(Bundle, ThatWouldFillTheMemoryIsRefused) {
   auto const most = std::string(Agent::kMostInput, ' ');
   auto const bomb = folder_.write("bomb", Agent::compressed(most + "{}"));
   EXPECT_LT(std::filesystem::file_size(bomb), 100'000u);
   expectRefused(bomb, "it is longer than 128 MiB when it is decompressed");
   EXPECT_EQ(Agent::readFile(folder_.write("full", Agent::compressed(most))).size(),
             Agent::kMostInput);
}

TEST_F(Bundle, OfWhatIsNoRecordingIsRefused) {
   auto const file = folder_.write("state.json", "{}\n");
   auto const out = folder_.file("bundle.zst");
   for (auto const* command : {"bundle", "report", "timeline"}) {
      auto const outcome = runAgent(folder_, {command, file, "-o", out});
      EXPECT_EQ(outcome.status, 2);
      EXPECT_THAT(outcome.err, HasSubstr("allowed is a recording's first line"));
      EXPECT_FALSE(std::filesystem::exists(out));
   }
   EXPECT_EQ(runAgent(folder_, {"bundle", recording()}).status, 2) << "needs a file";
   EXPECT_THAT(runAgent(folder_, {"timeline", "-"}).err,
               HasSubstr("allowed is the name of a file"));
   auto const headless =
      folder_.write("bundle.jsonl", "{\"bundle\":1}\n{\"trace\":[]}\n");
   EXPECT_THAT(runAgent(folder_, {"replay", headless}).err,
               HasSubstr("allowed is a recording's first line"));
}

TEST_F(Bundle, OfARecordingThatComesOutOtherwiseIsMadeAllTheSame) {
   auto const made = recording();
   auto text = readText(made);
   auto const wrote = text.find("\"wrote\"");
   ASSERT_NE(wrote, std::string::npos);
   text[text.find("Null0", wrote) + 4] = '1';
   folder_.write("recording", text);
   auto const file = folder_.file("bundle.zst");
   auto const outcome = runAgent(folder_, {"bundle", made, "-o", file});
   EXPECT_EQ(outcome.status, 1);
   EXPECT_THAT(outcome.err, HasSubstr("; recorded is"));
   EXPECT_TRUE(Agent::readFile(file).ends_with(text));
}
