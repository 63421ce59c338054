#include "McastVpnLib/McastVpnTransitSm/TransitSm.h"
#include "zin/AttributeMakers.h"
#include "zin/EntityOps.h"

#include <array>
#include <utility>

// The reactor's attributes: its two tables, and the rows that show them by name.
namespace Irb::Multicast::Evpn {

namespace {

using SbdVlanToVrf = TransitSm::SbdVlanToVrf;

constexpr std::array kSbdVlanToVrfAttributes = {
   Zin::keyAttribute<SbdVlanToVrf>("vlanId", SbdVlanToVrf::kVlanId,
                                   [](auto const& entry) { return entry.vlanId(); }),
   Zin::setAttribute<SbdVlanToVrf>(
      "vrf", SbdVlanToVrf::kVrf, [](auto const& entry) -> auto& { return entry.vrf(); },
      [](auto& entry, L3::VrfName const& vrf) { entry.vrfIs(vrf); },
      [](auto& entry, L3::VrfName const& vrf) { entry.vrfDel(vrf); }),
};
constexpr Zin::EntityType kSbdVlanToVrfType{
   "Irb::Multicast::Evpn::TransitSm::SbdVlanToVrf", kSbdVlanToVrfAttributes};
Zin::TypeRegistration const sbdVlanToVrfRegistration(kSbdVlanToVrfType);

constexpr std::array kAttributes = {
   Zin::valueAttribute<TransitSm>(
      "af", TransitSm::kAf, [](auto const& sm) { return sm.af(); }, Zin::Fixed{}),
   Zin::pointerAttribute<TransitSm>(
      "mcastEvpnConfig", TransitSm::kMcastEvpnConfig,
      [](auto const& sm) -> auto& { return sm.mcastEvpnConfig(); }),
   Zin::pointerAttribute<TransitSm>(
      "vtiStatusDir", TransitSm::kVtiStatusDir,
      [](auto const& sm) -> auto& { return sm.vtiStatusDir(); }),
   Zin::pointerAttribute<TransitSm>(
      "mlagStatus", TransitSm::kMlagStatus,
      [](auto const& sm) -> auto& { return sm.mlagStatus(); }),
   Zin::pointerAttribute<TransitSm>(
      "transitIntfColl", TransitSm::kTransitIntfColl,
      [](auto const& sm) -> auto& { return sm.transitIntfColl(); }),
   Zin::pointerAttribute<TransitSm>(
      "membershipJoinStatus", TransitSm::kMembershipJoinStatus,
      [](auto const& sm) -> auto& { return sm.membershipJoinStatus(); }),
   Zin::valueAttribute<TransitSm>(
      "initialized", TransitSm::kInitialized,
      [](auto const& sm) { return sm.initialized(); }, Zin::Fixed{}),
   Zin::mapAttribute<TransitSm>(
      "vrfToSbdVlan", TransitSm::kVrfToSbdVlan,
      [](auto const& sm) -> auto& { return sm.vrfToSbdVlan(); },
      [](auto& sm, L3::VrfName const& vrf, Bridging::VlanIdOrNone vlanId) {
         sm.vrfToSbdVlanIs(vrf, vlanId);
      },
      [](auto& sm, L3::VrfName const& vrf) { sm.vrfToSbdVlanDel(vrf); }),
   Zin::childrenAttribute<TransitSm, SbdVlanToVrf>(
      "sbdVlanToVrf", TransitSm::kSbdVlanToVrf,
      [](auto const& sm) -> auto& { return sm.sbdVlanToVrf(); },
      [](auto& sm, Bridging::VlanId vlanId, Zin::InitialValues const&) {
         return sm.sbdVlanToVrfIs(vlanId);
      },
      [](auto& sm, Bridging::VlanId vlanId) { sm.sbdVlanToVrfDel(vlanId); }),
};
constexpr Zin::EntityType kType{"Irb::Multicast::Evpn::TransitSm", kAttributes};
Zin::TypeRegistration const registration(kType);

} // namespace

Zin::EntityType const& TransitSm::type() noexcept {
   return kType;
}

Zin::EntityType const& TransitSm::SbdVlanToVrf::type() noexcept {
   return kSbdVlanToVrfType;
}

void TransitSm::SbdVlanToVrf::vrfIs(L3::VrfName const& vrf) {
   Zin::memberIs(*this, kVrf, vrf_, vrf);
}

void TransitSm::SbdVlanToVrf::vrfDel(L3::VrfName const& vrf) {
   Zin::memberDel(*this, kVrf, vrf_, vrf);
}

void TransitSm::SbdVlanToVrf::vrfDelAll() {
   Zin::memberDelAll(*this, kVrf, vrf_);
}

Bridging::VlanIdOrNone TransitSm::vrfToSbdVlan(L3::VrfName const& vrf) const {
   auto const* const entry = vrfToSbdVlan_.find(vrf);
   return entry != nullptr ? entry->value() : Bridging::VlanIdOrNone();
}

void TransitSm::vrfToSbdVlanIs(L3::VrfName const& vrf, Bridging::VlanIdOrNone vlanId) {
   Zin::memberValueIs(*this, kVrfToSbdVlan, vrfToSbdVlan_, vrf, vlanId);
}

void TransitSm::vrfToSbdVlanDel(L3::VrfName const& vrf) {
   Zin::memberDel(*this, kVrfToSbdVlan, vrfToSbdVlan_, vrf);
}

void TransitSm::vrfToSbdVlanDelAll() {
   Zin::memberDelAll(*this, kVrfToSbdVlan, vrfToSbdVlan_);
}

Pelk::Ptr<TransitSm::SbdVlanToVrf>
TransitSm::sbdVlanToVrf(Bridging::VlanId vlanId) const {
   return Zin::child(sbdVlanToVrf_, vlanId);
}

bool TransitSm::sbdVlanToVrfHas(Bridging::VlanId vlanId) const {
   return sbdVlanToVrf_.contains(vlanId);
}

Pelk::Ptr<TransitSm::SbdVlanToVrf>
TransitSm::freshSbdVlanToVrf(Bridging::VlanId vlanId) {
   while (auto entry = spareSbdVlanToVrf_) {
      spareSbdVlanToVrf_ = std::exchange(entry->nextSpare_, nullptr);
      if (entry->isAsNew()) {
         entry->vlanId_ = vlanId;
         return entry;
      }
   }
   return Pelk::Ptr<SbdVlanToVrf>::adopt(new (sbdVlanToVrfCells_) SbdVlanToVrf(vlanId));
}

// One by one: each holds the next one.
void TransitSm::dropSpareSbdVlanToVrf() noexcept {
   while (auto const entry = spareSbdVlanToVrf_) {
      spareSbdVlanToVrf_ = std::exchange(entry->nextSpare_, nullptr);
   }
}

Pelk::Ptr<TransitSm::SbdVlanToVrf> TransitSm::sbdVlanToVrfIs(Bridging::VlanId vlanId) {
   if (auto const* const entry = sbdVlanToVrf_.find(vlanId)) {
      return entry->value();
   }
   auto record = freshSbdVlanToVrf(vlanId);
   sbdVlanToVrf_.insert(vlanId, record);
   Pelk::Entity const* const announced = record.get();
   publishChangeRecursive(kSbdVlanToVrf, &vlanId, announced);
   return record;
}

void TransitSm::sbdVlanToVrfDel(Bridging::VlanId vlanId) {
   auto removed = sbdVlanToVrf_.extract(vlanId);
   if (!removed) {
      return;
   }
   if (auto& record = *removed; record->vrf().empty()) {
      // Before those notified can end the machine.
      record->nextSpare_ = std::exchange(spareSbdVlanToVrf_, record);
   }
   publishChangeRecursive(kSbdVlanToVrf, &vlanId, nullptr);
}

void TransitSm::sbdVlanToVrfDelAll() {
   dropSpareSbdVlanToVrf();
   Zin::memberDelAll(*this, kSbdVlanToVrf, sbdVlanToVrf_);
}

} // namespace Irb::Multicast::Evpn
