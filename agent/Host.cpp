#include "agent/Host.h"

#include "McastVpnLib/McastVpnLib.h"
#include "McastVpnLib/McastVpnTransitSm/TransitSm.h"
#include "McastVpnLib/TransitIntfSm/TransitIntfSm.h"
#include "agent/BadInput.h"
#include "agent/InputFile.h"
#include "agent/JsonText.h"
#include "agent/MachineNames.h"
#include "agent/OutOfMemory.h"
#include "pelk/Trace.h"
#include "zin/Hash.h"
#include "zin/Toggle.h"

#include <stdexcept>
#include <string>
#include <utility>

namespace Agent {

using namespace Irb::Multicast::Evpn;

class Host::RunningMachine {
 public:
   RunningMachine(Options const& options, State const& state,
                  Pelk::Ptr<Kolm::TaskScheduler> const& scheduler,
                  Pelk::Ptr<Fennlog::TraceHandle> const& ring) {
      if (options.machine == Verify::Machine::reactor) {
         reactor_ = transitSmFactory(options.af, state.mcastEvpnConfig,
                                     state.vtiStatusDir, state.mlagStatus,
                                     state.transitIntfColl, state.membershipJoinStatus);
         return;
      }
      Vorn::SmControl control;
      control.taskSchedulerIs(scheduler);
      control.runModeIs(options.mode);
      control.qtHandleIs(ring);
      dataflow_ =
         transitIntfSmFactory(options.af, state.mcastEvpnConfig, state.vtiStatusDir,
                              state.mlagStatus, state.transitIntfColl,
                              state.membershipJoinStatus, state.pegVlanStatus, control);
   }

   std::optional<Flags> flags() const {
      if (!dataflow_) {
         return std::nullopt;
      }
      return Flags{dataflow_->initialScanDone(), dataflow_->idle(), dataflow_->ready()};
   }
   Phase phase() const { return dataflow_ ? phaseOf(*dataflow_) : Phase::ready(); }

