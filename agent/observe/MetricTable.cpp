#include "agent/observe/MetricTable.h"

#include "agent/Version.h"

#include <fmt/format.h>

#include <array>
#include <chrono>
#include <limits>
#include <utility>

namespace Agent {

using prometheus::ClientMetric;
using prometheus::MetricFamily;
using prometheus::MetricType;

namespace Pipeline = Irb::Multicast::Evpn::Pipeline;

namespace {

using Labels = std::vector<ClientMetric::Label>;

void add(MetricFamily& family, double value, Labels labels = {}) {
   ClientMetric metric;
   metric.label = std::move(labels);
   (family.type == MetricType::Counter ? metric.counter.value : metric.gauge.value) =
      value;
   family.metric.push_back(std::move(metric));
}

template <typename Counts, typename Names>
void addCounts(MetricFamily& family, Counts const& counts, char const* label,
               Names const& names) {
   for (size_t i = 0; i < names.size(); ++i) {
      for (size_t kind = 0; kind < kChangeKinds.size(); ++kind) {
         add(family, static_cast<double>(counts[i][kind]),
             {{label, std::string(names[i])},
              {"kind", std::string(kChangeKinds[kind])}});
      }
   }
}

template <size_t kBounds>
void addHistogram(MetricFamily& family, Histogram<kBounds> const& histogram) {
   ClientMetric metric;
   metric.histogram.sample_count = histogram.count();
   metric.histogram.sample_sum = histogram.sum();
   uint64_t below = 0;
   for (size_t i = 0; i <= kBounds; ++i) {
      below += histogram.buckets()[i];
      metric.histogram.bucket.push_back(
         {below, i < kBounds ? histogram.bounds()[i]
                             : std::numeric_limits<double>::infinity()});
   }
   family.metric.push_back(std::move(metric));
}

template <typename Names>
std::string oneOfNames(Names const& names) {
   std::string text;
   for (auto const& name : names) {
      text += fmt::format("{}`{}`", text.empty() ? "" : ", ", name);
   }
   return text;
}

constexpr std::array<Phase::Kind, 4> kPhases{
   Phase::Kind::stopped, Phase::Kind::scanning, Phase::Kind::reconciling,
   Phase::Kind::ready};

std::vector<std::string_view> streamNames() {
   std::vector<std::string_view> names;
   for (auto const& node : Pipeline::kNodes) {
      if (node.stage == Pipeline::Stage::source ||
          node.stage == Pipeline::Stage::merge) {
         names.push_back(node.name);
      }
   }
   return names;
}

std::vector<Metric> made() {
   static std::string const inputLabels = fmt::format(
      "`input`: {}; `kind`: {}", oneOfNames(kInputNames), oneOfNames(kChangeKinds));
   static std::string const outputLabels = fmt::format(
      "`output`: {}; `kind`: {}", oneOfNames(kOutputNames), oneOfNames(kChangeKinds));
   static std::string const streamLabels = "`stream`: " + oneOfNames(streamNames());
   return {
      {"mcastvpn_build_info", MetricType::Gauge,
       "Always 1; the label tells the version.", "`version`",
       [](auto const&, auto& family) { add(family, 1, {{"version", kVersion}}); }},
      {"mcastvpn_start_time_seconds", MetricType::Gauge,
       "When the agent began to count, in seconds since 1970.", "",
       [](auto const& statistics, auto& family) {
          add(family, std::chrono::duration<double>(statistics.since.time_since_epoch())
                         .count());
       }},
      {"mcastvpn_ready", MetricType::Gauge,
       "1 when the outputs are what the inputs make them, 0 while a start goes on.", "",
       [](auto const& statistics, auto& family) {
          add(family, statistics.phase.kind == Phase::Kind::ready ? 1 : 0);
       }},
      {"mcastvpn_phase", MetricType::Gauge,
       "1 for the phase that the machine's start has come to, 0 for the others.",
       "`phase`: `stopped`, `scanning`, `reconciling`, `ready`",
       [](auto const& statistics, auto& family) {
          for (auto const kind : kPhases) {
             add(family, statistics.phase.kind == kind ? 1 : 0,
                 {{"phase", std::string(Phase{kind, 0, {}}.name())}});
          }
       }},
      {"mcastvpn_scans_done", MetricType::Gauge,
       "Inputs that were scanned in the first pass of the start, of 5.", "",
       [](auto const& statistics, auto& family) {
          add(family, static_cast<double>(statistics.phase.scans));
       }},
      {"mcastvpn_outputs_reconciled", MetricType::Gauge,
       "Outputs that were reconciled with what stood in them, of 4.", "",
       [](auto const& statistics, auto& family) {
          add(family, static_cast<double>(statistics.phase.outputs()));
       }},
      {"mcastvpn_transit_vlans", MetricType::Gauge,
       "VLANs that have a transit interface.", "",
       [](auto const& statistics, auto& family) {
          add(family, static_cast<double>(statistics.transitVlans));
       }},
      {"mcastvpn_input_changes_total", MetricType::Counter,
       "Changes of the inputs that were published.", inputLabels,
       [](auto const& statistics, auto& family) {
          addCounts(family, statistics.inputs, "input", kInputNames);
       }},
      {"mcastvpn_output_writes_total", MetricType::Counter,
       "Changes of the outputs, the levels of the join tree among them.", outputLabels,
       [](auto const& statistics, auto& family) {
          addCounts(family, statistics.outputs, "output", kOutputNames);
       }},
      {"mcastvpn_stream_events_total", MetricType::Counter,
       "Events that passed in a stream of the dataflow machine.", streamLabels,
       [](auto const& statistics, auto& family) {
          for (auto const& name : streamNames()) {
             add(family,
                 static_cast<double>(statistics.events[Pipeline::indexOf(name)]),
                 {{"stream", std::string(name)}});
          }
       }},
      {"mcastvpn_pending_tasks", MetricType::Gauge,
       "Tasks of the dataflow machine that wait for a slice.", "",
       [](auto const& statistics, auto& family) {
          add(family, static_cast<double>(statistics.pendingTasks));
       }},
      {"mcastvpn_slice_duration_seconds", MetricType::Histogram,
       "How long the slices of the tasks took.", "",
       [](auto const& statistics, auto& family) {
          addHistogram(family, statistics.sliceSeconds);
       }},
      {"mcastvpn_slice_items", MetricType::Histogram,
       "How many items the slices of the tasks did.", "",
       [](auto const& statistics, auto& family) {
          addHistogram(family, statistics.sliceItems);
       }},
      {"mcastvpn_trace_records_total", MetricType::Counter,
       "Records that were written to the trace ring.", "",
       [](auto const& statistics, auto& family) {
          add(family, static_cast<double>(statistics.traceWritten));
       }},
      {"mcastvpn_trace_records_lost_total", MetricType::Counter,
       "Records of the trace ring that later ones have overwritten.", "",
       [](auto const& statistics, auto& family) {
          add(family, static_cast<double>(statistics.traceLost));
       }},
      {"mcastvpn_documents_total", MetricType::Counter,
       "State documents that were read after the first one.",
       "`outcome`: `published`, `refused`",
       [](auto const& statistics, auto& family) {
          add(family, static_cast<double>(statistics.documents),
              {{"outcome", "published"}});
          add(family, static_cast<double>(statistics.documentsRefused),
              {{"outcome", "refused"}});
       }},
      {"process_resident_memory_bytes", MetricType::Gauge,
       "Memory of the process that is in use.", "",
       [](auto const&, auto& family) {
          add(family, static_cast<double>(residentBytes()));
       }},
   };
}

std::string_view typeName(MetricType type) {
   switch (type) {
      case MetricType::Counter:
         return "counter";
      case MetricType::Gauge:
         return "gauge";
      default:
         return "histogram";
   }
}

} // namespace

std::vector<Metric> const& metrics() {
   static std::vector<Metric> const all = made();
   return all;
}

std::vector<MetricFamily> familiesOf(Statistics const& statistics) {
   std::vector<MetricFamily> families;
   for (auto const& metric : metrics()) {
      MetricFamily family;
      family.name = metric.name;
      family.help = metric.help;
      family.type = metric.type;
      metric.fill(statistics, family);
      families.push_back(std::move(family));
   }
   return families;
}

std::string metricsDocument() {
   std::string text =
      R"(# Metrics

`mcastvpn-agent run --watch --metrics 9464 STATE` serves what follows at
`http://127.0.0.1:9464/metrics`, in the text format of Prometheus. With an address
before the port (`0.0.0.0:9464`, `[::1]:9464`) it listens there; the port 0 takes a free
one, and standard error tells which. The server has threads of its own: however slowly
it is read, the machine goes on. It adds a few metrics of its own (`exposer_…`).

No label has more values than this page shows. To count the events of streams the
agent listens to the machine's trace of them, which takes the machine some time; without
`--metrics` or `--control` nothing is traced or counted.

| metric | type | labels | what it tells |
|---|---|---|---|
)";
   for (auto const& metric : metrics()) {
      text += fmt::format("| `{}` | {} | {} | {} |\n", metric.name,
                          typeName(metric.type), metric.labels, metric.help);
   }
   return text;
}

} // namespace Agent
