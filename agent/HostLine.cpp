#include "agent/HostLine.h"

#include "agent/BadInput.h"

#include <algorithm>
#include <array>
#include <limits>
#include <string_view>
#include <utility>

namespace Agent {

namespace {

using nlohmann::json;
using Pointer = json::json_pointer;
using Kind = HostLine::Kind;

struct Form {
   std::string_view name;
   Kind kind;
   std::array<std::string_view, 2> members; // besides "host"
};
constexpr std::array kForms = {Form{"drain", Kind::drain, {}},
                               Form{"slice", Kind::slice, {"count", "items"}},
                               Form{"stop", Kind::stop, {}},
                               Form{"start", Kind::start, {}},
                               Form{"restart", Kind::restart, {}},
                               Form{"flag", Kind::flag, {"want", "value"}},
                               Form{"inside", Kind::inside, {"count", "event"}}};

constexpr std::array<std::pair<std::string_view, bool Flags::*>, 3> kFlags = {
   {{"ready", &Flags::ready},
    {"idle", &Flags::idle},
    {"initialScanDone", &Flags::initialScanDone}}};

Form const& formOf(json const& given) {
   auto const name = given.is_string() ? given.get<std::string>() : std::string();
   auto const form = std::ranges::find(kForms, name, &Form::name);
   if (form == kForms.end()) {
      throw BadInput(Pointer() / "host", excerpt(given),
                     "one of drain, slice, stop, start, restart, flag, inside");
   }
   return *form;
}

// The member's value; null if it is not there.
json memberOf(json const& event, char const* name) {
   auto const found = event.find(name);
   return found == event.end() ? json() : *found;
}

std::string textOf(json const& value) {
   return value.is_null() ? "nothing" : excerpt(value);
}

void readFlag(json const& event, HostLine& line) {
   auto const want = memberOf(event, "want");
   line.want = want.is_string() ? want.get<std::string>() : std::string();
   auto const known =
      std::ranges::find(kFlags, line.want, &decltype(kFlags)::value_type::first);
   if (known == kFlags.end()) {
      throw BadInput(Pointer() / "want", textOf(want),
                     "one of ready, idle, initialScanDone");
   }
   line.flag = known->second;
   auto const value = memberOf(event, "value");
   if (!value.is_boolean()) {
      throw BadInput(Pointer() / "value", textOf(value), "true or false");
   }
   line.value = value.get<bool>();
}

void readInside(json const& event, HostLine& line) {
   auto const count = memberOf(event, "count");
   if (!count.is_number_unsigned() || count.get<uint64_t>() == 0) {
      throw BadInput(Pointer() / "count", textOf(count),
                     "a whole number of notifications, from 1");
   }
   line.count = count.get<uint64_t>();
   line.event = memberOf(event, "event");
   if (!line.event.is_object() || !line.event.contains("op")) {
      throw BadInput(Pointer() / "event", textOf(line.event), "an operation");
   }
}

void checkSituation(std::string const& name, Kind kind, Situation const& situation) {
   Pointer const at = Pointer() / "host";
   if (kind == Kind::start && situation.isRunning) {
      throw BadInput(at, "a start while a machine runs", "a start after a stop");
   }
   if (kind == Kind::flag && !situation.isDataflow) {
      throw BadInput(at, "a flag",
                     "a flag of the dataflow machine, which does not run here");
   }
   bool const needsMachine = kind == Kind::restart || kind == Kind::flag ||
                             (kind == Kind::stop && !situation.isFirst);
   if (needsMachine && !situation.isRunning) {
      throw BadInput(at, "a " + name + " while no machine runs",
                     "a " + name + " after a start");
   }
}

} // namespace

HostLine hostLineOf(json const& event, Situation const& situation) {
   auto const& form = formOf(event.at("host"));
   for (auto const& [member, value] : event.items()) {
      if (member != "host" &&
          std::ranges::find(form.members, member) == form.members.end()) {
         throw BadInput(Pointer() / member, "the unknown member " + quote(member),
                        "what the host line needs and no more");
      }
   }
   HostLine line;
   line.kind = form.kind;
   if (form.kind == Kind::slice) {
      auto const count = memberOf(event, "count");
      if (!count.is_number_unsigned()) {
         throw BadInput(Pointer() / "count", textOf(count), "a whole number of slices");
      }
      line.count = count.get<uint64_t>();
      auto const items = memberOf(event, "items");
      if (!items.is_null()) {
         constexpr uint64_t kMost = std::numeric_limits<uint32_t>::max();
         if (!items.is_number_unsigned() || items.get<uint64_t>() == 0 ||
             items.get<uint64_t>() > kMost) {
            throw BadInput(Pointer() / "items", textOf(items),
                           "a whole number of items, from 1");
         }
         line.items = items.get<uint32_t>();
      }
   }
   checkSituation(std::string(form.name), form.kind, situation);
   if (form.kind == Kind::flag) {
      readFlag(event, line);
   } else if (form.kind == Kind::inside) {
      readInside(event, line);
   }
   return line;
}

uint64_t play(HostLine const& line, Host& host) {
   switch (line.kind) {
      case Kind::drain:
         return host.drain();
      case Kind::slice:
         return host.slice(line.count, line.items);
      case Kind::stop:
         host.stop();
         break;
      case Kind::restart:
         host.stop();
         host.start();
         break;
      case Kind::start:
         host.start();
         break;
      case Kind::flag:
      case Kind::inside:
         break;
   }
   return 0;
}

} // namespace Agent
