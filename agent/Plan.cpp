#include "agent/Plan.h"

#include "agent/Conditions.h"
#include "agent/Entries.h"
#include "agent/ExitStatus.h"
#include "agent/Formatters.h"
#include "agent/Host.h"
#include "agent/MachineNames.h"
#include "agent/OutputRecorder.h"
#include "agent/SbdVlans.h"
#include "agent/Streams.h"
#include "agent/Table.h"
#include "agent/Terminal.h"
#include "pelk/Printable.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <optional>
#include <set>
#include <tuple>

namespace Agent {

namespace {

using nlohmann::json;
using nlohmann::ordered_json;

enum class Action { keep, rewrite, add, remove };
constexpr std::array kActionNames{"keep", "rewrite", "add", "delete"};
constexpr std::array kActionStyles{Table::Style::dim, Table::Style::changed,
                                   Table::Style::good, Table::Style::bad};

// What a start did: the outputs before and after it, and each of its notifications.
struct Start {
   Entries before;
   Entries after;
   ordered_json operations = ordered_json::array();
};

Start startOver(Host& host) {
   Start start;
   OutputsRecorder const recorder(host.state(), [&start](auto const& operation) {
      start.operations.push_back(operation);
   });
   start.before = entriesOf(host.state().outputsToJson());
   host.start();
   host.drain();
   start.after = entriesOf(host.state().outputsToJson());
   return start;
}

// Where an entry stands, taken apart: the name of an output, then in turn an attribute
// and a key.
class OutputPlace {
 public:
   explicit OutputPlace(std::string const& path) {
      for (json::json_pointer at(path); !at.empty(); at.pop_back()) {
         names_.insert(names_.begin(), at.back());
      }
   }

   bool isIntf() const { return names_[0] == "transitIntfColl"; }
   // 0 if the entry belongs to none.
   uint16_t vlan() const {
      return isIntf() ? vlanOfIntf(names_[2])
                      : static_cast<uint16_t>(std::stoul(names_[2]));
   }
   bool isEmptyLevel() const {
      return !isIntf() && names_.size() < 9 &&
             names_[3 % names_.size()] != "routerIntf";
   }

   std::string output() const { return isIntf() ? "transit interface" : "join"; }

   // In people's words; "*" is the address of none, which stands for any.
   std::string entry(Lidra::AddressFamily af) const {
      if (isIntf()) {
         return nameForPeople(names_[2]);
      }
      auto const any = Lidra::IpGenAddr::ipGenAddrZero(af).stringValue();
      auto const address = [&](size_t i) {
         return names_.size() <= i ? "-" : names_[i] == any ? "*" : names_[i];
      };
      if (isRouter()) {
         return "router " + nameForPeople(names_[4]);
      }
      auto const levels = fmt::format("({}, {})", address(4), address(6));
      if (!isLeafOfSource()) {
         return names_.size() == 3 ? "nothing below the VLAN"
                                   : "nothing below " + levels;
      }
      return fmt::format("{} {} {}", levels,
                         names_[7] == "includeIntf" ? "include" : "exclude",
                         nameForPeople(names_[8]));
   }

   // Whether it is of the form that the machines write, for some VLAN.
   bool isOfMachines(Lidra::AddressFamily af) const {
      auto const any = Lidra::IpGenAddr::ipGenAddrZero(af).stringValue();
      return isIntf() ? vlan() != 0
                      : isLeafOfSource() && names_[4] == any && names_[6] == any &&
                           names_[7] == "includeIntf" && names_[8] == "Null0";
   }

 private:
   bool isRouter() const { return names_.size() == 5 && names_[3] == "routerIntf"; }
   bool isLeafOfSource() const { return names_.size() == 9; }

   std::vector<std::string> names_;
};

struct Step {
   Action action;
   OutputPlace place;
   std::string vtep; // of a transit interface
   std::string why;
};

class PlanTable {
 public:
   PlanTable(Host& host, Options const& options, Start const& start)
      : state_(host.state()), options_(options), start_(start), vlans_(state_) {
      std::set<std::string> touched;
      for (auto const& operation : start.operations) {
         for (auto const& path :
              touchedBy(operation["path"].get<std::string>(), start.before)) {
            touched.insert(path);
         }
      }
      for (auto const& [path, value] : start.before) {
         auto const now = start.after.find(path);
         if (now == start.after.end()) {
            if (!isLevelOf(path, start.after)) {
               add(Action::remove, path, value);
            }
         } else if (!touched.contains(path)) {
            add(Action::keep, path, value);
         } else {
            add(Action::rewrite, path, value, &now->second);
         }
      }
      for (auto const& [path, value] : start.after) {
         if (!start.before.contains(path) && !isLevelOf(path, start.before)) {
            add(Action::add, path, value);
         }
      }
      std::ranges::stable_sort(steps_, {}, [](Step const& step) {
         return std::tuple(step.place.vlan() == 0, step.place.vlan(),
                           !step.place.isIntf());
      });
   }

