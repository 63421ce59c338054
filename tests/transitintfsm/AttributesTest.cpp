#include "support/DataflowFixture.h"

#include <sstream>
#include <string_view>

namespace {

using namespace Support;
using testing::HasSubstr;
using testing::StartsWith;

// What the input machines show of themselves by name.
class InputMachineAttributes : public DataflowTest {
 protected:
   static std::string value(Pelk::Entity const& entity, std::string_view name) {
      auto const* const attribute = entity.entityType().attribute(name);
      return attribute != nullptr ? attribute->get(entity) : "no such attribute";
   }
   static std::vector<std::string> rows(Zin::EntityType const& type) {
      std::vector<std::string> rows;
      for (auto const& attribute : type.attributes) {
         rows.push_back(std::to_string(attribute.id) + ' ' +
                        std::string(attribute.name));
         EXPECT_FALSE(attribute.isCollection() && attribute.writable);
         EXPECT_EQ(attribute.set, nullptr);
      }
      return rows;
   }
   static std::vector<std::string> withCommon(std::vector<std::string> const& own) {
      return then({"258 en", "259 parent", "260 initialized", "261 inReactor"}, own);
   }
};

TEST_F(InputMachineAttributes, HaveTheirFrozenIds) {
   EXPECT_EQ(rows(TransitIntfSm::McastEvpnConfigSm0::type()),
             withCommon({"262 inputScanBookmark0", "263 inputScanState0",
                         "264 versionTransitVrf"}));
   EXPECT_EQ(rows(TransitIntfSm::VtiStatusDirSm1::type()),
             withCommon({"262 inputScanBookmark1", "263 inputScanState1",
                         "264 inputScanBookmark3", "265 inputScanState3",
                         "266 childSmVtiStatusVxlanVtiStatusPtrConst"}));
   EXPECT_EQ(rows(Irb::Multicast::Evpn::FlumaCode::TransitIntfSm::VtiStatusSm2::type()),
             withCommon({"262 inputScanState1", "263 inputScanBookmark3",
                         "264 inputScanState3", "265 versionVrfToSBDVlan"}));
   EXPECT_EQ(rows(TransitIntfSm::MlagStatusSm3::type()),
             withCommon({"262 inputScanState2"}));
   EXPECT_EQ(rows(TransitIntfSm::PegVlanStatusSm4::type()),
             withCommon({"262 inputScanBookmark4", "263 inputScanState4",
                         "264 versionPegVlan"}));
}

TEST_F(InputMachineAttributes, ShowHowFarAScanIs) {
   for (auto const* vrf : {"red", "green", "blue"}) {
      transit(vrf);
      map(vrf, 10);
   }
   startAsync<Kolm::PollShare>(1u);
   auto second = config->transitVrf().begin();
   ++second;
   auto const& configSm = *sm->mcastEvpnConfigSm0();
   EXPECT_EQ(value(configSm, "inputScanState0"), "1");
   EXPECT_EQ(value(configSm, "inputScanBookmark0"), second->key().view());
   EXPECT_EQ(value(configSm, "versionTransitVrf"), "3");
   auto const& dirSm = *sm->vtiStatusDirSm1();
   EXPECT_EQ(value(dirSm, "inputScanBookmark3"), "Vxlan1");
   auto const& children =
      *dirSm.entityType().attribute("childSmVtiStatusVxlanVtiStatusPtrConst");
   EXPECT_EQ(children.size(dirSm), 1u);
   EXPECT_EQ(value(*children.child(dirSm, "Vxlan1"), "inputScanState3"), "1");
   runUntilReady();
   EXPECT_EQ(value(configSm, "inputScanState0"), "2");
   EXPECT_EQ(value(*sm->mlagStatusSm3(), "inputScanState2"), "2");
   EXPECT_EQ(value(*sm->pegVlanStatusSm4(), "inputScanState4"), "2");
}

TEST_F(InputMachineAttributes, ShowTheScanOfTheVlans) {
   peg->pegVlanIs(10);
   peg->pegVlanIs(20);
   startAsync<Kolm::PollShare>(1u);
   auto const& pegSm = *sm->pegVlanStatusSm4();
   auto second = peg->pegVlan().begin();
   ++second;
   EXPECT_EQ(value(pegSm, "inputScanState4"), "1");
   EXPECT_EQ(value(pegSm, "inputScanBookmark4"), std::to_string(second->key().value()));
   EXPECT_EQ(pegSm.inputScanBookmark4(), second->key());
   EXPECT_EQ(value(pegSm, "versionPegVlan"), std::to_string(peg->pegVlan().version()));
   runUntilReady();
}

TEST_F(InputMachineAttributes, OfOneWithoutAnInputNameNone) {
   startQuietly();
   auto const lost = Pelk::makePtr<TransitIntfSm::PegVlanStatusSm4>(nullptr);
   lost->parentIs(sm.get());
   std::ostringstream text;
   Zin::print(text, *lost);
   EXPECT_THAT(text.str(), HasSubstr("{ en: null, parent: "));
}

// The machine of a status has no tasks: what it is asked, it asks its parent.
TEST_F(InputMachineAttributes, TheMachineOfAStatusWorksInItsParentsTasks) {
   map("red", 10);
   startAsync<Kolm::PollShare>(1u);
   auto const& parent = *sm->vtiStatusDirSm1();
   Pelk::Ptr const statusSm = parent.childSmVtiStatusVxlanVtiStatusPtrConst(vxlan1());
   EXPECT_FALSE(statusSm->synchronous());
   EXPECT_EQ(statusSm->shouldYield1(), parent.shouldYield1());
   EXPECT_EQ(statusSm->inTask1(), parent.inTask1());
   runUntilReady();
   statusSm->doInitializeTask();
   EXPECT_EQ(scheduler->pending(), 0u);
   scheduler->shareIs(std::make_unique<Kolm::UnlimitedShare>());
   log.take();
   auto const before = outputs();
   statusSm->doInputScan();
   EXPECT_THAT(log.takeTraced(), testing::Contains(HasSubstr("VtiStatusSm2")));
   EXPECT_EQ(outputs(), before);
   EXPECT_EQ(scheduler->pending(), 0u);
}

TEST_F(InputMachineAttributes, TheWholeMachineIsPrintedWithItsFlagsAndGroups) {
   transitOn("red", 10);
   start();
   std::ostringstream text;
   Zin::print(text, *sm);
   EXPECT_THAT(
      text.str(),
      StartsWith("Irb::Multicast::Evpn::TransitIntfSm{ addressFamily: ipv4, "
                 "mcastEvpnConfig: Routing::Multicast::Evpn::Config, "
                 "vtiStatusDir: Vxlan::VtiStatusDir, mlagStatus: Mlag::Status, "
                 "transitIntfColl: Irb::Multicast::Evpn::TransitIntfColl, "
                 "membershipJoinStatus: "
                 "Irb::Multicast::Gmp::MembershipJoinStatus, pegVlanStatus: "
                 "Routing::Multicast::PegVlanStatus, initialized: true, "
                 "synchronous: true, initialScanDone: true, "));
   EXPECT_THAT(text.str(), HasSubstr("idle: true, ready: true, mcastEvpnConfigSm0: "));
   EXPECT_THAT(text.str(), HasSubstr("coll: { red }"));
}

TEST_F(InputMachineAttributes, ArePrintedWithTheirInputAndTheirParentByName) {
   start();
   std::ostringstream text;
   Zin::print(text, *sm->vtiStatusDirSm1());
   EXPECT_THAT(text.str(),
               StartsWith("Irb::Multicast::Evpn::FlumaCode::TransitIntfSm::"
                          "VtiStatusDirSm1{ en: Vxlan::VtiStatusDir, parent: "
                          "Irb::Multicast::Evpn::TransitIntfSm, initialized: true, "
                          "inReactor: false, "));
   EXPECT_THAT(text.str(), HasSubstr("parent: Irb::Multicast::Evpn::FlumaCode::"
                                     "TransitIntfSm::VtiStatusDirSm1"));
}

} // namespace
