#include "support/RandomInputs.h"
#include "support/TransitFixture.h"

namespace {

using namespace Support;
using testing::IsEmpty;

class TransitSmAtRandom : public TransitTest,
                          public testing::WithParamInterface<uint32_t> {
 protected:
   RandomInputs inputs{GetParam(), *config, *mlag, dir,
                       [this](RandomInputs::Dir const& next) {
                          dir = next;
                          if (sm) {
                             sm->vtiStatusDirIs(next);
                          }
                       }};

   // The reactor's own tables, against the status of now.
   Events tableComplaints() const {
      Events found;
      auto const& newest = sm->vtiStatusDir();
      auto const vxlan = newest ? newest->vtiStatus(vxlan1()) : nullptr;
      size_t mapped = 0;
      size_t members = 0;
      if (vxlan) {
         for (auto const& entry : vxlan->vrfToSBDVlan()) {
            if (entry.value().isNone()) {
               continue;
            }
            ++mapped;
            auto const recorded = sm->sbdVlanToVrf(entry.value().value());
            if (sm->vrfToSbdVlan(entry.key()) != entry.value() || !recorded ||
                !recorded->vrfHas(entry.key())) {
               found.emplace_back(entry.key().view());
            }
         }
      }
      for (auto const& entry : sm->sbdVlanToVrf()) {
         members += entry.value()->vrf().size();
      }
      if (sm->vrfToSbdVlan().size() != mapped || members != mapped) {
         found.emplace_back("more is recorded than is mapped");
      }
      return found;
   }
};

TEST_P(TransitSmAtRandom, OutputsAndTablesAreTheReferencesAfterEveryEvent) {
   startQuietly();
   for (int event = 0; event < 4000; ++event) {
      auto const what = inputs.step();
      log.take();
      ASSERT_THAT(complaints(reference(), outputs()), IsEmpty())
         << event << ": " << what;
      ASSERT_THAT(tableComplaints(), IsEmpty()) << event << ": " << what;
   }
}

TEST_P(TransitSmAtRandom, AStartInTheMiddleFindsTheSameOutputs) {
   for (int round = 0; round < 100; ++round) {
      for (int event = 0; event < 20; ++event) {
         inputs.step();
      }
      // Empty outputs of its own, so that nothing of the reactor before helps.
      auto const ownColl = Irb::Multicast::Evpn::transitIntfCollFactory();
      auto const ownJoins = Pelk::makePtr<Irb::Multicast::Gmp::MembershipJoinStatus>();
      auto const machine = Irb::Multicast::Evpn::transitSmFactory(
         kIpv4, config, dir, mlag, ownColl, ownJoins);
      ASSERT_THAT(complaints(referenceOf(), Verify::outputsOf(*ownColl, *ownJoins)),
                  IsEmpty());
   }
}

TEST_P(TransitSmAtRandom, SubscribersThatChangeTheInputsFromInsideEndInTheSameState) {
   startQuietly();
   int depth = 0;
   log.actionIs([&](std::string const&) {
      if (depth < 3 && inputs.oneIn(6)) {
         ++depth;
         inputs.step();
         --depth;
      }
   });
   for (int event = 0; event < 4000; ++event) {
      auto const what = inputs.step();
      log.take();
      ASSERT_THAT(complaints(reference(), outputs()), IsEmpty())
         << event << ": " << what;
      ASSERT_THAT(tableComplaints(), IsEmpty()) << event << ": " << what;
   }
}

INSTANTIATE_TEST_SUITE_P(Seeds, TransitSmAtRandom, testing::Range(1u, 9u));

} // namespace
