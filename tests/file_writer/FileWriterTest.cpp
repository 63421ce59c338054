#include "agent/record/FileWriter.h"

#include "support/ComesTrue.h"
#include "support/Pipe.h"
#include "support/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <optional>
#include <random>
#include <string>
#include <thread>

using namespace TestSupport;
using Agent::Descriptor;
using Agent::FileWriter;
using testing::IsEmpty;

// A file that is written by a thread of its own.
namespace {

constexpr int kPart = 1 << 16; // as much as the pipe holds

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

// Hands a text over, or leaves it as it is.
bool take(FileWriter& writer, std::string& text) {
   auto const before = writer.text().size();
   writer.text().append(text);
   if (writer.handOver()) {
      EXPECT_EQ(writer.text().size(), 0u);
      text.clear();
      return true;
   }
   EXPECT_EQ(fmt::to_string(writer.text()).substr(before), text);
   writer.text().resize(before);
   return false;
}

// A writer into a pipe, whose reader is slow.
class PipeWriter {
 public:
   PipeWriter() : writer_(Descriptor(dup(pipe_.writing()))) {
      EXPECT_EQ(fcntl(pipe_.reading(), F_SETPIPE_SZ, kPart), kPart);
      pipe_.closeWriting();
   }

   FileWriter& writer() { return *writer_; }
   // Takes parts, each of another letter: one for the pipe, and then as many as can
   // wait for it.
   std::string fill() {
      std::string all;
      for (char letter = 'a'; letter < 'a' + 1 + 15; ++letter) {
         std::string text(kPart, letter);
         EXPECT_TRUE(comesTrue([&] { return take(*writer_, text); }));
         EXPECT_THAT(text, IsEmpty());
         all.append(kPart, letter);
      }
      do { // it may have told late of what was refused before
         writer_->newsAreRead();
         std::string text = "no more";
         EXPECT_FALSE(take(*writer_, text));
         EXPECT_EQ(text, "no more");
      } while (hasNews(*writer_, kNotLong));
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

} // namespace

TEST_F(AFileWriter, WritesAllTextsInTheirOrder) {
   std::mt19937 random(1);
   std::string all;
   {
      FileWriter writer(forWriting(file()));
      std::string text;
      for (int i = 0; i < 20'000; ++i) {
         text.append(1 + random() % 300, static_cast<char>('a' + i % 26));
         auto const whole = text;
         if (take(writer, text)) {
            EXPECT_THAT(text, IsEmpty());
            all += whole;
         } else {
            EXPECT_EQ(text, whole);
            if (random() % 2 == 0) {
               writer.waitForRoom();
            }
         }
      }
      writer.waitForRoom();
      all += text;
      EXPECT_TRUE(text.empty() || take(writer, text));
      writer.waitForAll();
      EXPECT_EQ(readText(file()), all);
      text = "the end";
      EXPECT_TRUE(take(writer, text));
      EXPECT_EQ(writer.error(), 0);
   }
   EXPECT_EQ(readText(file()), all + "the end") << "it has gone";
}

TEST_F(AFileWriter, RefusesWhatItHasNoRoomForAndTellsWhenThereIsSome) {
   PipeWriter pipe;
   auto& writer = pipe.writer();
   auto all = pipe.fill();
   // The one that is being written is partly in the pipe.
   EXPECT_EQ(writer.left(), 15u * kPart);
   auto read = pipe.read(2 * kPart);
   EXPECT_TRUE(hasNews(writer, kLong));
   writer.newsAreRead();
   EXPECT_FALSE(hasNews(writer, kNotLong)) << "it is told once";
   std::string text = "more";
   EXPECT_TRUE(take(writer, text));
   all += "more";
   read += pipe.readToEnd();
   EXPECT_EQ(read, all);
}

TEST_F(AFileWriter, TellsOfAnErrorAndForgetsWhatComesAfterIt) {
   FileWriter writer(forWriting("/dev/full"));
   EXPECT_EQ(writer.error(), 0);
   std::string text = "some";
   EXPECT_TRUE(take(writer, text));
   EXPECT_TRUE(hasNews(writer, kLong));
   EXPECT_EQ(writer.error(), ENOSPC);
   for (int i = 0; i < 100; ++i) {
      text = "more";
      writer.waitForRoom();
      EXPECT_TRUE(take(writer, text));
   }
   writer.waitForAll();
   EXPECT_EQ(writer.error(), ENOSPC);
}

TEST_F(AFileWriter, WhatIsRescuedComesAfterWhatWasTaken) {
   PipeWriter pipe;
   auto all = pipe.fill();
   std::string read;
   std::thread reader([&] { read = pipe.read(all.size()); });
   pipe.writer().text().append(std::string_view("the last"));
   pipe.writer().rescue();
   reader.join();
   std::string text = "too late";
   EXPECT_TRUE(take(pipe.writer(), text));
   EXPECT_THAT(text, IsEmpty());
   EXPECT_EQ(read, all);
   EXPECT_EQ(pipe.readToEnd(), "the last");
}

TEST_F(AFileWriter, WhatIsRescuedIsWrittenThoughItsThreadSleeps) {
   FileWriter writer(forWriting(file()));
   std::string text = "before";
   EXPECT_TRUE(take(writer, text));
   writer.waitForAll();
   writer.text().append(std::string_view(" and after"));
   writer.rescue();
   EXPECT_EQ(readText(file()), "before and after");
}

TEST_F(AFileWriter, WhatIsRescuedDoesNotWaitForEver) {
   PipeWriter pipe;
   auto const all = pipe.fill();
   pipe.writer().text().append(std::string_view("it would be the last"));
   pipe.writer().rescue();
   EXPECT_EQ(pipe.readToEnd(), all);
}

TEST_F(AFileWriter, HasWrittenWhatIsWaitedFor) {
   FileWriter writer(forWriting(file()));
   std::string all;
   for (int i = 0; i < 1000; ++i) {
      auto text = std::to_string(i);
      all += text;
      EXPECT_TRUE(take(writer, text));
      writer.waitForAll();
      ASSERT_EQ(writer.left(), 0u);
      if (i % 100 == 0) {
         EXPECT_EQ(readText(file()), all);
         std::this_thread::sleep_for(kNotLong); // so that its thread sleeps
      }
   }
}

TEST_F(AFileWriter, LeavesSignalsToOthers) {
   FileWriter writer(forWriting(file()));
   std::string text = "text";
   EXPECT_TRUE(take(writer, text));
   writer.waitForAll(); // so its thread has begun, and has the mask that it is to have
   sigset_t signal;
   sigset_t before;
   sigemptyset(&signal);
   sigaddset(&signal, SIGUSR1);
   ASSERT_EQ(pthread_sigmask(SIG_BLOCK, &signal, &before), 0);
   // A thread that let it through would end the process.
   ASSERT_EQ(kill(getpid(), SIGUSR1), 0);
   timespec const now{};
   EXPECT_EQ(sigtimedwait(&signal, nullptr, &now), SIGUSR1) << "it is still there";
   ASSERT_EQ(pthread_sigmask(SIG_SETMASK, &before, nullptr), 0);
}
