#include "McastVpnLib/TransitIntfSm/inputs/VtiStatusSm2.h"

#include "McastVpnLib/TransitIntfSm/TransitIntfSm.h"
#include "McastVpnLib/TransitIntfSm/TransitIntfTrace.h"
#include "McastVpnLib/TransitIntfSm/inputs/InputSm.h"
#include "McastVpnLib/TransitIntfSm/inputs/ScanTrace.h"
#include "McastVpnLib/TransitIntfSm/inputs/VtiStatusDirSm1.h"
#include "McastVpnLib/TransitIntfSm/print/FlumaPrint.h"
#include "McastVpnLib/TransitIntfSm/streams/StreamOps.h"
#include "pelk/Assert.h"
#include "pelk/Fmtrace.h"

#include <utility>

namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm {

using TransitIntfTrace::kDetail;
using TransitIntfTrace::kEvent;
using TransitIntfTrace::kFile;
using TransitIntfTrace::vtiStatusSm2;

namespace {

// Versions are numbers of 23 bits.
constexpr uint32_t kVersionMask = (1u << 23) - 1;

template <typename Scan>
void traceBegin(Root const& root, bool complete, bool resumed) {
   if (vtiStatusSm2.enabled(kDetail)) [[unlikely]] {
      ScanTrace::begin(vtiStatusSm2, Scan::kFunction, complete, resumed,
                       Scan::scanned(*root.inputSmScanState()));
   }
}

} // namespace

VtiStatusSm2::VtiStatusSm2(Pelk::Ptr<Vxlan::VtiStatus const> en)
   : en_(std::move(en)), onEn_(this) {
   if (en_->intfId() == StreamOps::vxlanIntf()) {
      index_ = std::make_unique<VlanVrfIndex>(en_->vrfToSBDVlan());
   }
}

VtiStatusSm2::~VtiStatusSm2() = default;

VtiStatusSm2::on_en::on_en(VtiStatusSm2* sm) noexcept
   : sm_(sm),
     subscription_(
        Pelk::Subscription<on_en, Vxlan::VtiStatus>::of<&VtiStatusSm2::on_en::on_child>(
           this)) {}

void VtiStatusSm2::on_en::follow(Pelk::Ptr<Vxlan::VtiStatus const> const& status) {
   subscription_.sourceIs(status);
}

void VtiStatusSm2::on_en::on_shutdown() {
   subscription_.sourceIs(nullptr);
}

void VtiStatusSm2::on_en::on_child(Pelk::Publisher*, Pelk::Subscriber*,
                                   int16_t attributeId, void const* key,
                                   void const*) noexcept {
   VtiStatusSm2& sm = *sm_;
   if (!sm.isActive()) {
      return;
   }
   Pelk::Ptr const guard(sm.root());
   Pelk::Ptr const parentGuard(sm.parent());
   switch (attributeId) {
      case Vxlan::VtiStatus::kLocalVtepAddr:
      case Vxlan::VtiStatus::kMlagVtepAddr:
         sm.handleLocalVtepAddrMAmlagVtepAddr1Reactor();
         break;
      case Vxlan::VtiStatus::kVrfToSBDVlan:
         sm.toldVersion_ = (sm.toldVersion_ + 1) & kVersionMask;
         sm.handleVrfToSBDVlan3Reactor(*static_cast<L3::VrfName const*>(key));
         break;
      default:
         break;
   }
}

Evpn::TransitIntfSm* VtiStatusSm2::root() const noexcept {
   return parent_->root();
}

bool VtiStatusSm2::initialScanDone() const {
   return parent_->initialScanDone();
}

bool VtiStatusSm2::synchronous() const {
   return parent_->synchronous();
}

bool VtiStatusSm2::isActive() const noexcept {
   return !isBeingDeleted() && parent_->isActive();
}

bool VtiStatusSm2::inReactor() const noexcept {
   return parent_->inReactor();
}

void VtiStatusSm2::inReactorIs(bool inReactor) noexcept {
   parent_->inReactorIs(inReactor);
}

bool VtiStatusSm2::shouldYield1() const {
   return parent_->shouldYield1();
}

bool VtiStatusSm2::shouldYield3() const {
   return parent_->shouldYield3();
}

bool VtiStatusSm2::inTask1() const {
   return parent_->inTask1();
}

bool VtiStatusSm2::inTask3() const {
   return parent_->inTask3();
}

void VtiStatusSm2::handleInitialized() {
   versionStore();
   toldVersion_ = versionVrfToSBDVlan_;
   hasNotificationActiveIs(true);
   if (initialScanDone()) {
      noteAll();
   }
   initializedIs(true);
}

void VtiStatusSm2::hasNotificationActiveIs(bool active) {
   if (active) {
      onEn_.follow(en_);
   } else {
      onEn_.on_shutdown();
   }
}

void VtiStatusSm2::doInputScan() {
   if (initialized()) {
      ScanTrace::restart(vtiStatusSm2);
      doInputScan1();
      doInputScan3();
   }
}

void VtiStatusSm2::handleLocalVtepAddrMAmlagVtepAddr1Reactor() {
   Pelk::Ptr const guard(root());
   Vorn::Gen::InReactor const inReactor(this);
   handleLocalVtepAddrMAmlagVtepAddr1();
}

void VtiStatusSm2::handleLocalVtepAddrMAmlagVtepAddr1() {
   if (initialized()) {
      parent_->onChildEvent1(intfId(), en_);
   }
}

void VtiStatusSm2::handleVrfToSBDVlan3Reactor(L3::VrfName const& vrf) {
   Pelk::Ptr const guard(root());
   Vorn::Gen::InReactor const inReactor(this);
   handleVrfToSBDVlan3(vrf);
}

void VtiStatusSm2::handleVrfToSBDVlan3(L3::VrfName const& vrf) {
   Zin::Optional<Bridging::VlanIdOrNone> now;
   if (auto const* const entry = en_->vrfToSBDVlan().find(vrf)) {
      now = entry->value();
   }
   handleVrfToSBDVlan3(vrf, now, false);
}

void VtiStatusSm2::handleVrfToSBDVlan3(L3::VrfName const& vrf,
                                       Zin::Optional<Bridging::VlanIdOrNone> const& now,
                                       bool isRemembered) {
   if (!initialized()) {
      return;
   }
   PELK_FMTRACE(vtiStatusSm2, kEvent, kFile, "k: {}", ::FlumaCode::flumaPrint(vrf));
   versionStore();
   auto const before = isRemembered ? now : remember(vrf, now);
   parent_->onChildEvent3(intfId(), vrf, before, now);
}

void VtiStatusSm2::noteAll() {
   for (auto const& entry : en_->vrfToSBDVlan()) {
      remembered_.insert(entry.key(), SbdVlan{entry.value(), false});
      if (index_) {
         index_->add(entry.value(), entry.key());
      }
   }
}

Zin::Optional<Bridging::VlanIdOrNone>
VtiStatusSm2::remember(L3::VrfName const& vrf,
                       Zin::Optional<Bridging::VlanIdOrNone> const& now) {
   Zin::Optional<SbdVlan> last;
   if (!now) {
      last = remembered_.extract(vrf);
   } else if (auto const [entry, isNew] = remembered_.insert(vrf, SbdVlan{*now});
              !isNew) {
      last = std::exchange(entry->value(), SbdVlan{*now});
   }
   auto const before = last ? Zin::Optional(last->vlanId) : std::nullopt;
   bool const handled = last && last->handled;
   if (before == now) {
      return handled ? before : std::nullopt;
   }
   if (index_) {
      if (before) {
         index_->del(*before, vrf);
      }
      if (now) {
         index_->add(*now, vrf);
      }
   }
   return before;
}

bool VtiStatusSm2::doInputScan1() {
   if (!initialized()) {
      return true;
   }
   traceBegin<InputScan1>(*root(), inputScanComplete1(), false);
   if (!inputScanComplete1()) {
      handleLocalVtepAddrMAmlagVtepAddr1();
      state1_ = completeState();
   }
   return true;
}

bool VtiStatusSm2::doInputScan3() {
   if (!initialized()) {
      return true;
   }
   bool const resumed = state3_ == ScanState::interrupted;
   traceBegin<InputScan3>(*root(), inputScanComplete3(), resumed);
   if (inputScanComplete3()) {
      return true;
   }
   if (index_ && initialScanDone() && !resumed) {
      secondScan3Began_ = true;
      root()->mappingScanBegins(index_->vlans());
   }
   auto const& vrfToSBDVlan = en_->vrfToSBDVlan();
   // At once: growing with many members takes longer than a slice may last.
   remembered_.reserve(vrfToSBDVlan.size());
   auto const from = bookmark3_;
   auto const walked = walkSlice(
      vrfToSBDVlan, resumed ? &from : nullptr,
      [this](L3::VrfName const& vrf, Bridging::VlanIdOrNone sbdVlan) {
         handleVrfToSBDVlan3(vrf, sbdVlan, isKnown());
         return true;
      },
      [this] { return shouldYield3(); });
   versionStore();
   scanned3_ += walked.items;
   if (walked.next) {
      ScanTrace::yielding(vtiStatusSm2, __func__, VtiStatusDirSm1::kUnit, walked.items,
                          vrfToSBDVlan.size());
      state3_ = ScanState::interrupted;
      bookmark3_ = *walked.next;
      if (auto const& task = parent_->task3()) {
         task->taskWorkCountInc(walked.items, 0);
      }
      return false;
   }
   everyVrfHandled_ = true;
   bool const initial = !initialScanDone();
   state3_ = completeState();
   ScanTrace::childComplete(vtiStatusSm2, __func__, initial,
                            std::exchange(scanned3_, 0));
   return true;
}

void VtiStatusSm2::doDeleteAll() {
   ScanTrace::entry(vtiStatusSm2, __func__);
   assertNothingMissed(*root(), versionVrfToSBDVlan_, en_->vrfToSBDVlan().version(),
                       "vrfToSBDVlan");
   if (!isActive()) {
      return;
   }
   auto const intf = intfId();
   parent_->onChildEvent1(intf, {});
   for (auto entry = remembered_.iterate(); entry; ++entry) {
      auto const vrf = entry.key();
      auto const before = remember(vrf, {});
      // Whoever was notified may have put another status in the place of this one,
      // which maps the VRF as well.
      auto const successor = parent_->childSmVtiStatusVxlanVtiStatusPtrConst(intf);
      if (successor && successor.get() != this) {
         auto const* const mapped = successor->remembered_.find(vrf);
         if (mapped != nullptr && mapped->value().handled &&
             mapped->value().vlanId == before) {
            continue;
         }
      }
      parent_->onChildEvent3(intf, vrf, before, {});
   }
}

void VtiStatusSm2::shutdown() {
   beingDeletedIs();
   initializedIs(false); // a walk that this happened in does no more
   hasNotificationActiveIs(false);
}

VlanVrfIndex const* VtiStatusSm2::currentIndex() const noexcept {
   return isKnown() && index_ && index_->isInOrder() ? index_.get() : nullptr;
}

} // namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm
