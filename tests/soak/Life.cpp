#include "soak/Life.h"

#include "McastVpnLib/McastVpnTransitSm/TransitSm.h"
#include "pelk/Subscription.h"

#include <algorithm>
#include <utility>

namespace Soak {

using Irb::Multicast::Evpn::TransitIntfColl;
using Irb::Multicast::Evpn::TransitSm;
using Irb::Multicast::Gmp::MembershipJoinStatus;
using Support::Side;

namespace {

// More than any slice can have, over inputs and outputs of so few members.
constexpr uint64_t kMostItems = 64;
// The interface whose VRFs a slice has not all come to is an item besides them.
constexpr uint64_t kItemsBeside = 1;
// As many as a machine has.
constexpr uint64_t kMostPending = 16;

// Calls somebody inside each notification of two outputs.
class Follower {
 public:
   Follower(Life& life, Life::Notified notified, Pelk::Ptr<TransitIntfColl> const& coll,
            Pelk::Ptr<MembershipJoinStatus> const& joins)
      : life_(life), notified_(std::move(notified)) {
      coll_.sourceIs(coll);
      joins_.sourceIs(joins);
   }

 private:
   void changed(Pelk::Publisher*, Pelk::Subscriber*, int16_t, void const*,
                void const*) noexcept {
      notified_(life_);
   }

   Life& life_;
   Life::Notified notified_;
   Pelk::Subscription<Follower, TransitIntfColl> coll_ =
      Pelk::Subscription<Follower, TransitIntfColl>::of<&Follower::changed>(this);
   Pelk::Subscription<Follower, MembershipJoinStatus> joins_ =
      Pelk::Subscription<Follower, MembershipJoinStatus>::of<&Follower::changed>(this);
};

class ReactorLife final : public Life {
 public:
   ReactorLife(std::string name, uint32_t seed, Notified const& notified)
      : Life(seed), name_(std::move(name)),
        verifier_({Verify::Machine::reactor,
                   Support::kIpv4,
                   true,
                   {world().config, world().dir, world().mlag, nullptr},
                   coll_,
                   joins_}),
        follower_(*this, notified, coll_, joins_) {}

   std::string const& name() const override { return name_; }
   bool isRunning() const override { return machine_ != nullptr; }
   void start() override {
      verifier_.starting();
      machine_ = Irb::Multicast::Evpn::transitSmFactory(
         Support::kIpv4, world().config, world().dir, world().mlag, coll_, joins_);
   }
   void stop() override {
      machine_ = nullptr;
      verifier_.stopped();
   }
   // It subscribes to the configuration and the MLAG status when it is made.
   bool followsFromTheFirst() const override { return false; }

   std::vector<std::string> complaints() override {
      std::vector<std::string> found;
      for (auto const& each : verifier_.differences()) {
         if (each.excuse == nullptr) {
            found.push_back(name_ + ": " + each.key + ": " + each.is + " in place of " +
                            each.should);
         }
      }
      return found;
   }

   void read(Gauges& gauges) const override {
      Life::read(gauges);
      gauges.read("VRFs that a reactor recorded", machine_->vrfToSbdVlan().size());
      gauges.read("VLANs that a reactor recorded", machine_->sbdVlanToVrf().size());
   }

   TransitIntfColl& coll() const override { return *coll_; }
   MembershipJoinStatus& joins() const override { return *joins_; }

 private:
   void written(std::string const& key) override { verifier_.written(key); }

   std::string const name_;
   Pelk::Ptr<TransitIntfColl> const coll_ =
      Irb::Multicast::Evpn::transitIntfCollFactory();
   Pelk::Ptr<MembershipJoinStatus> const joins_ = Pelk::makePtr<MembershipJoinStatus>();
   Verify::Verifier verifier_;
   Follower follower_;
   Pelk::Ptr<TransitSm> machine_;
};

class DataflowLife final : public Life {
 public:
   DataflowLife(std::string const& name, uint32_t seed, Notified const& notified,
                Pelk::Ptr<Fennlog::TraceHandle> const& ring, SliceFigures& figures)
      : Life(seed), side_(name, world(), Vorn::RunMode::asynchronous,
                          std::make_unique<Kolm::UnlimitedShare>()),
        figures_(figures), follower_(*this, notified, side_.coll, side_.joins) {
      side_.control().qtHandleIs(ring);
      side_.scheduler->sliceObserverIs([this](auto const& report) { sliced(report); });
   }

   std::string const& name() const override { return side_.name(); }
   bool isRunning() const override { return side_.isRunning(); }
   void start() override { side_.start(); }
   void stop() override { side_.stop(); }
   bool followsFromTheFirst() const override { return true; }
   void slices(uint32_t count) override {
      figures_.mostPending = std::max(figures_.mostPending, side_.scheduler->pending());
      side_.slices(count);
   }