 private:
   Pelk::Ptr<TransitSm> reactor_;
   Pelk::Ptr<TransitIntfSm> dataflow_;
};

Host::Host(Options const& options)
   : options_(options), scheduler_(Kolm::TaskSchedulerRoot::findOrCreateScheduler()) {
   if (options.seed) {
      Zin::HashHelper::hashSeed32Is(*options.seed);
   }
   if (!options.toggleFile.empty()) {
      try {
         Zin::ToggleSource::fileIs(options.toggleFile);
      } catch (Zin::ToggleFileError const& error) {
         throw InputError(error.what());
      }
   }
   for (auto const& toggle : options.toggles) {
      auto const equals = toggle.find('=');
      Zin::ToggleSource::overrideIs(toggle.substr(0, equals),
                                    toggle.substr(equals + 1) == "on");
   }
   Pelk::Trace::levelsIs(options.trace);
   if (options.sliceItems) {
      shareIs(*options.sliceItems);
   }
   if (options.verify || options.both || !options.control.empty()) {
      verification_.emplace(options, state_);
   }
}

Host::~Host() = default;

void Host::recorderIs(Recorder* recorder) {
   recorder_ = recorder;
   shareIs(options_.sliceItems.value_or(0));
   followSlices();
}

void Host::sliceObserverIs(Kolm::TaskScheduler::SliceObserver observer) {
   observer_ = std::move(observer);
   followSlices();
}

void Host::followSlices() {
   scheduler_->sliceObserverIs(
      [this](Kolm::SliceReport const& report) { sliceEnded(report); });
}

void Host::sliceEnded(Kolm::SliceReport const& report) {
   Recorder::Slice const slice{report.task.taskName().view(), report.items,
                               report.time};
   stepEnds(&slice);
   if (observer_) {
      observer_(report);
   }
}

void Host::provenanceIs(Provenance::Input changed, Provenance::Output wrote) {
   provenance_ =
      std::make_unique<Provenance>(state_, std::move(changed), std::move(wrote));
}

void Host::sliceEndsAre(SliceEnds ends) {
   if (playedShare_ == nullptr) {
      auto played = std::make_unique<PlayedShare>();
      playedShare_ = played.get();
      scheduler_->shareIs(std::move(played));
   }
   playedShare_->endsAre(std::move(ends));
}

void Host::stepBegins(std::string_view line) {
   if (recorder_ != nullptr) {
      recorder_->stepBegins(line);
   }
}

void Host::stepEnds(Recorder::Slice const* slice) {
   if (recorder_ != nullptr) {
      recorder_->stepEnds(recordedShare_->ends(), slice);
      recordedShare_->forgetEnds();
   }
}

void Host::start() {
   Doing const doing("starting the machine");
   ++starts_;
   stepBegins(R"({"host":"start"})");
   if (verification_) {
      verification_->starting();
   }
   try {
      machine_ = std::make_unique<RunningMachine>(options_, state_, scheduler_, ring_);
   } catch (std::out_of_range const& error) {
      auto const name =
         options_.both ? std::string(machineName(options_.machine)) : "the machine";
      throw InputError(name + " cannot be constructed: " + error.what());
   }
   stepEnds();
}

void Host::stop() {
   if (isRunning()) {
      stepBegins(R"({"host":"stop"})");
      machine_.reset();
      stepEnds();
   }
   if (verification_) {
      verification_->stopped();
   }
}

void Host::verify(std::string const& where) {
   if (verification_ && options_.verify && isIdle()) {
      auto const flags = machine_->flags();
      bool const isStalled = flags && !(flags->idle && flags->ready);
      verification_->compare(
         where,
         isStalled ? "the machine is not ready, and has nothing left to do" : "");
   }
}

bool Host::isIdle() const {
   return isRunning() && (!hasTasks() || scheduler_->pending() == 0);
}

std::optional<Flags> Host::flags() const {
   return isRunning() ? machine_->flags() : std::nullopt;
}

Phase Host::phase() const {
   return isRunning() ? machine_->phase() : Phase::stopped();
}

void Host::byAnotherWriterIs(bool is) {
   isByAnotherWriter_ = is;
   if (provenance_) {
      provenance_->byAnotherWriterIs(is);
   }
   if (verification_) {
      verification_->byAnotherWriterIs(is);
   }
}

Verify::Verifier& Host::verifier() {
   if (!verification_) {
      throw std::logic_error("the host compares nothing");
   }
   return verification_->verifier();
}

size_t Host::verified() const {
   if (!verification_ || !options_.verify) {
      return 0;
   }
   verification_->summarize();
   return verification_->errors();
}

uint64_t Host::drain() {
   Doing const doing("running the machine");
   uint64_t slices = 0;
   while (runSlice()) {
      ++slices;
   }
   return slices;
}

// What begins here ends in the scheduler's observer.
bool Host::runSlice() {
   if (!hasTasks() || scheduler_->pending() == 0) {
      return false;
   }
   stepBegins(R"({"host":"slice","count":1})");
   return scheduler_->runSlice();
}

// A slice ends after so many items; with 0, after a time.
void Host::shareIs(uint32_t items) {
   if (playedShare_ != nullptr) {
      return;
   }
   auto share = items == 0
                   ? std::unique_ptr<Kolm::Share>(std::make_unique<Kolm::TimeShare>())
                   : std::make_unique<Kolm::PollShare>(items);
   if (recorder_ != nullptr) {
      auto recorded = std::make_unique<RecordedShare>(std::move(share));
      recordedShare_ = recorded.get();
      share = std::move(recorded);
   }
   scheduler_->shareIs(std::move(share));
}

uint64_t Host::slice(uint64_t count, uint32_t items) {
   if (items != 0) {
      shareIs(items);
   }
   uint64_t slices = 0;
   while (slices < count && runSlice()) {
      ++slices;
   }
   if (items != 0) {
      shareIs(options_.sliceItems.value_or(0));
   }
   return slices;
}

void loadState(std::vector<Host*> const& hosts, Options const& options) {
   if (!options.state.empty()) {
      loadState(hosts, FileText(options.state), options.checks);
   }
}

void loadState(std::vector<Host*> const& hosts, FileText const& file, Checks checks) {
   auto const document =
      documentOf(hosts.front()->state(), file.text(), file.file(), checks);
   Doing const doing("publishing", file.file().c_str());
   for (auto* const host : hosts) {
      host->state().assign(document);
   }
}

nlohmann::json loadDocument(State const& state, std::string const& file,
                            Checks checks) {
   return documentOf(state, FileText(file).text(), file, checks);
}

nlohmann::json documentOf(State const& state, std::string_view text,
                          std::string const& file, Checks checks) {
   Doing const doing("reading", file.c_str());
   auto const document = parseJson(text, file);
   try {
      return state.canonical(document, checks);
   } catch (BadInput const& error) {
      throw InputError(location(file, lineOf(text, error.pointer())) + error.what());
   }
}

} // namespace Agent
