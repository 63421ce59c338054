#pragma once

#include "agent/Host.h"
#include "agent/Options.h"
#include "agent/observe/Statistics.h"
#include "agent/observe/StreamEvents.h"
#include "agent/serve/ControlSocket.h"
#include "agent/serve/EventLoop.h"
#include "agent/serve/Question.h"
#include "agent/serve/Snapshots.h"

#include <nlohmann/json.hpp>

#include <string>
#include <string_view>

// What a running agent is asked through its control socket. A question is one JSON
// object on one line, and so is its answer:
//
//   {"ask":"explain","vlan":[3302],"id":7}
//   {"id":7,"status":0,"answer":{…}}
//   {"ask":"explian"}
//   {"status":2,"error":"/ask: \"explian\" stands here; allowed is …"}
//
// "as":"text" wants the answer as a text for people, "colour":true with colours. The
// status is that of the command of the same name; "id" may be anything.
// docs/Operating.md shows every question.
namespace Agent {

class Answers {
 public:
   // All of it outlives this. events: whose levels "log-level" sets.
   struct Subject {
      Host& host;
      Options const& options;
      Statistics& statistics;
      StreamEvents& events;
   };

   // Listens at the path of the options. InputError if that cannot be.
   Answers(EventLoop& loop, Subject const& subject);
   Answers(Answers const&) = delete;
   Answers& operator=(Answers const&) = delete;
   ~Answers();

   // To be called at the end of each turn of the loop. Whether there is more to send.
   bool turnEnd() { return socket_.turnEnd(); }

   // The questions there are, as a list for a message: "show, explain, … or log-level".
   static std::string questions();

 private:
   struct Kind;

   static Kind const kKinds[];

   void asked(ControlSocket::Asker const& asker, std::string_view line);
   void inSnapshot(Question const& question, Snapshots::Question work);

   void show(Question const& question);
   void explain(Question const& question);
   void plan(Question const& question);
   void stats(Question const& question);
   void trace(Question const& question);
   void verify(Question const& question);
   void logLevel(Question const& question);

   Subject const subject_;
   Snapshots snapshots_;
   ControlSocket socket_;
};

} // namespace Agent
