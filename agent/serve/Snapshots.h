#pragma once

#include "agent/Descriptor.h"
#include "agent/serve/EventLoop.h"

#include <sys/types.h>

#include <chrono>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace Agent {

// Answers questions that take their time in processes of their own, which have all that
// this one has at that moment, while this one goes on. A few run at once, the others
// wait. What is not answered when this goes never is. Event thread only.
class Snapshots {
 public:
   struct Answer {
      int status; // as a command's exit status
      std::string text;
   };
   // Called in the other process, in which no descriptors but those of the standard
   // streams are open: nothing that it changes is seen here, and nothing it opens is
   // closed properly. What it throws is the answer, with kBadInput.
   using Question = std::function<Answer()>;
   using Answered = std::function<void(Answer answer)>;

   explicit Snapshots(EventLoop& loop);
   Snapshots(Snapshots const&) = delete;
   Snapshots& operator=(Snapshots const&) = delete;
   ~Snapshots();

   void ask(Question question, Answered answered);
   // Nobody wants the answers that are not there yet.
   void giveUp();

   // For a question: the answer of this program run as a command, with the text for its
   // standard input. std::system_error if it cannot be run.
   static Answer answerOfCommand(std::vector<std::string> const& arguments,
                                 std::string const& input);

 private:
   // A process that works on an answer. It is killed if it is there still when this
   // goes.
   class Process;
   struct Waiting {
      Question question;
      Answered answered;
   };

   void startNext();
   void ended(Process* process);
   void reap();

   static constexpr size_t kAtOnce = 2;

   EventLoop& loop_;
   std::deque<Waiting> waiting_;
   // And not gone yet: nobody waits for a process that a disk holds up. They outlive
   // the processes, which enter themselves.
   std::vector<pid_t> killed_;
   std::vector<std::unique_ptr<Process>> processes_;
   EventLoop::Timer reaping_; // while there are such
};

} // namespace Agent
