#include "pelk/Trace.h"

#include "pelk/TraceSinks.h"

#include <map>
#include <utility>

namespace Pelk {

namespace {

// Made by the first handler, so that it outlives every static one; the sink of
// standard error is never destroyed, for those that trace during the exit.
struct State {
   TraceHandler* first = nullptr;
   TraceLevels levels;
   std::map<String, TraceLevels> ofFacility;
   TraceSink* sink = &StreamTraceSink::standardError();

   TraceLevels levelsOf(String const& facility) const {
      auto const own = ofFacility.find(facility);
      return own != ofFacility.end() ? own->second : levels;
   }
};

State& state() {
   static State theState;
   return theState;
}

} // namespace

TraceHandler::TraceHandler(String name) : name_(std::move(name)) {
   Trace::handlerAdd(*this);
}

TraceHandler::~TraceHandler() {
   Trace::handlerDel(*this);
}

void TraceHandler::deliver(uint16_t level, std::string_view file,
                           std::string_view function, uint32_t line,
                           std::string_view text) const {
   if (auto* sink = state().sink) {
      sink->trace({name_.view(), file, function, line, level, text});
   }
}

void Trace::handlerAdd(TraceHandler& handler) {
   auto& all = state();
   handler.levels_ = all.levelsOf(handler.name());
   handler.next_ = all.first;
   if (all.first != nullptr) {
      all.first->previous_ = &handler;
   }
   all.first = &handler;
}

void Trace::handlerDel(TraceHandler& handler) noexcept {
   if (handler.next_ != nullptr) {
      handler.next_->previous_ = handler.previous_;
   }
   (handler.previous_ != nullptr ? handler.previous_->next_ : state().first) =
      handler.next_;
}

TraceLevels Trace::levels() noexcept {
   return state().levels;
}

void Trace::levelsIs(TraceLevels levels) noexcept {
   auto& all = state();
   all.levels = levels;
   for (auto* handler = all.first; handler != nullptr; handler = handler->next_) {
      handler->levels_ = all.levelsOf(handler->name());
   }
}

void Trace::levelsIs(String const& facility, TraceLevels levels) {
   auto& all = state();
   all.ofFacility.insert_or_assign(facility, levels);
   for (auto* handler = all.first; handler != nullptr; handler = handler->next_) {
      if (handler->name() == facility) {
         handler->levels_ = levels;
      }
   }
}

void Trace::levelsDel(String const& facility) {
   auto& all = state();
   all.ofFacility.erase(facility);
   levelsIs(all.levels);
}

TraceSink* Trace::sinkIs(TraceSink* sink) noexcept {
   return std::exchange(state().sink, sink);
}

TraceSink* Trace::sink() noexcept {
   return state().sink;
}

} // namespace Pelk
