#pragma once

#include "mlag/Status.h"
#include "routing/MulticastEvpnConfig.h"
#include "vxlan/VtiStatusDir.h"

#include <functional>
#include <random>
#include <string>

namespace Support {

// Changes a transit machine's inputs at random, from a seed: few VRFs, fewer VLANs and
// fewer addresses, so that most changes meet others.
class RandomInputs {
 public:
   using Dir = Pelk::Ptr<Vxlan::VtiStatusDir>;

   // replace(dir) hands the machine another directory; null is none.
   RandomInputs(uint32_t seed, Routing::Multicast::Evpn::Config& config,
                Mlag::Status& mlag, Dir dir, std::function<void(Dir const&)> replace)
      : random_(seed), config_(config), mlag_(mlag), dir_(std::move(dir)),
        replace_(std::move(replace)) {}

   bool oneIn(uint32_t n) { return below(n) == 0; }

   // Makes one change and tells which.
   std::string step() {
      auto const vrf = vrfName();
      auto const status = dir_ ? dir_->vtiStatus(intf(oneIn(8))) : nullptr;
      switch (below(16)) {
         case 0:
         case 1:
         case 2:
            config_.transitVrfIs(vrf);
            return "transit " + text(vrf);
         case 3:
         case 4:
            config_.transitVrfDel(vrf);
            return "no transit " + text(vrf);
         case 5:
            mlag_.mlagStateIs(static_cast<Mlag::MlagState>(below(6)));
            return "mlag";
         case 6:
            if (dir_ && oneIn(2)) {
               dir_->vtiStatusIs(statusNew());
            } else if (dir_) {
               dir_->vtiStatusDel(intf(oneIn(3)));
            }
            return "a status comes or goes";
         case 7:
            if (oneIn(4)) {
               dirIs();
            }
            return "a directory comes or goes";
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
            if (!status && dir_) {
               dir_->vtiStatusIs(statusNew());
            } else if (status) {
               status->vrfToSBDVlanIs(vrf, vlanOrNone());
            }
            return "mapped " + text(vrf);
      }
   }

 private:
   uint32_t below(uint32_t n) {
      return std::uniform_int_distribution<uint32_t>(0, n - 1)(random_);
   }
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
   Bridging::VlanIdOrNone vlanOrNone() {
      static constexpr uint16_t kVlans[] = {0, 1, 10, 20, 4094};
      return kVlans[below(std::size(kVlans))];
   }
   Lidra::IpAddr addr() { return Lidra::IpAddr(0x0a000000 + below(3)); }

   Pelk::Ptr<Vxlan::VtiStatus> statusNew() {
      auto made = Pelk::makePtr<Vxlan::VtiStatus>(intf(oneIn(4)));
      made->localVtepAddrIs(addr());
      made->mlagVtepAddrIs(addr());
      for (uint32_t left = below(6); left != 0; --left) {
         made->vrfToSBDVlanIs(vrfName(), vlanOrNone());
      }
      return made;
   }
   void dirIs() {
      Dir dir;
      if (!oneIn(4)) {
         dir = Pelk::makePtr<Vxlan::VtiStatusDir>();
         for (uint32_t left = below(4); left != 0; --left) {
            dir->vtiStatusIs(statusNew());
         }
      }
      dir_ = dir;
      replace_(dir);
   }

   std::mt19937 random_;
   Routing::Multicast::Evpn::Config& config_;
   Mlag::Status& mlag_;
   Dir dir_;
   std::function<void(Dir const&)> replace_;
};

} // namespace Support
