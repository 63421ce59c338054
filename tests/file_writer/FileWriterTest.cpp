#include "agent/record/FileWriter.h"

#include "support/ComesTrue.h"
#include "support/Pipe.h"
#include "support/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <fstream>
#include <iterator>
#include <optional>
#include <random>
#include <string>
#include <thread>

using namespace TestSupport;
using Agent::Descriptor;
using Agent::FileWriter;
using testing::IsEmpty;
using testing::SizeIs;

// A file that is written by a process of its own.
namespace {

constexpr size_t kMebibyte = size_t{1} << 20;

Descriptor forWriting(std::string const& file) {
   return Descriptor(
      open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
}

constexpr std::chrono::seconds kLong{60};
constexpr std::chrono::milliseconds kNotLong{50};

bool hasNews(FileWriter const& writer, std::chrono::milliseconds patience) {
   pollfd wanted{writer.news(), POLLIN, 0};
   return poll(&wanted, 1, static_cast<int>(patience.count())) == 1;
}

// Adds a text, if there is room.
bool add(FileWriter& writer, std::string_view text) {
   char* const room = writer.room(text.size());
   if (room != nullptr) {
      std::ranges::copy(text, room);
      writer.added(text.size());
   }
   return room != nullptr;
}

// The processes that this one has made and that are there yet.
std::vector<pid_t> children() {
   std::ifstream list("/proc/self/task/" + std::to_string(getpid()) + "/children");
   return {std::istream_iterator<pid_t>(list), {}};
}

// A writer into a pipe that nobody reads yet.
class PipeWriter {
 public:
   PipeWriter() : writer_(Descriptor(dup(pipe_.writing()))) { pipe_.closeWriting(); }

   FileWriter& writer() { return *writer_; }
   // Adds parts, each of another letter, as long as there is room.
   std::string fill() {
      std::string all;
      for (char letter = 'a'; add(*writer_, std::string(kMebibyte, letter)); ++letter) {
         all.append(kMebibyte, letter);
      }
      return all;
   }
   std::string read(size_t size) const { return pipe_.read(size); }
   // All that comes until the writer has gone.
   std::string readToEnd() {
      std::string text;
      std::thread reader([&] { text = pipe_.read(); });
      writer_.reset();
      reader.join();
      return text;
   }

 private:
   Pipe pipe_;
   std::optional<FileWriter> writer_;
};

class AFileWriter : public testing::Test {
 protected:
   std::string file() const { return folder_.file("written"); }

   TemporaryFolder folder_;
};

// Forks a process that does that, and returns how it ended.
template <typename Work>
int statusOf(Work const& work) {
   pid_t const child = fork();
   if (child == 0) {
      work();
      _exit(0);
   }
   int status = 0;
   waitpid(child, &status, 0);
   return status;
}

} // namespace

TEST_F(AFileWriter, WritesWhatWasAddedInItsOrder) {
   std::mt19937 random(1);
   std::string all;
   {
      FileWriter writer(forWriting(file()));
      // Several times as much as has room at once.
      while (all.size() < 5 * FileWriter::kMostLeft) {
         std::string const text(1 + random() % (random() % 8 == 0 ? 300'000 : 300),
                                static_cast<char>('a' + all.size() % 26));
         while (!add(writer, text)) {
            EXPECT_TRUE(writer.waitUntilLeft(FileWriter::kMostLeft - text.size()));
         }
         all += text;
         if (random() % 4096 == 0) {
            EXPECT_TRUE(writer.waitUntilLeft(0));
            EXPECT_TRUE(readText(file()) == all);
         }
      }
      EXPECT_TRUE(add(writer, "") && writer.waitUntilLeft(0));
      EXPECT_TRUE(add(writer, "the end"));
      EXPECT_EQ(writer.error(), 0);
      EXPECT_FALSE(hasNews(writer, kNotLong));
   }
   EXPECT_TRUE(readText(file()) == all + "the end") << "it has gone";
   EXPECT_THAT(children(), IsEmpty());
}

TEST_F(AFileWriter, WritesWhatIsAddedSoonAlsoAfterAPause) {
   FileWriter writer(forWriting(file()));
   std::string all;
   for (auto const pause : {0, 1, 50, 2000}) {
      std::this_thread::sleep_for(std::chrono::milliseconds(pause));
      all += std::to_string(pause);
      EXPECT_TRUE(add(writer, std::to_string(pause)));
      auto const begin = std::chrono::steady_clock::now();
      EXPECT_TRUE(comesTrue([&] { return readText(file()) == all; })) << pause;
      EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10));
      EXPECT_TRUE(comesTrue([&] { return writer.left() == 0; })) << pause;
   }
}

TEST_F(AFileWriter, HasWrittenWhatIsWaitedFor) {
   FileWriter writer(forWriting(file()));
   std::string all;
   for (int i = 0; i < 1000; ++i) {
      all += std::to_string(i);
      EXPECT_TRUE(add(writer, std::to_string(i)));
      EXPECT_TRUE(writer.waitUntilLeft(0));
      ASSERT_EQ(writer.left(), 0u);
      if (i % 100 == 0) {
         EXPECT_EQ(readText(file()), all);
         std::this_thread::sleep_for(kNotLong);
      }
   }
}

