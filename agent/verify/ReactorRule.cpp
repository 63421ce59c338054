#include "agent/verify/ReactorRule.h"

namespace Verify {

Outputs reactorOutputs(Inputs const& inputs, Lidra::AddressFamily af,
                       bool joinsEnabled) {
   Outputs expected;
   auto const status = vxlan1Of(inputs);
   if (!status || af != Lidra::AddressFamily::ipv4) {
      return expected;
   }
   auto const state = static_cast<uint32_t>(inputs.mlag->mlagState());
   auto const addr = state == 3 ? status->mlagVtepAddr() : status->localVtepAddr();
   for (auto const& mapped : status->vrfToSBDVlan()) {
      uint16_t const vlanId = mapped.value().value();
      if (vlanId == 0 || !inputs.config->transitVrfHas(mapped.key())) {
         continue;
      }
      if (state != 4) {
         expected[intfKey("Vlan" + std::to_string(vlanId))] = addr.stringValue();
      }
      if (joinsEnabled) {
         expected[joinKey(vlanId)] = wildcardJoinText(af);
      }
   }
   return expected;
}

} // namespace Verify
