#include "agent/OutputTable.h"

#include "agent/BadInput.h"
#include "agent/Table.h"
#include "pelk/Printable.h"

#include <fmt/format.h>
#include <fmt/ostream.h>

#include <algorithm>
#include <map>
#include <string>
#include <tuple>
#include <vector>

template <>
struct fmt::formatter<Mlag::MlagState> : fmt::ostream_formatter {};
template <>
struct fmt::formatter<Lidra::AddressFamily> : fmt::ostream_formatter {};

namespace Agent {

namespace {

constexpr size_t kVrfsShown = 4;
constexpr char const* kNone = "-";

// What is known of one SBD VLAN, or of an interface that belongs to none.
struct Row {
   struct Vrf {
      bool isTransit;
      std::string name;
   };
   std::vector<Vrf> vrfs; // mapped to the VLAN; transit VRFs first
   Pelk::Ptr<Irb::Multicast::Evpn::TransitIntf> intf;
   bool hasJoin = false;
};

// A name as it stands, or in quotes where it could be misread.
std::string nameForPeople(std::string const& name) {
   bool const isPlain = !name.empty() && Pelk::printable(name) == name &&
                        name.find_first_of("*,\"") == std::string::npos &&
                        name.front() != ' ' && name.back() != ' ';
   return isPlain ? name : quote(name);
}

class Report {
 public:
   Report(State const& state, Options const& options)
      : state_(state), options_(options),
        status_(state.vtiStatusDir->vtiStatus(Lidra::IntfId("Vxlan1"))) {
      collectVrfs();
      collectOutputs();
   }

   std::string heading() const {
      auto const mlag = state_.mlagStatus->mlagState();
      return fmt::format("Transit interfaces of {} ({}, {})\n\n"
                         "  MLAG state    {} ({})\n"
                         "  VTEP address  {}\n"
                         "  Transit VRFs  {}\n\n",
                         options_.state, options_.af,
                         isReactor() ? "TransitSm" : "TransitIntfSm", mlag,
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
         table.row(style, {std::to_string(vlan),
                           row.intf ? row.intf->intfId().stringValue() : kNone,
                           row.intf ? row.intf->ipAddr().stringValue() : kNone,
                           row.hasJoin ? "(*, *) Null0" : kNone, vrfsOf(row),
                           reason(vlan, row)});
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
         if (!row.vrfs.empty()) {
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
   void collectVrfs() {
      if (!status_) {
         return;
      }
      for (auto const& entry : status_->vrfToSBDVlan()) {
         if (entry.value().isNone()) {
            continue;
         }
         auto& row = rows_[entry.value().value()];
         row.vrfs.push_back({state_.mcastEvpnConfig->transitVrfHas(entry.key()),
                             std::string(entry.key().view())});
      }
      for (auto& [vlan, row] : rows_) {
         std::ranges::sort(row.vrfs, [](auto const& a, auto const& b) {
            return std::tie(b.isTransit, a.name) < std::tie(a.isTransit, b.name);
         });
      }
   }

   void collectOutputs() {
      for (auto const& entry : state_.membershipJoinStatus->vlan()) {
         rows_[entry.key()].hasJoin = hasWildcardJoin(*entry.value());
      }
      constexpr std::string_view kPrefix = "Vlan";
      for (auto const& entry : state_.transitIntfColl->intf()) {
         auto const name = entry.key().stringValue();
         bool const isVlan = name.starts_with(kPrefix);
         uint16_t number = 0;
         try {
            number = Bridging::VlanId(std::string_view(name).substr(isVlan ? 4 : 0));
         } catch (std::logic_error const&) {
            number = 0;
         }
         if (isVlan && number != 0) {
            rows_[number].intf = entry.value();
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

   static std::string vrfsOf(Row const& row) {
      std::string text;
      size_t const shown = std::min(row.vrfs.size(), kVrfsShown);
      for (size_t i = 0; i < shown; ++i) {
         auto const& vrf = row.vrfs[i];
         text += (i == 0 ? "" : ", ") + nameForPeople(vrf.name);
         text += vrf.isTransit ? "*" : "";
      }
      if (row.vrfs.size() > shown) {
         text += fmt::format(", {} more", row.vrfs.size() - shown);
      }
      return text.empty() ? kNone : text;
   }

   bool isReactor() const { return options_.machine == Verify::Machine::reactor; }

   // Why the row is not what one would expect of an SBD VLAN.
   std::string reason(uint16_t vlanId, Row const& row) const {
      if (isReactor() && options_.af != Lidra::AddressFamily::ipv4) {
         return row.intf || row.hasJoin
                   ? "left by others: TransitSm writes for ipv4 only"
                   : "TransitSm works for ipv4 only";
      }
      if (row.vrfs.empty()) {
         return "no VRF maps here: left by others";
      }
      if (row.intf) {
         return "";
      }
      if (!isReactor() && row.vrfs.size() > 1) {
         return fmt::format("shared by {} VRFs", row.vrfs.size());
      }
      if (!row.vrfs.front().isTransit) {
         return "no transit VRF";
      }
      if (!isReactor() && !state_.pegVlanStatus->pegVlan().contains(vlanId)) {
         return "no PEG VLAN";
      }
      return state_.mlagStatus->mlagState() == Mlag::MlagState::withheld
                ? "withheld by the MLAG state"
                : "";
   }

   State const& state_;
   Options const& options_;
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
