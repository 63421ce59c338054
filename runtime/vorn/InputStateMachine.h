#pragma once

#include "pelk/Entity.h"
#include "pelk/Export.h"
#include "pelk/Ptr.h"

#include <cstdint>

namespace Vorn::Gen {

// Base of every input state machine: a machine that scans one input entity when it
// starts, in slices where its parent runs asynchronously, and afterwards hands each
// change of the input to its parent.
//
// It is counted, and read by name through its type's table of attributes, whose changes
// it announces to nobody; every reactor entry point runs inside an InReactor guard, and
// does nothing once isBeingDeleted().
//
// Event thread only.
class PELK_EXPORT InputStateMachine : public Pelk::Entity {
 public:
   // Attribute ids; a machine's own come after these. Frozen.
   static constexpr int16_t kEn = 258;
   static constexpr int16_t kParent = 259;
   static constexpr int16_t kInitialized = 260;
   static constexpr int16_t kInReactor = 261;
   static constexpr int16_t kFirstOwn = 262;

   // Whether the parent's initial scan is over.
   virtual bool initialScanDone() const = 0;
   // Whether the parent runs without tasks.
   virtual bool synchronous() const = 0;

   // Restarts the machine's scans: schedules a task that has work left, and runs the
   // others in the caller. Requires initialized(), else does nothing.
   virtual void doInputScan() = 0;
   // Makes the machine's tasks and runs the first slice of each in the caller; does
   // nothing where the parent is synchronous.
   virtual void doInitializeTask() = 0;
   // Start-up: subscribes to the input and sets initialized.
   virtual void handleInitialized() = 0;
   // Subscribes to the input entity, or unsubscribes.
   virtual void hasNotificationActiveIs(bool active) = 0;
   // Part of the teardown. There is nothing left to do here; a machine with children
   // forwards it.
   virtual void zinDoZombieReactors(bool zombie);

   // Set once handleInitialized() has run; scans and handlers do nothing before.
   bool initialized() const noexcept { return initialized_; }

   // Set while a reactor of this machine runs; no scan yields then.
   virtual bool inReactor() const noexcept { return inReactor_; }
   virtual void inReactorIs(bool inReactor) noexcept { inReactor_ = inReactor; }

 protected:
   InputStateMachine() noexcept = default;
   ~InputStateMachine() override;

   // Set by the machine itself, once it is whole.
   void initializedIs(bool initialized) noexcept { initialized_ = initialized; }

 private:
   bool initialized_ = false;
   bool inReactor_ = false;
};

// The scope of a reactor: marks the machine as in a reactor and holds a use on it. On
// exit the mark is what it was on entry, so that guards nest, and then the use is
// dropped, which may destroy the machine.
class PELK_EXPORT InReactor {
 public:
   explicit InReactor(InputStateMachine* machine) noexcept
      : machine_(machine), before_(machine->inReactor()) {
      machine->inReactorIs(true);
   }
   InReactor(InReactor const&) = delete;
   InReactor& operator=(InReactor const&) = delete;
   ~InReactor() { machine_->inReactorIs(before_); }

 private:
   Pelk::Ptr<InputStateMachine> machine_;
   bool before_;
};

} // namespace Vorn::Gen
