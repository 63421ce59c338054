#include "explore/Player.h"

#include "McastVpnLib/McastVpnLib.h"
#include "agent/BadInput.h"
#include "agent/OutputKey.h"
#include "pelk/Trace.h"
#include "vorn/SmControl.h"

#include <algorithm>
#include <map>
#include <set>
#include <utility>

namespace Explore {

using nlohmann::json;

namespace {

// More than any of these systems can need: some members, twice, with four outputs.
constexpr uint64_t kMostSlices = 4000;

} // namespace

// Ends a slice after so many items as the last line said.
class Player::SliceShare final : public Kolm::Share {
 public:
   void sliceBegin(Kolm::Task const&, Kolm::Slice&) override {}
   bool shouldYield(Kolm::Task const&, Kolm::Slice& slice) override {
      return (slice.polls + 1) % items == 0;
   }

   uint64_t items = 1;
};

// Counts how often each member of the inputs is handed to its handler, from its trace,
// in a start. What is changed meanwhile is not counted.
class Player::ScanCount final : public Pelk::TraceSink {
 public:
   ScanCount()
      : levelsBefore_(Pelk::Trace::levels()), sinkBefore_(Pelk::Trace::sinkIs(this)) {
      Pelk::Trace::levelsIs(Pelk::TraceLevels::of(8));
   }
   ~ScanCount() override {
      Pelk::Trace::levelsIs(levelsBefore_);
      Pelk::Trace::sinkIs(sinkBefore_);
   }

   void trace(Pelk::TraceRecord const& record) override {
      if (record.text.starts_with("k: ")) {
         ++times_[std::string(record.function) + " of " +
                  std::string(record.text.substr(3))];
      }
   }

   // Somebody changes what stands there, or below.
   void touched(std::string const& path) {
      isDisturbed_ = true;
      for (auto const& [collection, handler] : kHandlers) {
         std::string_view const place(collection);
         if (!path.starts_with(place)) {
            if (place.starts_with(path)) {
               untold_.insert(handler); // all of it
            }
         } else if (path.size() > place.size() + 1) {
            auto const key = path.substr(place.size() + 1);
            untold_.insert(std::string(handler) + " of " +
                           key.substr(0, key.find('/')));
         } else {
            untold_.insert(handler);
         }
      }
   }
   bool isDisturbed() const noexcept { return isDisturbed_; }

   // What was not handed over twice. A status is looked at again when a scan of its
   // VRFs goes on.
   std::vector<std::string> wrong(Agent::State const& state) const {
      std::vector<std::string> wrong;
      auto times = times_;
      auto const expectTwice = [&](std::string const& what) {
         if (untold_.contains(what) ||
             untold_.contains(what.substr(0, what.find(" of ")))) {
            return;
         }
         if (times[what] != 2) {
            wrong.push_back(what + " was scanned " + std::to_string(times[what]) +
                            " times");
         }
         times.erase(what);
      };
      for (auto const& entry : state.mcastEvpnConfig->transitVrf()) {
         expectTwice("handleTransitVrf0 of " + std::string(entry.key().view()));
      }
      for (auto const& entry : state.pegVlanStatus->pegVlan()) {
         expectTwice("handlePegVlan4 of " + std::to_string(entry.key().value()));
      }
      if (isDisturbed_) {
         return wrong; // of a status that changes its VRFs are scanned again
      }
      std::map<std::string, uint64_t> mapped;
      for (auto const& status : state.vtiStatusDir->vtiStatus()) {
         for (auto const& entry : status.value()->vrfToSBDVlan()) {
            mapped["handleVrfToSBDVlan3 of " + std::string(entry.key().view())] += 2;
         }
      }
      for (auto const& [what, count] : mapped) {
         if (times[what] != count) {
            wrong.push_back(what + " was scanned " + std::to_string(times[what]) +
                            " times");
         }
         times.erase(what);
      }
      for (auto const& [what, count] : times) {
         if (!what.starts_with("handleVtiStatus") || count < 2) {
            wrong.push_back(what + " was scanned, which is not there");
         }
      }
      return wrong;
   }

