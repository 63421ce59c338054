#pragma once

#include "McastVpnLib/Export.h"
#include "McastVpnLib/TransitIntfSm/OutputState.h"
#include "McastVpnLib/TransitIntfSm/outputs/OutputKeys.h"
#include "zin/ValueTraits.h"

namespace Irb::Multicast::Evpn {

class TransitIntfSm;

// into( membershipJoinStatus.vlan[ vlanId ].group[ anyGrpOrSrc ].source[ anyGrpOrSrc ]
// .excludeIntf[ intfId ] ): the interfaces that do not want a source, which the
// pipeline only ever withdraws.
// For the members see OutputSink.h and OutputReconciler.h.
struct MCASTVPNLIB_EXPORT ExcludeIntfOutput {
   using State = FlumaCode::TransitIntfSm::OutputState;
   using Key = OutputKeys::ExcludeIntfKey;
   using Value = Zin::Unit;

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

   static void insert(TransitIntfSm& sm, char const* function, Key const& key,
                      Value const& value, bool const& overtaken);
   static void remove(TransitIntfSm& sm, char const* function, Key const& key);

   template <typename Visitor>
   static bool walk(TransitIntfSm& sm, Key const* bookmark, Visitor& visitor);
};

} // namespace Irb::Multicast::Evpn
