#include "vorn/InputStateMachine.h"

#include "zin/TypeTable.h"

#include <gmock/gmock.h>
#include <memory>
#include <type_traits>

namespace {

using Vorn::Gen::InputStateMachine;
using Vorn::Gen::InReactor;

class Machine final : public InputStateMachine {
 public:
   explicit Machine(bool* gone = nullptr) : gone_(gone) {}
   ~Machine() override {
      if (gone_ != nullptr) {
         *gone_ = true;
      }
   }
   bool initialScanDone() const override { return false; }
   bool synchronous() const override { return true; }
   void doInputScan() override {}
   void doInitializeTask() override {}
   void handleInitialized() override { initializedIs(true); }
   void hasNotificationActiveIs(bool) override {}
   Zin::EntityType const& entityType() const noexcept override {
      static constexpr Zin::EntityType kType{"Tests::Machine", {}};
      return kType;
   }

 private:
   bool* gone_;
};

TEST(InputStateMachine, IsAbstractAndCounted) {
   EXPECT_TRUE(std::is_abstract_v<InputStateMachine>);
   EXPECT_EQ(Pelk::makePtr<Machine>()->useCount(), 1u);
}

TEST(InputStateMachine, IsInitializedByItsStartUpOnly) {
   auto const machine = Pelk::makePtr<Machine>();
   EXPECT_FALSE(machine->initialized());
   machine->handleInitialized();
   EXPECT_TRUE(machine->initialized());
   EXPECT_FALSE(machine->inReactor());
}

TEST(InputStateMachine, LeavesTheZombiesAlone) {
   auto const machine = Pelk::makePtr<Machine>();
   machine->zinDoZombieReactors(true);
   EXPECT_EQ(machine->useCount(), 1u);
   EXPECT_FALSE(machine->isBeingDeleted());
}

TEST(InReactor, MarksTheMachineAndHoldsAUseWhileItLives) {
   auto const machine = Pelk::makePtr<Machine>();
   {
      InReactor const guard(machine.get());
      EXPECT_TRUE(machine->inReactor());
      EXPECT_EQ(machine->useCount(), 2u);
   }
   EXPECT_FALSE(machine->inReactor());
   EXPECT_EQ(machine->useCount(), 1u);
}

TEST(InReactor, Nests) {
   auto const machine = Pelk::makePtr<Machine>();
   InReactor const outer(machine.get());
   {
      InReactor const inner(machine.get());
   }
   EXPECT_TRUE(machine->inReactor());
}

TEST(InReactor, DestroysAMachineThatWasDroppedInside) {
   bool gone = false;
   auto machine = Pelk::makePtr<Machine>(&gone);
   {
      InReactor const guard(machine.get());
      machine = nullptr;
      EXPECT_FALSE(gone);
   }
   EXPECT_TRUE(gone);
}

} // namespace
