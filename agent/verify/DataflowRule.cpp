#include "agent/verify/DataflowRule.h"

#include <vector>

namespace Verify {

Outputs dataflowOutputs(Inputs const& inputs, Lidra::AddressFamily af) {
   Outputs expected;
   auto const status = vxlan1Of(inputs);
   if (!status) {
      return expected;
   }
   auto const state = static_cast<uint32_t>(inputs.mlag->mlagState());
   auto const addr = state == 3 ? status->mlagVtepAddr() : status->localVtepAddr();
   std::map<uint16_t, std::vector<L3::VrfName>> vrfsOf;
   for (auto const& mapped : status->vrfToSBDVlan()) {
      vrfsOf[mapped.value().value()].push_back(mapped.key());
   }
   for (auto const& peg : inputs.pegVlans->pegVlan()) {
      uint16_t const vlanId = peg.key().value();
      auto const vrfs = vrfsOf.find(vlanId);
      if (vrfs == vrfsOf.end() || vrfs->second.size() != 1 ||
          !inputs.config->transitVrfHas(vrfs->second.front())) {
         continue;
      }
      if (state != 4) {
         expected[intfKey("Vlan" + std::to_string(vlanId))] = addr.stringValue();
      }
      expected[joinKey(vlanId)] = wildcardJoinText(af);
   }
   return expected;
}

} // namespace Verify
