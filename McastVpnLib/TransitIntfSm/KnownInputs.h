#pragma once

#include <cstdint>

namespace Irb::Multicast::Evpn {

// What whoever sends an event has just found out about the event's VRF or VLAN, so that
// the decision need not ask for it again: with the version of the collection then, and
// true for as long as that stays.
struct KnownInputs {
   static constexpr uint32_t kNoVersion = UINT32_MAX; // of no collection

   // The version of the set of transit VRFs, and whether the VRF is in it.
   static constexpr KnownInputs transitVrf(uint32_t version, bool is) noexcept {
      return {.transitVrfVersion = version, .isTransitVrf = is};
   }
   // The version of the table of PEG VLANs, and whether the VLAN is in it.
   static constexpr KnownInputs pegVlan(uint32_t version, bool is) noexcept {
      return {.pegVlanVersion = version, .isPegVlan = is};
   }

   // Each is what the two functions above say; of what is not known, kNoVersion.
   uint32_t transitVrfVersion = kNoVersion;
   uint32_t pegVlanVersion = kNoVersion;
   bool isTransitVrf = false;
   bool isPegVlan = false;
};

} // namespace Irb::Multicast::Evpn
