#pragma once

#include "McastVpnLib/Export.h"
#include "McastVpnLib/TransitIntfSm/OutputState.h"
#include "McastVpnLib/TransitIntfSm/outputs/OutputKeys.h"
#include "zin/ValueTraits.h"

namespace Irb::Multicast::Evpn {

class TransitIntfSm;

// into( membershipJoinStatus.vlan[ vlanId ].group[ anyGrpOrSrc ].source[ anyGrpOrSrc ]
// .includeIntf[ intfId ] ): the interfaces that want a source.
// For the members see OutputSink.h and OutputReconciler.h.
struct MCASTVPNLIB_EXPORT IncludeIntfOutput {
   using State = FlumaCode::TransitIntfSm::OutputState;
   using Key = OutputKeys::IncludeIntfKey;
   using Value = Zin::Unit;

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

   static void insert(TransitIntfSm& sm, char const* function, Key const& key,
                      Value const& value, bool const& overtaken);
   static void remove(TransitIntfSm& sm, char const* function, Key const& key);

   template <typename Visitor>
   static bool walk(TransitIntfSm& sm, Key const* bookmark, Visitor& visitor);
};

} // namespace Irb::Multicast::Evpn
