#pragma once

#include "Case.h"
#include "Recomputation.h"

#include <string>

namespace Bench::Machines {

// The steady-state events, each with the one that takes it back, for any program. A
// program is started before, and in the state in which it was started afterwards.

// A VRF moves to a VLAN that has none, and back.
struct Move {
   static constexpr char const* name = "move";

   template <typename Program>
   struct On {
      explicit On(Case const& inputs)
         : vrf(vrfName(inputs.vrfs / 2)), from(inputs.vlanOf(inputs.vrfs / 2)),
           to(static_cast<uint16_t>(inputs.pegVlans)) {}
      void there(Program& program) const { program.mapIs(vrf, to); }
      void back(Program& program) const { program.mapIs(vrf, from); }

      typename Program::Vrf vrf;
      uint16_t from;
      uint16_t to;
   };
};

// A VRF ceases to be a transit VRF, and becomes one again.
struct Transit {
   static constexpr char const* name = "transit";

   template <typename Program>
   struct On {
      explicit On(Case const& inputs) : vrf(vrfName(inputs.vrfs / 2)) {}
      void there(Program& program) const { program.transitIs(vrf, false); }
      void back(Program& program) const { program.transitIs(vrf, true); }

      typename Program::Vrf vrf;
   };
};

// A VLAN ceases to be a PEG VLAN, and becomes one again.
struct Peg {
   static constexpr char const* name = "peg";

   template <typename Program>
   struct On {
      explicit On(Case const& inputs) : vlan(inputs.vlanOf(inputs.vrfs / 2)) {}
      void there(Program& program) const { program.pegIs(vlan, false); }
      void back(Program& program) const { program.pegIs(vlan, true); }

      uint16_t vlan;
   };
};

// The MLAG state flips: every interface gets the other address.
struct Flip {
   static constexpr char const* name = "mlag";

   template <typename Program>
   struct On {
      explicit On(Case const&) {}
      void there(Program& program) const { program.mlagIs(kStateActive); }
      void back(Program& program) const { program.mlagIs(0); }
   };
};

// The local VTEP address changes.
struct Address {
   static constexpr char const* name = "address";

   template <typename Program>
   struct On {
      explicit On(Case const&) {}
      void there(Program& program) const { program.localIs(kLocal + 1); }
      void back(Program& program) const { program.localIs(kLocal); }
   };
};

// Events that touch every VLAN are told per VLAN.
template <typename Event>
constexpr bool isForAll() {
   return Event::name == Flip::name || Event::name == Address::name;
}

// Starts the program, and sends it the event and the one back; after each the outputs
// have to be those of a recomputation.
template <Rule rule, typename Event, typename Program>
void requireRight(Program& program, Case const& inputs, std::string const& name) {
   Recomputation<rule> rightly(inputs);
   typename Event::template On<Program> const event(inputs);
   typename Event::template On<Recomputation<rule>> const rightEvent(inputs);
   rightly.start();
   requireEqual(program.outputs(), rightly.outputs(), name + ", started");
   event.there(program);
   rightEvent.there(rightly);
   requireEqual(program.outputs(), rightly.outputs(), name + ", there");
   event.back(program);
   rightEvent.back(rightly);
   requireEqual(program.outputs(), rightly.outputs(), name + ", back");
}

} // namespace Bench::Machines
