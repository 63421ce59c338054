#include "agent/OutputTable.h"

#include "agent/Conditions.h"
#include "agent/Formatters.h"
#include "agent/MachineNames.h"
#include "agent/SbdVlans.h"
#include "agent/Table.h"

#include <fmt/format.h>

#include <map>
#include <string>
#include <vector>

namespace Agent {

namespace {

constexpr char const* kNone = "-";

// What stands for one SBD VLAN.
struct Row {
   Pelk::Ptr<Irb::Multicast::Evpn::TransitIntf> intf;
   bool hasJoin = false;
};

class Report {
 public:
   Report(State const& state, Options const& options)
      : state_(state), options_(options), vlans_(state),
        status_(state.vtiStatusDir->vtiStatus(Lidra::IntfId("Vxlan1"))) {
      for (auto const& [vlan, vrfs] : vlans_.vrfs()) {
         rows_[vlan] = {};
      }
      collectOutputs();
   }

   std::string heading() const {
      auto const mlag = state_.mlagStatus->mlagState();
      return fmt::format("Transit interfaces of {} ({}, {})\n\n"
                         "  MLAG state    {} ({})\n"
                         "  VTEP address  {}\n"
                         "  Transit VRFs  {}\n\n",
                         options_.state == "-" ? "standard input" : options_.state,
                         options_.af, machineName(options_.machine), mlag,
                         static_cast<uint32_t>(mlag), vtepAddr(), transitVrfs());
   }

   Table table() const {
      Table table({{"SBD VLAN", Table::Align::right},
                   {"Transit interface"},
                   {"Source VTEP"},
                   {"Join"},
                   {"VRFs (* transit)"},
                   {"Why not"}});
      for (auto const& [vlan, row] : rows_) {
         auto const style = row.intf ? Table::Style::good : Table::Style::dim;
         auto const vrfs = vrfsText(vlans_.vrfsOf(vlan));
         table.row(style, {std::to_string(vlan),
                           row.intf ? row.intf->intfId().stringValue() : kNone,
                           row.intf ? row.intf->ipAddr().stringValue() : kNone,
                           row.hasJoin ? "(*, *) Null0" : kNone,
                           vrfs.empty() ? kNone : vrfs, reason(vlan, row)});
      }
      for (auto const& intf : strangers_) {
         table.row(Table::Style::plain,
                   {kNone, nameForPeople(intf->intfId().stringValue()),
                    intf->ipAddr().stringValue(), kNone, kNone,
                    "no VLAN interface: another writer's"});
      }
      return table;
   }

   std::string summary() const {
      if (rows_.empty() && strangers_.empty()) {
         return "  No VRF is mapped to an SBD VLAN.\n";
      }
      size_t mapped = 0;
      size_t withIntf = 0;
      size_t withJoin = 0;
      for (auto const& [vlan, row] : rows_) {
         if (!vlans_.vrfsOf(vlan).empty()) {
            ++mapped;
            withIntf += row.intf ? 1 : 0;
            withJoin += row.hasJoin ? 1 : 0;
         }
      }
      return fmt::format(
         "\n  {} of {} SBD VLANs have a transit interface, {} a join.\n", withIntf,
         mapped, withJoin);
   }

 private:
   void collectOutputs() {
      for (auto const& entry : state_.membershipJoinStatus->vlan()) {
         rows_[entry.key()].hasJoin = hasWildcardJoin(*entry.value());
      }
      for (auto const& entry : state_.transitIntfColl->intf()) {
         uint16_t const vlan = vlanOfIntf(entry.key().stringValue());
         if (vlan != 0) {
            rows_[vlan].intf = entry.value();
         } else {
            strangers_.push_back(entry.value());
         }
      }
   }

   bool hasWildcardJoin(Irb::Multicast::Gmp::VlanMembershipJoin const& join) const {
      auto const any = Lidra::IpGenAddr::ipGenAddrZero(options_.af);
      auto const group = join.group(any);
      auto const source = group ? group->source(any) : nullptr;
      return source && source->includeIntf().contains(Lidra::IntfId("Null0"));
   }

   std::string vtepAddr() const {
      if (!status_) {
         return "none: there is no status of Vxlan1";
      }
      bool const shared = state_.mlagStatus->mlagState() == Mlag::MlagState::active;
      return shared
                ? status_->mlagVtepAddr().stringValue() + ", shared by the MLAG pair"
                : status_->localVtepAddr().stringValue() + ", this switch's own";
   }

   std::string transitVrfs() const {
      std::string unmapped;
      size_t mapped = 0;
      for (auto const& entry : state_.mcastEvpnConfig->transitVrf()) {
         if (status_ && !status_->vrfToSBDVlan(entry.key()).isNone()) {
            ++mapped;
         } else {
            unmapped +=
               (unmapped.empty() ? "" : ", ") + std::string(entry.key().view());
         }
      }
      auto text = fmt::format("{} configured, {} with an SBD VLAN",
                              state_.mcastEvpnConfig->transitVrf().size(), mapped);
      return unmapped.empty() ? text : text + "; without: " + unmapped;
   }

   // Why the row is not what one would expect of an SBD VLAN.
   std::string reason(uint16_t vlanId, Row const& row) const {
      auto const why =
         whyNo(Condition::For::intf, factsOf(vlanId, vlans_, state_, options_),
               options_.machine);
      if (options_.machine == Verify::Machine::reactor &&
          options_.af != Lidra::AddressFamily::ipv4) {
         return row.intf || row.hasJoin
                   ? "left by others: TransitSm writes for ipv4 only"
                   : why;
      }
      if (vlans_.vrfsOf(vlanId).empty()) {
         return why + ": left by others";
      }
      return row.intf ? "" : why;
   }

   State const& state_;
   Options const& options_;
   SbdVlans const vlans_;
   Pelk::Ptr<Vxlan::VtiStatus> status_;
   std::map<uint16_t, Row> rows_;
   std::vector<Pelk::Ptr<Irb::Multicast::Evpn::TransitIntf>> strangers_;
};

} // namespace

std::string outputTable(State const& state, Options const& options, bool colour) {
   Report const report(state, options);
   return report.heading() + report.table().text(colour) + report.summary();
}

} // namespace Agent
