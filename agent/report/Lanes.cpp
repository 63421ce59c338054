#include "agent/report/Lanes.h"

#include "McastVpnLib/TransitIntfSm/Pipeline.h"
#include "agent/BadInput.h"
#include "agent/JsonText.h"
#include "agent/observe/Statistics.h"

#include <fmt/format.h>

#include <cmath>

namespace Agent {

using nlohmann::ordered_json;

namespace Pipeline = Irb::Multicast::Evpn::Pipeline;

namespace {

constexpr size_t kStartUpLane = 0;
constexpr size_t kInputsLane = 1;
constexpr size_t kTextBytes = 160;

// What is told apart: of a lane in a step, and in all.
constexpr size_t kMostInStep = 48;
constexpr size_t kMostItems = 20'000;

// A place as the page has it: more digits are not seen.
double rounded(double place) {
   return std::round(place * 1e4) / 1e4;
}

} // namespace

Lanes::Lanes(bool isDataflow, Texts& texts) : isDataflow_(isDataflow), texts_(texts) {
   lanes_.push_back({"start-up", "phase"});
   lanes_.push_back({"inputs", "input"});
   streams_.resize(Pipeline::kNodes.size());
   for (size_t i = 0; isDataflow && i < Pipeline::kNodes.size(); ++i) {
      auto const& node = Pipeline::kNodes[i];
      if (node.stage == Pipeline::Stage::source ||
          node.stage == Pipeline::Stage::merge) {
         streams_[i] = lanes_.size();
         lanes_.push_back({std::string(node.name), "stream"});
      }
   }
   firstOutput_ = lanes_.size();
   for (auto const& name : kOutputNames) {
      lanes_.push_back({std::string(name), "output"});
   }
}

size_t Lanes::laneOf(Moment const& moment) const {
   switch (moment.kind) {
      case Moment::Kind::input:
         return kInputsLane;
      case Moment::Kind::event:
         return streams_[moment.node];
      case Moment::Kind::write:
         break;
   }
   return firstOutput_ +
          outputIndexOf(moment.operation.at("path").get_ref<std::string const&>());
}

std::string Lanes::textOf(Moment const& moment) const {
   if (moment.kind == Moment::Kind::event) {
      return brief(moment.text, kTextBytes);
   }
   auto const value = moment.operation.value("value", ordered_json());
   auto text =
      fmt::format("{} {}{}", moment.operation.at("op").get_ref<std::string const&>(),
                  moment.operation.at("path").get_ref<std::string const&>(),
                  value.is_null() ? "" : ' ' + jsonText(value));
   text = brief(text, kTextBytes);
   return moment.kind == Moment::Kind::write
             ? text + " \u2190 " + brief(moment.change.text(), kTextBytes)
             : fmt::format("change {}: {}", moment.change.number, text);
}

void Lanes::add(PlayedStep const& step, size_t place) {
   for (auto const& mark : phaseMarksOf(step, isDataflow_)) {
      auto const at =
         static_cast<double>(place) +
         (mark.time == step.begin && step.isStart && mark.text != "ready" ? 0.0 : 1.0);
      lanes_[kStartUpLane].items.push_back({at, texts_.add(mark.text)});
   }
   if (auto const& slice = step.recorded.slice) {
      auto& lane =
         tasks_.try_emplace(slice->task, Lane{slice->task, "task"}).first->second;
      lane.items.push_back(
         {place,
          texts_.add(fmt::format("a slice of {}: {} items, {} \u00b5s",
                                 brief(slice->task, kTextBytes), slice->items,
                                 slice->time)),
          0});
   }
   addMoments(step, place);
}

void Lanes::addMoments(PlayedStep const& step, size_t place) {
   std::vector<size_t> counts(lanes_.size());
   for (auto const& moment : step.moments) {
      ++counts[laneOf(moment)];
   }
   auto const parts = static_cast<double>(step.moments.size() + 1);
   std::vector<bool> isTold(lanes_.size()); // as one, of many
   for (size_t i = 0; i < step.moments.size(); ++i) {
      auto const& moment = step.moments[i];
      auto const lane = laneOf(moment);
      auto& items = lanes_[lane].items;
      if (counts[lane] <= kMostInStep && items_ < kMostItems) {
         ++items_;
         items.push_back(
            {rounded(static_cast<double>(place) + static_cast<double>(i + 1) / parts),
             texts_.add(textOf(moment))});
      } else if (!isTold[lane]) {
         isTold[lane] = true;
         isWhole_ = false;
         items.push_back({place, texts_.add(textOf(moment)), counts[lane]});
      }
   }
}

ordered_json Lanes::toJson() const {
   auto json = ordered_json::array();
   auto const add = [&json](Lane const& lane) {
      json.push_back({{"name", lane.name}, {"kind", lane.kind}, {"items", lane.items}});
   };
   for (size_t i = 0; i < lanes_.size(); ++i) {
      add(lanes_[i]);
      if (i == kInputsLane) {
         for (auto const& [name, lane] : tasks_) {
            add(lane);
         }
      }
   }
   return json;
}

} // namespace Agent
