#pragma once

#include "agent/observe/Statistics.h"

#include <prometheus/metric_family.h>

#include <string>
#include <string_view>
#include <vector>

// The metrics that an agent offers, as data: what is served and docs/Metrics.md are
// both made of this.
namespace Agent {

struct Metric {
   std::string_view name;
   prometheus::MetricType type;
   std::string_view help;
   std::string_view labels; // with their values, for people; empty for none
   // Adds the metric's values to the family.
   void (*fill)(Statistics const& statistics, prometheus::MetricFamily& family);
};

std::vector<Metric> const& metrics();

// All of them, with what was counted. May be called by any thread.
std::vector<prometheus::MetricFamily> familiesOf(Statistics const& statistics);

// docs/Metrics.md.
std::string metricsDocument();

} // namespace Agent
