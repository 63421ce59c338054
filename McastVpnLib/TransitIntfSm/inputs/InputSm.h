#pragma once

#include "McastVpnLib/TransitIntfSm/Root.h"
#include "pelk/Ptr.h"
#include "pelk/Subscription.h"
#include "vorn/InputStateMachine.h"

namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm {

// What the input machines have in common: the input entity, whose notifications reach
// Derived::enDispatch(), and the machine that they belong to. Event thread only.
template <typename Derived, typename Input>
class InputSm : public Vorn::Gen::InputStateMachine {
 public:
   // What is scanned and followed.
   Pelk::Ptr<Input const> const& en() const noexcept { return en_; }
   // The dataflow machine, which outlives this one; set before anything else is asked.
   Root* parent() const noexcept { return parent_; }
   void parentIs(Root* parent) noexcept { parent_ = parent; }
   Root* root() const noexcept { return parent(); }

   bool initialScanDone() const override { return rootInitialScanDone(*root()); }
   bool synchronous() const override { return rootSynchronous(*root()); }

   void handleInitialized() override {
      hasNotificationActiveIs(true);
      initializedIs(true);
   }
   void hasNotificationActiveIs(bool active) override {
      subscription_.sourceIs(active ? en_ : nullptr);
   }

   // Whether a notification, or a task's call, is still for this machine.
   bool isActive() const noexcept {
      return !this->isBeingDeleted() && !rootIsBeingDeleted(*root());
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
   using EnSubscription = Pelk::Subscription<Derived, Input>;

   // Derived hands itself over: while this is made, it is no Derived to cast to yet.
   InputSm(Pelk::Ptr<Input const> en, Derived* derived)
      : en_(std::move(en)),
        subscription_(EnSubscription::template of<&Derived::enDispatch>(derived)) {}

   Pelk::Ptr<Input const> en_;
   Root* parent_ = nullptr;
   EnSubscription subscription_;
};

} // namespace Irb::Multicast::Evpn::FlumaCode::TransitIntfSm
