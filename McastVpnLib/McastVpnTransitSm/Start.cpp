#include "McastVpnLib/McastVpnTransitSm/TransitSm.h"
#include "McastVpnLib/McastVpnTransitSm/TransitTrace.h"

#include <bitset>

// The start-up evaluation. As it is written it evaluates a VLAN for every VRF on it,
// and again for every transit VRF. All but a few of these change nothing, and are left
// out where nobody could tell: where nothing is traced and nobody is notified, so that
// no code but the reactor's own runs until the start is over.
namespace Irb::Multicast::Evpn {

namespace {

bool isFollowed(Pelk::Publisher const& entity) {
   return entity.subscribers() != 0;
}

// The entity under the key, if there is one that somebody follows.
template <typename Children, typename Key>
bool isFollowedAt(Children const& children, Key const& key) {
   auto const* const entry = children.find(key);
   return entry != nullptr && isFollowed(*entry->value());
}

} // namespace

// A start that nobody sees: the VLANs that were found to be transit VLANs, which no
// further VRF can change.
class TransitSm::UnseenStart {
 public:
   explicit UnseenStart(TransitSm& sm)
      : sm_(sm), outputsAreEmpty_(sm.transitIntfColl_->intf().empty() &&
                                  sm.membershipJoinStatus_->vlan().empty()) {
      isUnseen_ = sm.vrfToSbdVlan_.empty() && sm.sbdVlanToVrf_.empty() &&
                  !isFollowed(sm) && !isFollowed(*sm.transitIntfColl_) &&
                  !isFollowed(*sm.membershipJoinStatus_) && !TransitTrace::isOn();
   }

   // Whether it was so until now.
   bool isUnseen() const noexcept { return isUnseen_; }

   // What handleVrfToSBDVlan does about a VRF that it was not called for yet.
   void record(L3::VrfName const& vrf, Bridging::VlanIdOrNone sbdVlan) {
      uint16_t const number = sbdVlan.value();
      bool const isVlan = number <= Bridging::VlanId::kMax;
      bool const isTransit = isVlan && !sbdVlan.isNone() && !enabled_[number] &&
                             sm_.mcastEvpnConfig_->transitVrfHas(vrf);
      if (!isVlan || (isTransit && !outputsAreEmpty_ && isAnyLevelFollowed(number))) {
         isUnseen_ = false;
         sm_.handleVrfToSBDVlan(vrf);
         return;
      }
      if (sbdVlan.isNone()) {
         return;
      }
      sm_.vrfToSbdVlan_.insert(vrf, sbdVlan);
      bool const isNew = recordOn(number, vrf);
      if (isTransit || isNew) {
         enabled_[number] = isTransit;
         sm_.updateTransitIntf(number, isTransit);
      }
   }

 private:
   // Whether it is the VLAN's first VRF.
   bool recordOn(Bridging::VlanId vlanId, L3::VrfName const& vrf) {
      auto* entry = sm_.sbdVlanToVrf_.find(vlanId);
      bool const isNew = entry == nullptr;
      if (isNew) {
         entry = sm_.sbdVlanToVrf_.insert(vlanId, sm_.freshSbdVlanToVrf(vlanId)).entry;
      }
      entry->value()->vrf_.insert(vrf);
      return isNew;
   }
   // Whether anybody follows what an earlier life has left of the VLAN's outputs. What
   // goes is announced by the collections only.
   bool isAnyLevelFollowed(Bridging::VlanId vlanId) const {
      if (isFollowedAt(sm_.transitIntfColl_->intf(),
                       Lidra::VlanIntfId::vlanIdToIntfId(vlanId))) {
         return true;
      }
      auto const* const atVlan = sm_.membershipJoinStatus_->vlan().find(vlanId);
      if (atVlan == nullptr) {
         return false;
      }
      auto const& vlan = *atVlan->value();
      auto const any = Lidra::IpGenAddr::ipGenAddrZero(sm_.af_);
      auto const* const atGroup = vlan.group().find(any);
      return isFollowed(vlan) ||
             (atGroup != nullptr && (isFollowed(*atGroup->value()) ||
                                     isFollowedAt(atGroup->value()->source(), any)));
   }

   TransitSm& sm_;
   bool const outputsAreEmpty_;
   bool isUnseen_;
   std::bitset<Bridging::VlanId::kMax + 1> enabled_;
};

void TransitSm::handleInitialized() {
   TRANSIT_TRACE(8, "handleInitialized( %s )", af_);
   if (af_ == Lidra::AddressFamily::ipv4) {
      UnseenStart start(*this);
      if (Pelk::Ptr const status(vxlanStatus()); status) {
         auto const& vrfToSBDVlan = status->vrfToSBDVlan();
         vrfToSbdVlan_.reserve(vrfToSBDVlan.size());
         for (auto entry = vrfToSBDVlan.iterate(); entry; ++entry) {
            auto const vrf = entry.key();
            if (start.isUnseen()) {
               start.record(vrf, entry.value());
            } else {
               handleVrfToSBDVlan(vrf);
            }
         }
      }
      // Each of these VRFs that is recorded was met above.
      if (!start.isUnseen()) {
         for (auto entry = mcastEvpnConfig_->transitVrf().iterate(); entry; ++entry) {
            auto const vrf = entry.key();
            handleTransitVrf(vrf);
         }
      }
   }
   initialized_ = true;
}

} // namespace Irb::Multicast::Evpn
