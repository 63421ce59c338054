#pragma once

#include "Entities.h"
#include "McastVpnLib/McastVpnTransitSm/TransitSm.h"
#include "McastVpnLib/TransitIntfSm/TransitIntfSm.h"
#include "kolm/TaskScheduler.h"

namespace Bench::Machines {

// The library's machines, as an agent makes them: through their factories. The text
// trace is off, and so is the ring, as it is in the programs beside.
class ReactorMachine : public Entities {
 public:
   explicit ReactorMachine(Case const& inputs);

   void start();
   void stop() { sm_ = nullptr; }

 private:
   Pelk::Ptr<Irb::Multicast::Evpn::TransitSm> sm_;
};

class DataflowMachine : public Entities {
 public:
   explicit DataflowMachine(Case const& inputs) : Entities(inputs) {}

   // Synchronously.
   void start();
   // In tasks of the scheduler, which the caller runs.
   void startIn(Pelk::Ptr<Kolm::TaskScheduler> const& scheduler);
   bool ready() const { return sm_->ready(); }
   void stop() { sm_ = nullptr; }

 private:
   void startWith(Vorn::SmControl const& control);

   Pelk::Ptr<Irb::Multicast::Evpn::TransitIntfSm> sm_;
};

} // namespace Bench::Machines
