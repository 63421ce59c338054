#include "agent/serve/Watch.h"

#include "agent/BadInput.h"
#include "agent/ComparisonText.h"
#include "agent/ExitStatus.h"
#include "agent/Host.h"
#include "agent/JsonText.h"
#include "agent/MachineNames.h"
#include "agent/OutOfMemory.h"
#include "agent/OutputTable.h"
#include "agent/Terminal.h"
#include "agent/TwoMachines.h"
#include "agent/observe/Statistics.h"
#include "agent/observe/StreamEvents.h"
#include "agent/record/Recording.h"
#include "agent/serve/Answers.h"
#include "agent/serve/ChangeText.h"
#include "agent/serve/EventLoop.h"
#include "agent/serve/Feed.h"
#include "agent/serve/FileWatch.h"
#include "agent/serve/LiveMessages.h"
#include "agent/serve/LiveResults.h"
#include "agent/serve/MetricsServer.h"
#include "agent/serve/ServiceManager.h"
#include "agent/serve/SignalWatch.h"
#include "agent/serve/StateFolder.h"

#include <fmt/format.h>

#include <chrono>
#include <csignal>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Agent {

namespace {

using nlohmann::json;
using nlohmann::ordered_json;

// Changes of inputs that are published before somebody else has his turn.
constexpr size_t kChangesATurn = 64;

class Watch {
 public:
   explicit Watch(Options const& options)
      : options_(options), where_(location(options.state, 0)) {
      for (auto const& own : optionsOfEach(options)) {
         machines_.push_back(
            std::make_unique<Machine>(own, options.both ? smName(own.machine) : ""));
      }
   }

   int run() {
      requireFollowable(options_.state);
      file_ = std::make_unique<FileWatch>(loop_, options_.state, [this] { read(); });
      file_->seen();
      auto document = loadDocument(state(0), options_.state, options_.checks);
      if (!options_.stateFolder.empty()) {
         stateFolder_ =
            std::make_unique<StateFolder>(loop_, options_.stateFolder, state(0));
         stateFolder_->addOutputs(document, options_);
      }
      publishAll(std::move(document));
      if (options_.both) {
         twoMachines_.emplace(machines_[0]->host, machines_[1]->host, options_);
      }
      // A file that has no end can be given up until here, and from here on there are
      // other threads, which are to leave the signals alone.
      SignalWatch const signals(loop_, signals_.followed(),
                                [this](int signal) { received(signal); });
      observe();
      record();
      for (auto const& machine : machines_) {
         machine->host.provenanceIs(
            events_ ? Provenance::Input(
                         [this](InputChange const&, ordered_json const& operation) {
                            statistics_.changed(operation);
                            counted();
                         })
                    : nullptr,
            [this, sm = machine->sm](ordered_json const& operation,
                                     InputChange const& cause) {
               wrote({operation, cause, sm, std::chrono::system_clock::now()});
            });
         machine->host.start();
      }
      supervisor_ = std::make_unique<ServiceManager>(loop_, machines_[0]->host);
      loop_.workIs([this] { return work(); });
      loop_.turnEndIs([this] { turnEnd(); });
      try {
         loop_.run();
         return end();
      } catch (...) {
         keepOutputs();
         endRecording();
         throw;
      }
   }

 private:
   struct Machine {
      Machine(Options const& own, std::string_view name) : host(own), sm(name) {}

      Host host;
      std::string_view sm;
   };

   // When nothing else can refuse the start: a recording is not to be kept in vain.
   void record() {
      if (options_.record.empty()) {
         return;
      }
      if (auto const told = keepRecording(options_.record); !told.empty()) {
         say(told);
      }
      recorder_ = std::make_unique<Recorder>(options_.record, options_, state(0));
      // What is looked at later is no reason to end what forwards now.
      recorder_->failuresGoTo(
         [](std::string const& error) { say(error + "; nothing more is recorded"); });
      recordersNews_.emplace(loop_, recorder_->news(), EventLoop::Interest::reading,
                             [this] {
                                recorder_->newsCame();
                                if (recorder_->hasFailed()) {
                                   recordersNews_.reset();
                                }
                             });
      machines_[0]->host.recorderIs(recorder_.get());
   }

