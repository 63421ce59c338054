#pragma once

#include "McastVpnLib/McastVpnTransitSm/TransitIntfColl.h"
#include "gmp/MembershipJoinStatus.h"
#include "mlag/Status.h"
#include "routing/MulticastEvpnConfig.h"
#include "routing/PegVlanStatus.h"
#include "vxlan/VtiStatusDir.h"

#include <iterator>
#include <random>
#include <string>

namespace Support {

// The inputs of a dataflow machine.
struct DataflowInputs {
   Pelk::Ptr<Routing::Multicast::Evpn::Config> config =
      Pelk::makePtr<Routing::Multicast::Evpn::Config>();
   Pelk::Ptr<Vxlan::VtiStatusDir> dir = Pelk::makePtr<Vxlan::VtiStatusDir>();
   Pelk::Ptr<Mlag::Status> mlag = Pelk::makePtr<Mlag::Status>();
   Pelk::Ptr<Routing::Multicast::PegVlanStatus> peg =
      Pelk::makePtr<Routing::Multicast::PegVlanStatus>();
};

// Changes a dataflow machine's inputs at random, from a seed: few VRFs, fewer VLANs and
// fewer addresses, so that most changes meet others. Also fills outputs with what an
// earlier life, or somebody else, may have left there.
class RandomDataflow {
 public:
   explicit RandomDataflow(uint32_t seed) : random_(seed) {}

   bool oneIn(uint32_t n) { return below(n) == 0; }
   uint32_t below(uint32_t n) {
      return std::uniform_int_distribution<uint32_t>(0, n - 1)(random_);
   }

   // Makes one change and tells which. The status of "Vxlan1" is only ever replaced,
   // unless it may go.
   std::string step(DataflowInputs const& inputs, bool statusMayGo = false) {
      auto const vrf = vrfName();
      auto const status = inputs.dir->vtiStatus(intf(oneIn(8)));
      switch (below(16)) {
         case 0:
         case 1:
            inputs.config->transitVrfIs(vrf);
            return "transit " + text(vrf);
         case 2:
            inputs.config->transitVrfDel(vrf);
            return "no transit " + text(vrf);
         case 3:
         case 4:
            inputs.peg->pegVlanIs(vlanId());
            return "peg";
         case 5:
            inputs.peg->pegVlanDel(vlanId());
            return "no peg";
         case 6:
            inputs.mlag->mlagStateIs(static_cast<Mlag::MlagState>(below(6)));
            return "mlag";
         case 7:
            if (oneIn(2)) {
               inputs.dir->vtiStatusIs(statusNew());
            } else {
               inputs.dir->vtiStatusDel(intf(!statusMayGo));
            }
            return "a status comes or goes";
         case 8:
         case 9:
            if (status && oneIn(2)) {
               status->localVtepAddrIs(addr());
            } else if (status) {
               status->mlagVtepAddrIs(addr());
            }
            return "address";
         case 10:
            if (status) {
               status->vrfToSBDVlanDel(vrf);
            }
            return "unmapped " + text(vrf);
         default:
            if (!status) {
               inputs.dir->vtiStatusIs(statusNew());
            } else {
               status->vrfToSBDVlanIs(vrf, vlanId());
            }
            return "mapped " + text(vrf);
      }
   }

   void fill(Irb::Multicast::Evpn::TransitIntfColl& coll,
             Irb::Multicast::Gmp::MembershipJoinStatus& joins) {
      for (uint32_t left = below(6); left != 0; --left) {
         coll.intfIs(Lidra::VlanIntfId::vlanIdToIntfId(vlanId()), addr());
      }
      for (uint32_t left = below(8); left != 0; --left) {
         auto const vlan = joins.vlanIs(vlanId());
         auto const leaf = Lidra::IntfId(oneIn(2) ? "Null0" : "Ethernet1");
         if (oneIn(3)) {
            vlan->routerIntfIs(leaf);
            continue;
         }
         auto const source = vlan->groupIs(joinAddr())->sourceIs(joinAddr());
         if (oneIn(2)) {
            source->includeIntfIs(leaf);
         } else {
            source->excludeIntfIs(leaf);
         }
      }
   }

 private:
   static std::string text(L3::VrfName const& vrf) { return std::string(vrf.view()); }
   static Lidra::IntfId intf(bool other) {
      return Lidra::IntfId(other ? "Vxlan2" : "Vxlan1");
   }
   L3::VrfName vrfName() {
      static constexpr char const* kNames[] = {
         "red", "blue", "green", "default", "a name with blanks that is not short",
         "x"};
      return kNames[below(std::size(kNames))];
   }
   Bridging::VlanId vlanId() {
      static constexpr uint16_t kVlans[] = {1, 10, 20, 30, 4094};
      return kVlans[below(std::size(kVlans))];
   }
   Lidra::IpAddr addr() { return Lidra::IpAddr(0x0a000000 + below(3)); }
   Lidra::IpGenAddr joinAddr() {
      return oneIn(2) ? Lidra::IpGenAddr() : Lidra::IpGenAddr(addr());
   }

   Pelk::Ptr<Vxlan::VtiStatus> statusNew() {
      auto made = Pelk::makePtr<Vxlan::VtiStatus>(intf(oneIn(4)));
      made->localVtepAddrIs(addr());
      made->mlagVtepAddrIs(addr());
      for (uint32_t left = below(6); left != 0; --left) {
         made->vrfToSBDVlanIs(vrfName(), vlanId());
      }
      return made;
   }

   std::mt19937 random_;
};

} // namespace Support
