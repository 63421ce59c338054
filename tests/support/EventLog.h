#pragma once

#include "pelk/Entity.h"
#include "pelk/Ptr.h"
#include "pelk/Subscriber.h"
#include "pelk/Trace.h"
#include "zin/TypeTable.h"

#include <deque>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace Support {

// One list of what a machine says and does, in the order in which it happens: the lines
// of the text trace, and the notifications of entities and all that is made below them:
//
//    8 handleTransitVlan: Transit enabled Vrf: red     a trace line: level, function
//    + intf[Vlan10]                                    a member came
//    - intf[Vlan10]                                    a member went
//    intf[Vlan10].ipAddr = 10.0.0.1                    a value changed
//
// Takes the place of the trace sink, with the given levels on, while it lives.
class EventLog final : public Pelk::TraceSink {
 public:
   explicit EventLog(std::string_view levels = "all")
      : levelsBefore_(Pelk::Trace::levels()), sinkBefore_(Pelk::Trace::sinkIs(this)) {
      Pelk::Trace::levelsIs(Pelk::TraceLevels::fromText(levels));
   }
   ~EventLog() override {
      for (auto& node : nodes_) {
         node.entity->subscriberRemove(&node.subscriber);
      }
      Pelk::Trace::levelsIs(levelsBefore_);
      Pelk::Trace::sinkIs(sinkBefore_);
   }

   // Listens to the entity and to everything below it. Keeps a use of each.
   void follow(Pelk::Entity const& entity, std::string const& prefix = "") {
      nodes_.emplace_back(*this, entity, prefix);
      entity.subscriberAdd(&nodes_.back().subscriber, 0);
      for (auto const& attribute : entity.entityType().attributes) {
         if (attribute.kind != Zin::AttributeKind::children) {
            continue;
         }
         attribute.members(entity, [&](std::string const& key, std::string const&,
                                       Pelk::Entity* child) {
            follow(*child, prefix + std::string(attribute.name) + '[' + key + "].");
         });
      }
   }

   // Called inside each notification, with its text, after it was listed.
   using Action = std::function<void(std::string const& text)>;
   void actionIs(Action action) { action_ = std::move(action); }

   std::vector<std::string> take() { return std::exchange(events_, {}); }
   // The same without the trace, or without the notifications.
   std::vector<std::string> takeNotified() { return takeIf(false); }
   std::vector<std::string> takeTraced() { return takeIf(true); }

   // The trace lines' facility and file, which must be the same in all of them.
   std::string const& origin() const noexcept { return origin_; }

   void trace(Pelk::TraceRecord const& record) override {
      auto const origin = std::string(record.name) + ' ' + std::string(record.file);
      origin_ = origin_.empty() || origin_ == origin ? origin : "several";
      events_.push_back(std::to_string(record.level) + ' ' +
                        std::string(record.function) + ": " + std::string(record.text));
   }

 private:
   struct Node {
      Node(EventLog& eventLog, Pelk::Entity const& source, std::string path)
         : log(&eventLog), entity(&source), prefix(std::move(path)) {}

      void changed(Pelk::Publisher*, Pelk::Subscriber*, int16_t attributeId,
                   void const* key, void const* value) noexcept {
         auto const* const attribute = entity->entityType().attribute(attributeId);
         std::string text = prefix + std::string(attribute->name);
         if (attribute->isCollection()) {
            text += '[' + attribute->keyType->toText(key) + ']';
            if (value != nullptr && attribute->kind == Zin::AttributeKind::children) {
               log->follow(*static_cast<Pelk::Entity const*>(value), text + '.');
            }
            text.insert(0, value != nullptr ? "+ " : "- ");
         } else if (attribute->valueType != nullptr) {
            text += " = " + attribute->valueType->toText(value);
         }
         log->events_.push_back(text);
         if (log->action_) {
            auto const action = log->action_;
            action(text);
         }
      }

      EventLog* log;
      Pelk::Ptr<Pelk::Entity const> entity;
      std::string prefix;
      Pelk::MemberSubscriber<Node> subscriber =
         Pelk::MemberSubscriber<Node>::of<&Node::changed>(this);
   };

   std::vector<std::string> takeIf(bool traced) {
      std::erase_if(events_, [&](std::string const& event) {
         return (event[0] >= '0' && event[0] <= '9') != traced;
      });
      return take();
   }

   std::deque<Node> nodes_;
   std::vector<std::string> events_;
   std::string origin_;
   Action action_;
   Pelk::TraceLevels levelsBefore_;
   Pelk::TraceSink* sinkBefore_;
};

} // namespace Support
