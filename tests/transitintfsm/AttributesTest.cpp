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
