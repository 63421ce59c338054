#include "agent/SbdVlans.h"

#include "agent/BadInput.h"
#include "bridging/VlanId.h"
#include "pelk/Printable.h"
#include "zin/Toggle.h"

#include <fmt/format.h>

#include <algorithm>
#include <stdexcept>
#include <tuple>

namespace Agent {

namespace {

constexpr size_t kVrfsShown = 4;

} // namespace

SbdVlans::SbdVlans(State const& state, std::set<uint16_t> const* only) {
   auto const status = state.vtiStatusDir->vtiStatus(Lidra::IntfId("Vxlan1"));
   if (!status) {
      return;
   }
   for (auto const& entry : status->vrfToSBDVlan()) {
      if (!entry.value().isNone() &&
          (only == nullptr || only->contains(entry.value().value()))) {
         vrfs_[entry.value().value()].push_back(
            {state.mcastEvpnConfig->transitVrfHas(entry.key()),
             std::string(entry.key().view())});
      }
   }
   for (auto& [vlan, vrfs] : vrfs_) {
      std::ranges::sort(vrfs, [](auto const& a, auto const& b) {
         return std::tie(b.isTransit, a.name) < std::tie(a.isTransit, b.name);
      });
   }
}

SbdVlans::Vrfs const& SbdVlans::vrfsOf(uint16_t vlanId) const {
   static Vrfs const none;
   auto const found = vrfs_.find(vlanId);
   return found == vrfs_.end() ? none : found->second;
}

bool joinsEnabled() {
   return Zin::getToggleState("McastVpnTransitMlag", "McastVpnLib.json", true);
}

std::string vrfsText(SbdVlans::Vrfs const& vrfs, MarkTransit mark) {
   std::string text;
   size_t const shown = std::min(vrfs.size(), kVrfsShown);
   for (size_t i = 0; i < shown; ++i) {
      text += (i == 0 ? "" : ", ") + nameForPeople(vrfs[i].name);
      text += mark == MarkTransit::yes && vrfs[i].isTransit ? "*" : "";
   }
   if (vrfs.size() > shown) {
      text += fmt::format(", {} more", vrfs.size() - shown);
   }
   return text;
}

std::string nameForPeople(std::string const& name) {
   bool const isPlain = !name.empty() && Pelk::printable(name) == name &&
                        name.find_first_of("*,\"") == std::string::npos &&
                        name.front() != ' ' && name.back() != ' ';
   return isPlain ? name : quote(name);
}

uint16_t vlanOfIntf(std::string_view name) {
   constexpr std::string_view kPrefix = "Vlan";
   if (!name.starts_with(kPrefix)) {
      return 0;
   }
   try {
      return Bridging::VlanId(name.substr(kPrefix.size()));
   } catch (std::logic_error const&) {
      return 0;
   }
}

} // namespace Agent
