#include "agent/serve/Snapshots.h"

#include "agent/ExitStatus.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <exception>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>

namespace Agent {

namespace {

using namespace std::chrono_literals;

constexpr size_t kMostText = size_t{64} << 20;
constexpr auto kMostTime = 60s; // then the process is given up
constexpr int kNiceness = 10;   // what is asked never competes with what is done

bool writeAll(int descriptor, std::string_view text) {
   while (!text.empty()) {
      auto const count = write(descriptor, text.data(), text.size());
      if (count < 0 && errno != EINTR) {
         return false;
      }
      text.remove_prefix(count < 0 ? 0 : static_cast<size_t>(count));
   }
   return true;
}

// Of a process that was made by fork() alone: no destructor runs, and nothing that is
// buffered is written twice.
[[noreturn]] void answerWith(Snapshots::Question const& question, int results) {
   prctl(PR_SET_PDEATHSIG, SIGKILL);
   sigset_t none;
   sigemptyset(&none);
   sigprocmask(SIG_SETMASK, &none, nullptr);
   static_cast<void>(nice(kNiceness));
   rlimit const noCore{0, 0};
   setrlimit(RLIMIT_CORE, &noCore);
   dup2(results, STDOUT_FILENO);
   Snapshots::Answer answer{kBadInput, {}};
   try {
      answer = question();
   } catch (std::exception const& error) {
      answer.text = error.what();
   }
   _exit(writeAll(STDOUT_FILENO, answer.text) ? answer.status : kBadInput);
}

} // namespace

class Snapshots::Process {
 public:
   Process(Snapshots& owner, Waiting waiting)
      : owner_(owner), answered_(std::move(waiting.answered)),
        late_(owner.loop_, [this] { giveUp("it took too long"); }) {
      std::array<int, 2> ends{};
      if (pipe2(ends.data(), O_CLOEXEC) != 0) {
         systemFailed("pipe");
      }
      results_ = Descriptor(ends[0]);
      Descriptor const writing(ends[1]);
      fcntl(ends[0], F_SETFL, O_NONBLOCK);
      child_ = fork();
      if (child_ == 0) {
         answerWith(waiting.question, ends[1]);
      }
      if (child_ < 0) {
         systemFailed("fork");
      }
      follower_.emplace(owner_.loop_, results_.number(), EventLoop::Interest::reading,
                        [this] { read(); });
      late_.onceAfter(kMostTime);
   }
   Process(Process const&) = delete;
   Process& operator=(Process const&) = delete;
   ~Process() {
      if (child_ > 0) {
         kill(child_, SIGKILL);
         static_cast<void>(wait());
      }
   }

 private:
   // One part, since others wait for their turn.
   void read() {
      std::array<char, 1 << 16> part;
      auto const count = ::read(results_.number(), part.data(), part.size());
      if (count > 0) {
         text_.append(part.data(), static_cast<size_t>(count));
         if (text_.size() > kMostText) {
            giveUp("it is longer than 64 MiB");
         }
      } else if (count == 0) {
         // Nothing but its end closes the pipe.
         int const status = wait();
         finish(WIFEXITED(status)
                   ? Answer{WEXITSTATUS(status), std::move(text_)}
                   : Answer{kBadInput, "the answer was not finished: its process was "
                                       "killed"});
      } else if (errno != EAGAIN && errno != EINTR) {
         giveUp(std::generic_category().message(errno));
      }
   }

   void giveUp(std::string const& why) {
      finish({kBadInput, "the answer was given up: " + why});
   }

   // Ends this object.
   void finish(Answer answer) {
      auto const answered = std::move(answered_);
      owner_.ended(this);
      answered(std::move(answer));
   }

   int wait() {
      int status = 0;
      while (waitpid(child_, &status, 0) < 0 && errno == EINTR) {
      }
      child_ = -1;
      return status;
   }

   Snapshots& owner_;
   Answered answered_;
   Descriptor results_;
   pid_t child_ = -1;
   std::string text_;
   std::optional<EventLoop::Follower> follower_;
   EventLoop::Timer late_;
};

Snapshots::Snapshots(EventLoop& loop) : loop_(loop) {}

Snapshots::~Snapshots() = default;

void Snapshots::ask(Question question, Answered answered) {
   waiting_.push_back({std::move(question), std::move(answered)});
   startNext();
}

void Snapshots::giveUp() {
   waiting_.clear();
   processes_.clear();
}

void Snapshots::startNext() {
   while (!waiting_.empty() && processes_.size() < kAtOnce) {
      auto next = std::move(waiting_.front());
      waiting_.pop_front();
      auto const answered = next.answered;
      try {
         processes_.push_back(std::make_unique<Process>(*this, std::move(next)));
      } catch (std::system_error const& error) {
         answered({kBadInput, std::string("no process can answer: ") + error.what()});
      }
   }
}

void Snapshots::ended(Process* process) {
   std::erase_if(processes_,
                 [process](auto const& each) { return each.get() == process; });
   startNext();
}

void Snapshots::becomeCommand(std::vector<std::string> const& arguments,
                              std::string const& input) {
   int const file = memfd_create("input", 0);
   if (file < 0 || !writeAll(file, input) || lseek(file, 0, SEEK_SET) != 0 ||
       dup2(file, STDIN_FILENO) < 0) {
      systemFailed("passing on the state");
   }
   // What was open in the other process closes itself here.
   auto words = arguments;
   words.insert(words.begin(), "mcastvpn-agent");
   std::vector<char*> pointers;
   pointers.reserve(words.size() + 1);
   for (auto& word : words) {
      pointers.push_back(word.data());
   }
   pointers.push_back(nullptr);
   execv("/proc/self/exe", pointers.data());
   systemFailed("running the command");
}

} // namespace Agent
