#pragma once

#include "Entities.h"
#include "McastVpnLib/TransitIntfSm/GroupBy.h"
#include "pelk/Subscription.h"

#include <absl/container/flat_hash_map.h>

namespace Bench::Machines {

// The contract floor: the incremental program of Floor.h with what the contract makes
// any program pay, and nothing else. It is notified of its inputs synchronously, keeps
// the VRFs of each VLAN as counted entities in keyed collections with versions, writes
// the output entities, in the order in which the contract has them written, and tests a
// trace level where the contract has a line. It has no scans, tasks or reconciliation
// that could be interrupted, and remembers the VLANs in a flat hash map.
template <Rule rule>
class ContractFloor : public Entities {
 public:
   explicit ContractFloor(Case const& inputs);
   ~ContractFloor() { stop(); }

   // Evaluates each VLAN once, and removes what is not wanted (the reactor's rule
   // leaves what other VLANs have).
   void start();
   void stop();

 private:
   using Group = Irb::Multicast::Evpn::GroupByCollection;

   void onConfig(Pelk::Publisher*, Pelk::Subscriber*, int16_t id, void const* key,
                 void const* value) noexcept;
   void onStatus(Pelk::Publisher*, Pelk::Subscriber*, int16_t id, void const* key,
                 void const* value) noexcept;
   void onMlag(Pelk::Publisher*, Pelk::Subscriber*, int16_t id, void const* key,
               void const* value) noexcept;
   void onPeg(Pelk::Publisher*, Pelk::Subscriber*, int16_t id, void const* key,
              void const* value) noexcept;

   Group const* group(uint16_t vlan) const;
   void groupAdd(uint16_t vlan, Vrf const& vrf);
   void groupRemove(uint16_t vlan, Vrf const& vrf);
   void mapped(Vrf const& vrf);
   bool enabled(Bridging::VlanId vlan) const;
   void evaluate(uint16_t vlan);
   void evaluateVrf(Vrf const& vrf);
   void evaluateTransitVrfs();
   void writeJoins(Bridging::VlanId vlan, bool is);
   void removeUnwanted();
   Lidra::IpGenAddr const& addr();

   Lidra::IntfId const null0_{"Null0"};
   Lidra::IpGenAddr const any_ =
      Lidra::IpGenAddr::ipGenAddrZero(Lidra::AddressFamily::ipv4);
   absl::flat_hash_map<Vrf, uint16_t, std::hash<Vrf>> vlanOf_;
   Irb::Multicast::Evpn::GroupByMap groups_;
   Lidra::IpGenAddr addr_;

   Pelk::Subscription<ContractFloor, Routing::Multicast::Evpn::Config> onConfig_;
   Pelk::Subscription<ContractFloor, Vxlan::VtiStatus> onStatus_;
   Pelk::Subscription<ContractFloor, Mlag::Status> onMlag_;
   Pelk::Subscription<ContractFloor, Routing::Multicast::PegVlanStatus> onPeg_;
};

extern template class ContractFloor<Rule::reactor>;
extern template class ContractFloor<Rule::dataflow>;

} // namespace Bench::Machines
