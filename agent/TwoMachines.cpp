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
}

Span TwoMachines::span() const {
   auto const status = statusOf(dataflow_);
   return {wasBusy_ || inputChanges_ > 1, status_ && status && status_ != status};
}

void TwoMachines::compare(std::string const& where) {
   if (!reactor_.isIdle() || !dataflow_.isIdle()) {
      wasBusy_ = dataflow_.isRunning();
      inputChanges_ = 0; // a machine that does not run acts on none
      return;
   }
   std::set<std::string> differing;
   std::set<std::string> known; // without a reason
   for (auto const& each : outputs_) {
      differing.insert(each.key);
      if (each.reasons.empty()) {
         known.insert(textOf(each));
      }
   }
   outputs_ = outputDifferences(reactor_, dataflow_, options_);
   for (auto const& each : outputs_) {
      differing.insert(each.key);
      if (each.reasons.empty() && !known.contains(textOf(each))) {
         complain(where, textOf(each));
      }
   }
   for (auto const& each :
        changeDifferences(operations_[0], operations_[1], differing, span())) {
      if (each.reason == nullptr) {
         complain(where, each.text);
      } else {
         ++changes_[each.reason];
      }
   }
   operations_ = {};
   inputChanges_ = 0;
   wasBusy_ = false;
   status_ = statusOf(dataflow_);
}

void TwoMachines::complain(std::string const& where, std::string const& what) {
   ++errors_;
   std::fflush(stdout);
   fmt::print(stderr, "mcastvpn-agent: {}{}; there is no known reason\n", where,
              Pelk::printable(what));
}

std::vector<TwoMachines::Count> TwoMachines::changes() const {
   std::vector<Count> counts;
   for (auto const* const each : Verify::Expected::kAll) {
      auto const found = changes_.find(each);
      if (found != changes_.end()) {
         counts.push_back({each, found->second});
      }
   }
   return counts;
}

int TwoMachines::status() const noexcept {
   return errors_ == 0 ? kFine : kDisagrees;
}

} // namespace Agent
