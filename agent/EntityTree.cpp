#include "agent/EntityTree.h"

#include "pelk/Subscription.h"

#include <map>
#include <string>
#include <utility>

namespace Agent {

using nlohmann::json;
using Zin::Attribute;
using Zin::AttributeKind;

// Follows one entity, and has a node for each of its children.
class EntityTree::Node {
 public:
   Node(Pelk::Ptr<Pelk::Entity> const& entity, json::json_pointer at, Told const& told)
      : at_(std::move(at)), told_(told),
        subscription_(
           Pelk::Subscription<Node, Pelk::Entity>::of<&Node::changed>(this)) {
      subscription_.sourceIs(entity);
      for (auto const& attribute : entity->entityType().attributes) {
         if (attribute.kind == AttributeKind::children) {
            attribute.members(
               *entity, [&](std::string const& key, std::string const&,
                            Pelk::Entity* child) { follow(attribute, key, child); });
         }
      }
   }

 private:
   void follow(Attribute const& attribute, std::string const& key,
               Pelk::Ptr<Pelk::Entity> const& child) {
      children_[{attribute.id, key}] =
         std::make_unique<Node>(child, at_ / std::string(attribute.name) / key, told_);
   }

   // Whoever is told may make changes of his own, after which this node may be gone: so
   // that is the last thing that is done.
   void changed(Pelk::Publisher*, Pelk::Subscriber*, int16_t attributeId,
                void const* key, void const* value) noexcept {
      auto const& attribute =
         *subscription_.source()->entityType().attribute(attributeId);
      if (attribute.kind == AttributeKind::children) {
         auto const member = attribute.keyType->toText(key);
         if (value == nullptr) {
            children_.erase({attributeId, member});
         } else {
            follow(attribute, member,
                   Pelk::Ptr(const_cast<Pelk::Entity*>(
                      static_cast<Pelk::Entity const*>(value))));
         }
      }
      told_({attribute, at_, attribute.isCollection() ? key : nullptr, value});
   }

   json::json_pointer at_;
   Told const& told_;
   std::map<std::pair<int16_t, std::string>, std::unique_ptr<Node>> children_;
   Pelk::Subscription<Node, Pelk::Entity> subscription_;
};

EntityTree::EntityTree(Pelk::Ptr<Pelk::Entity> const& entity, json::json_pointer at,
                       Told told)
   : told_(std::move(told)),
     root_(std::make_unique<Node>(entity, std::move(at), told_)) {}

EntityTree::~EntityTree() = default;

} // namespace Agent
