#include "agent/observe/Statistics.h"

#include "agent/Table.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <numeric>

namespace Agent {

using nlohmann::ordered_json;

namespace Pipeline = Irb::Multicast::Evpn::Pipeline;

namespace {

template <size_t kNames>
constexpr size_t placeIn(std::array<std::string_view, kNames> const& names,
                         std::string_view name) {
   return static_cast<size_t>(std::ranges::find(names, name) - names.begin());
}

template <typename Counts, typename Names>
ordered_json countsToJson(Counts const& counts, Names const& names) {
   ordered_json json = ordered_json::object();
   for (size_t i = 0; i < names.size(); ++i) {
      for (size_t kind = 0; kind < kChangeKinds.size(); ++kind) {
         json[std::string(names[i])][std::string(kChangeKinds[kind])] = counts[i][kind];
      }
   }
   return json;
}

template <size_t kBounds>
ordered_json histogramToJson(Histogram<kBounds> const& histogram) {
   ordered_json buckets = ordered_json::array();
   for (size_t i = 0; i < kBounds; ++i) {
      buckets.push_back(
         {{"most", histogram.bounds()[i]}, {"count", histogram.buckets()[i]}});
   }
   buckets.push_back({{"count", histogram.buckets()[kBounds]}});
   return {{"count", histogram.count()},
           {"sum", histogram.sum()},
           {"most", histogram.most()},
           {"buckets", buckets}};
}

std::string durationText(double seconds) {
   if (seconds < 1e-3) {
      return fmt::format("{:.0f} us", seconds * 1e6);
   }
   return seconds < 1 ? fmt::format("{:.2f} ms", seconds * 1e3)
                      : fmt::format("{:.2f} s", seconds);
}

bool isStream(Pipeline::Node const& node) {
   return node.stage == Pipeline::Stage::source || node.stage == Pipeline::Stage::merge;
}

} // namespace

size_t inputIndexOf(std::string_view path) {
   if (path.starts_with("/mcastEvpnConfig")) {
      return placeIn(kInputNames, "transit_vrf");
   }
   if (path.starts_with("/vtiStatusDir")) {
      return placeIn(kInputNames, path.find("/vrfToSBDVlan/") != std::string_view::npos
                                     ? "sbd_vlan"
                                     : "vti_status");
   }
   return placeIn(kInputNames,
                  path.starts_with("/mlagStatus") ? "mlag_state" : "peg_vlan");
}

size_t outputIndexOf(std::string_view path) {
   if (path.starts_with("/transitIntfColl")) {
      return placeIn(kOutputNames, "transit_intf");
   }
   // The levels of the tree are named by VLAN, group and source, and no interface can
   // hold such a step, since a slash in a name is escaped.
   for (auto const& [step, name] : {std::pair{"/routerIntf/", "router_intf"},
                                    {"/includeIntf/", "include_intf"},
                                    {"/excludeIntf/", "exclude_intf"}}) {
      if (path.find(step) != std::string_view::npos) {
         return placeIn(kOutputNames, name);
      }
   }
   return placeIn(kOutputNames, "join_level");
}

size_t kindIndexOf(std::string_view op) {
   return placeIn(kChangeKinds, op);
}

void Statistics::changed(ordered_json const& operation) {
   ++inputs[inputIndexOf(operation.at("path").get_ref<std::string const&>())]
           [kindIndexOf(operation.at("op").get_ref<std::string const&>())];
}

void Statistics::wrote(ordered_json const& operation) {
   ++outputs[outputIndexOf(operation.at("path").get_ref<std::string const&>())]
            [kindIndexOf(operation.at("op").get_ref<std::string const&>())];
}

void Statistics::passedBy(StreamEvent const& event) {
   ++events[event.node];
   for (size_t i = 0; i < Pipeline::kEdges.size(); ++i) {
      if (Pipeline::indexOf(Pipeline::kEdges[i].from) == event.from &&
          Pipeline::indexOf(Pipeline::kEdges[i].to) == event.node) {
         ++passed[i];
      }
   }
}

void Statistics::sliceEnded(Kolm::SliceReport const& report) {
   sliceSeconds.add(std::chrono::duration<double>(report.time).count());
   sliceItems.add(static_cast<double>(report.items));
}

void Statistics::look(Host& host) {
   phase = host.phase();
   pendingTasks = host.pending();
   transitVlans = host.state().transitIntfColl->intf().size();
   if (auto const& ring = host.traceRing()) {
      traceWritten = ring->written();
      traceLost = ring->lost();
   }
}

ordered_json Statistics::toJson() const {
   ordered_json streams = ordered_json::object();
   for (size_t i = 0; i < events.size(); ++i) {
      if (isStream(Pipeline::kNodes[i])) {
         streams[std::string(Pipeline::kNodes[i].name)] = events[i];
      }
   }
   return {{"since", fmt::format("{:%FT%T}Z",
                                 std::chrono::floor<std::chrono::milliseconds>(since))},
           {"phase", phase.toJson()},
           {"transitVlans", transitVlans},
           {"inputs", countsToJson(inputs, kInputNames)},
           {"outputs", countsToJson(outputs, kOutputNames)},
           {"streams", streams},
           {"documents", {{"published", documents}, {"refused", documentsRefused}}},
           {"pendingTasks", pendingTasks},
           {"sliceSeconds", histogramToJson(sliceSeconds)},
           {"sliceItems", histogramToJson(sliceItems)},
           {"trace", {{"written", traceWritten}, {"lost", traceLost}}},
           {"residentBytes", residentBytes()}};
}

std::string Statistics::text(bool colour) const {
   auto const right = Table::Align::right;
   std::string text = fmt::format(
      "Since {:%F %T} UTC: {}, {} transit VLAN{}, {} pending "
      "task{}, {:.1f} MB of memory\n\n",
      std::chrono::floor<std::chrono::seconds>(since), phase.text(), transitVlans,
      transitVlans == 1 ? "" : "s", pendingTasks, pendingTasks == 1 ? "" : "s",
      static_cast<double>(residentBytes()) / 1e6);
   Table changes(
      {{"Changes of"}, {"add", right}, {"replace", right}, {"remove", right}});
   auto const rowsOf = [&changes](auto const& names, auto const& counts,
                                  Table::Style style) {
      for (size_t i = 0; i < names.size(); ++i) {
         changes.row(style,
                     {std::string(names[i]), std::to_string(counts[i][0]),
                      std::to_string(counts[i][1]), std::to_string(counts[i][2])});
      }
   };
   rowsOf(kInputNames, inputs, Table::Style::plain);
   rowsOf(kOutputNames, outputs, Table::Style::changed);
   text += changes.text(colour);

   Table streams({{"Stream"}, {"Events", right}});
   for (size_t i = 0; i < events.size(); ++i) {
      if (isStream(Pipeline::kNodes[i])) {
         streams.row(Table::Style::plain, {std::string(Pipeline::kNodes[i].name),
                                           std::to_string(events[i])});
      }
   }
   text += '\n' + streams.text(colour);
   if (sliceSeconds.count() != 0) {
      auto const count = static_cast<double>(sliceSeconds.count());
      text +=
         fmt::format("\n{} slices: {} and {:.1f} items on average, {} and {:.0f} "
                     "items at most\n",
                     sliceSeconds.count(), durationText(sliceSeconds.sum() / count),
                     sliceItems.sum() / count, durationText(sliceSeconds.most()),
                     sliceItems.most());
   }
   text += fmt::format("{} trace records, {} of them overwritten\n", traceWritten,
                       traceLost);
   return text;
}

uint64_t residentBytes() {
   std::ifstream file("/proc/self/statm");
   uint64_t total = 0;
   uint64_t resident = 0;
   file >> total >> resident;
   return resident * static_cast<uint64_t>(sysconf(_SC_PAGESIZE));
}

} // namespace Agent
