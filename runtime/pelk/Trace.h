#pragma once

#include "pelk/Export.h"
#include "pelk/String.h"
#include "pelk/TraceLevels.h"

#include <cstdint>
#include <string_view>

// The text trace: handlers, which say what is on, and the sink, which takes the lines.
// Everything here is event thread only, and a line is delivered before the call that
// traces it returns.
namespace Pelk {

// One line, as a sink gets it. The texts are readable during the call only.
struct TraceRecord {
   std::string_view name;     // the emitting machine, or the facility
   std::string_view file;     // the fixed source path, such as "McastVpnLib/..."
   std::string_view function; // the emitting function
   uint32_t line = 0;
   uint16_t level = 0;
   std::string_view text;
};

// Takes the lines of the text trace. A sink must not trace.
class PELK_EXPORT TraceSink {
 public:
   TraceSink() noexcept = default;
   TraceSink(TraceSink const&) = delete;
   TraceSink& operator=(TraceSink const&) = delete;
   virtual ~TraceSink() = default;

   // Takes one record, whose texts live as long as the call.
   virtual void trace(TraceRecord const& record) = 0;
};

// A trace facility: a name, such as "McastVpn::Transit", and an enable word with one
// bit a level. A site tests the bit before it evaluates any argument (the macros of
// Fmtrace.h, dualo/Dualo.h and zin/TraceHelper.h do so).
//
// A handler follows the levels set by Trace below, also when it is made later. It may
// be a static object.
class PELK_EXPORT TraceHandler {
 public:
   explicit TraceHandler(String name);
   TraceHandler(TraceHandler const&) = delete;
   TraceHandler& operator=(TraceHandler const&) = delete;
   ~TraceHandler();

   String const& name() const noexcept { return name_; }
   TraceLevels levels() const noexcept { return levels_; }
   bool enabled(uint16_t level) const noexcept { return levels_.has(level); }

   // Sets this handler's own levels, until Trace sets them.
   void levelsIs(TraceLevels levels) noexcept { levels_ = levels; }

   // Hands a line to the sink. Does not test the level: the caller did.
   void deliver(uint16_t level, std::string_view file, std::string_view function,
                uint32_t line, std::string_view text) const;

 private:
   friend class Trace;

   TraceLevels levels_;
   String name_;
   TraceHandler* previous_ = nullptr; // in the list of all handlers
   TraceHandler* next_ = nullptr;
};

// What holds for all handlers.
class PELK_EXPORT Trace {
 public:
   // The levels of every facility that has none of its own. None at first.
   static TraceLevels levels() noexcept;
   static void levelsIs(TraceLevels levels) noexcept;

   // The levels of one facility: of every handler of this name, present and to come.
   static void levelsIs(String const& facility, TraceLevels levels);
   // The facility follows the common levels again.
   static void levelsDel(String const& facility);

   // Where the lines go; null drops them. Standard error at first. The sink stays the
   // caller's, who must set another one before it goes. Returns the sink before.
   static TraceSink* sinkIs(TraceSink* sink) noexcept;
   static TraceSink* sink() noexcept;

 private:
   friend class TraceHandler;

   static void handlerAdd(TraceHandler& handler);
   static void handlerDel(TraceHandler& handler) noexcept;
};

} // namespace Pelk
