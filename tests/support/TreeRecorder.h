#pragma once

#include "pelk/Entity.h"
#include "pelk/Subscriber.h"
#include "zin/TypeTable.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Support {

// One announced change somewhere in a tree of entities. path: the collections and keys
// that lead from the root to the entity that announced it.
struct TreeChange {
   using Path = std::vector<std::pair<std::string, std::string>>;

   Path path;
   std::string attribute;
   std::string key;
   bool removed = false;
   std::string value;

   bool operator==(TreeChange const&) const = default;
};

// Records what an entity and every entity below it announce, in order, while the
// recorder lives; it knows no type by name. The root may go first.
class TreeRecorder {
 public:
   explicit TreeRecorder(Pelk::Entity& root) : root_(*this, root, {}) {}

   std::vector<TreeChange> const& changes() const noexcept { return changes_; }

   // Makes the recorded changes on another tree, as its own operations.
   static void replay(std::vector<TreeChange> const& changes, Pelk::Entity& root) {
      for (auto const& change : changes) {
         Pelk::Ptr<Pelk::Entity> entity(&root);
         for (auto const& [collection, key] : change.path) {
            entity = entity->entityType().attribute(collection)->child(*entity, key);
         }
         apply(change, *entity);
      }
   }

 private:
   using Kind = Zin::AttributeKind;

   static void apply(TreeChange const& change, Pelk::Entity& entity) {
      auto const& attribute = *entity.entityType().attribute(change.attribute);
      if (!attribute.isCollection()) {
         attribute.set(entity, change.value);
      } else if (change.removed) {
         attribute.memberDel(entity, change.key);
      } else if (attribute.kind == Kind::children) {
         attribute.childIs(entity, change.key, {});
      } else {
         attribute.memberIs(entity, change.key, change.value);
      }
   }

   class Node final : public Pelk::Subscriber {
    public:
      Node(TreeRecorder& recorder, Pelk::Entity& entity, TreeChange::Path path)
         : Subscriber(&received), recorder_(recorder), entity_(entity),
           path_(std::move(path)) {
         entity.subscriberAdd(this, 0);
         for (auto const& attribute : entity.entityType().attributes) {
            if (attribute.kind == Kind::children) {
               attribute.members(entity,
                                 [&](auto const& key, auto const&, auto* child) {
                                    add(attribute, key, *child);
                                 });
            }
         }
      }
      ~Node() {
         if (subscriptions() != 0) {
            entity_.subscriberRemove(this);
         }
      }

    private:
      void add(Zin::Attribute const& attribute, std::string const& key,
               Pelk::Entity& child) {
         auto place = std::make_pair(std::string(attribute.name), key);
         auto path = path_;
         path.push_back(place);
         children_[std::move(place)] =
            std::make_unique<Node>(recorder_, child, std::move(path));
      }

      void record(int16_t id, void const* key, void const* value) {
         auto const& attribute = *entity_.entityType().attribute(id);
         TreeChange change{path_, std::string(attribute.name), {}, false, {}};
         if (attribute.isCollection()) {
            change.key = attribute.keyType->toText(key);
            change.removed = value == nullptr;
         }
         if (attribute.kind == Kind::value || attribute.kind == Kind::map) {
            change.value = value == nullptr ? "" : attribute.valueType->toText(value);
         }
         recorder_.changes_.push_back(change);
         if (attribute.kind == Kind::children) {
            children_.erase({change.attribute, change.key});
            if (auto const child = attribute.child(entity_, change.key)) {
               add(attribute, change.key, *child);
            }
         }
      }

      static void received(Pelk::Publisher*, Pelk::Subscriber* self, int16_t id,
                           void const* key, void const* value) noexcept {
         static_cast<Node*>(self)->record(id, key, value);
      }

      TreeRecorder& recorder_;
      Pelk::Entity& entity_;
      TreeChange::Path path_;
      std::map<std::pair<std::string, std::string>, std::unique_ptr<Node>> children_;
   };

   std::vector<TreeChange> changes_;
   Node root_;
};

} // namespace Support
