#include "Machine.h"

#include "McastVpnLib/McastVpnLib.h"
#include "McastVpnLib/McastVpnTransitSm/TransitTrace.h"

namespace Bench::Machines {

namespace Evpn = Irb::Multicast::Evpn;

ReactorMachine::ReactorMachine(Case const& inputs) : Entities(inputs) {
   Evpn::TransitTrace::ring()->levelsIs(Pelk::TraceLevels());
}

void ReactorMachine::start() {
   sm_ = Evpn::transitSmFactory(Lidra::AddressFamily::ipv4, config, dir, mlag, coll,
                                joins);
}

void DataflowMachine::start() {
   Vorn::SmControl control;
   control.runModeIs(Vorn::RunMode::synchronous);
   startWith(control);
}

void DataflowMachine::startIn(Pelk::Ptr<Kolm::TaskScheduler> const& scheduler) {
   Vorn::SmControl control;
   control.taskSchedulerIs(scheduler);
   startWith(control);
}

void DataflowMachine::startWith(Vorn::SmControl const& control) {
   sm_ = Evpn::transitIntfSmFactory(Lidra::AddressFamily::ipv4, config, dir, mlag, coll,
                                    joins, peg, control);
}

} // namespace Bench::Machines
