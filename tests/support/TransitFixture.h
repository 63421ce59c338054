#pragma once

#include "McastVpnLib/McastVpnLib.h"
#include "McastVpnLib/McastVpnTransitSm/TransitSm.h"
#include "agent/verify/PathDependence.h"
#include "agent/verify/ReactorRule.h"
#include "support/EventLog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace Support {

using Irb::Multicast::Evpn::TransitIntfColl;
using Irb::Multicast::Evpn::TransitSm;
using Verify::complaints;
using Verify::intfKey;
using Verify::joinKey;
namespace Path = Verify::Path;

inline constexpr auto kIpv4 = Lidra::AddressFamily::ipv4;
inline constexpr auto kIpv6 = Lidra::AddressFamily::ipv6;

inline Lidra::IntfId vxlan1() {
   return Lidra::IntfId("Vxlan1");
}

// A transit reactor with its inputs and outputs, and a log of what it does. Every test
// ends with the comparison against the reference rule.
class TransitTest : public testing::Test {
 protected:
   using Events = std::vector<std::string>;

   static constexpr char const* kLocal = "10.0.0.1";
   static constexpr char const* kShared = "10.0.0.99";

   TransitTest() {
      status = statusNew("Vxlan1");
      dir->vtiStatusIs(status);
      log.follow(*coll);
      log.follow(*joins);
   }

   void TearDown() override {
      log.actionIs(nullptr);
      if (sm) {
         expectReference();
         EXPECT_THAT(
            log.origin(),
            testing::AnyOf("", "McastVpn::Transit McastVpnLib/McastVpnTransitSm"));
      }
   }

   static Pelk::Ptr<Vxlan::VtiStatus> statusNew(char const* intf,
                                                char const* local = kLocal,
                                                char const* shared = kShared) {
      auto made = Pelk::makePtr<Vxlan::VtiStatus>(Lidra::IntfId(intf));
      made->localVtepAddrIs(Lidra::IpAddr(std::string_view(local)));
      made->mlagVtepAddrIs(Lidra::IpAddr(std::string_view(shared)));
      return made;
   }

   // Makes the reactor; what it does meanwhile is in the log.
   void start(Lidra::AddressFamily af = kIpv4) {
      sm = Irb::Multicast::Evpn::transitSmFactory(af, config, dir, mlag, coll, joins);
   }
   // The same, with the log emptied.
   void startQuietly(Lidra::AddressFamily af = kIpv4) {
      start(af);
      log.take();
   }

   void transit(char const* vrf) { config->transitVrfIs(vrf); }
   void map(char const* vrf, uint16_t vlanId) { status->vrfToSBDVlanIs(vrf, vlanId); }
   void mlagIs(uint32_t state) {
      mlag->mlagStateIs(static_cast<Mlag::MlagState>(state));
   }
   // Replaces the reactor's directory, and the fixture's.
   void dirIs(Pelk::Ptr<Vxlan::VtiStatusDir> const& newDir) {
      dir = newDir;
      sm->vtiStatusDirIs(newDir);
   }
   static Pelk::Ptr<Vxlan::VtiStatusDir>
   dirOf(std::vector<Pelk::Ptr<Vxlan::VtiStatus>> const& statuses) {
      auto made = Pelk::makePtr<Vxlan::VtiStatusDir>();
      for (auto const& entry : statuses) {
         made->vtiStatusIs(entry);
      }
      return made;
   }

   Verify::Outputs outputs() const { return Verify::outputsOf(*coll, *joins); }
   // Of the inputs of now, which need not be those of a reactor.
   Verify::Outputs referenceOf(Lidra::AddressFamily af = kIpv4) const {
      return Verify::reactorOutputs({config, dir, mlag, nullptr}, af, joinsEnabled);
   }
   Verify::Outputs reference() const {
      return Verify::reactorOutputs({config, sm->vtiStatusDir(), mlag, nullptr},
                                    sm->af(), joinsEnabled);
   }
   void expectReference() const {
      EXPECT_THAT(complaints(reference(), outputs(), excuses), testing::IsEmpty());
   }
   void excuse(std::string const& output, Verify::PathDependence const& why) {
      excuses.insert_or_assign(output, why);
   }

