#pragma once

#include "McastVpnLib/TransitIntfSm/Pipeline.h"
#include "pelk/Trace.h"

#include <array>
#include <cstddef>
#include <functional>
#include <optional>
#include <string_view>

namespace Agent {

// A stream of the pipeline in which an event passes, or a sink to which it comes as an
// insert or a delete.
struct StreamEvent {
   size_t node;           // its place in Pipeline::kNodes
   size_t from;           // of the stream, or the input, that it comes of
   std::string_view text; // as it is traced; readable during the call
};

// Tells of each event of each stream of a dataflow machine, as its text trace has them,
// so that a machine that nobody asks has no cost of it. While it lives it stands in the
// place of the trace's sink, to which it hands on what people want to see. One in a
// process. Event thread only.
class StreamEvents final : private Pelk::TraceSink {
 public:
   using Told = std::function<void(StreamEvent const& event)>;

   // What is told. More costs more.
   enum class Depth { streams, streamsAndSinks };

   // shown: the levels that people want to see.
   StreamEvents(Pelk::TraceLevels shown, Told told, Depth depth = Depth::streams);
   StreamEvents(StreamEvents const&) = delete;
   StreamEvents& operator=(StreamEvents const&) = delete;
   ~StreamEvents() override;

   Pelk::TraceLevels shown() const noexcept { return shown_; }
   void shownIs(Pelk::TraceLevels levels);

   // The place of the stream in Pipeline::kNodes that a function traces; none if it is
   // no stream's.
   static std::optional<size_t> nodeOf(std::string_view function);
   // The same of the sink that traces a text.
   static std::optional<size_t> sinkOf(std::string_view text);

 private:
   void trace(Pelk::TraceRecord const& record) override;
   void streamTraced(size_t node, std::string_view text);

   Pelk::TraceLevels shown_;
   Told told_;
   Depth const depth_;
   Pelk::TraceSink* const sinkBefore_;
   // For each node the last of those that lead to it which had an event: an event of a
   // merged stream is made inside one of them.
   std::array<size_t, Irb::Multicast::Evpn::Pipeline::kNodes.size()> last_{};
};

} // namespace Agent