   void shareChanges() override {
      auto& random = world().inputs;
      share_ = {};
      switch (random.below(4)) {
         case 0:
            shareIsUnlimited();
            break;
         case 1:
            share_.items = 1 + random.below(6);
            shareIs(std::make_unique<Kolm::PollShare>(share_.items));
            break;
         case 2:
            shareIs(std::make_unique<Kolm::RandomShare>(random.below(1000),
                                                        1 + random.below(4)));
            break;
         default:
            share_.time = std::chrono::microseconds(1 + random.below(50));
            shareIs(std::make_unique<Kolm::TimeShare>(share_.time));
            break;
      }
      side_.control().runModeIs(random.oneIn(8) ? Vorn::RunMode::synchronous
                                                : Vorn::RunMode::asynchronous);
   }
   void shareIsUnlimited() override {
      share_ = {};
      shareIs(std::make_unique<Kolm::UnlimitedShare>());
   }

   std::vector<std::string> complaints() override {
      auto found = side_.complaints();
      found.insert(found.end(), problems_.begin(), problems_.end());
      problems_.clear();
      return found;
   }

   void read(Gauges& gauges) const override {
      Life::read(gauges);
      auto const& machine = *side_.machine;
      gauges.read("tasks that are pending", side_.scheduler->pending());
      gauges.read("uses of schedulers", side_.scheduler->useCount());
      gauges.read("groups", machine.groupByAttr0().size());
      gauges.read(
         "members of Seen tables",
         machine.transitIntfCollIntfOutputSeen().size() +
            machine.membershipJoinStatusVlanRouterIntfOutputSeen().size() +
            machine.membershipJoinStatusVlanGroupSourceExcludeIntfOutputSeen().size() +
            machine.membershipJoinStatusVlanGroupSourceIncludeIntfOutputSeen().size());
   }

   TransitIntfColl& coll() const override { return *side_.coll; }
   MembershipJoinStatus& joins() const override { return *side_.joins; }

 private:
   struct Share {
      uint64_t items = kMostItems;
      std::chrono::microseconds time{}; // 0: as long as it likes
   };

   void shareIs(std::unique_ptr<Kolm::Share> share) {
      side_.scheduler->shareIs(std::move(share));
   }

   void sliced(Kolm::SliceReport const& report) {
      ++figures_.slices;
      figures_.items += report.items;
      figures_.mostItems = std::max(figures_.mostItems, report.items);
      if (share_.time.count() != 0) {
         figures_.lateness.add(report.time - share_.time);
      }
      if (report.items > share_.items + kItemsBeside) {
         problems_.push_back(name() + ": a slice of " + std::to_string(report.items) +
                             " items had a share of " + std::to_string(share_.items));
      }
      if (side_.scheduler->pending() > kMostPending) {
         problems_.push_back(name() + ": more tasks are pending than a machine has");
      }
   }

   void written(std::string const& key) override { side_.written(key); }

   Side side_;
   SliceFigures& figures_;
   Share share_;
   std::vector<std::string> problems_; // of slices since they were last told
   Follower follower_;
};

} // namespace

void Lateness::add(std::chrono::nanoseconds late) {
   size_t at = 0;
   while (late > kLimits[at].after && at + 1 < kLimits.size()) {
      ++at;
   }
   ++slices[at];
}

void Life::emptyInputs() {
   world_.config->transitVrfDelAll();
   world_.mlag->mlagStateIs(Mlag::MlagState{});
   std::vector<Pelk::Ptr<Vxlan::VtiStatus>> statuses;
   for (auto const& entry : world_.dir->vtiStatus()) {
      statuses.push_back(entry.value());
   }
   for (auto const& status : statuses) {
      status->vrfToSBDVlanDelAll();
      world_.dir->vtiStatusDel(status->intfId());
   }
   world_.pegVlans->pegVlanDelAll();
}

void Life::read(Gauges& gauges) const {
   gauges.read("subscribers of inputs",
               uint64_t{world_.config->subscribers()} + world_.dir->subscribers() +
                  world_.mlag->subscribers() + world_.pegVlans->subscribers());
   gauges.read("interfaces in the outputs", coll().intf().size());
   gauges.read("VLANs in the outputs", joins().vlan().size());
   gauges.read("subscribers of outputs", coll().subscribers() + joins().subscribers());
}

// The machine does not answer, so what differs afterwards is what was written.
template <typename Write>
void Life::byAnotherWriter(Write write) {
   auto const before = Verify::outputsOf(coll(), joins());
   write();
   auto const after = Verify::outputsOf(coll(), joins());
   auto const tell = [&](Verify::Outputs const& from, Verify::Outputs const& to) {
      for (auto const& [key, value] : from) {
         auto const other = to.find(key);
         if (other == to.end() || other->second != value) {
            written(key);
         }
      }
   };
   tell(before, after);
   tell(after, before);
}

void Life::write(uint32_t seed) {
   byAnotherWriter([&] { Support::leaveRandomOutputs(seed, coll(), joins()); });
}

void Life::clear() {
   byAnotherWriter([&] {
      coll().intfDelAll();
      joins().vlanDelAll();
   });
}

std::unique_ptr<Life> reactorLife(std::string const& name, uint32_t seed,
                                  Life::Notified const& notified) {
   return std::make_unique<ReactorLife>(name, seed, notified);
}

std::unique_ptr<Life> dataflowLife(std::string const& name, uint32_t seed,
                                   Life::Notified const& notified,
                                   Pelk::Ptr<Fennlog::TraceHandle> const& ring,
                                   SliceFigures& figures) {
   return std::make_unique<DataflowLife>(name, seed, notified, ring, figures);
}

} // namespace Soak
