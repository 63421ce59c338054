#include "agent/TouchedVlans.h"

#include "bridging/VlanId.h"

#include <nlohmann/json.hpp>

namespace Agent {

namespace {

using Pointer = nlohmann::json::json_pointer;

Pointer vxlan1Path() {
   return Pointer("/vtiStatusDir/vtiStatus/Vxlan1");
}

} // namespace

TouchedVlans::TouchedVlans(State const& state) : state_(state) {
   for (auto const& member : state.members()) {
      if (!member.isOutput) {
         recorders_.push_back(std::make_unique<OutputRecorder>(
            member.name, member.entity, [this](auto const& operation) {
               changed(operation.at("path").template get<std::string>());
            }));
      }
   }
   readMapping();
}

void TouchedVlans::forget() {
   changes_ = 0;
   areAll_ = false;
   vlans_.clear();
   byStatus_.clear();
}

void TouchedVlans::readMapping() {
   mapping_.clear();
   if (auto const status = state_.vtiStatusDir->vtiStatus(Lidra::IntfId("Vxlan1"))) {
      for (auto const& entry : status->vrfToSBDVlan()) {
         mapping_[std::string(entry.key().view())] = entry.value().value();
      }
   }
}

void TouchedVlans::changed(std::string const& path) {
   ++changes_;
   Pointer const place(path);
   auto const parent = place.parent_pointer();
   auto const key = place.back();
   if (place == vxlan1Path()) {
      for (int left = 2; left != 0; --left) { // the old ones, and the new ones
         for (auto const& [vrf, vlanId] : mapping_) {
            byStatus_.insert(vlanId);
            vlans_.insert(vlanId);
         }
         readMapping();
      }
   } else if (parent == vxlan1Path() / "vrfToSBDVlan") {
      auto& vlanId = mapping_[key];
      vlans_.insert(vlanId);
      vlanId = state_.vtiStatusDir->vtiStatus(Lidra::IntfId("Vxlan1"))
                  ->vrfToSBDVlan(L3::VrfName(std::string_view(key)))
                  .value();
      vlans_.insert(vlanId);
   } else if (parent == Pointer("/mcastEvpnConfig/transitVrf")) {
      auto const mapped = mapping_.find(key);
      if (mapped != mapping_.end()) {
         vlans_.insert(mapped->second);
      }
   } else if (parent == Pointer("/pegVlanStatus/pegVlan")) {
      vlans_.insert(Bridging::VlanId(std::string_view(key)));
   } else if (parent == vxlan1Path() || parent == Pointer("/mlagStatus")) {
      areAll_ = true;
   }
}

} // namespace Agent