   std::string addressOf(uint16_t vlanId) const {
      auto const intf = coll->intf(Lidra::VlanIntfId::vlanIdToIntfId(vlanId));
      return intf ? intf->ipAddr().stringValue() : "no interface";
   }
   bool hasJoin(uint16_t vlanId) const { return outputs().contains(joinKey(vlanId)); }
   // How many subscribers the inputs have.
   uint32_t subscribers() const {
      return config->subscribers() + mlag->subscribers() + status->subscribers() +
             (dir ? dir->subscribers() : 0);
   }

   // The lists one after the other.
   template <typename... More>
   static Events then(Events events, More const&... more) {
      (events.insert(events.end(), more.begin(), more.end()), ...);
      return events;
   }
   // What one evaluation of a VLAN logs.
   static std::string evaluating(uint16_t vlanId) {
      return "8 handleTransitVlan: handleTransitVlan( ipv4 ), vlanId: " +
             std::to_string(vlanId);
   }
   static std::string transitVrfChanged(char const* vrf) {
      return std::string("8 handleTransitVrf: handleTransitVrf( ipv4 ), vrf: ") + vrf;
   }
   static std::string vlanChanged(char const* vrf) {
      return std::string("8 handleVrfToSBDVlan: handleVrfToSBDVlan( ipv4 ), vrf: ") +
             vrf;
   }
   static std::string addressChanged() {
      return "8 handleVtepAddr: handleVtepAddr( ipv4 )";
   }
   static std::string enabledBy(char const* vrf) {
      return std::string("8 handleTransitVlan: Transit enabled Vrf: ") + vrf;
   }
   static std::string creating(uint16_t vlanId) {
      return "4 updateTransitIntf: updateTransitIntf( ipv4 ), create transit intf: "
             "Vlan" +
             std::to_string(vlanId);
   }
   static std::string deleting(uint16_t vlanId) {
      return "4 updateTransitIntf: updateTransitIntf( ipv4 ), delete transit intf: "
             "Vlan" +
             std::to_string(vlanId);
   }
   static std::string choosing(char const* addr) {
      return std::string("4 vtepAddr: vtepAddr for transit interface : ") + addr;
   }
   static std::string joining(uint16_t vlanId) {
      return "4 updateTransitIntf: updateTransitIntf: Adding (" +
             std::to_string(vlanId) + ", *, * ) to transit membershipJoinStatus";
   }
   static Events joinMade(uint16_t vlanId) {
      auto const vlan = "+ vlan[" + std::to_string(vlanId) + "]";
      auto const group = vlan + ".group[0.0.0.0]";
      auto const source = group + ".source[0.0.0.0]";
      return {vlan, group, source, source + ".includeIntf[Null0]"};
   }
   // All of it for a VLAN that becomes, that is already, or that ceases to be a
   // transit VLAN, and for one that is none.
   static Events becomesTransit(uint16_t vlanId, char const* vrf, char const* addr) {
      return then({evaluating(vlanId), enabledBy(vrf), creating(vlanId), choosing(addr),
                   "+ intf[Vlan" + std::to_string(vlanId) + "]", joining(vlanId)},
                  joinMade(vlanId));
   }
   static Events staysTransit(uint16_t vlanId, char const* vrf, char const* addr) {
      return {evaluating(vlanId), enabledBy(vrf), creating(vlanId), choosing(addr),
              joining(vlanId)};
   }
   static Events endsTransit(uint16_t vlanId) {
      auto const number = std::to_string(vlanId);
      return {evaluating(vlanId), deleting(vlanId), "- intf[Vlan" + number + "]",
              "- vlan[" + number + "]"};
   }
   static Events noTransit(uint16_t vlanId) {
      return {evaluating(vlanId), deleting(vlanId)};
   }

   Pelk::Ptr<Routing::Multicast::Evpn::Config> config =
      Pelk::makePtr<Routing::Multicast::Evpn::Config>();
   Pelk::Ptr<Vxlan::VtiStatusDir> dir = Pelk::makePtr<Vxlan::VtiStatusDir>();
   Pelk::Ptr<Vxlan::VtiStatus> status;
   Pelk::Ptr<Mlag::Status> mlag = Pelk::makePtr<Mlag::Status>();
   Pelk::Ptr<TransitIntfColl> coll = Irb::Multicast::Evpn::transitIntfCollFactory();
   Pelk::Ptr<Irb::Multicast::Gmp::MembershipJoinStatus> joins =
      Pelk::makePtr<Irb::Multicast::Gmp::MembershipJoinStatus>();
   Pelk::Ptr<TransitSm> sm;
   EventLog log;
   Verify::Excuses excuses;
   bool joinsEnabled = true;
};

} // namespace Support
