#include "McastVpnLib/McastVpnTransitSm/TransitSm.h"

#include "McastVpnLib/McastVpnLib.h"
#include "McastVpnLib/McastVpnTransitSm/Reactors.h"
#include "McastVpnLib/McastVpnTransitSm/TransitTrace.h"
#include "pelk/Assert.h"
#include "zin/EntityOps.h"

#include <source_location>
#include <utility>

namespace Irb::Multicast::Evpn {

namespace {

// The one tunnel interface that carries EVPN.
Lidra::IntfId vxlanIntf() {
   static Lidra::IntfId const intfId("Vxlan1");
   return intfId;
}

template <typename T>
void required(Pelk::Ptr<T> const& argument, char const* accessor,
              std::source_location const& place = std::source_location::current()) {
   Pelk::Impl::vfmassert(
      static_cast<bool>(argument), TransitTrace::kFile, place.line(), "TransitSm",
      "%s && \"Pointer SM args cannot be null unless they are marked Optional\"",
      accessor);
}

} // namespace

TransitSm::TransitSm(
   Lidra::AddressFamily af,
   Pelk::Ptr<Routing::Multicast::Evpn::Config const> const& mcastEvpnConfig,
   Pelk::Ptr<Vxlan::VtiStatusDir const> const& vtiStatusDir,
   Pelk::Ptr<Mlag::Status const> const& mlagStatus,
   Pelk::Ptr<TransitIntfColl> const& transitIntfColl,
   Pelk::Ptr<Gmp::MembershipJoinStatus> const& membershipJoinStatus)
   : af_(af), mcastEvpnConfig_(mcastEvpnConfig), vtiStatusDir_(vtiStatusDir),
     mlagStatus_(mlagStatus), transitIntfColl_(transitIntfColl),
     membershipJoinStatus_(membershipJoinStatus) {
   required(mcastEvpnConfig_, "mcastEvpnConfig()");
   required(mlagStatus_, "mlagStatus()");
   required(transitIntfColl_, "transitIntfColl()");
   required(membershipJoinStatus_, "membershipJoinStatus()");
   TransitTrace::ring(); // is there from now on
   reactors_ = std::make_unique<Reactors>(this);
   reactors_->vtiStatusDir.subscribe(vtiStatusDir_);
   handleInitialized();
}

TransitSm::~TransitSm() {
   // A callback that one of the steps below may still cause finds the machine marked.
   beingDeletedIs();
   hasNotificationActiveIs(false);
   // The directory before its entries, so that no entry is followed anew.
   reactors_->vtiStatusDir.shutdown();
   reactors_->vtiStatus.shutdown();
   zinDoZombieReactors(false);
   dropSpareSbdVlanToVrf();
   // The members go now: inputs, outputs (which keep what was published), tables.
}

Pelk::Ptr<TransitSm> TransitSm::TransitSmIs(
   Lidra::AddressFamily af,
   Pelk::Ptr<Routing::Multicast::Evpn::Config const> const& mcastEvpnConfig,
   Pelk::Ptr<Vxlan::VtiStatusDir const> const& vtiStatusDir,
   Pelk::Ptr<Mlag::Status const> const& mlagStatus,
   Pelk::Ptr<TransitIntfColl> const& transitIntfColl,
   Pelk::Ptr<Gmp::MembershipJoinStatus> const& membershipJoinStatus) {
   auto sm = Pelk::makePtr<TransitSm>(af, mcastEvpnConfig, vtiStatusDir, mlagStatus,
                                      transitIntfColl, membershipJoinStatus);
   sm->hasNotificationActiveIs(true);
   return sm;
}

Pelk::Ptr<TransitSm> transitSmFactory(
   Lidra::AddressFamily af,
   Pelk::Ptr<Routing::Multicast::Evpn::Config const> const& mcastEvpnConfig,
   Pelk::Ptr<Vxlan::VtiStatusDir const> const& vtiStatusDir,
   Pelk::Ptr<Mlag::Status const> const& mlagStatus,
   Pelk::Ptr<TransitIntfColl> const& transitIntfColl,
   Pelk::Ptr<Gmp::MembershipJoinStatus> const& membershipJoinStatus) {
   return TransitSm::TransitSmIs(af, mcastEvpnConfig, vtiStatusDir, mlagStatus,
                                 transitIntfColl, membershipJoinStatus);
}

void TransitSm::vtiStatusDirIs(
   Pelk::Ptr<Vxlan::VtiStatusDir const> const& vtiStatusDir) {
   if (vtiStatusDir == vtiStatusDir_ || isBeingDeleted()) {
      return;
   }
   Guard const guard(*this);
   auto const newDir = vtiStatusDir;
   auto const oldDir = std::exchange(vtiStatusDir_, newDir);
   vxlanStatusVersion_ = kNoVersion;
   reactors_->vtiStatusDir.on_self0(oldDir, newDir);
   Pelk::Entity const* const announced = newDir.get();
   publishChangeRecursive(kVtiStatusDir, nullptr, announced);
}

void TransitSm::hasNotificationActiveIs(bool active) {
   reactors_->mcastEvpnConfig.sourceIs(active ? mcastEvpnConfig_ : nullptr);
   reactors_->mlagStatus.sourceIs(active ? mlagStatus_ : nullptr);
}

void TransitSm::zinDoZombieReactors(bool) {}

void TransitSm::findVxlanStatus() const {
   auto const& statuses = vtiStatusDir_->vtiStatus();
   auto const* const entry = statuses.find(vxlanIntf());
   vxlanStatus_ = entry != nullptr ? entry->value().get() : nullptr;
   vxlanStatusVersion_ = statuses.version();
   lastMapping_ = {};
}

} // namespace Irb::Multicast::Evpn
