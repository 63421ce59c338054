#include "McastVpnLib/TransitIntfSm/inputs/VtiStatusDirSm1.h"

#include "McastVpnLib/TransitIntfSm/inputs/InputScanImpl.h"
#include "McastVpnLib/TransitIntfSm/print/FlumaPrint.h"
#include "McastVpnLib/TransitIntfSm/streams/StreamOps.h"
#include "pelk/Fmtrace.h"

#include <utility>

namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm {

using TransitIntfTrace::kEvent;
using TransitIntfTrace::kFile;
using TransitIntfTrace::vtiStatusDirSm1;

VtiStatusDirSm1::VtiStatusDirSm1(Pelk::Ptr<Vxlan::VtiStatusDir const> en)
   : InputSm(std::move(en), this), scan1_(this), scan3_(this) {}

VtiStatusDirSm1::~VtiStatusDirSm1() {
   childSmVtiStatusVxlanVtiStatusPtrConstDelAll();
}

Pelk::TraceHandler const& DirectoryScan::handler() {
   return vtiStatusDirSm1;
}

Vxlan::VtiStatusDir::VtiStatusMap const&
DirectoryScan::collection(Machine const& machine) {
   return machine.en()->vtiStatus();
}

bool InputScan1::item(Machine& machine, Bookmark intf) {
   machine.handleVtiStatus1(intf);
   auto const child = machine.childSmVtiStatusVxlanVtiStatusPtrConst(intf);
   return !child || child->doInputScan1();
}

bool InputScan3::item(Machine& machine, Bookmark intf) {
   machine.handleVtiStatus3(intf);
   auto const child = machine.childSmVtiStatusVxlanVtiStatusPtrConst(intf);
   return !child || child->doInputScan3();
}

void VtiStatusDirSm1::doInitializeTask() {
   scan1_.initializeTask();
   scan3_.initializeTask();
}

void VtiStatusDirSm1::doInputScan() {
   if (initialized()) {
      ScanTrace::restart(vtiStatusDirSm1);
      scan1_.restart();
      scan3_.restart();
   }
}

void VtiStatusDirSm1::hasNotificationActiveIs(bool active) {
   InputSm::hasNotificationActiveIs(active);
   for (auto const& entry : children_) {
      entry.value()->hasNotificationActiveIs(active);
   }
}

void VtiStatusDirSm1::zinDoZombieReactors(bool zombie) {
   for (auto const& entry : children_) {
      entry.value()->zinDoZombieReactors(zombie);
   }
   InputSm::zinDoZombieReactors(zombie);
}

void VtiStatusDirSm1::tasksDel() {
   task1Del();
   task3Del();
}

void VtiStatusDirSm1::enDispatch(Pelk::Publisher*, Pelk::Subscriber*,
                                 int16_t attributeId, void const* key,
                                 void const*) noexcept {
   if (attributeId == Vxlan::VtiStatusDir::kVtiStatus && isActive()) {
      Pelk::Ptr const guard(root());
      auto const intf = *static_cast<Lidra::IntfId const*>(key);
      handleVtiStatus1Reactor(intf);
      handleVtiStatus3Reactor(intf);
   }
}

void VtiStatusDirSm1::handleVtiStatus1Reactor(Lidra::IntfId intf) {
   Pelk::Ptr const guard(root());
   Vorn::Gen::InReactor const inReactor(this);
   InputScan1::item(*this, intf);
}

void VtiStatusDirSm1::handleVtiStatus3Reactor(Lidra::IntfId intf) {
   Pelk::Ptr const guard(root());
   Vorn::Gen::InReactor const inReactor(this);
   InputScan3::item(*this, intf);
}

void VtiStatusDirSm1::handleVtiStatus1(Lidra::IntfId intf) {
   if (initialized()) {
      PELK_FMTRACE(vtiStatusDirSm1, kEvent, kFile, "k: {}",
                   ::FlumaCode::flumaPrint(intf));
      followStatus(intf);
   }
}

void VtiStatusDirSm1::handleVtiStatus3(Lidra::IntfId intf) {
   if (initialized()) {
      PELK_FMTRACE(vtiStatusDirSm1, kEvent, kFile, "k: {}",
                   ::FlumaCode::flumaPrint(intf));
      followStatus(intf);
   }
}

void VtiStatusDirSm1::followStatus(Lidra::IntfId intf) {
   StatusPtr const status = en()->vtiStatus(intf);
   auto const child = childSmVtiStatusVxlanVtiStatusPtrConst(intf);
   if (child && child->en() == status) {
      return;
   }
   // The new child first: whoever is notified of what the old one withdraws may change
   // the new status, or the directory again.
   if (child) {
      child->hasNotificationActiveIs(false);
      childDetach(intf);
   }
   if (status) {
      childSmVtiStatusVxlanVtiStatusPtrConstIs(status);
   }
   if (child) {
      child->doDeleteAll();
      child->shutdown();
   }
}

void VtiStatusDirSm1::doDeleteAll() {
   ScanTrace::entry(vtiStatusDirSm1, __func__);
   for (auto entry = children_.iterate(); entry; ++entry) {
      auto const child = entry.value();
      child->doDeleteAll();
      // Whoever was notified may have put another status in its place.
      if (childSmVtiStatusVxlanVtiStatusPtrConst(child->intfId()) == child) {
         childSmVtiStatusVxlanVtiStatusPtrConstDel(child->intfId());
      }
   }
}

void VtiStatusDirSm1::onChildEvent1(Lidra::IntfId intf,
                                    Zin::Optional<StatusPtr> const& vtiStatus) {
   root()->eventToVtepAddrChangeStream(intf, vtiStatus);
}

void VtiStatusDirSm1::onChildEvent3(
   Lidra::IntfId intf, L3::VrfName const& vrfName,
   Zin::Optional<Bridging::VlanIdOrNone> const& oldSbdVlan,
   Zin::Optional<Bridging::VlanIdOrNone> const& newSbdVlan) {
   root()->eventToVtiStatusStream(intf, vrfName, oldSbdVlan, newSbdVlan);
}

Pelk::Ptr<VtiStatusSm2>
VtiStatusDirSm1::childSmVtiStatusVxlanVtiStatusPtrConst(Lidra::IntfId intf) const {
   auto const* const entry = children_.find(intf);
   return entry != nullptr ? entry->value() : nullptr;
}

Pelk::Ptr<VtiStatusSm2>
VtiStatusDirSm1::childSmVtiStatusVxlanVtiStatusPtrConstIs(StatusPtr const& vtiStatus) {
   auto const intf = vtiStatus->intfId();
   if (auto present = childSmVtiStatusVxlanVtiStatusPtrConst(intf)) {
      if (present->en() == vtiStatus) {
         return present;
      }
      present->shutdown();
   }
   auto made = Pelk::makePtr<VtiStatusSm2>(vtiStatus);
   made->parentIs(this);
   children_.assign(intf, made);
   if (intf == StreamOps::vxlanIntf()) {
      vxlanChild_ = made.get();
   }
   made->handleInitialized();
   return made;
}

Pelk::Ptr<VtiStatusSm2> VtiStatusDirSm1::childDetach(Lidra::IntfId intf) {
   auto const gone = children_.extract(intf).value_or(nullptr);
   if (vxlanChild_ == gone.get()) {
      vxlanChild_ = nullptr;
   }
   return gone;
}

void VtiStatusDirSm1::childSmVtiStatusVxlanVtiStatusPtrConstDel(Lidra::IntfId intf) {
   if (auto const gone = childDetach(intf)) {
      gone->shutdown();
   }
}

void VtiStatusDirSm1::childSmVtiStatusVxlanVtiStatusPtrConstDelAll() {
   vxlanChild_ = nullptr;
   for (auto entry = children_.iterate(); entry; ++entry) {
      entry.value()->shutdown();
   }
   children_.clear();
}

template class InputScan<InputScan1>;
template class InputScan<InputScan3>;

} // namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm
