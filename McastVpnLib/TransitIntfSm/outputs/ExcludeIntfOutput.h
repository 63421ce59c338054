#pragma once

#include "McastVpnLib/Export.h"
#include "McastVpnLib/TransitIntfSm/outputs/SourceIntfOutput.h"
#include "gmp/SourceMembershipJoin.h"
#include "lidra/IntfId.h"

namespace Irb::Multicast::Evpn {

// into( membershipJoinStatus.vlan[ vlanId ].group[ anyGrpOrSrc ].source[ anyGrpOrSrc ]
// .excludeIntf[ intfId ] ): the interfaces that do not want a source, which the
// pipeline only ever withdraws.
struct MCASTVPNLIB_EXPORT ExcludeIntfOutput
   : SourceIntfOutput<ExcludeIntfOutput, OutputKeys::ExcludeIntfName> {
   struct SeenName {
      static constexpr char const* name =
         "membershipJoinStatusVlanGroupSourceExcludeIntfOutputSeen";
      static constexpr uint32_t seed = 0xc82f3902; // frozen
   };
   static constexpr char const* kName =
      "membershipJoinStatusVlanGroupSourceExcludeIntfOutput";
   static constexpr char const* kHandler =
      "handleMembershipJoinStatusVlanGroupSourceExcludeIntfOutputInputReady";
   static constexpr char const* kTask =
      "TransitIntfSm-membershipJoinStatusVlanGroupSourceExcludeIntfOutputTask";

   static bool ready(State const& state) {
      return state.membershipJoinStatusVlanGroupSourceExcludeIntfOutputReady();
   }
   static void readyIs(State& state) {
      state.membershipJoinStatusVlanGroupSourceExcludeIntfOutputReadyIs(true);
   }

   static constexpr char kInserting[] =
      "into( membershipJoinStatus.vlan[ vlanId ].group[ anyGrpOrSrc ].source[ "
      "anyGrpOrSrc ].excludeIntf[ intfId ] ): inserting k1={}, k2={}, k3={}, k4={}";
   static constexpr char kDeleting[] =
      "into( membershipJoinStatus.vlan[ vlanId ].group[ anyGrpOrSrc ].source[ "
      "anyGrpOrSrc ].excludeIntf[ intfId ] ): deleting k1={}, k2={}, k3={}, k4={}";

   static auto const& leaves(Gmp::SourceMembershipJoin const& source) {
      return source.excludeIntf();
   }
   static void leafIs(Gmp::SourceMembershipJoin& source, Lidra::IntfId intfId) {
      source.excludeIntfIs(intfId);
   }
   static void leafDel(Gmp::SourceMembershipJoin& source, Lidra::IntfId intfId) {
      source.excludeIntfDel(intfId);
   }
};

} // namespace Irb::Multicast::Evpn
