#include "agent/ComparisonText.h"

#include "agent/Formatters.h"
#include "agent/JsonText.h"
#include "agent/MachineNames.h"
#include "agent/OutputKey.h"
#include "agent/Table.h"
#include "pelk/Printable.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>

namespace Agent {

namespace {

using nlohmann::ordered_json;
using Verify::Machine;

constexpr int kComparisonSchema = 1;
constexpr char const* kUnexplained = "no known reason: one of them is wrong";

ordered_json valueOrNull(std::string const& text) {
   return text == Verify::kNothing ? ordered_json() : ordered_json(text);
}

bool isUnexplained(OutputDifference const* difference) {
   return difference->reasons.empty();
}

std::string plural(size_t count, std::string_view what) {
   return what == "VLAN or interface" && count != 1
             ? fmt::format("{} VLANs and interfaces", count)
             : fmt::format("{} {}{}", count, what, count == 1 ? "" : "s");
}

} // namespace

ComparisonText::ComparisonText(State const& reactor, State const& dataflow,
                               TwoMachines const& machines, Options const& options)
   : reactor_(reactor), dataflow_(dataflow), machines_(machines), options_(options),
     vlans_(dataflow), ofReactor_(outputsOf(reactor)),
     ofDataflow_(outputsOf(dataflow)) {
   for (auto const& [vlanId, vrfs] : vlans_.vrfs()) {
      add(intfKeyOf(vlanId));
   }
   for (auto const* outputs : {&ofReactor_, &ofDataflow_}) {
      for (auto const& [key, text] : *outputs) {
         add(key);
      }
   }
   for (auto const& [key, each] : machines.differences()) {
      auto const vlanId = vlanOfKey(key);
      auto& row = vlanId != 0 ? rows_[vlanId] : strangers_[nameInKey(key)];
      row.differences.push_back(&each);
   }
}

void ComparisonText::add(std::string const& key) {
   auto const vlanId = vlanOfKey(key);
   if (vlanId == 0) {
      strangers_[nameInKey(key)].intf = key;
   } else {
      rows_[vlanId] = {intfKeyOf(vlanId), Verify::joinKey(vlanId), {}};
   }
}

std::string ComparisonText::cell(Verify::Outputs const& outputs, Row const& row) const {
   std::vector<std::string> parts;
   auto const intf = outputs.find(row.intf);
   if (intf != outputs.end()) {
      parts.push_back(intf->second);
   }
   auto const join = outputs.find(row.join);
   if (join != outputs.end()) {
      parts.push_back(joinText(join->second));
   } else if (!row.join.empty() && !parts.empty()) {
      parts.emplace_back("no join");
   }
   return parts.empty() ? "-" : fmt::format("{}", fmt::join(parts, ", "));
}

// The wildcard join, and what stands beside it.
std::string ComparisonText::joinText(std::string const& join) const {
   auto const wildcard = Verify::wildcardJoinText(options_.af);
   return join == wildcard ? "join"
          : join.starts_with(wildcard + "; ")
             ? "join; " + join.substr(wildcard.size() + 2)
             : "only " + join;
}

std::string ComparisonText::reasons(Row const& row) {
   std::vector<std::string_view> texts;
   for (auto const* difference : row.differences) {
      if (isUnexplained(difference)) {
         return kUnexplained;
      }
      for (auto const* reason : difference->reasons) {
         if (std::ranges::find(texts, reason->brief) == texts.end()) {
            texts.push_back(reason->brief);
         }
      }
   }
   return fmt::format("{}", fmt::join(texts, "; "));
}

std::string ComparisonText::table(Rows rows, bool colour) const {
   Table table({{"SBD VLAN", Table::Align::right},
                {"VRFs (* transit)"},
                {std::string(machineName(Machine::reactor))},
                {std::string(machineName(Machine::dataflow))},
                {"Why they differ"}});
   size_t differing = 0;
   size_t unexplained = 0;
   auto const addRow = [&](std::string const& name, std::string const& vrfs,
                           Row const& row) {
      bool const differs = !row.differences.empty();
      bool const isWrong = std::ranges::any_of(row.differences, isUnexplained);
      differing += differs ? 1 : 0;
      unexplained += isWrong ? 1 : 0;
      if (differs || rows == Rows::all) {
         table.row(isWrong   ? Table::Style::bad
                   : differs ? Table::Style::changed
                             : Table::Style::plain,
                   {name, vrfs.empty() ? "-" : vrfs, cell(ofReactor_, row),
                    cell(ofDataflow_, row), reasons(row)});
      }
   };
   for (auto const& [vlanId, row] : rows_) {
      addRow(std::to_string(vlanId), vrfsText(vlans_.vrfsOf(vlanId)), row);
   }
   for (auto const& [name, row] : strangers_) {
      addRow(nameForPeople(name), "", row);
   }
   auto const text = table.text(colour);
   return fmt::format("{} and {} over {} ({})\n\n{}{}{}{}",
                      machineName(Machine::reactor), machineName(Machine::dataflow),
                      options_.state.empty() ? "empty inputs" : options_.state,
                      options_.af, text, text.empty() ? "" : "\n",
                      summary(differing, unexplained), onTheWay());
}

std::string ComparisonText::summary(size_t differing, size_t unexplained) const {
   size_t const all = rows_.size() + strangers_.size();
   if (!machines_.isCompared()) {
      return "  Not compared: a machine is stopped, or has work left.\n";
   }
   if (all == 0) {
      return "  No VRF is mapped to an SBD VLAN.\n";
   }
   std::string_view const what = strangers_.empty() ? "VLAN" : "VLAN or interface";
   if (differing == 0) {
      return fmt::format("  The outputs are the same: {}.\n", plural(all, what));
   }
   return fmt::format("  {} of {} differ{}, {}.\n", differing, plural(all, what),
                      differing == 1 ? "s" : "",
                      unexplained == 0
                         ? "for a known reason"
                         : std::to_string(unexplained) + " without a known reason");
}

bool ComparisonText::isShown(Verify::ExpectedDifference const* reason) const {
   return std::ranges::any_of(machines_.differences(), [&](auto const& each) {
      auto const& reasons = each.second.reasons;
      return std::ranges::find(reasons, reason) != reasons.end();
   });
}

// What the table does not show: other ways to the same outputs, and differences that
// came and went.
std::string ComparisonText::onTheWay() const {
   std::string text;
   for (auto const& [reason, times] : machines_.reasons()) {
      if (!isShown(reason)) {
         text += fmt::format("{}{:>8}  {}\n", text.empty() ? "  On the way:\n" : "",
                             fmt::format("{} x", times), reason->brief);
      }
   }
   return text;
}

std::string ComparisonText::json(Rows rows) const {
   ordered_json document{{"schemaVersion", kComparisonSchema}};
   if (rows == Rows::all) {
      document["reactor"] = reactor_.outputsToJson();
      document["dataflow"] = dataflow_.outputsToJson();
   }
   auto differences = ordered_json::array();
   for (auto const& [key, each] : machines_.differences()) {
      auto reasons = ordered_json::array();
      for (auto const* reason : each.reasons) {
         reasons.push_back({{"reason", reason->name}, {"message", reason->what}});
      }
      differences.push_back({{"path", outputPathOf(key)},
                             {"vlan", vlanOfKey(key)},
                             {"reactor", valueOrNull(each.reactor)},
                             {"dataflow", valueOrNull(each.dataflow)},
                             {"explained", !each.reasons.empty()},
                             {"reasons", std::move(reasons)}});
   }
   document["differences"] = std::move(differences);
   auto changes = ordered_json::array();
   for (auto const& [reason, times] : machines_.reasons()) {
      if (!isShown(reason)) {
         changes.push_back(
            {{"reason", reason->name}, {"message", reason->what}, {"times", times}});
      }
   }
   document["onTheWay"] = std::move(changes);
   return jsonText(document, 2) + '\n';
}

} // namespace Agent
