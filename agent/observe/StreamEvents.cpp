#include "agent/observe/StreamEvents.h"

#include "McastVpnLib/TransitIntfSm/TransitIntfTrace.h"

#include <algorithm>
#include <cctype>
#include <string>
#include <utility>

namespace Agent {

namespace Pipeline = Irb::Multicast::Evpn::Pipeline;
namespace TransitIntfTrace = Irb::Multicast::Evpn::TransitIntfTrace;

namespace {

constexpr std::string_view kFunction = "eventTo";
// Of the machine that has the streams.
constexpr char const* kFacility = "TransitIntfSm";

// What every text of a sink begins with: its target, in which names stand in brackets.
constexpr std::string_view kInto = "into( ";
constexpr std::string_view kIntoEnd = " ): ";

Pelk::TraceLevels levelsOf(StreamEvents::Depth depth) {
   auto const levels = Pelk::TraceLevels::of(TransitIntfTrace::kStream);
   return depth == StreamEvents::Depth::streams
             ? levels
             : levels | Pelk::TraceLevels::of(TransitIntfTrace::kDetail);
}

std::string withoutNames(std::string_view target) {
   std::string result;
   bool isName = false;
   for (char const c : target) {
      isName = isName && c != ']';
      if (!isName) {
         result += c;
      }
      isName = isName || c == '[';
   }
   return result;
}

} // namespace

StreamEvents::StreamEvents(Pelk::TraceLevels shown, Told told, Depth depth)
   : shown_(shown), told_(std::move(told)), depth_(depth),
     sinkBefore_(Pelk::Trace::sinkIs(this)) {
   for (auto const& edge : Pipeline::kEdges) {
      // Until one has had an event: a source stream has one input only.
      last_[Pipeline::indexOf(edge.to)] = Pipeline::indexOf(edge.from);
   }
   shownIs(shown);
}

StreamEvents::~StreamEvents() {
   Pelk::Trace::levelsIs(shown_);
   Pelk::Trace::levelsDel(kFacility);
   Pelk::Trace::sinkIs(sinkBefore_);
}

void StreamEvents::shownIs(Pelk::TraceLevels levels) {
   shown_ = levels;
   Pelk::Trace::levelsIs(levels);
   Pelk::Trace::levelsIs(kFacility, levels | levelsOf(depth_));
}

std::optional<size_t> StreamEvents::nodeOf(std::string_view function) {
   if (!function.starts_with(kFunction) || function.size() == kFunction.size()) {
      return std::nullopt;
   }
   std::string name(function.substr(kFunction.size()));
   name[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(name[0])));
   size_t const node = Pipeline::indexOf(name);
   return node < Pipeline::kNodes.size() ? std::optional(node) : std::nullopt;
}

std::optional<size_t> StreamEvents::sinkOf(std::string_view text) {
   auto const end = text.find(kIntoEnd);
   if (!text.starts_with(kInto) || end == std::string_view::npos) {
      return std::nullopt;
   }
   auto const output = withoutNames(text.substr(kInto.size(), end - kInto.size()));
   auto const* const edge =
      std::ranges::find(Pipeline::kEdges, output, &Pipeline::Edge::to);
   return edge != Pipeline::kEdges.end() ? std::optional(Pipeline::indexOf(edge->from))
                                         : std::nullopt;
}

void StreamEvents::streamTraced(size_t node, std::string_view text) {
   told_({node, last_[node], text});
   for (auto const& edge : Pipeline::kEdges) {
      if (Pipeline::indexOf(edge.from) == node) {
         last_[Pipeline::indexOf(edge.to)] = node;
      }
   }
}

void StreamEvents::trace(Pelk::TraceRecord const& record) {
   // A sink traces as the stream that ends in it; as others, what is reconciled.
   if (auto const node = nodeOf(record.function)) {
      if (record.level == TransitIntfTrace::kStream) {
         streamTraced(*node, record.text);
      } else if (record.level == TransitIntfTrace::kDetail &&
                 depth_ == Depth::streamsAndSinks) {
         if (auto const sink = sinkOf(record.text)) {
            told_({*sink, *node, record.text});
         }
      }
   }
   if (sinkBefore_ != nullptr && shown_.has(record.level)) {
      sinkBefore_->trace(record);
   }
}

} // namespace Agent
