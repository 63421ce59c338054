#pragma once

#include "pelk/Entity.h"
#include "pelk/Ptr.h"
#include "zin/TypeTable.h"

#include <nlohmann/json.hpp>

#include <functional>
#include <memory>

namespace Agent {

// Follows an entity and everything below it, and tells of each change notification.
// Driven by the type tables.
//
// To be made before anybody else subscribes to the entity: it is then told first, and
// the order stands also where another subscriber changes the entity in its callback.
class EntityTree {
 public:
   // A notification of an entity: an attribute's new value; or a member of a
   // collection, with its value (the entity, for children), or null if it is gone.
   // Readable during the call.
   struct Change {
      Zin::Attribute const& attribute;
      nlohmann::json::json_pointer const& at; // the entity's
      void const* key;                        // of a member; null else
      void const* value;
   };
   using Told = std::function<void(Change const& change)>;

   // at: where the entity stands.
   EntityTree(Pelk::Ptr<Pelk::Entity> const& entity, nlohmann::json::json_pointer at,
              Told told);
   ~EntityTree();

 private:
   class Node;

   Told told_;
   std::unique_ptr<Node> root_;
};

} // namespace Agent
