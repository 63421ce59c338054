#pragma once

#include "McastVpnLib/Export.h"
#include "McastVpnLib/TransitIntfSm/OutputState.h"
#include "McastVpnLib/TransitIntfSm/outputs/OutputKeys.h"
#include "zin/ValueTraits.h"

namespace Irb::Multicast::Evpn {

class TransitIntfSm;

// into( membershipJoinStatus.vlan[ vlanId ].routerIntf[ intfId ] ): the router
// interfaces of a VLAN, which the pipeline only ever withdraws. For the members see
// OutputSink.h and OutputReconciler.h.
struct MCASTVPNLIB_EXPORT RouterIntfOutput {
   using State = FlumaCode::TransitIntfSm::OutputState;
   using Key = OutputKeys::RouterIntfKey;
   using Value = Zin::Unit;

   struct SeenName {
      static constexpr char const* name =
         "membershipJoinStatusVlanRouterIntfOutputSeen";
      static constexpr uint32_t seed = 0x640dae3b; // frozen
   };
   static constexpr char const* kName = "membershipJoinStatusVlanRouterIntfOutput";
   static constexpr char const* kHandler =
      "handleMembershipJoinStatusVlanRouterIntfOutputInputReady";
   static constexpr char const* kTask =
      "TransitIntfSm-membershipJoinStatusVlanRouterIntfOutputTask";

   static bool ready(State const& state) {
      return state.membershipJoinStatusVlanRouterIntfOutputReady();
   }
   static void readyIs(State& state) {
      state.membershipJoinStatusVlanRouterIntfOutputReadyIs(true);
   }

   static void insert(TransitIntfSm& sm, char const* function, Key const& key,
                      Value const& value, bool const& overtaken);
   static void remove(TransitIntfSm& sm, char const* function, Key const& key);

   template <typename Visitor>
   static bool walk(TransitIntfSm& sm, Key const* bookmark, Visitor& visitor);
};

} // namespace Irb::Multicast::Evpn
