#include "agent/TwoMachines.h"

#include "agent/ExitStatus.h"
#include "agent/OutputKey.h"
#include "agent/Streams.h"
#include "pelk/Printable.h"

#include <fmt/format.h>

#include <cstdio>
#include <set>
#include <utility>

namespace Agent {

namespace {

std::set<std::string> emptyLevelsOf(Verify::Outputs const& outputs,
                                    Verify::Outputs const& withoutEmpty) {
   std::set<std::string> keys;
   for (auto const& [key, text] : outputs) {
      if (Verify::standsAt(withoutEmpty, key) != text) {
         keys.insert(key);
      }
   }
   return keys;
}

std::set<std::string> emptyLevelsOf(State const& state) {
   auto const& coll = *state.transitIntfColl;
   auto const& joins = *state.membershipJoinStatus;
   return emptyLevelsOf(Verify::outputsOf(coll, joins),
                        Verify::outputsOf(coll, joins, Verify::EmptyLevels::leftOut));
}

std::set<std::string> differingKeys(State const& one, State const& other) {
   auto const ofOne = outputsOf(one);
   auto const ofOther = outputsOf(other);
   auto keys = ofOne;
   keys.insert(ofOther.begin(), ofOther.end());
   std::set<std::string> differing;
   for (auto const& [key, text] : keys) {
      if (Verify::standsAt(ofOne, key) != Verify::standsAt(ofOther, key)) {
         differing.insert(key);
      }
   }
   return differing;
}

std::string textOf(OutputDifference const& difference) {
   return fmt::format("{}: TransitSm has {}, TransitIntfSm has {}",
                      outputPathOf(difference.key), difference.reactor,
                      difference.dataflow);
}

} // namespace

TwoMachines::TwoMachines(Host& reactor, Host& dataflow, Options const& options)
   : reactor_(reactor), dataflow_(dataflow), options_(options),
     touched_(dataflow.state()), reactorsRecorder_(recorderOf(reactor, &Span::reactor)),
     dataflowsRecorder_(recorderOf(dataflow, &Span::dataflow)) {
   span_.touched = &touched_;
   beginSpan();
   span_.emptyLevels = emptyLevelsOf(dataflow.state());
}

// What another writer does is done to both, and is kept apart.
OutputsRecorder TwoMachines::recorderOf(Host& host, Operations Span::* operations) {
   return {host.state(), [this, &host, operations](auto const& operation) {
              if (host.isByAnotherWriter()) {
                 ++foreignWrites_;
                 span_.foreign.insert(
                    outputKeyOf(operation.at("path").template get<std::string>()));
              } else {
                 (span_.*operations).push_back(operation);
              }
           }};
}

void TwoMachines::beginSpan() {
   span_.reactor.clear();
   span_.dataflow.clear();
   span_.foreign.clear();
   touched_.forget();
   foreignWrites_ = 0;
   wasBusy_ = false;
   starts_ = dataflow_.starts();
}

bool TwoMachines::hasAnythingChanged() const {
   return touched_.changes() + foreignWrites_ != 0 || !span_.reactor.empty() ||
          !span_.dataflow.empty() || starts_ != dataflow_.starts();
}

void TwoMachines::compare(std::string const& where) {
   if (!reactor_.isRunning() || !dataflow_.isRunning()) {
      // Machines that do not run act on nothing.
      isCompared_ = false;
      differences_.clear();
      beginSpan();
      span_.emptyLevels = emptyLevelsOf(dataflow_.state());
      differed_ = differingKeys(reactor_.state(), dataflow_.state());
   } else if (!dataflow_.isIdle()) {
      isCompared_ = false;
      wasBusy_ = true;
   } else if (!isCompared_ || hasAnythingChanged()) {
      compareNow(where);
   }
}

void TwoMachines::compareNow(std::string const& where) {
   auto now = compareOutputs(reactor_, dataflow_, options_);
   auto const before = std::exchange(differences_, std::move(now.differences));
   isCompared_ = true;
   auto differing = std::exchange(differed_, {});
   for (auto const& [key, difference] : differences_) {
      differing.insert(key);
      differed_.insert(key);
      auto const known = before.find(key);
      if (known != before.end() && known->second == difference) {
         continue;
      }
      if (difference.reasons.empty()) {
         complain(where, textOf(difference));
      }
      for (auto const* const reason : difference.reasons) {
         ++times_[reason];
      }
   }
   span_.hasStart = starts_ != dataflow_.starts();
   span_.hasInterimStates =
      wasBusy_ || touched_.changes() + (foreignWrites_ != 0 ? 1 : 0) > 1;
   for (auto const& each : changeDifferences(span_, differing)) {
      if (each.reason == nullptr) {
         complain(where, each.text);
      } else {
         ++times_[each.reason];
      }
   }
   beginSpan();
   span_.emptyLevels = emptyLevelsOf(now.dataflow.is, now.dataflow.withoutEmpty);
}

void TwoMachines::complain(std::string const& where, std::string const& what) {
   ++errors_;
   printMessage(fmt::format("mcastvpn-agent: {}{}; there is no known reason\n", where,
                            Pelk::printable(what)));
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
