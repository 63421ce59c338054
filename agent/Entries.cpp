#include "agent/Entries.h"

namespace Agent {

namespace {

using nlohmann::json;

// A canonical document alternates: the attributes of an entity, then the members of
// each attribute that is a collection.
void collect(json const& entity, json::json_pointer const& place, Entries& entries) {
   json own = json::object();
   bool hasMembers = false;
   for (auto const& [attribute, value] : entity.items()) {
      if (!value.is_object()) {
         own[attribute] = value;
         continue;
      }
      for (auto const& [key, member] : value.items()) {
         hasMembers = true;
         collect(member, place / attribute / key, entries);
      }
   }
   if (!hasMembers || !own.empty()) {
      entries[place.to_string()] = own;
   }
}

} // namespace

Entries entriesOf(json const& outputs) {
   Entries entries;
   for (auto const& [name, entity] : outputs.items()) {
      auto const root = json::json_pointer() / name;
      collect(entity, root, entries);
      entries.erase(root.to_string()); // there whatever stands in it
   }
   return entries;
}

std::vector<std::string> touchedBy(std::string const& path, Entries const& entries) {
   std::vector<std::string> touched;
   for (auto at = entries.lower_bound(path + '/');
        at != entries.end() && at->first.starts_with(path + '/'); ++at) {
      touched.push_back(at->first);
   }
   for (auto at = path; !at.empty(); at.resize(at.rfind('/'))) {
      if (entries.contains(at)) {
         touched.push_back(at);
      }
   }
   return touched;
}

} // namespace Agent
