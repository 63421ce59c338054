#include "explore/Exhaustive.h"

#include <algorithm>
#include <memory>
#include <utility>

namespace Explore {

using nlohmann::json;

namespace {

// The choices of one run: those that are given, and then to go on.
class Choices {
 public:
   explicit Choices(std::vector<bool> given) : made_(std::move(given)) {}

   bool next() {
      if (at_ == made_.size()) {
         made_.push_back(false);
      }
      return made_[at_++];
   }

   std::vector<bool> const& made() const noexcept { return made_; }

 private:
   std::vector<bool> made_;
   size_t at_ = 0;
};

class ChoiceShare final : public Kolm::Share {
 public:
   explicit ChoiceShare(Choices& choices) : choices_(choices) {}
   void sliceBegin(Kolm::Task const&, Kolm::Slice&) override {}
   bool shouldYield(Kolm::Task const&, Kolm::Slice&) override {
      return choices_.next();
   }

 private:
   Choices& choices_;
};

std::vector<std::string> playWith(Schedule const& schedule, Choices& choices,
                                  Figures& figures) {
   Player player(schedule, figures, std::make_unique<ChoiceShare>(choices));
   player.start();
   for (auto const& event : schedule.lines) {
      while (!choices.next() && player.slice()) {
      }
      player.line(event);
   }
   player.finish();
   return player.problems();
}

json documentOf(json const& mapping, std::vector<std::string> const& transit,
                json const& outputs = json::object()) {
   json document = outputs;
   document["mcastEvpnConfig"]["transitVrf"] = transit;
   document["vtiStatusDir"]["vtiStatus"]["Vxlan1"] = {{"localVtepAddr", "10.0.0.1"},
                                                      {"mlagVtepAddr", "10.0.0.2"},
                                                      {"vrfToSBDVlan", mapping}};
   document["pegVlanStatus"]["pegVlan"] = {10, 20};
   return document;
}

json operation(char const* op, char const* path, json const& value = json::object()) {
   json result{{"op", op}, {"path", path}};
   if (std::string(op) != "remove") {
      result["value"] = value;
   }
   return result;
}

json staleOutputs() {
   return {{"transitIntfColl",
            {{"intf",
              {{"Vlan10", {{"ipAddr", "10.0.0.9"}}},
               {"Vlan20", {{"ipAddr", "10.0.0.1"}}}}}}},
           {"membershipJoinStatus",
            {{"vlan",
              {{"20",
                {{"group",
                  {{"0.0.0.0",
                    {{"source", {{"0.0.0.0", {{"includeIntf", {"Null0"}}}}}}}}}}}}}}}}};
}

// Numbers that are read are unsigned, which those of the source are not.
json asRead(json const& value) {
   return json::parse(value.dump());
}

System system(std::string name, json const& document, std::vector<json> const& lines,
              uint32_t mostDepartures = std::numeric_limits<uint32_t>::max()) {
   Schedule schedule;
   schedule.document = asRead(document);
   for (auto const& line : lines) {
      schedule.lines.push_back(asRead(line));
   }
   return {std::move(name), std::move(schedule), mostDepartures};
}

} // namespace

std::vector<System> smallSystems() {
   auto const move =
      operation("add", "/vtiStatusDir/vtiStatus/Vxlan1/vrfToSBDVlan/red", 20);
   auto const unmap =
      operation("remove", "/vtiStatusDir/vtiStatus/Vxlan1/vrfToSBDVlan/red");
   auto const noTransit = operation("remove", "/mcastEvpnConfig/transitVrf/red");
   auto const withheld = operation("replace", "/mlagStatus/mlagState", 4);
   auto const other = operation("add", "/vtiStatusDir/vtiStatus/Vxlan2",
                                {{"vrfToSBDVlan", {{"blue", 10}}}});
   auto const another = operation(
      "add", "/vtiStatusDir/vtiStatus/Vxlan1",
      {{"localVtepAddr", "10.0.0.3"}, {"vrfToSBDVlan", {{"red", 20}, {"blue", 10}}}});
   auto const gone = operation("remove", "/vtiStatusDir/vtiStatus/Vxlan1");
   json const one{{"red", 10}};
   json const two{{"red", 10}, {"blue", 20}};
   json const three{{"red", 10}, {"blue", 20}, {"green", 20}};
   return {
      system("1 VRF", documentOf(one, {"red"}), {}),
      system("1 VRF, it moves", documentOf(one, {"red"}), {move}),
      system("1 VRF, over what others left", documentOf(one, {"red"}, staleOutputs()),
             {}),
      system("2 VRFs", documentOf(two, {"red"}), {}),
      system("3 VRFs", documentOf(three, {"red", "green"}), {}),
      system("1 VRF, a second interface comes", documentOf(one, {"red"}), {other}),
      system("1 VRF, it moves and is withheld", documentOf(one, {"red"}),
             {move, withheld}),
      system("2 VRFs, one moves and is withheld", documentOf(two, {"red", "blue"}),
             {move, withheld}, 3),
      system("2 VRFs over what others left, one goes",
             documentOf(two, {"red", "blue"}, staleOutputs()), {unmap, noTransit}, 3),
      system("2 VRFs, a second interface comes, another status",
             documentOf(two, {"red", "blue"}), {other, another}, 3),
      system("3 VRFs over what others left, the status goes and comes",
             documentOf(three, {"red", "green"}, staleOutputs()), {gone, another}, 3),
   };
}

Result exploreAll(System const& system, Figures& figures) {
   Result result;
   std::vector<std::vector<bool>> open{{}};
   while (!open.empty() && result.problems.size() < 3) {
      auto given = std::move(open.back());
      open.pop_back();
      size_t const first = given.size();
      Choices choices(std::move(given));
      auto const problems = playWith(system.schedule, choices, figures);
      result.problems.insert(result.problems.end(), problems.begin(), problems.end());
      ++result.schedules;
      auto const& made = choices.made();
      result.mostChoices = std::max(result.mostChoices, made.size());
      auto const departures = static_cast<uint32_t>(std::count(
         made.begin(), made.begin() + static_cast<std::ptrdiff_t>(first), true));
      if (departures >= system.mostDepartures) {
         continue;
      }
      for (size_t at = first; at < made.size(); ++at) {
         open.emplace_back(made.begin(),
                           made.begin() + static_cast<std::ptrdiff_t>(at));
         open.back().push_back(true);
      }
   }
   return result;
}

} // namespace Explore
