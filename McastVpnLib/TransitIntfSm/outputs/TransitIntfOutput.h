#pragma once

#include "McastVpnLib/Export.h"
#include "McastVpnLib/TransitIntfSm/OutputState.h"
#include "McastVpnLib/TransitIntfSm/outputs/OutputKeys.h"
#include "McastVpnLib/TransitIntfSm/print/FlumaPrint.h"

namespace Irb::Multicast::Evpn {

class TransitIntfSm;

// into( transitIntfColl.intf[ transitIntf ] ): the transit interfaces. For the members
// see OutputSink.h and OutputReconciler.h.
struct MCASTVPNLIB_EXPORT TransitIntfOutput {
   using State = FlumaCode::TransitIntfSm::OutputState;
   using Key = OutputKeys::TransitIntfKey;
   // The interface and its address.
   using Value = ::FlumaCode::Tuple<Lidra::IntfId, Lidra::IpGenAddr>;

   struct SeenName {
      static constexpr char const* name = "transitIntfCollIntfOutputSeen";
      static constexpr uint32_t seed = 0x7979edac; // frozen
   };
   static constexpr char const* kName = "transitIntfCollIntfOutput";
   static constexpr char const* kHandler = "handleTransitIntfCollIntfOutputInputReady";
   static constexpr char const* kTask = "TransitIntfSm-transitIntfCollIntfOutputTask";

   static bool ready(State const& state) {
      return state.transitIntfCollIntfOutputReady();
   }
   static void readyIs(State& state) { state.transitIntfCollIntfOutputReadyIs(true); }

   static void insert(TransitIntfSm& sm, char const* function, Key const& key,
                      Value const& value, bool const& overtaken);
   static void remove(TransitIntfSm& sm, char const* function, Key const& key);
   static void reserve(TransitIntfSm& sm, size_t entries);

   template <typename Visitor>
   static bool walk(TransitIntfSm& sm, Key const* bookmark, Visitor& visitor);
};

} // namespace Irb::Multicast::Evpn
