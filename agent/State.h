#pragma once

#include "McastVpnLib/McastVpnTransitSm/TransitIntfColl.h"
#include "agent/Document.h"
#include "gmp/MembershipJoinStatus.h"
#include "mlag/Status.h"
#include "pelk/Ptr.h"
#include "routing/MulticastEvpnConfig.h"
#include "routing/PegVlanStatus.h"
#include "vxlan/VtiStatusDir.h"

#include <nlohmann/json.hpp>

#include <array>
#include <string_view>

namespace Agent {

// The entities that a machine works on, which outlive it, and their names in a state
// document.
class State {
 public:
   struct Member {
      std::string_view name;
      Pelk::Ptr<Pelk::Entity> entity;
      bool isOutput;
   };

   State();

   Pelk::Ptr<Routing::Multicast::Evpn::Config> const mcastEvpnConfig;
   Pelk::Ptr<Vxlan::VtiStatusDir> const vtiStatusDir;
   Pelk::Ptr<Mlag::Status> const mlagStatus;
   Pelk::Ptr<Routing::Multicast::PegVlanStatus> const pegVlanStatus;
   Pelk::Ptr<Irb::Multicast::Evpn::TransitIntfColl> const transitIntfColl;
   Pelk::Ptr<Irb::Multicast::Gmp::MembershipJoinStatus> const membershipJoinStatus;

   // All of them: inputs first, in the order in which a document is published.
   std::array<Member, 6> const& members() const noexcept { return members_; }
   Member const* member(std::string_view name) const noexcept;

   // The canonical form of a whole document. BadInput if it is not one.
   nlohmann::json canonical(nlohmann::json const& document, Checks checks) const;
   // The canonical form of what the entities hold: all of them, or the outputs.
   nlohmann::json toJson() const;
   nlohmann::json outputsToJson() const;
   // Makes the entities hold the canonical document.
   void assign(nlohmann::json const& document);

   // The names of the members, for a message.
   std::string memberNames() const;

 private:
   std::array<Member, 6> members_;
};

} // namespace Agent
