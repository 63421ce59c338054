#include "agent/OutputRecorder.h"

#include "agent/Document.h"
#include "pelk/Subscription.h"
#include "zin/TypeTable.h"

#include <map>
#include <utility>

namespace Agent {

using nlohmann::json;
using nlohmann::ordered_json;
using Zin::Attribute;
using Zin::AttributeKind;

// Follows one entity, and has a node for each of its children.
class OutputRecorder::Node {
 public:
   Node(Pelk::Ptr<Pelk::Entity> const& entity, json::json_pointer pointer,
        Emit const& emit)
      : pointer_(std::move(pointer)), emit_(emit),
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
      children_[{attribute.id, key}] = std::make_unique<Node>(
         child, pointer_ / std::string(attribute.name) / key, emit_);
   }

   // Whoever is told may make changes of his own, after which this node may be gone: so
   // that is the last thing that is done.
   void changed(Pelk::Publisher*, Pelk::Subscriber*, int16_t attributeId,
                void const* key, void const* value) noexcept {
      auto const& entity = *subscription_.source();
      auto const* const attribute = entity.entityType().attribute(attributeId);
      auto const place = pointer_ / std::string(attribute->name);
      if (!attribute->isCollection()) {
         emit("replace", place,
              toJson(*attribute->valueType, attribute->valueType->toText(value)));
         return;
      }
      auto const member = attribute->keyType->toText(key);
      if (value == nullptr) {
         children_.erase({attributeId, member});
         emit_(ordered_json{{"op", "remove"}, {"path", (place / member).to_string()}});
      } else if (attribute->kind == AttributeKind::children) {
         Pelk::Ptr const child(
            const_cast<Pelk::Entity*>(static_cast<Pelk::Entity const*>(value)));
         auto const made = toJson(*child);
         follow(*attribute, member, child);
         emit("add", place / member, made);
      } else if (attribute->kind == AttributeKind::set) {
         emit("add", place / member, json::object());
      } else {
         emit("add", place / member,
              toJson(*attribute->valueType, attribute->valueType->toText(value)));
      }
   }

   void emit(char const* op, json::json_pointer const& place, json const& value) {
      emit_(ordered_json{{"op", op}, {"path", place.to_string()}, {"value", value}});
   }

   json::json_pointer pointer_;
   Emit const& emit_;
   std::map<std::pair<int16_t, std::string>, std::unique_ptr<Node>> children_;
   Pelk::Subscription<Node, Pelk::Entity> subscription_;
};

OutputRecorder::OutputRecorder(std::string_view name,
                               Pelk::Ptr<Pelk::Entity> const& entity, Emit emit)
   : emit_(std::move(emit)),
     root_(std::make_unique<Node>(entity, json::json_pointer() / std::string(name),
                                  emit_)) {}

OutputRecorder::~OutputRecorder() = default;

OutputsRecorder::OutputsRecorder(State const& state, OutputRecorder::Emit const& emit) {
   for (auto const& member : state.members()) {
      if (member.isOutput) {
         recorders_.push_back(
            std::make_unique<OutputRecorder>(member.name, member.entity, emit));
      }
   }
}

} // namespace Agent
