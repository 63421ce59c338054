#include "agent/report/Selection.h"

#include "agent/EventLines.h"
#include "agent/SbdVlans.h"
#include "bridging/VlanId.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <map>
#include <string_view>
#include <utility>
#include <vector>

namespace Agent {

using nlohmann::json;

namespace {

// Of the state in a header, and of nothing else that a person would write.
constexpr size_t kLongLine = size_t{1} << 16;

constexpr std::string_view kMapping = "/vrfToSBDVlan/";
constexpr std::string_view kPegVlan = "/pegVlanStatus/pegVlan/";
constexpr std::string_view kIntf = "/transitIntfColl/intf/";
constexpr std::string_view kJoinPath = "/membershipJoinStatus/vlan/";

// The step of a path behind its beginning; empty if it begins otherwise.
std::string_view stepBehind(std::string_view path, std::string_view beginning) {
   return path.starts_with(beginning)
             ? path.substr(beginning.size())
                  .substr(0, path.find('/', beginning.size()) - beginning.size())
             : std::string_view();
}

uint16_t vlanNamed(std::string_view number) {
   return vlanOfIntf("Vlan" + std::string(number));
}

uint16_t vlanIn(json const& value) {
   auto const number = value.is_number_unsigned() ? value.get<uint64_t>() : 0;
   return number <= Bridging::VlanId::kMax ? static_cast<uint16_t>(number)
                                           : uint16_t{0};
}

// Of an operation; empty if it is none.
std::string pathOf(json const& operation) {
   bool const hasPath = operation.is_object() && operation.contains("path") &&
                        operation["path"].is_string();
   return hasPath ? operation["path"].get<std::string>() : std::string();
}

// What a line is of that a recorder wrote: the name behind the time. Most lines need
// not be parsed then.
std::string_view kindOf(std::string_view line) {
   constexpr std::string_view kBegin = R"({"t":)";
   if (!line.starts_with(kBegin)) {
      return {};
   }
   auto const begin = line.find_first_not_of("0123456789", kBegin.size());
   constexpr std::string_view kBetween = R"(,")";
   if (begin == std::string_view::npos || !line.substr(begin).starts_with(kBetween)) {
      return {};
   }
   auto const name = line.substr(begin + kBetween.size());
   return name.substr(0, name.find('"'));
}

// The path of the operation in such a line.
std::string_view pathIn(std::string_view line) {
   constexpr std::string_view kPath = R"("path":")";
   auto const begin = line.find(kPath);
   if (begin == std::string_view::npos) {
      return {};
   }
   auto const path = line.substr(begin + kPath.size());
   return path.substr(0, path.find('"'));
}

// How much happens to which VLAN. A VLAN that is only a PEG VLAN is of no account.
class Scores {
 public:
   void addState(json const& state) {
      addMappings(state);
      addKeys(state, {"transitIntfColl", "intf"}, vlanOfIntf);
      addKeys(state, {"membershipJoinStatus", "vlan"}, vlanNamed);
   }

   // What is done from outside: an operation, or several.
   void addPlay(json const& play) {
      if (play.is_array()) {
         std::ranges::for_each(play, [this](json const& each) { addPlay(each); });
      } else if (auto const path = pathOf(play); !path.empty()) {
         auto const value = play.value("value", json());
         if (path.find(kMapping) != std::string::npos) {
            add(vlanIn(value));
         } else if (auto const peg = stepBehind(path, kPegVlan); !peg.empty()) {
            ++pegs_[vlanNamed(peg)];
         } else {
            addWrite(path);
            addMappings(value);
         }
      }
   }

   void addWrite(std::string_view path) {
      if (auto const intf = stepBehind(path, kIntf); !intf.empty()) {
         add(vlanOfIntf(intf));
      } else if (auto const join = stepBehind(path, kJoinPath); !join.empty()) {
         add(vlanNamed(join));
      }
   }

   size_t vlans() const noexcept { return scores_.size(); }

   std::set<uint16_t> best(size_t most) const {
      std::vector<std::pair<uint64_t, uint16_t>> order;
      for (auto const& [vlan, score] : scores_) {
         auto const peg = pegs_.find(vlan);
         order.emplace_back(score + (peg == pegs_.end() ? 0 : peg->second), vlan);
      }
      std::ranges::sort(order, [](auto const& a, auto const& b) {
         return a.first != b.first ? a.first > b.first : a.second < b.second;
      });
      std::set<uint16_t> best;
      for (size_t i = 0; i < std::min(most, order.size()); ++i) {
         best.insert(order[i].second);
      }
      return best;
   }

 private:
   void add(uint16_t vlan, uint64_t score = 1) {
      if (vlan != 0) {
         scores_[vlan] += score;
      }
   }

   // Of an object that has mappings of VRFs somewhere in it.
   void addMappings(json const& value) {
      if (!value.is_object()) {
         return;
      }
      for (auto const& [name, member] : value.items()) {
         if (name == "vrfToSBDVlan" && member.is_object()) {
            std::ranges::for_each(member,
                                  [this](json const& vlan) { add(vlanIn(vlan), 0); });
         } else {
            addMappings(member);
         }
      }
   }

   void addKeys(json const& state, std::array<char const*, 2> const& at,
                uint16_t (*vlanOf)(std::string_view)) {
      for (auto const& [key, member] : state.at(at[0]).at(at[1]).items()) {
         add(vlanOf(key), 0);
      }
   }

   std::map<uint16_t, uint64_t> scores_;
   std::map<uint16_t, uint64_t> pegs_;
};

} // namespace

Selection selectionOf(FileText const& recording, json const& state) {
   EventLines lines(recording);
   Selection selection;
   Scores scores;
   scores.addState(state);
   for (auto const* line = lines.peek(); line != nullptr; line = lines.peek()) {
      auto const kind = kindOf(line->text);
      if (kind == "wrote") {
         scores.addWrite(pathIn(line->text));
      } else if (kind != "ends" && line->text.size() < kLongLine) {
         auto const record = json::parse(line->text, nullptr, false);
         if (record.is_object() && record.contains("play")) {
            ++selection.steps;
            scores.addPlay(record["play"]);
         }
      } else if (kind == "play") {
         ++selection.steps;
      }
      lines.drop();
   }
   selection.firstStep = selection.steps - std::min(selection.steps, kMostStepsShown);
   selection.vlans = scores.vlans();
   selection.shown = scores.best(kMostVlansShown);
   return selection;
}

} // namespace Agent
