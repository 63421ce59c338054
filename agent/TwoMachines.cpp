#include "agent/TwoMachines.h"

#include "agent/ExitStatus.h"
#include "agent/OutputKey.h"
#include "pelk/Printable.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <set>
#include <utility>

namespace Agent {

namespace {

OutputsRecorder recorderInto(Operations& operations, Host& host) {
   return {host.state(),
           [&operations](auto const& each) { operations.push_back(each); }};
}

Pelk::Ptr<Vxlan::VtiStatus> statusOf(Host& host) {
   return host.state().vtiStatusDir->vtiStatus(Lidra::IntfId("Vxlan1"));
}

std::set<std::string> emptyLevelsOf(State const& state) {
   auto const& coll = *state.transitIntfColl;
   auto const& joins = *state.membershipJoinStatus;
   auto const without = Verify::outputsOf(coll, joins, Verify::EmptyLevels::leftOut);
   std::set<std::string> keys;
   for (auto const& [key, text] : Verify::outputsOf(coll, joins)) {
      if (Verify::standsAt(without, key) != text) {
         keys.insert(key);
      }
   }
   return keys;
}

std::string textOf(OutputDifference const& difference) {
   return fmt::format("{}: TransitSm has {}, TransitIntfSm has {}",
                      outputPathOf(difference.key), difference.reactor,
                      difference.dataflow);
}

} // namespace

TwoMachines::TwoMachines(Host& reactor, Host& dataflow, Options const& options)
   : reactor_(reactor), dataflow_(dataflow), options_(options),
     recorders_{recorderInto(operations_[0], reactor),
                recorderInto(operations_[1], dataflow)} {
   for (auto const& member : dataflow.state().members()) {
      if (!member.isOutput) {
         inputRecorders_.push_back(std::make_unique<OutputRecorder>(
            member.name, member.entity, [this](auto const&) { ++inputChanges_; }));
      }
   }
   beginSpan();
}

void TwoMachines::beginSpan() {
   operations_ = {};
   inputChanges_ = 0;
   writes_ = 0;
   wasBusy_ = false;
   status_ = statusOf(dataflow_);
   emptyLevels_ = emptyLevelsOf(dataflow_.state());
}

Span TwoMachines::span() const {
   return {wasBusy_ || inputChanges_ > 1 || writes_ > 1, status_ != statusOf(dataflow_),
           emptyLevels_};
}

void TwoMachines::compare(std::string const& where, size_t writes) {
   writes_ += writes;
   if (!reactor_.isIdle() || !dataflow_.isIdle()) {
      wasBusy_ = dataflow_.isRunning();
      if (!wasBusy_) { // machines that do not run act on nothing
         inputChanges_ = 0;
         writes_ = 0;
      }
      return;
   }
   auto const before =
      std::exchange(outputs_, outputDifferences(reactor_, dataflow_, options_));
   std::set<std::string> differing;
   for (auto const& each : before) {
      differing.insert(each.key);
   }
   for (auto const& each : outputs_) {
      differing.insert(each.key);
      if (std::ranges::find(before, each) != before.end()) {
         continue;
      }
      if (each.reasons.empty()) {
         complain(where, textOf(each));
      }
      for (auto const* const reason : each.reasons) {
         ++times_[reason];
      }
   }
   for (auto const& each :
        changeDifferences(operations_[0], operations_[1], differing, span())) {
      if (each.reason == nullptr) {
         complain(where, each.text);
      } else {
         ++times_[each.reason];
      }
   }
   beginSpan();
}

void TwoMachines::complain(std::string const& where, std::string const& what) {
   ++errors_;
   std::fflush(stdout);
   fmt::print(stderr, "mcastvpn-agent: {}{}; there is no known reason\n", where,
              Pelk::printable(what));
}

std::vector<TwoMachines::Count> TwoMachines::reasons() const {
   std::vector<Count> counts;
   for (auto const* const each : Verify::Expected::kAll) {
      auto const found = times_.find(each);
      if (found != times_.end()) {
         counts.push_back({each, found->second});
      }
   }
   return counts;
}

int TwoMachines::status() const noexcept {
   return errors_ == 0 ? kFine : kDisagrees;
}

} // namespace Agent
