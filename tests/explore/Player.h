#pragma once

#include "McastVpnLib/TransitIntfSm/TransitIntfSm.h"
#include "agent/OutputRecorder.h"
#include "agent/Patch.h"
#include "agent/State.h"
#include "agent/verify/Verifier.h"
#include "explore/Schedule.h"
#include "kolm/TaskScheduler.h"

#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <unordered_set>
#include <vector>

namespace Explore {

// What was tried, in all.
struct Figures {
   uint64_t schedules = 0;
   uint64_t lines = 0;
   uint64_t slices = 0;
   uint64_t comparisons = 0;          // of an idle machine with the plain rule
   uint64_t scans = 0;                // undisturbed starts whose members were counted
   uint64_t disturbedScans = 0;       // others, of which those were that nobody touched
   std::unordered_set<size_t> states; // different ones, seen after a line
};

// Plays a schedule in this process with a machine of its own, and looks after each line
// at what must hold:
//
// - an idle machine's outputs are the plain rule's, it is ready, its groups are the
//   mapping turned round, and its Seen tables are empty;
// - a start that nothing disturbs hands each member of each input to its handler once a
//   pass, in two passes; any other does so with each VRF and PEG VLAN that nobody
//   touches;
// - the machine becomes idle in a bounded number of slices.
class Player final : private Agent::Patch::Observer {
 public:
   // share: whom every poll asks, or null for what the slice lines say.
   Player(Schedule const& schedule, Figures& figures,
          std::unique_ptr<Kolm::Share> share = nullptr,
          Lidra::AddressFamily af = Lidra::AddressFamily::ipv4);
   Player(Player const&) = delete;
   Player& operator=(Player const&) = delete;
   ~Player();

   // Plays all of it, drains, and looks once more. What is wrong; empty for nothing.
   std::vector<std::string> play();

   // Step by step instead.
   void start();
   void line(nlohmann::json const& event);
   bool slice();
   void finish();
   std::vector<std::string> const& problems() const noexcept { return problems_; }
   // The numbers of the lines that could not be played: they change what is not there.
   std::set<size_t> const& leftOut() const noexcept { return leftOut_; }
   // How many changes inside notifications could not be made.
   uint64_t insidesLeftOut() const noexcept { return insidesLeftOut_; }
   Agent::State& state() noexcept { return state_; }

 private:
   class SliceShare;
   class ScanCount;

   void host(nlohmann::json const& event);
   // False if it cannot be done to the state as it is.
   bool patch(nlohmann::json const& operation);
   void stop();
   void drain();
   void look();
   void lookAtIdle();
   void complain(std::string const& what);
   void notified(std::string const& path);
   std::string digest() const;

   void failed(Agent::FailedTest const& test) override;
   void writing(bool toOutput) override { byAnother_.push_back(toOutput); }
   void written() override { byAnother_.pop_back(); }

   Schedule const& schedule_;
   Figures& figures_;
   Lidra::AddressFamily const af_;
   Agent::State state_;
   Pelk::Ptr<Kolm::TaskScheduler> const scheduler_;
   SliceShare* sliceShare_ = nullptr; // owned by the scheduler
   Verify::Verifier verifier_;
   std::optional<Agent::OutputsRecorder> recorder_;
   Pelk::Ptr<Irb::Multicast::Evpn::TransitIntfSm> machine_;
   bool isStarted_ = false; // the machine, or it is being constructed
   std::unique_ptr<ScanCount> scanCount_;
   struct Inside {
      uint64_t left;
      nlohmann::json operation;
   };
   std::deque<Inside> insides_;
   uint64_t insidesLeftOut_ = 0;
   std::vector<bool> byAnother_; // the writes that go on, the innermost last
   size_t lineNumber_ = 0;
   std::set<size_t> leftOut_;
   std::vector<std::string> problems_;
};

} // namespace Explore
