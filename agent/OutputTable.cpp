#include "agent/OutputTable.h"

#include "agent/Table.h"

#include <fmt/format.h>
#include <fmt/ostream.h>

#include <algorithm>
#include <map>
#include <sstream>
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
   std::vector<std::string> vrfs; // mapped to the VLAN; transit VRFs first, with a "*"
   bool hasTransitVrf = false;
   Pelk::Ptr<Irb::Multicast::Evpn::TransitIntf> intf;
   bool hasJoin = false;
};

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
      return fmt::format("Transit interfaces of {} ({}, TransitSm)\n\n"
                         "  MLAG state    {} ({})\n"
                         "  VTEP address  {}\n"
                         "  Transit VRFs  {}\n\n",
                         options_.state, options_.af, mlag, static_cast<uint32_t>(mlag),
                         vtepAddr(), transitVrfs());
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
         table.row(style,
                   {std::to_string(vlan),
                    row.intf ? row.intf->intfId().stringValue() : kNone,
                    row.intf ? row.intf->ipAddr().stringValue() : kNone,
                    row.hasJoin ? "(*, *) Null0" : kNone, vrfsOf(row), reason(row)});
      }
      for (auto const& intf : strangers_) {
         table.row(Table::Style::plain,
                   {kNone, intf->intfId().stringValue(), intf->ipAddr().stringValue(),
                    kNone, kNone, "no VLAN interface: another writer's"});
      }
      return table;
   }

   std::string summary() const {
      auto const count = [this](auto&& has) {
         return std::count_if(rows_.begin(), rows_.end(),
                              [&](auto const& row) { return has(row.second); });
      };
      return fmt::format(
         "\n  {} of {} SBD VLANs have a transit interface, {} a join.\n",
         count([](Row const& row) { return bool(row.intf); }), rows_.size(),
         count([](Row const& row) { return row.hasJoin; }));
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
         bool const isTransit = state_.mcastEvpnConfig->transitVrfHas(entry.key());
         row.hasTransitVrf |= isTransit;
         row.vrfs.push_back(std::string(entry.key().view()) + (isTransit ? "*" : ""));
      }
      for (auto& [vlan, row] : rows_) {
         std::sort(row.vrfs.begin(), row.vrfs.end(), [](auto const& a, auto const& b) {
            return std::make_pair(!a.ends_with('*'), a) <
                   std::make_pair(!b.ends_with('*'), b);
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
      if (row.vrfs.empty()) {
         return kNone;
      }
      std::string text;
      size_t const shown = std::min(row.vrfs.size(), kVrfsShown);
      for (size_t i = 0; i < shown; ++i) {
         text += (i == 0 ? "" : ", ") + row.vrfs[i];
      }
      auto const hidden = row.vrfs.size() - shown;
      return hidden == 0 ? text : fmt::format("{}, {} more", text, hidden);
   }

   std::string reason(Row const& row) const {
      if (row.intf) {
         return row.vrfs.empty() ? "no VRF maps here: left by an earlier run" : "";
      }
      if (options_.af != Lidra::AddressFamily::ipv4) {
         return "TransitSm works for ipv4 only";
      }
      if (!row.hasTransitVrf) {
         return row.vrfs.empty() ? "no VRF maps here" : "no transit VRF";
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
