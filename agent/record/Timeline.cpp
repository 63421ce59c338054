#include "agent/record/Timeline.h"

#include "McastVpnLib/TransitIntfSm/Pipeline.h"
#include "agent/ExitStatus.h"
#include "agent/JsonText.h"
#include "agent/MachineNames.h"
#include "agent/OutputFile.h"
#include "agent/Progress.h"
#include "agent/Streams.h"
#include "agent/observe/Statistics.h"
#include "agent/record/Rerun.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <iterator>
#include <map>
#include <string>
#include <string_view>
#include <utility>

namespace Agent {

using nlohmann::ordered_json;

namespace Pipeline = Irb::Multicast::Evpn::Pipeline;

namespace {

constexpr int kProcess = 1;
// Tracks stand in the order of their numbers; a task has the next one that is free.
constexpr int kPhaseTrack = 1;
constexpr int kInputTrack = 2;
constexpr int kFirstTask = 10;
constexpr int kFirstStream = 1000;
constexpr int kFirstOutput = 2000;

// The verb for what JSON Patch does to an output.
std::string_view verbOf(std::string_view op) {
   return op == "add" ? "insert" : op == "remove" ? "delete" : "change";
}

// Gathers the events of a trace.
class Trace {
 public:
   explicit Trace(Rerun const& rerun) {
      add({{"name", "process_name"},
           {"ph", "M"},
           {"pid", kProcess},
           {"tid", kPhaseTrack},
           {"args",
            {{"name",
              fmt::format("{}, recorded {}", machineName(rerun.options().machine),
                          rerun.playback().headerText("time"))}}}});
      track(kPhaseTrack, "start-up");
      track(kInputTrack, "inputs");
      if (rerun.isDataflow()) {
         for (size_t i = 0; i < Pipeline::kNodes.size(); ++i) {
            auto const& node = Pipeline::kNodes[i];
            if (node.stage == Pipeline::Stage::source ||
                node.stage == Pipeline::Stage::merge) {
               track(kFirstStream + static_cast<int>(i), std::string(node.name));
            }
         }
      }
      for (size_t i = 0; i < kOutputNames.size(); ++i) {
         track(kFirstOutput + static_cast<int>(i),
               "output " + std::string(kOutputNames[i]));
      }
   }

   void instant(int tid, double time, std::string const& name, char const* scope,
                ordered_json const& args = nullptr) {
      ordered_json event{{"name", name},    {"ph", "i"},  {"s", scope},
                         {"pid", kProcess}, {"tid", tid}, {"ts", time}};
      if (!args.is_null()) {
         event["args"] = args;
      }
      add(event);
   }

   void slice(RecordedStep::Slice const& slice, PlayedStep const& step) {
      auto const [found, isNew] =
         tasks_.try_emplace(slice.task, kFirstTask + static_cast<int>(tasks_.size()));
      if (isNew) {
         track(found->second, "task " + slice.task);
      }
      add({{"name", slice.task},
           {"ph", "X"},
           {"pid", kProcess},
           {"tid", found->second},
           {"ts", step.begin},
           {"dur", step.end - step.begin},
           {"args",
            {{"items", slice.items},
             {"microseconds", slice.time},
             {"line", step.recorded.line}}}});
   }

   std::string take() {
      return R"({"displayTimeUnit":"ms","traceEvents":[)" + events_ + "\n]}\n";
   }

 private:
   void track(int tid, std::string const& name) {
      for (auto const& [what, args] :
           {std::pair{"thread_name", ordered_json{{"name", name}}},
            {"thread_sort_index", ordered_json{{"sort_index", tid}}}}) {
         add({{"name", what},
              {"ph", "M"},
              {"pid", kProcess},
              {"tid", tid},
              {"args", args}});
      }
   }

   void add(ordered_json const& event) {
      events_ += (events_.empty() ? "\n" : ",\n") + jsonText(event);
   }

   std::map<std::string, int> tasks_;
   std::string events_;
};

void draw(Trace& trace, Moment const& moment) {
   switch (moment.kind) {
      case Moment::Kind::input:
         trace.instant(
            kInputTrack, moment.time, moment.change.op + ' ' + moment.change.path, "t",
            {{"number", moment.change.number}, {"operation", moment.operation}});
         break;
      case Moment::Kind::event:
         trace.instant(
            kFirstStream + static_cast<int>(moment.node), moment.time,
            std::string(Pipeline::kNodes[moment.node].name), "t",
            {{"from", Pipeline::kNodes[moment.from].name}, {"text", moment.text}});
         break;
      case Moment::Kind::write: {
         auto const& path = moment.operation.at("path").get_ref<std::string const&>();
         auto const& op = moment.operation.at("op").get_ref<std::string const&>();
         trace.instant(
            kFirstOutput + static_cast<int>(outputIndexOf(path)), moment.time,
            fmt::format("{} {}", verbOf(op), path), "t",
            {{"writtenBy", moment.change.text()}, {"operation", moment.operation}});
         break;
      }
   }
}

} // namespace

int timeline(Options const& options) {
   Rerun rerun(FileText(options.recording), options);
   Progress progress("playing", rerun.playback().size());
   Trace trace(rerun);
   int const status = rerun.play([&](PlayedStep const& step) {
      progress.step(step.recorded.text.size());
      for (auto const& mark : phaseMarksOf(step, rerun.isDataflow())) {
         trace.instant(kPhaseTrack, static_cast<double>(mark.time), mark.text, "p");
      }
      if (step.recorded.slice) {
         trace.slice(*step.recorded.slice, step);
      }
      for (auto const& moment : step.moments) {
         draw(trace, moment);
      }
   });
   if (status != kFine) {
      return status;
   }
   if (options.output.empty()) {
      print(trace.take());
   } else {
      replaceFile(options.output, trace.take());
   }
   return kFine;
}

} // namespace Agent