   std::string text(bool colour) const {
      Table table({{"Action"},
                   {"VLAN", Table::Align::right},
                   {"Output"},
                   {"Entry"},
                   {"Source VTEP"},
                   {"Why"}});
      for (auto const& step : steps_) {
         auto const action = static_cast<size_t>(step.action);
         auto const vlan = step.place.vlan();
         table.row(kActionStyles[action],
                   {kActionNames[action], vlan == 0 ? "-" : std::to_string(vlan),
                    step.place.output(), step.place.entry(options_.af), step.vtep,
                    step.why});
      }
      auto const where =
         options_.state == "-" ? "these outputs" : "the outputs in " + options_.state;
      return fmt::format("A start of {} over {} ({})\n\n{}{}{}",
                         machineName(options_.machine), where, options_.af,
                         table.text(colour), steps_.empty() ? "" : "\n", summary());
   }

 private:
   // A level that was empty and is no more, or the other way round, is no entry then.
   static bool isLevelOf(std::string const& path, Entries const& entries) {
      auto const below = entries.lower_bound(path + '/');
      return below != entries.end() && below->first.starts_with(path + '/');
   }

   void add(Action action, std::string const& path, json const& value,
            json const* now = nullptr) {
      OutputPlace place(path);
      auto vtep = vtepOf(value);
      auto const next = now == nullptr ? vtep : vtepOf(*now);
      bool const isSame = next == vtep;
      vtep += isSame ? "" : " -> " + next;
      auto why = reason(action, place, isSame);
      steps_.push_back({action, std::move(place), std::move(vtep), std::move(why)});
   }

   static std::string vtepOf(json const& value) {
      return value.is_object() && value.contains("ipAddr")
                ? value["ipAddr"].get<std::string>()
                : "";
   }

   std::string reason(Action action, OutputPlace const& place, bool isSame) const {
      auto const vlan = place.vlan();
      bool const isOfMachine = place.isOfMachines(options_.af);
      std::string why =
         !isOfMachine
            ? "not what a machine writes"
            : whyNo(place.isIntf() ? Condition::For::intf : Condition::For::join,
                    factsOf(vlan, vlans_, state_, options_), options_.machine);
      switch (action) {
         case Action::add:
            return "SBD VLAN of " + vrfsText(vlans_.vrfsOf(vlan));
         case Action::rewrite:
            return isSame ? "withdrawn and written again" : "another VTEP address";
         case Action::remove:
            return why;
         case Action::keep:
            break;
      }
      if (why.empty()) {
         return "right";
      }
      if (options_.machine == Verify::Machine::dataflow) {
         return place.isEmptyLevel() ? "an empty level is left alone"
                                     : why + ", but left alone";
      }
      // What no VRF leads it to, or what is not of its own form, it never looks at.
      bool const isOutOfReach = !isOfMachine || vlans_.vrfsOf(vlan).empty() ||
                                options_.af != Lidra::AddressFamily::ipv4;
      return why + (isOutOfReach ? ", but no start of TransitSm removes it"
                                 : ", but this start leaves it");
   }

   std::string summary() const {
      if (start_.operations.empty()) {
         return steps_.empty()
                   ? "  Nothing stands there, and nothing would be written.\n"
                   : fmt::format("  Nothing would change: {} to keep.\n",
                                 steps_.size());
      }
      std::string counts;
      for (auto const action :
           {Action::keep, Action::rewrite, Action::add, Action::remove}) {
         counts += fmt::format("{}{} to {}", counts.empty() ? "" : ", ",
                               std::ranges::count(steps_, action, &Step::action),
                               kActionNames[static_cast<size_t>(action)]);
      }
      return fmt::format("  {}; {} notification{}.\n", counts, start_.operations.size(),
                         start_.operations.size() == 1 ? "" : "s");
   }

   State const& state_;
   Options const& options_;
   Start const& start_;
   SbdVlans const vlans_;
   std::vector<Step> steps_;
};

} // namespace

int plan(Options const& options) {
   Host host(options);
   loadState({&host}, options);
   auto const start = startOver(host);
   auto const text = options.json
                        ? start.operations.dump(2) + '\n'
                        : PlanTable(host, options, start).text(mayDecorate(stdout));
   print(text);
   return start.operations.empty() ? kFine : kWouldChange;
}

} // namespace Agent
