#pragma once

#include "McastVpnLib/Export.h"
#include "pelk/Ptr.h"
#include "pelk/Subscription.h"
#include "vorn/InputStateMachine.h"

#include <cstdint>

namespace Irb::Multicast::Evpn {
class TransitIntfSm;
}

namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm {

using Root = Evpn::TransitIntfSm;

// Of the machine that an input machine belongs to.
MCASTVPNLIB_EXPORT bool rootInitialScanDone(Root const& root) noexcept;
MCASTVPNLIB_EXPORT bool rootSynchronous(Root const& root) noexcept;
MCASTVPNLIB_EXPORT bool rootIsBeingDeleted(Root const& root) noexcept;
// Ends the process: the input changed, and nobody told its machine.
MCASTVPNLIB_EXPORT void assertNothingMissed(Root const& root, uint32_t seen,
                                            uint32_t now, char const* attribute);

// What the input machines have in common: the input entity, whose notifications reach
// Derived::enDispatch(), and the machine that they belong to. Event thread only.
template <typename Derived, typename Entity>
class InputSm : public Vorn::Gen::InputStateMachine {
 public:
   // What is scanned and followed.
   Pelk::Ptr<Entity const> const& en() const noexcept { return en_; }
   // The dataflow machine, which outlives this one.
   Root* root() const noexcept { return root_; }

   bool initialScanDone() const override { return rootInitialScanDone(*root_); }
   bool synchronous() const override { return rootSynchronous(*root_); }

   void handleInitialized() override {
      hasNotificationActiveIs(true);
      initializedIs(true);
   }
   void hasNotificationActiveIs(bool active) override {
      subscription_.sourceIs(active ? en_ : nullptr);
   }

   // Whether a notification, or a task's call, is still for this machine.
   bool isActive() const noexcept {
      return !this->isBeingDeleted() && !rootIsBeingDeleted(*root_);
   }

   // The machine is taken out of service: it follows nothing any more, whoever may
   // still hold a use of it.
   void shutdown() {
      this->beingDeletedIs();
      initializedIs(false);
      hasNotificationActiveIs(false);
      static_cast<Derived*>(this)->tasksDel();
   }

 protected:
   ~InputSm() override = default;

 private:
   friend Derived;
   using EnSubscription = Pelk::Subscription<Derived, Entity>;

   // Derived hands itself over: while this is made, it is no Derived to cast to yet.
   InputSm(Pelk::Ptr<Entity const> en, Root* root, Derived* derived)
      : en_(std::move(en)), root_(root),
        subscription_(EnSubscription::template of<&Derived::enDispatch>(derived)) {}

   Pelk::Ptr<Entity const> en_;
   Root* root_;
   EnSubscription subscription_;
};

} // namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm
