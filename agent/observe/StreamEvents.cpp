#include "agent/observe/StreamEvents.h"

#include "McastVpnLib/TransitIntfSm/TransitIntfTrace.h"

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

Pelk::TraceLevels streamLevel() {
   return Pelk::TraceLevels::of(TransitIntfTrace::kStream);
}

} // namespace

StreamEvents::StreamEvents(Pelk::TraceLevels shown, Told told)
   : shown_(shown), told_(std::move(told)), sinkBefore_(Pelk::Trace::sinkIs(this)) {
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
   Pelk::Trace::levelsIs(kFacility, levels | streamLevel());
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

void StreamEvents::trace(Pelk::TraceRecord const& record) {
   if (record.level == TransitIntfTrace::kStream) {
      if (auto const node = nodeOf(record.function)) {
         told_({*node, last_[*node], record.text});
         for (auto const& edge : Pipeline::kEdges) {
            if (Pipeline::indexOf(edge.from) == *node) {
               last_[Pipeline::indexOf(edge.to)] = *node;
            }
         }
      }
   }
   if (sinkBefore_ != nullptr && shown_.has(record.level)) {
      sinkBefore_->trace(record);
   }
}

} // namespace Agent
