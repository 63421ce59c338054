#pragma once

#include "McastVpnLib/McastVpnLib.h"
#include "McastVpnLib/TransitIntfSm/TransitIntfSm.h"
#include "McastVpnLib/TransitIntfSm/inputs/McastEvpnConfigSm0.h"
#include "McastVpnLib/TransitIntfSm/inputs/MlagStatusSm3.h"
#include "McastVpnLib/TransitIntfSm/inputs/PegVlanStatusSm4.h"
#include "McastVpnLib/TransitIntfSm/inputs/VtiStatusDirSm1.h"
#include "agent/verify/DataflowRule.h"
#include "agent/verify/PathDependence.h"
#include "support/EventLog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace Support {

using Irb::Multicast::Evpn::TransitIntfColl;
using Irb::Multicast::Evpn::TransitIntfSm;
using Irb::Multicast::Gmp::MembershipJoinStatus;
using Verify::complaints;
using Verify::intfKey;
using Verify::joinKey;
namespace Path = Verify::Path;

inline constexpr auto kIpv4 = Lidra::AddressFamily::ipv4;
inline constexpr auto kIpv6 = Lidra::AddressFamily::ipv6;

inline Lidra::IntfId vxlan1() {
   return Lidra::IntfId("Vxlan1");
}
inline Lidra::IntfId null0() {
   return Lidra::IntfId("Null0");
}

// A dataflow machine with its inputs and outputs, a scheduler of its own, and a log of
// what it does. Every test ends with the comparison against the rule, once the machine
// is ready.
class DataflowTest : public testing::Test {
 protected:
   using Events = std::vector<std::string>;

   static constexpr char const* kLocal = "10.0.0.1";
   static constexpr char const* kShared = "10.0.0.99";

   DataflowTest() {
      status = statusNew("Vxlan1");
      dir->vtiStatusIs(status);
      scheduler->shareIs(std::make_unique<Kolm::UnlimitedShare>());
      control.taskSchedulerIs(scheduler);
      control.runModeIs(Vorn::RunMode::synchronous);
      log.follow(*coll);
      log.follow(*joins);
   }

   void TearDown() override {
      log.actionIs(nullptr);
      scheduler->runUntilIdle();
      if (sm) {
         expectRule();
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

   // Makes the machine; what it does meanwhile is in the log.
   void start(Lidra::AddressFamily af = kIpv4) {
      sm = Irb::Multicast::Evpn::transitIntfSmFactory(af, config, dir, mlag, coll,
                                                      joins, peg, control);
   }
   void startQuietly(Lidra::AddressFamily af = kIpv4) {
      start(af);
      log.take();
   }
   // Makes an asynchronous one, with a share of its slices.
   template <typename Share, typename... Args>
   void startAsync(Args&&... args) {
      control.runModeIs(Vorn::RunMode::asynchronous);
      scheduler->shareIs(std::make_unique<Share>(std::forward<Args>(args)...));
      start();
   }
   void runUntilReady() {
      scheduler->runUntilIdle();
      EXPECT_TRUE(sm->ready());
   }

   void transit(char const* vrf) { config->transitVrfIs(vrf); }
   void map(char const* vrf, uint16_t vlanId) { status->vrfToSBDVlanIs(vrf, vlanId); }
   void mlagIs(uint32_t state) {
      mlag->mlagStateIs(static_cast<Mlag::MlagState>(state));
   }
   // A VRF on a VLAN, with all that the VLAN needs.
   void transitOn(char const* vrf, uint16_t vlanId) {
      transit(vrf);
      map(vrf, vlanId);
      peg->pegVlanIs(vlanId);
   }

   Verify::Outputs outputs() const { return Verify::outputsOf(*coll, *joins); }
   Verify::Outputs rule() const {
      return Verify::dataflowOutputs({config, dir, mlag, peg}, sm->addressFamily());
   }
   void expectRule() const {
      EXPECT_TRUE(sm->ready());
      EXPECT_THAT(complaints(rule(), outputs(), excuses), testing::IsEmpty());
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
             dir->subscribers() + peg->subscribers();
   }

   // What an evaluation of a transit VLAN makes where nothing was.
   static Events made(uint16_t vlanId, char const* addr) {
      auto const number = std::to_string(vlanId);
      auto const vlan = "+ vlan[" + number + "]";
      auto const group = vlan + ".group[0.0.0.0]";
      auto const source = group + ".source[0.0.0.0]";
      static_cast<void>(addr);
      return {vlan, group, source, source + ".includeIntf[Null0]",
              "+ intf[Vlan" + number + "]"};
   }
   static Events gone(uint16_t vlanId) {
      auto const number = std::to_string(vlanId);
      auto const vlan = "- vlan[" + number + "]";
      auto const group = vlan + ".group[0.0.0.0]";
      auto const source = group + ".source[0.0.0.0]";
      return {source + ".includeIntf[Null0]", source, group, vlan,
              "- intf[Vlan" + number + "]"};
   }
   template <typename... More>
   static Events then(Events events, More const&... more) {
      (events.insert(events.end(), more.begin(), more.end()), ...);
      return events;
   }

   Pelk::Ptr<Routing::Multicast::Evpn::Config> config =
      Pelk::makePtr<Routing::Multicast::Evpn::Config>();
   Pelk::Ptr<Vxlan::VtiStatusDir> dir = Pelk::makePtr<Vxlan::VtiStatusDir>();
   Pelk::Ptr<Vxlan::VtiStatus> status;
   Pelk::Ptr<Mlag::Status> mlag = Pelk::makePtr<Mlag::Status>();
   Pelk::Ptr<Routing::Multicast::PegVlanStatus> peg =
      Pelk::makePtr<Routing::Multicast::PegVlanStatus>();
   Pelk::Ptr<TransitIntfColl> coll = Irb::Multicast::Evpn::transitIntfCollFactory();
   Pelk::Ptr<MembershipJoinStatus> joins = Pelk::makePtr<MembershipJoinStatus>();
   Pelk::Ptr<Kolm::TaskScheduler> scheduler = Pelk::makePtr<Kolm::TaskScheduler>();
   Vorn::SmControl control;
   Pelk::Ptr<TransitIntfSm> sm;
   EventLog log;
   Verify::Excuses excuses;
};

} // namespace Support
