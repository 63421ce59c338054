#include "agent/State.h"

#include "McastVpnLib/McastVpnLib.h"
#include "agent/BadInput.h"

#include <algorithm>

namespace Agent {

using nlohmann::json;

State::State()
   : mcastEvpnConfig(Pelk::makePtr<Routing::Multicast::Evpn::Config>()),
     vtiStatusDir(Pelk::makePtr<Vxlan::VtiStatusDir>()),
     mlagStatus(Pelk::makePtr<Mlag::Status>()),
     pegVlanStatus(Pelk::makePtr<Routing::Multicast::PegVlanStatus>()),
     transitIntfColl(Irb::Multicast::Evpn::transitIntfCollFactory()),
     membershipJoinStatus(Pelk::makePtr<Irb::Multicast::Gmp::MembershipJoinStatus>()),
     members_{{{"mcastEvpnConfig", mcastEvpnConfig, false},
               {"vtiStatusDir", vtiStatusDir, false},
               {"mlagStatus", mlagStatus, false},
               {"pegVlanStatus", pegVlanStatus, false},
               {"transitIntfColl", transitIntfColl, true},
               {"membershipJoinStatus", membershipJoinStatus, true}}} {}

State::Member const* State::member(std::string_view name) const noexcept {
   auto const found =
      std::ranges::find_if(members_, [&](auto const& m) { return m.name == name; });
   return found == members_.end() ? nullptr : &*found;
}

json State::canonical(json const& document, Checks checks) const {
   json::json_pointer const root;
   if (!document.is_object()) {
      throw BadInput(root, excerpt(document), "an object");
   }
   for (auto const& [name, value] : document.items()) {
      if (member(name) == nullptr) {
         throw BadInput(root / name, "the unknown member " + quote(name),
                        memberNames());
      }
   }
   json result = json::object();
   for (auto const& each : members_) {
      std::string const name(each.name);
      auto const given = document.find(name);
      result[name] = canonicalEntity(each.entity->entityType(),
                                     given == document.end() ? json::object() : *given,
                                     root / name, checks);
   }
   return result;
}

json State::toJson() const {
   json result = json::object();
   for (auto const& each : members_) {
      result[std::string(each.name)] = Agent::toJson(*each.entity);
   }
   return result;
}

json State::outputsToJson() const {
   json result = json::object();
   for (auto const& each : members_) {
      if (each.isOutput) {
         result[std::string(each.name)] = Agent::toJson(*each.entity);
      }
   }
   return result;
}

void State::assign(json const& document) {
   for (auto const& each : members_) {
      auto const given = document.find(std::string(each.name));
      if (given != document.end()) {
         Agent::assign(*each.entity, *given);
      }
   }
}

std::string State::memberNames() const {
   std::string names;
   for (auto const& each : members_) {
      names += (names.empty() ? "" : ", ") + std::string(each.name);
   }
   return names;
}

} // namespace Agent
