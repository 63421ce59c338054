#pragma once

#include "McastVpnLib/McastVpnTransitSm/TransitIntfColl.h"
#include "bridging/VlanId.h"
#include "gmp/MembershipJoinStatus.h"
#include "l3/VrfName.h"
#include "lidra/IntfId.h"
#include "routing/MulticastEvpnConfig.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>

namespace Irb::Multicast::Evpn {

// The walk over all transit VRFs that evaluates each one's VLAN, which may change
// anything meanwhile: members inserted ahead are met, members removed ahead are not,
// and no other is lost or met twice.
//
// A number of VRFs are looked at together before the first of them is visited: what an
// evaluation would look for is found, and the processor fetches what it would read.
// With thousands of VLANs that is not in the nearer caches, and waiting for one thing
// after the other would take longer than all the rest.
//
// Event thread only.
class TransitVrfWalk {
 public:
   using Vrfs = Routing::Multicast::Evpn::Config::TransitVrfSet;
   using Joins = Gmp::MembershipJoinStatus::VlanMap;
   using Intfs = TransitIntfColl::IntfMap;

   static constexpr uint32_t kNoVlan = UINT32_MAX;

   // What was found of one VRF.
   struct Found {
      uint32_t sbdVlan = kNoVlan; // any number, as the inputs have it
      Gmp::VlanMembershipJoin const* joins = nullptr; // of the VLAN, or null
      TransitIntf* intf = nullptr;
   };

   // Of collections that outlive this.
   TransitVrfWalk(Vrfs const& vrfs, Joins const& joins, Intfs const& intfs) noexcept
      : vrfs_(vrfs), joins_(joins), intfs_(intfs), vrfsVersion_(vrfs.version()) {}

   // Calls visit(vrf, found) for each VRF. What vlanOf(vrf) found, the number that the
   // VRF is mapped to or kNoVlan, may be outdated by then; what is known of the outputs
   // is not: found is null if they have changed, or the VRFs.
   template <typename VlanOf, typename Visit>
   void each(VlanOf vlanOf, Visit visit) {
      auto member = vrfs_.begin();
      while (member != std::default_sentinel) {
         size_t count = 0;
         for (; count < kTogether && member != std::default_sentinel; ++member) {
            names_[count] = &member->key();
            found_[count] = {.sbdVlan = vlanOf(member->key())};
            ++count;
         }
         lookAt(count);
         for (size_t i = 0; i < count; ++i) {
            auto const vrf = *names_[i];
            visit(vrf, isCurrent() ? &found_[i] : nullptr);
            if (vrfs_.version() != vrfsVersion_) [[unlikely]] {
               eachAfter(vrf, visit);
               return;
            }
         }
      }
   }

   // Has the processor fetch an object, or none, of up to two cache lines.
   static void fetch(void const* object) noexcept {
      if (object != nullptr) {
         __builtin_prefetch(object);
         __builtin_prefetch(static_cast<std::byte const*>(object) + 64);
      }
   }

 private:
   static constexpr size_t kTogether = 16;

   bool isCurrent() const noexcept {
      return joins_.version() == joinsVersion_ && intfs_.version() == intfsVersion_;
   }
   // The rest of the walk, once the VRFs have changed.
   template <typename Visit>
   void eachAfter(L3::VrfName const& last, Visit& visit) {
      auto member = vrfs_.iterate(last);
      if (member && member.key() == last) {
         ++member;
      }
      for (; member; ++member) {
         auto const vrf = member.key();
         visit(vrf, nullptr);
      }
   }

   void lookAt(size_t count) {
      joinsVersion_ = joins_.version();
      intfsVersion_ = intfs_.version();
      for (size_t i = 0; i < count; ++i) {
         findOutputs(found_[i]);
      }
      for (size_t i = 0; i < count; ++i) {
         if (auto const* const group = groupOf(found_[i])) {
            fetch(group);
         }
      }
      for (size_t i = 0; i < count; ++i) {
         auto const* const group = groupOf(found_[i]);
         if (group != nullptr && !group->source().empty()) {
            fetch(group->source().begin()->value().get());
         }
      }
   }
   void findOutputs(Found& found) const {
      if (found.sbdVlan < Bridging::VlanId::kMin ||
          found.sbdVlan > Bridging::VlanId::kMax) {
         return;
      }
      auto const number = static_cast<uint16_t>(found.sbdVlan);
      if (auto const* const entry = joins_.find(number)) {
         found.joins = entry->value().get();
         fetch(found.joins);
      }
      if (auto const* const entry =
             intfs_.find(Lidra::VlanIntfId::vlanIdToIntfId(number))) {
         found.intf = entry->value().get();
         fetch(found.intf);
      }
   }
   static Gmp::GroupMembershipJoin const* groupOf(Found const& found) noexcept {
      return found.joins != nullptr && !found.joins->group().empty()
                ? found.joins->group().begin()->value().get()
                : nullptr;
   }

   Vrfs const& vrfs_;
   Joins const& joins_;
   Intfs const& intfs_;
   uint32_t vrfsVersion_;
   uint32_t joinsVersion_ = 0;
   uint32_t intfsVersion_ = 0;
   std::array<L3::VrfName const*, kTogether> names_{};
   std::array<Found, kTogether> found_{};
};

} // namespace Irb::Multicast::Evpn
