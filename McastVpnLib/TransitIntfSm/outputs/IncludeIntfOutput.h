#pragma once

#include "McastVpnLib/Export.h"
#include "McastVpnLib/TransitIntfSm/outputs/SourceIntfOutput.h"
#include "gmp/SourceMembershipJoin.h"
#include "lidra/IntfId.h"

namespace Irb::Multicast::Evpn {

// into( membershipJoinStatus.vlan[ vlanId ].group[ anyGrpOrSrc ].source[ anyGrpOrSrc ]
// .includeIntf[ intfId ] ): the interfaces that want a source.
struct MCASTVPNLIB_EXPORT IncludeIntfOutput
   : SourceIntfOutput<IncludeIntfOutput, OutputKeys::IncludeIntfName> {
   struct SeenName {
      static constexpr char const* name =
         "membershipJoinStatusVlanGroupSourceIncludeIntfOutputSeen";
      static constexpr uint32_t seed = 0xc7323eff; // frozen
   };
   static constexpr char const* kName =
      "membershipJoinStatusVlanGroupSourceIncludeIntfOutput";
   static constexpr char const* kHandler =
      "handleMembershipJoinStatusVlanGroupSourceIncludeIntfOutputInputReady";
   static constexpr char const* kTask =
      "TransitIntfSm-membershipJoinStatusVlanGroupSourceIncludeIntfOutputTask";

   static bool ready(State const& state) {
      return state.membershipJoinStatusVlanGroupSourceIncludeIntfOutputReady();
   }
   static void readyIs(State& state) {
      state.membershipJoinStatusVlanGroupSourceIncludeIntfOutputReadyIs(true);
   }

   static constexpr char kInserting[] =
      "into( membershipJoinStatus.vlan[ vlanId ].group[ anyGrpOrSrc ].source[ "
      "anyGrpOrSrc ].includeIntf[ intfId ] ): inserting k1={}, k2={}, k3={}, k4={}";
   static constexpr char kDeleting[] =
      "into( membershipJoinStatus.vlan[ vlanId ].group[ anyGrpOrSrc ].source[ "
      "anyGrpOrSrc ].includeIntf[ intfId ] ): deleting k1={}, k2={}, k3={}, k4={}";

   static void reserve(TransitIntfSm& sm, size_t entries);
   static auto const& leaves(Gmp::SourceMembershipJoin const& source) {
      return source.includeIntf();
   }
   static void leafIs(Gmp::SourceMembershipJoin& source, Lidra::IntfId intfId) {
      source.includeIntfIs(intfId);
   }
   static void leafDel(Gmp::SourceMembershipJoin& source, Lidra::IntfId intfId) {
      source.includeIntfDel(intfId);
   }
};

} // namespace Irb::Multicast::Evpn