   // What people ask for, of the one machine: counts, and who tells them.
   void observe() {
      if (options_.control.empty() && options_.metrics.empty()) {
         return;
      }
      auto& host = machines_[0]->host;
      events_ =
         std::make_unique<StreamEvents>(options_.trace, [this](auto const& event) {
            statistics_.passedBy(event);
            counted();
         });
      host.traceRingIs(Pelk::makePtr<Fennlog::TraceHandle>());
      host.sliceObserverIs([this](Kolm::SliceReport const& report) {
         statistics_.sliceEnded(report);
         counted();
      });
      if (!options_.metrics.empty()) {
         metrics_ = std::make_unique<MetricsServer>(
            loop_, options_.metrics, [this]() -> Statistics const& {
               statistics_.look(machines_[0]->host);
               return statistics_;
            });
         say("metrics are served at " + metrics_->url());
      }
      if (!options_.control.empty()) {
         answers_ = std::make_unique<Answers>(
            loop_, Answers::Subject{host, options_, statistics_, *events_});
      }
   }

   // Something is to be seen in the metrics. Inside notifications.
   void counted() {
      if (metrics_) {
         metrics_->changed();
      }
   }

   void turnEnd() {
      results_.turnEnd();
      if (answers_) {
         isMoreToAnswer_ = answers_->turnEnd();
      }
      if (auto const phase = machines_[0]->host.phase(); phase != phase_) {
         phase_ = phase;
         counted();
      }
      supervisor_->turnEnd();
      messages_.turnEnd();
   }

   // Whose terminal goes ends; one that has none is to read the state again, as
   // services are told to.
   void received(int signal) {
      if (signal != SIGHUP || signals_.hasTerminal()) {
         loop_.stop();
      } else {
         read();
      }
   }

   State& state(size_t machine) { return machines_[machine]->host.state(); }

   void publishAll(json document) {
      Doing const doing("publishing", options_.state.c_str());
      std::vector<Host*> hosts;
      for (auto const& machine : machines_) {
         machine->host.state().assign(document);
         hosts.push_back(&machine->host);
      }
      feed_ =
         std::make_unique<Feed>(std::move(hosts), std::move(document), options_.checks);
   }

   // A piece of what is to be done, and whether there is more.
   bool work() {
      Doing const doing("running the machine over", options_.state.c_str());
      bool isMore = feed_->publish(kChangesATurn);
      for (auto const& machine : machines_) {
         isMore = machine->host.slice(1) != 0 || isMore;
      }
      if (!isMore && !isSettled_) {
         settle();
      }
      return isMore || isMoreToAnswer_;
   }

   // Nothing is left to do.
   void settle() {
      isSettled_ = true;
      for (auto const& machine : machines_) {
         machine->host.verify(where_);
      }
      if (twoMachines_) {
         twoMachines_->compare(where_);
      }
      if (!isShown_) {
         isShown_ = true;
         results_.print(options_.json ? document() : table());
      }
   }

   std::string table() {
      bool const colour = mayDecorate(stdout);
      return twoMachines_ ? ComparisonText(state(0), state(1), *twoMachines_, options_)
                               .table(Rows::all, colour)
                          : outputTable(state(0), options_, colour);
   }

   // One line, as all that follow.
   std::string document() {
      return (twoMachines_ ? json::parse(ComparisonText(state(0), state(1),
                                                        *twoMachines_, options_)
                                            .json(Rows::all))
                           : state(0).outputsToJson())
                .dump() +
             '\n';
   }

   // What came to stand there until the outputs are shown is shown with them.
   void wrote(OutputChange const& change) {
      if (recorder_) {
         recorder_->wrote(jsonText(change.operation), change.cause.number);
      }
      if (stateFolder_) {
         stateFolder_->changed();
      }
      if (events_) {
         statistics_.wrote(change.operation);
         counted();
      }
      if (isShown_) {
         ++outputChanges_;
         results_.print(options_.json ? jsonText(recordOf(change)) + '\n'
                                      : lineOf(change));
      }
   }