 private:
   static constexpr std::pair<char const*, char const*> kHandlers[] = {
      {"/mcastEvpnConfig/transitVrf", "handleTransitVrf0"},
      {"/pegVlanStatus/pegVlan", "handlePegVlan4"}};

   Pelk::TraceLevels levelsBefore_;
   Pelk::TraceSink* sinkBefore_;
   std::map<std::string, uint64_t> times_;
   bool isDisturbed_ = false;
   std::set<std::string> untold_; // members, and handlers of all members
};

Player::Player(Schedule const& schedule, Figures& figures,
               std::unique_ptr<Kolm::Share> share, Lidra::AddressFamily af)
   : schedule_(schedule), figures_(figures), af_(af),
     scheduler_(Pelk::makePtr<Kolm::TaskScheduler>()),
     verifier_({Verify::Machine::dataflow,
                af,
                true,
                {state_.mcastEvpnConfig, state_.vtiStatusDir, state_.mlagStatus,
                 state_.pegVlanStatus},
                state_.transitIntfColl,
                state_.membershipJoinStatus}) {
   if (!share) {
      auto own = std::make_unique<SliceShare>();
      sliceShare_ = own.get();
      sliceShare_->items = schedule.sliceItems;
      share = std::move(own);
   }
   scheduler_->shareIs(std::move(share));
   state_.assign(state_.canonical(schedule.document, Agent::Checks::plausible));
   recorder_.emplace(state_, [this](auto const& operation) {
      notified(operation.at("path").template get<std::string>());
   });
   ++figures_.schedules;
}

Player::~Player() = default;

std::vector<std::string> Player::play() {
   start();
   for (auto const& event : schedule_.lines) {
      ++lineNumber_;
      line(event);
   }
   finish();
   return problems_;
}

void Player::start() {
   isStarted_ = true;
   verifier_.starting();
   scanCount_ = std::make_unique<ScanCount>();
   Vorn::SmControl control;
   control.taskSchedulerIs(scheduler_);
   control.runModeIs(Vorn::RunMode::asynchronous);
   machine_ = Irb::Multicast::Evpn::transitIntfSmFactory(
      af_, state_.mcastEvpnConfig, state_.vtiStatusDir, state_.mlagStatus,
      state_.transitIntfColl, state_.membershipJoinStatus, state_.pegVlanStatus,
      control);
   look();
}

void Player::stop() {
   scanCount_.reset();
   machine_ = nullptr;
   isStarted_ = false;
   verifier_.stopped();
}

void Player::line(json const& event) {
   ++figures_.lines;
   if (event.contains("host")) {
      host(event);
   } else if (!patch(event)) {
      leftOut_.insert(lineNumber_);
   }
   look();
}

void Player::host(json const& event) {
   auto const what = event["host"].get<std::string>();
   if (what == "drain") {
      drain();
   } else if (what == "inside") {
      insides_.push_back({event["count"].get<uint64_t>(), event["event"]});
   } else if (what == "slice") {
      if (sliceShare_ != nullptr) {
         sliceShare_->items = event["items"].get<uint64_t>();
      }
      for (auto left = event["count"].get<uint64_t>(); left != 0 && slice(); --left) {
      }
      if (sliceShare_ != nullptr) {
         sliceShare_->items = schedule_.sliceItems;
      }
      return;
   }
   if (machine_ && (what == "stop" || what == "restart")) {
      stop();
   }
   if (!machine_ && (what == "start" || what == "restart")) {
      start();
   }
}

bool Player::slice() {
   bool const wasDue = scheduler_->runSlice();
   figures_.slices += wasDue ? 1 : 0;
   return wasDue;
}

void Player::drain() {
   for (uint64_t left = kMostSlices; slice(); --left) {
      if (left == 0) {
         complain("is not idle after " + std::to_string(kMostSlices) + " slices");
         return;
      }
   }
}

void Player::finish() {
   drain();
   look();
}

// A schedule that was shrunk may remove what is not there.
bool Player::patch(json const& operation) {
   for (auto const* place : {"path", "from"}) {
      if (scanCount_ && operation.contains(place)) {
         scanCount_->touched(operation[place].get<std::string>());
      }
   }
   try {
      Agent::Patch(state_, operation, Agent::Checks::plausible).apply(*this);
   } catch (Agent::BadInput const&) {
      return false;
   }
   return true;
}

void Player::failed(Agent::FailedTest const&) {
   complain("a test did not hold");
}

void Player::notified(std::string const& path) {
   if (isStarted_ && !byAnother_.empty() && byAnother_.back()) {
      verifier_.written(Agent::outputKeyOf(path));
   }
   if (!insides_.empty() && --insides_.front().left == 0) {
      auto const operation = std::move(insides_.front().operation);
      insides_.pop_front();
      byAnother_.push_back(false);
      insidesLeftOut_ += patch(operation) ? 0 : 1;
      byAnother_.pop_back();
   }
}

void Player::look() {
   figures_.states.insert(std::hash<std::string>()(digest()));
   if (machine_ && scheduler_->pending() == 0) {
      lookAtIdle();
   }
}

void Player::lookAtIdle() {
   ++figures_.comparisons;
   if (!machine_->initialScanDone() || !machine_->idle() || !machine_->ready()) {
      complain("has nothing left to do, and is not ready");
      return;
   }
   for (auto const& each : verifier_.differences()) {
      if (each.excuse == nullptr) {
         complain(each.key + ": " + each.is + " in place of " + each.should);
      }
   }
   std::map<uint16_t, std::set<std::string>> groups;
   for (auto const& entry : machine_->groupByAttr0()) {
      for (auto const& vrf : entry.value()->coll()) {
         groups[entry.key()].emplace(vrf.key().view());
      }
   }
   std::map<uint16_t, std::set<std::string>> mapped;
   if (auto const status = state_.vtiStatusDir->vtiStatus(Lidra::IntfId("Vxlan1"))) {
      for (auto const& entry : status->vrfToSBDVlan()) {
         mapped[entry.value().value()].emplace(entry.key().view());
      }
   }
   if (groups != mapped) {
      complain("its groups are not the mapping turned round");
   }
   if (!machine_->transitIntfCollIntfOutputSeen().empty() ||
       !machine_->membershipJoinStatusVlanRouterIntfOutputSeen().empty() ||
       !machine_->membershipJoinStatusVlanGroupSourceExcludeIntfOutputSeen().empty() ||
       !machine_->membershipJoinStatusVlanGroupSourceIncludeIntfOutputSeen().empty()) {
      complain("a Seen table is not empty after the reconciliation");
   }
   if (scanCount_) {
      ++(scanCount_->isDisturbed() ? figures_.disturbedScans : figures_.scans);
      for (auto const& each : scanCount_->wrong(state_)) {
         complain(each);
      }
      scanCount_.reset();
   }
}

void Player::complain(std::string const& what) {
   problems_.push_back("after line " + std::to_string(lineNumber_) + ": " + what);
}

std::string Player::digest() const {
   std::string text;
   for (auto const& [key, value] :
        Verify::outputsOf(*state_.transitIntfColl, *state_.membershipJoinStatus)) {
      text += key + '=' + value + ';';
   }
   if (!machine_) {
      return text;
   }
   for (auto const& entry : machine_->groupByAttr0()) {
      text += std::to_string(entry.key()) + ':' +
              std::to_string(entry.value()->coll().size()) + ' ';
   }
   for (
      uint64_t const each :
      {uint64_t{machine_->initialScanDone()}, uint64_t{machine_->ready()},
       scheduler_->pending(),
       uint64_t{machine_->transitIntfCollIntfOutputReconciliationState()},
       uint64_t{machine_->transitIntfCollIntfOutputSeen().size()},
       uint64_t{
          machine_->membershipJoinStatusVlanRouterIntfOutputReconciliationState()},
       uint64_t{
          machine_
             ->membershipJoinStatusVlanGroupSourceIncludeIntfOutputReconciliationState()},
       uint64_t{machine_->membershipJoinStatusVlanGroupSourceIncludeIntfOutputSeen()
                   .size()}}) {
      text += std::to_string(each) + ',';
   }
   return text;
}

} // namespace Explore
