#include "Entities.h"

#include "McastVpnLib/McastVpnLib.h"

#include <string_view>

namespace Bench::Machines {

namespace {

uint32_t number(Lidra::IpGenAddr const& addr) {
   auto const& bytes = addr.bytes();
   return uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 |
          uint32_t{bytes[2]} << 8 | uint32_t{bytes[3]};
}

template <typename Set>
void leaves(Outputs& outputs, std::string const& path, std::string_view kind,
            Set const& set) {
   for (auto const& member : set) {
      outputs.joins.insert(path + std::string(kind) + member.key().stringValue());
   }
}

} // namespace

Entities::Entities(Case const& inputs) {
   status->localVtepAddrIs(Lidra::IpAddr(kLocal));
   status->mlagVtepAddrIs(Lidra::IpAddr(kShared));
   dir->vtiStatusIs(status);
   for (int vrf = 1; vrf <= inputs.vrfs; ++vrf) {
      mapIs(Vrf(vrfName(vrf)), inputs.vlanOf(vrf));
      config->transitVrfIs(Vrf(vrfName(vrf)));
   }
   for (int vlan = 1; vlan <= inputs.pegVlans; ++vlan) {
      peg->pegVlanIs(static_cast<uint16_t>(vlan));
   }
   outputsDel();
}

void Entities::transitIs(Vrf const& vrf, bool is) {
   if (is) {
      config->transitVrfIs(vrf);
   } else {
      config->transitVrfDel(vrf);
   }
}

void Entities::pegIs(uint16_t vlan, bool is) {
   if (is) {
      peg->pegVlanIs(vlan);
   } else {
      peg->pegVlanDel(vlan);
   }
}

// A level that holds nothing has a line too: it should not be there.
Outputs Entities::outputs() const {
   Outputs outputs;
   for (auto const& intf : coll->intf()) {
      outputs.intfs.emplace(intf.key().stringValue(), number(intf.value()->ipAddr()));
   }
   for (auto const& vlan : joins->vlan()) {
      auto const path = std::to_string(vlan.key().value()) + " ";
      leaves(outputs, path, "router ", vlan.value()->routerIntf());
      if (vlan.value()->group().empty() && vlan.value()->routerIntf().empty()) {
         outputs.joins.insert(path);
      }
      for (auto const& group : vlan.value()->group()) {
         auto const groupPath = path + group.key().stringValue() + " ";
         if (group.value()->source().empty()) {
            outputs.joins.insert(groupPath);
         }
         for (auto const& source : group.value()->source()) {
            auto const sourcePath = groupPath + source.key().stringValue() + " ";
            auto const& leaf = *source.value();
            if (leaf.includeIntf().empty() && leaf.excludeIntf().empty()) {
               outputs.joins.insert(sourcePath);
            }
            leaves(outputs, sourcePath, "include ", leaf.includeIntf());
            leaves(outputs, sourcePath, "exclude ", leaf.excludeIntf());
         }
      }
   }
   return outputs;
}

void Entities::outputsDel() {
   coll = Irb::Multicast::Evpn::transitIntfCollFactory();
   joins = Pelk::makePtr<Irb::Multicast::Gmp::MembershipJoinStatus>();
}

void Entities::foreignOutputs(Case const& inputs) {
   Lidra::IpGenAddr const wrong("192.0.2.1");
   Lidra::IpGenAddr const group("239.1.1.1");
   auto const any = Lidra::IpGenAddr::ipGenAddrZero(Lidra::AddressFamily::ipv4);
   for (int number = 1; number <= inputs.pegVlans; ++number) {
      auto const vlan = static_cast<uint16_t>(number);
      coll->intfIs(Lidra::VlanIntfId::vlanIdToIntfId(vlan), wrong);
      coll->intfIs(Lidra::IntfId("Et" + std::to_string(number)), wrong);
      auto const join = joins->vlanIs(vlan);
      join->routerIntfIs(Lidra::IntfId("Null0"));
      join->groupIs(group)->sourceIs(wrong)->includeIntfIs(Lidra::IntfId("Et1"));
      join->groupIs(any)->sourceIs(any)->excludeIntfIs(Lidra::IntfId("Null0"));
   }
}

} // namespace Bench::Machines
