#pragma once

#include "McastVpnLib/TransitIntfSm/Pipeline.h"
#include "agent/Host.h"
#include "agent/observe/Histogram.h"
#include "agent/observe/Names.h"
#include "agent/observe/Phase.h"
#include "agent/observe/StreamEvents.h"
#include "kolm/TaskScheduler.h"

#include <nlohmann/json.hpp>

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace Agent {

// What a JSON Patch operation on a state writes, as a place in the names above.
size_t inputIndexOf(std::string_view path);
size_t outputIndexOf(std::string_view path);
size_t kindIndexOf(std::string_view op);

// Counts of what a machine was told and did, kept through notifications. Whoever
// follows the machine adds to it. A plain value.
struct Statistics {
   template <size_t kNames>
   using Counts = std::array<std::array<uint64_t, kChangeKinds.size()>, kNames>;

   std::chrono::system_clock::time_point since = std::chrono::system_clock::now();

   Counts<kInputNames.size()> inputs{};
   Counts<kOutputNames.size()> outputs{};
   // Of each node of the pipeline, and of each edge by which they came.
   std::array<uint64_t, Irb::Multicast::Evpn::Pipeline::kNodes.size()> events{};
   std::array<uint64_t, Irb::Multicast::Evpn::Pipeline::kEdges.size()> passed{};

   Histogram<9> sliceSeconds{{1e-5, 1e-4, 2.5e-4, 5e-4, 1e-3, 2e-3, 5e-3, 1e-2, 1e-1}};
   Histogram<8> sliceItems{{1, 4, 16, 64, 256, 1024, 4096, 16384}};

   // As they are, not counted.
   Phase phase;
   uint64_t pendingTasks = 0;
   uint64_t traceWritten = 0; // records of the ring
   uint64_t traceLost = 0;    // that were overwritten
   size_t transitVlans = 0;   // transit interfaces
   uint64_t documents = 0;    // that came after the first one
   uint64_t documentsRefused = 0;

   void changed(nlohmann::ordered_json const& operation);
   void wrote(nlohmann::ordered_json const& operation);
   void passedBy(StreamEvent const& event);
   void sliceEnded(Kolm::SliceReport const& report);
   // Takes what is not counted from the host.
   void look(Host& host);

   nlohmann::ordered_json toJson() const;
   std::string text(bool colour) const;
};

// How much memory this process has in use, in bytes; 0 if the system does not say.
// May be called by any thread.
uint64_t residentBytes();

} // namespace Agent
