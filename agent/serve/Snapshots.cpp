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

// Of a process that was made by fork() alone: no destructor runs, and nothing that is
// buffered is written twice.
[[noreturn]] void answerWith(Snapshots::Question const& question, int results,
                             pid_t parent) {
   prctl(PR_SET_PDEATHSIG, SIGKILL);
   if (getppid() != parent) {
      _exit(kBadInput); // it has gone before
   }
   sigset_t none;
   sigemptyset(&none);
   sigprocmask(SIG_SETMASK, &none, nullptr);
   [[maybe_unused]] int const niceness = nice(kNiceness);
   rlimit const noCore{0, 0};
   setrlimit(RLIMIT_CORE, &noCore);
   dup2(results, STDOUT_FILENO);
   // Whoever is connected to the agent hears when it lets go, and not when this does.
   close_range(STDERR_FILENO + 1, ~0U, 0);
   Snapshots::Answer answer{kBadInput, {}};
   try {
      answer = question();
   } catch (std::exception const& error) {
      answer.text = error.what();
   }
   _exit(writeAll(STDOUT_FILENO, answer.text) == 0 ? answer.status : kBadInput);
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
      pid_t const parent = getpid();
      child_ = fork();
      if (child_ == 0) {
         answerWith(waiting.question, ends[1], parent);
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
         owner_.killed_.push_back(child_);
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
         auto const status = wait();
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

   // As waitpid() tells it; that of a process that was killed if it does not.
   int wait() {
      int status = SIGKILL;
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

Snapshots::Snapshots(EventLoop& loop)
   : loop_(loop), reaping_(loop, [this] { reap(); }) {
   // Whoever started this process may not want to hear of its own children.
   static_cast<void>(std::signal(SIGCHLD, SIG_DFL));
}

Snapshots::~Snapshots() = default;

void Snapshots::ask(Question question, Answered answered) {
   waiting_.push_back({std::move(question), std::move(answered)});
   startNext();
}

void Snapshots::giveUp() {
   waiting_.clear();
   processes_.clear();
   reap();
}

void Snapshots::reap() {
   std::erase_if(killed_,
                 [](pid_t pid) { return waitpid(pid, nullptr, WNOHANG) != 0; });
   if (!killed_.empty()) {
      reaping_.onceAfter(1s);
   }
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
   reap();
   startNext();
}

Snapshots::Answer Snapshots::answerOfCommand(std::vector<std::string> const& arguments,
                                             std::string const& input) {
   Descriptor const file =
      Descriptor::made(memfd_create("input", MFD_CLOEXEC), "memfd");
   std::array<int, 2> ends{};
   if (writeAll(file.number(), input) != 0 || lseek(file.number(), 0, SEEK_SET) != 0 ||
       pipe2(ends.data(), O_CLOEXEC) != 0) {
      systemFailed("passing on the state");
   }
   Descriptor const results(ends[0]);
   Descriptor writing(ends[1]);
   auto words = arguments;
   words.insert(words.begin(), "mcastvpn-agent");
   std::vector<char*> pointers;
   pointers.reserve(words.size() + 1);
   for (auto& word : words) {
      pointers.push_back(word.data());
   }
   pointers.push_back(nullptr);
   pid_t const child = fork();
   if (child == 0) {
      prctl(PR_SET_PDEATHSIG, SIGKILL);
      dup2(file.number(), STDIN_FILENO);
      dup2(writing.number(), STDOUT_FILENO);
      execv("/proc/self/exe", pointers.data());
      _exit(kBadInput);
   }
   writing = Descriptor();
   Answer answer{kBadInput, {}};
   std::array<char, 1 << 16> part;
   for (ssize_t count = 0; child > 0 && (count = ::read(results.number(), part.data(),
                                                        part.size())) != 0;) {
      answer.text.append(part.data(), count > 0 ? static_cast<size_t>(count) : 0);
   }
   int status = SIGKILL;
   if (child < 0 || waitpid(child, &status, 0) < 0) {
      systemFailed("running the command");
   }
   answer.status = WIFEXITED(status) ? WEXITSTATUS(status) : int{kBadInput};
   return answer;
}

} // namespace Agent
