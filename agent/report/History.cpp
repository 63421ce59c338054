#include "agent/report/History.h"

#include "McastVpnLib/TransitIntfSm/Pipeline.h"
#include "agent/BadInput.h"
#include "agent/MachineNames.h"
#include "agent/Version.h"

#include <algorithm>
#include <filesystem>
#include <numeric>
#include <string_view>
#include <utility>

namespace Agent {

using nlohmann::ordered_json;

namespace Pipeline = Irb::Multicast::Evpn::Pipeline;

namespace {

constexpr size_t kPlayBytes = 200;

std::string_view nameOf(Pipeline::Stage stage) {
   switch (stage) {
      case Pipeline::Stage::input:
         return "input";
      case Pipeline::Stage::source:
         return "source";
      case Pipeline::Stage::merge:
         return "merge";
      case Pipeline::Stage::sink:
         return "sink";
      case Pipeline::Stage::output:
         break;
   }
   return "output";
}

// "transitIntfColl.intf[]" as the path of one of its members.
std::string pathOf(std::string_view node) {
   std::string path = "/";
   for (size_t i = 0; i < node.size(); ++i) {
      if (node.substr(i, 2) == "[]") {
         path += "/x";
         ++i;
      } else {
         path += node[i] == '.' ? '/' : node[i];
      }
   }
   return path;
}

ordered_json seriesToJson(auto const& series) {
   auto json = ordered_json::array();
   for (auto const& [place, count] : series) {
      json.push_back({place, count});
   }
   return json;
}

} // namespace

History::History(Rerun& rerun, Selection selection)
   : rerun_(rerun), selection_(std::move(selection)),
     lanes_(rerun.isDataflow(), texts_),
     strips_(rerun.host().state(), rerun.options(), selection_.shown, texts_) {
   strips_.lookAtInputs(0);
   strips_.lookAtOutputs(0);
   addOutputs(0);
}

void History::add(PlayedStep const& step) {
   count(step, statistics_);
   auto const has = [&step](Moment::Kind kind) {
      return std::ranges::any_of(
         step.moments, [kind](Moment const& moment) { return moment.kind == kind; });
   };
   bool const isShown = step.number >= selection_.firstStep;
   bool const isLastUnshown = step.number + 1 == selection_.firstStep;
   size_t const place = isShown ? step.number - selection_.firstStep : 0;
   if (isShown) {
      begins_.push_back(step.begin);
      ends_.push_back(step.end);
      plays_.push_back(texts_.add(brief(step.recorded.text, kPlayBytes)));
      lanes_.add(step, place);
   }
   // An input changes as its step begins, an output until it ends.
   if (isLastUnshown || (isShown && has(Moment::Kind::input))) {
      strips_.lookAtInputs(place);
   }
   if (isLastUnshown || (isShown && has(Moment::Kind::write))) {
      strips_.lookAtOutputs(isShown ? place + 1 : 0);
      addOutputs(isShown ? place + 1 : 0);
   }
}

void History::addOutputs(size_t place) {
   auto const& state = rerun_.host().state();
   for (auto const& [series, count] :
        {std::pair{&intfs_, state.transitIntfColl->intf().size()},
         {&joins_, state.membershipJoinStatus->vlan().size()}}) {
      if (!series->empty() && series->back().first == place) {
         series->pop_back();
      }
      if (series->empty() || series->back().second != count) {
         series->emplace_back(place, count);
      }
   }
}

ordered_json History::headToJson(std::string const& file) const {
   auto const sum = [](auto const& counts) {
      uint64_t all = 0;
      for (auto const& each : counts) {
         all = std::accumulate(each.begin(), each.end(), all);
      }
      return all;
   };
   auto const& playback = rerun_.playback();
   return {{"file", std::filesystem::path(file).filename().string()},
           {"time", playback.headerText("time")},
           {"recordedBy", playback.headerText("agent")},
           {"madeBy", kVersion},
           {"machine", machineName(rerun_.options().machine)},
           {"options", playback.header().at("options")},
           {"isClosed", playback.isClosed()},
           {"steps", selection_.steps},
           {"firstStep", selection_.firstStep},
           {"inputs", sum(statistics_.inputs)},
           {"writes", sum(statistics_.outputs)},
           {"slices", statistics_.sliceItems.count()},
           {"vlans", selection_.vlans},
           {"momentsAreWhole", lanes_.isWhole()}};
}

// Events are counted on the edges to streams, inserts and deletes on those to sinks;
// and what sinks wrote, behind them.
ordered_json History::graphToJson() const {
   auto nodes = ordered_json::array();
   for (auto const& node : Pipeline::kNodes) {
      nodes.push_back({{"name", node.name}, {"stage", nameOf(node.stage)}});
   }
   auto edges = ordered_json::array();
   for (size_t i = 0; i < Pipeline::kEdges.size(); ++i) {
      auto const from = Pipeline::indexOf(Pipeline::kEdges[i].from);
      auto const to = Pipeline::indexOf(Pipeline::kEdges[i].to);
      ordered_json edge{{"from", from}, {"to", to}};
      auto const stage = Pipeline::kNodes[to].stage;
      if (stage == Pipeline::Stage::output) {
         auto const& written =
            statistics_.outputs[outputIndexOf(pathOf(Pipeline::kNodes[to].name))];
         edge["count"] = std::accumulate(written.begin(), written.end(), uint64_t{0});
      } else {
         edge["count"] = statistics_.passed[i];
      }
      edges.push_back(std::move(edge));
   }
   return {{"nodes", std::move(nodes)}, {"edges", std::move(edges)}};
}

ordered_json History::toJson(std::string const& file) {
   ordered_json json = {
      {"head", headToJson(file)},
      {"graph", rerun_.isDataflow() ? graphToJson() : ordered_json()},
      {"begins", begins_},
      {"ends", ends_},
      {"plays", plays_},
      {"lanes", lanes_.toJson()},
      {"outputs", {{"intfs", seriesToJson(intfs_)}, {"joins", seriesToJson(joins_)}}},
      {"conditions", strips_.conditionsToJson()},
      {"vlans", strips_.toJson()}};
   json["texts"] = texts_.all();
   return json;
}

} // namespace Agent
