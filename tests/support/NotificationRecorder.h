#pragma once

#include "pelk/Entity.h"
#include "pelk/Subscriber.h"
#include "zin/TypeTable.h"

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace Support {

// A notification as text, in the words of the entity's type table:
//
//    mlagState = 3                        a value
//    transitVrf[red]                      a member of a set
//    vrfToSBDVlan[red] = 10               a member of a map
//    intf[Vlan10] = Irb::...::TransitIntf a child
//    intf[Vlan10] removed                 a member that is gone
inline std::string notificationText(Pelk::Entity const& entity, int16_t attributeId,
                                    void const* key, void const* value) {
   auto const* const attribute = entity.entityType().attribute(attributeId);
   if (attribute == nullptr) {
      return "unknown attribute " + std::to_string(attributeId);
   }
   std::string text(attribute->name);
   if (attribute->isCollection()) {
      text += '[' + (key == nullptr ? "no key" : attribute->keyType->toText(key)) + ']';
      if (value == nullptr) {
         return text + " removed";
      }
   } else if (key != nullptr) {
      text += " with a key";
   }
   switch (attribute->kind) {
      case Zin::AttributeKind::set:
         return text;
      case Zin::AttributeKind::children:
         return text.append(" = ").append(
            static_cast<Pelk::Entity const*>(value)->entityType().name);
      case Zin::AttributeKind::value:
      case Zin::AttributeKind::map:
         return text + (value == nullptr ? " without a value"
                                         : " = " + attribute->valueType->toText(value));
      default:
         return text + " of a kind that never changes";
   }
}

// Records what one entity announces while the recorder lives. The entity may go first.
class NotificationRecorder final : public Pelk::Subscriber {
 public:
   explicit NotificationRecorder(Pelk::Entity const& entity)
      : Subscriber(&received), entity_(&entity) {
      entity.subscriberAdd(this, 0);
   }
   ~NotificationRecorder() {
      if (subscriptions() != 0) {
         entity_->subscriberRemove(this);
      }
   }

   std::vector<std::string> const& texts() const noexcept { return texts_; }
   // The texts since the last call of this.
   std::vector<std::string> take() { return std::exchange(texts_, {}); }

   // Called inside each notification, after it was recorded. May set another.
   void actionIs(std::function<void()> action) { action_ = std::move(action); }

 private:
   static void received(Pelk::Publisher* publisher, Subscriber* subscriber,
                        int16_t attributeId, void const* key,
                        void const* value) noexcept {
      auto* const self = static_cast<NotificationRecorder*>(subscriber);
      auto const& entity = *static_cast<Pelk::Entity const*>(publisher);
      self->texts_.push_back(notificationText(entity, attributeId, key, value));
      if (auto const action = self->action_) { // a copy, which the action may replace
         action();
      }
   }

   Pelk::Entity const* entity_;
   std::vector<std::string> texts_;
   std::function<void()> action_;
};

} // namespace Support
