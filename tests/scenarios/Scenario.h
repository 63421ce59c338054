#pragma once

#include "McastVpnLib/McastVpnLib.h"
#include "McastVpnLib/TransitIntfSm/TransitIntfSm.h"
#include "agent/verify/Verifier.h"
#include "kolm/TaskScheduler.h"
#include "support/Entities.h"
#include "support/RandomInputs.h"
#include "support/RandomOutputs.h"
#include "vorn/SmControl.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

// The dataflow machine in a world of random inputs, through its public interface alone.
namespace Support {

inline constexpr auto kIpv4 = Lidra::AddressFamily::ipv4;
inline constexpr auto kIpv6 = Lidra::AddressFamily::ipv6;

// The inputs, which several machines may share.
class World : public InputEntities {
 public:
   explicit World(uint32_t seed) : inputs(seed, *config, *mlag, dir, *pegVlans) {}

   RandomInputs inputs;
};

// One machine over the inputs of a world, with outputs and a scheduler of its own.
class Side : public OutputEntities {
 public:
   Side(std::string name, World const& world, Vorn::RunMode mode,
        std::unique_ptr<Kolm::Share> share, Lidra::AddressFamily af = kIpv4)
      : name_(std::move(name)), world_(world), af_(af),
        verifier_({Verify::Machine::dataflow,
                   af,
                   true,
                   {world.config, world.dir, world.mlag, world.pegVlans},
                   coll,
                   joins}) {
      scheduler->shareIs(std::move(share));
      control_.runModeIs(mode);
      control_.taskSchedulerIs(scheduler);
   }

   std::string const& name() const noexcept { return name_; }
   bool isRunning() const noexcept { return machine != nullptr; }

   // Of the next start.
   Vorn::SmControl& control() noexcept { return control_; }

   void start() {
      verifier_.starting();
      machine = Irb::Multicast::Evpn::transitIntfSmFactory(
         af_, world_.config, world_.dir, world_.mlag, coll, joins, world_.pegVlans,
         control_);
   }
   void stop() {
      machine = nullptr;
      verifier_.stopped();
   }
   void slices(uint32_t count) {
      while (count != 0 && scheduler->runSlice()) {
         --count;
      }
   }

   // Another writer changed the output of this key.
   void written(std::string const& key) { verifier_.written(key); }

   Verify::Outputs outputs() const { return Verify::outputsOf(*coll, *joins); }
   Verify::Outputs expected() const { return verifier_.expected(); }

   // Runs all that is pending, and says what is wrong then.
   std::vector<std::string> complaints() {
      scheduler->runUntilIdle();
      std::vector<std::string> found;
      if (!machine->initialScanDone() || !machine->idle() || !machine->ready()) {
         found.push_back(name_ + ": is not ready, and has nothing left to do");
      }
      for (auto const& each : verifier_.differences()) {
         if (each.excuse == nullptr) {
            found.push_back(name_ + ": " + each.key + ": " + each.is + " in place of " +
                            each.should);
         }
      }
      return found;
   }

   Pelk::Ptr<Kolm::TaskScheduler> const scheduler =
      Pelk::makePtr<Kolm::TaskScheduler>();
   Pelk::Ptr<Irb::Multicast::Evpn::TransitIntfSm> machine;

 private:
   std::string name_;
   World const& world_;
   Lidra::AddressFamily af_;
   Vorn::SmControl control_;
   Verify::Verifier verifier_;
};

} // namespace Support
