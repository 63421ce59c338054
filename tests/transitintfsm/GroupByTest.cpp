#include "McastVpnLib/TransitIntfSm/GroupBy.h"
#include "support/CountingHeap.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using Irb::Multicast::Evpn::GroupByCollection;
using TestSupport::heap;

// The VRFs of one SBD VLAN, of which there may be thousands at a start.
TEST(GroupByCollection, HasTheRoomThatWasMade) {
   std::vector<L3::VrfName> vrfs;
   for (int number = 0; number < 1000; ++number) {
      vrfs.emplace_back("vrf" + std::to_string(number));
   }
   auto const group = Pelk::makePtr<GroupByCollection>();
   group->collReserve(vrfs.size());
   auto const before = heap().allocations;
   for (auto const& vrf : vrfs) {
      group->collIs(vrf);
   }
   EXPECT_EQ(heap().allocations, before);
   EXPECT_EQ(group->coll().size(), vrfs.size());
}