TEST_F(AFileWriter, HasRoomForSoMuchAndNoMore) {
   PipeWriter pipe;
   auto& writer = pipe.writer();
   auto all = pipe.fill();
   EXPECT_EQ(all.size(), FileWriter::kMostLeft);
   EXPECT_EQ(writer.left(), FileWriter::kMostLeft) << "a part of it is in the pipe";
   EXPECT_EQ(writer.room(1), nullptr);
   auto read = pipe.read(2 * kMebibyte);
   EXPECT_TRUE(writer.waitUntilLeft(FileWriter::kMostLeft - kMebibyte));
   EXPECT_TRUE(add(writer, std::string(kMebibyte, '+')));
   all.append(kMebibyte, '+');
   read += pipe.readToEnd();
   EXPECT_TRUE(read == all);
}

TEST_F(AFileWriter, GoesOnWhereItsMemoryBeginsInTheMiddleOfAText) {
   PipeWriter pipe;
   auto& writer = pipe.writer();
   // More than the pipe takes, so that it is not written, and seven bytes less than a
   // whole part.
   std::string all(kMebibyte - 7, '-');
   EXPECT_TRUE(add(writer, all));
   all += pipe.fill();
   EXPECT_EQ(all.size(), FileWriter::kMostLeft - 7);
   auto read = pipe.read(2 * kMebibyte);
   EXPECT_TRUE(writer.waitUntilLeft(FileWriter::kMostLeft - kMebibyte));
   std::string numbers;
   for (int i = 0; i < 100'000; ++i) {
      numbers += std::to_string(i);
   }
   EXPECT_TRUE(add(writer, numbers));
   all += numbers;
   read += pipe.readToEnd();
   EXPECT_TRUE(read == all);
}

TEST_F(AFileWriter, TellsOfAnErrorAndForgetsWhatComesAfterIt) {
   FileWriter writer(forWriting("/dev/full"));
   EXPECT_EQ(writer.error(), 0);
   EXPECT_TRUE(add(writer, "some"));
   EXPECT_TRUE(hasNews(writer, kLong));
   EXPECT_EQ(writer.error(), ENOSPC);
   writer.newsAreRead();
   EXPECT_FALSE(hasNews(writer, kNotLong)) << "it is told once";
   std::string const much(kMebibyte, ' ');
   for (int i = 0; i < 100; ++i) {
      EXPECT_TRUE(writer.waitUntilLeft(kMebibyte));
      EXPECT_TRUE(add(writer, much));
   }
   EXPECT_TRUE(writer.waitUntilLeft(0));
   EXPECT_EQ(writer.error(), ENOSPC);
}

TEST_F(AFileWriter, LosesNothingThoughTheProcessIsKilled) {
   for (int const signal : {SIGKILL, SIGSEGV, SIGABRT, SIGTERM}) {
      std::string const text(kMebibyte, static_cast<char>('A' + signal));
      int const status = statusOf([&] {
         FileWriter writer(forWriting(file()));
         add(writer, "before ");
         add(writer, text);
         std::signal(signal, SIG_DFL);
         raise(signal);
      });
      EXPECT_TRUE(WIFSIGNALED(status)) << signal;
      EXPECT_TRUE(comesTrue([&] { return readText(file()) == "before " + text; }))
         << signal;
   }
}

TEST_F(AFileWriter, WritesWholeTextsOnly) {
   statusOf([&] {
      FileWriter writer(forWriting(file()));
      add(writer, "whole");
      std::ranges::copy(std::string_view("half"), writer.room(100));
      raise(SIGKILL);
   });
   EXPECT_TRUE(comesTrue([&] { return readText(file()) == "whole"; }));
   std::this_thread::sleep_for(kNotLong);
   EXPECT_EQ(readText(file()), "whole");
}

TEST_F(AFileWriter, TellsThatItsProcessWasKilled) {
   FileWriter writer(forWriting(file()));
   ASSERT_THAT(children(), SizeIs(1));
   kill(children().front(), SIGKILL);
   EXPECT_TRUE(hasNews(writer, kLong));
   EXPECT_EQ(writer.error(), 0) << "as long as it is not read";
   writer.newsAreRead();
   EXPECT_EQ(writer.error(), EOWNERDEAD);
   EXPECT_TRUE(add(writer, "in vain"));
   EXPECT_FALSE(writer.waitUntilLeft(0));
   EXPECT_EQ(writer.left(), 7u);
}

TEST_F(AFileWriter, AWaitEndsWhenItsProcessIsKilled) {
   PipeWriter pipe;
   pipe.fill();
   ASSERT_THAT(children(), SizeIs(1));
   std::thread killer([child = children().front()] {
      std::this_thread::sleep_for(kNotLong);
      kill(child, SIGKILL);
   });
   EXPECT_FALSE(pipe.writer().waitUntilLeft(0));
   EXPECT_EQ(pipe.writer().error(), EOWNERDEAD);
   killer.join();
}

TEST_F(AFileWriter, LeavesSignalsToOthers) {
   FileWriter writer(forWriting(file()));
   ASSERT_THAT(children(), SizeIs(1));
   for (int const signal : {SIGINT, SIGTERM, SIGHUP, SIGUSR1}) {
      kill(children().front(), signal); // as a terminal or a supervisor does to all
   }
   EXPECT_TRUE(add(writer, "text"));
   EXPECT_TRUE(writer.waitUntilLeft(0));
   EXPECT_EQ(readText(file()), "text");
}

TEST_F(AFileWriter, HoldsNothingOpenThatOthersWaitFor) {
   Pipe pipe;
   FileWriter writer(forWriting(file()));
   FileWriter other(forWriting(folder_.file("other")));
   pipe.closeWriting();
   EXPECT_EQ(pipe.read(), "") << "its end comes";
}