   // Something new stands in the file.
   void read() {
      Doing const doing("reading", options_.state.c_str());
      file_->seen();
      auto const before = feed_->document();
      try {
         requireFollowable(options_.state);
         auto document = loadDocument(state(0), options_.state, options_.checks);
         tellOfOutputs(stateFolder_ ? State().outputsToJson() : before, document);
         if (stateFolder_) {
            stateFolder_->keepOutputs(document, before);
         }
         size_t const changes = feed_->documentIs(std::move(document));
         isSettled_ = isSettled_ && changes == 0;
         inputChanges_ += changes;
         ++documents_;
         statistics_.documents = documents_;
         counted();
         say(fmt::format("{}{} of the inputs", where_, numbered(changes, "change")));
      } catch (InputError const& error) {
         ++refused_;
         statistics_.documentsRefused = refused_;
         counted();
         say(fmt::format("{}; nothing of it is published", error.what()));
      }
   }

   // known: those that stood there at the start.
   void tellOfOutputs(json const& known, json const& document) {
      for (auto const& member : state(0).members()) {
         std::string const name(member.name);
         if (member.isOutput && known.at(name) != document.at(name)) {
            say(
               fmt::format("{}/{}: outputs are taken at the start only; this change of "
                           "them is not published",
                           where_, name));
         }
      }
   }

   static std::string numbered(size_t count, std::string_view what) {
      return fmt::format("{} {}{}", count, what, count == 1 ? "" : "s");
   }

   // Whatever else goes wrong, the next start is to find what stands there.
   void keepOutputs() {
      if (stateFolder_) {
         try {
            stateFolder_->finish();
         } catch (InputError const& error) {
            areOutputsKept_ = false;
            say(error.what());
         }
      }
   }

   void endRecording() {
      if (recorder_) {
         recorder_->end(machines_[0]->host.provenance()->last().number);
      }
   }

   int end() {
      supervisor_->stopping();
      answers_.reset();
      int status = twoMachines_ ? twoMachines_->status() : kFine;
      for (auto const& machine : machines_) {
         machine->host.stop();
         status = machine->host.verified() == 0 ? status : kDisagrees;
      }
      keepOutputs();
      say(fmt::format("{}, {} of inputs, {} of outputs; {} refused",
                      numbered(documents_, "new document"),
                      numbered(inputChanges_, "change"), outputChanges_, refused_));
      results_.finish();
      endRecording(); // when nothing else waits for a disk that hangs
      return areOutputsKept_ ? status : kBadInput;
   }

   Options const& options_;
   std::string const where_;
   WantedSignals const signals_;
   EventLoop loop_;
   std::unique_ptr<Recorder> recorder_; // of the one machine
   std::optional<EventLoop::Follower> recordersNews_;
   // Of all that follows, until it is gone.
   LiveMessages messages_{loop_};
   LiveResults results_{loop_};
   std::vector<std::unique_ptr<Machine>> machines_;
   std::optional<TwoMachines> twoMachines_;
   std::unique_ptr<Feed> feed_;
   std::unique_ptr<FileWatch> file_;
   std::unique_ptr<StateFolder> stateFolder_;
   Statistics statistics_; // counted if somebody is to be told
   std::unique_ptr<StreamEvents> events_;
   std::unique_ptr<MetricsServer> metrics_;
   std::unique_ptr<Answers> answers_;
   std::unique_ptr<ServiceManager> supervisor_;
   bool isMoreToAnswer_ = false;
   bool areOutputsKept_ = true; // at the end
   Phase phase_;                // that was counted last
   bool isSettled_ = false;     // nothing was left to do, and that was looked at
   bool isShown_ = false;       // the outputs, once
   size_t documents_ = 0;
   size_t refused_ = 0;
   size_t inputChanges_ = 0;
   size_t outputChanges_ = 0;
};

} // namespace

int watch(Options const& options) {
   Watch watch(options);
   try {
      return watch.run();
   } catch (std::exception const& error) {
      say(error.what()); // as long as nobody has to read it
      return kBadInput;
   }
}

} // namespace Agent
