#include "agent/OutputRecorder.h"

#include "agent/Document.h"

#include <utility>

namespace Agent {

using nlohmann::json;
using nlohmann::ordered_json;
using Zin::AttributeKind;

namespace {

json valueOf(EntityTree::Change const& change) {
   auto const& attribute = change.attribute;
   switch (attribute.kind) {
      case AttributeKind::children:
         return toJson(*static_cast<Pelk::Entity const*>(change.value));
      case AttributeKind::set:
         return json::object();
      default:
         return toJson(*attribute.valueType, attribute.valueType->toText(change.value));
   }
}

} // namespace

ordered_json operationOf(EntityTree::Change const& change) {
   auto place = change.at / std::string(change.attribute.name);
   bool const isMember = change.attribute.isCollection();
   if (isMember) {
      place /= change.attribute.keyType->toText(change.key);
   }
   if (isMember && change.value == nullptr) {
      return {{"op", "remove"}, {"path", place.to_string()}};
   }
   return {{"op", isMember ? "add" : "replace"},
           {"path", place.to_string()},
           {"value", valueOf(change)}};
}

OutputRecorder::OutputRecorder(std::string_view name,
                               Pelk::Ptr<Pelk::Entity> const& entity, Emit const& emit)
   : tree_(entity, json::json_pointer() / std::string(name),
           [emit](EntityTree::Change const& change) { emit(operationOf(change)); }) {}

OutputsRecorder::OutputsRecorder(State const& state, OutputRecorder::Emit const& emit) {
   for (auto const& member : state.members()) {
      if (member.isOutput) {
         recorders_.push_back(
            std::make_unique<OutputRecorder>(member.name, member.entity, emit));
      }
   }
}

} // namespace Agent
