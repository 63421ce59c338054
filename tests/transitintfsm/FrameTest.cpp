#include "support/DataflowFixture.h"

namespace {

using namespace Support;
using testing::ElementsAreArray;
using testing::IsEmpty;

class TransitIntfSmFrame : public DataflowTest {};

TEST_F(TransitIntfSmFrame, ASynchronousStartIsReadyWhenTheFactoryReturns) {
   transitOn("red", 10);
   start();
   EXPECT_TRUE(sm->synchronous());
   EXPECT_TRUE(sm->initialized());
   EXPECT_TRUE(sm->initialScanDone());
   EXPECT_TRUE(sm->idle());
   EXPECT_TRUE(sm->ready());
   EXPECT_EQ(addressOf(10), kLocal);
   EXPECT_TRUE(hasJoin(10));
   for (auto const& e : log.take()) puts(e.c_str());
}

TEST_F(TransitIntfSmFrame, Async) {
   transitOn("red", 10);
   transitOn("blue", 20);
   coll->intfIs(Lidra::IntfId("Vlan99"), Lidra::IpAddr("1.2.3.4"));
   joins->vlanIs(30)->groupIs(Lidra::IpAddr("1.2.3.4"))->sourceIs(Lidra::IpAddr())->excludeIntfIs(null0());
   startAsync<Kolm::PollShare>(1u);
   runUntilReady();
   for (auto const& e : log.take()) puts(e.c_str());
}

} // namespace
