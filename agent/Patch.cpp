#include "agent/Patch.h"

#include "agent/BadInput.h"
#include "agent/PatchParser.h"

namespace Agent {

namespace {

using nlohmann::json;

// What an earlier operation of the line made the machine remove is left alone.
bool isGone(Place const& place) {
   return !entityAt(place);
}

void removeAt(Place const& place) {
   switch (place.kind) {
      case Place::Kind::document:
         break; // has no one place
      case Place::Kind::entity:
         assign(*entityAt(place), canonicalEntity(place.entityType(), json::object(),
                                                  place.pointer, Checks::plausible));
         break;
      case Place::Kind::attribute:
         assign(*entityAt(place), *place.attribute, defaultOf(*place.attribute));
         break;
      case Place::Kind::member:
         place.attribute->memberDel(*entityAt(place), place.key);
         break;
   }
}

void writeAt(Place const& place, json const& value) {
   switch (place.kind) {
      case Place::Kind::document:
         break; // has no one place
      case Place::Kind::entity:
         assign(*entityAt(place), value);
         break;
      case Place::Kind::attribute:
         assign(*entityAt(place), *place.attribute, value);
         break;
      case Place::Kind::member:
         assignMember(*entityAt(place), *place.attribute, place.key, value);
         break;
   }
}

} // namespace

Pelk::Ptr<Pelk::Entity> entityAt(Place const& place) {
   Pelk::Ptr<Pelk::Entity> entity = place.root->entity;
   for (auto const& step : place.steps) {
      if (!entity) {
         break;
      }
      entity = step.attribute->child(*entity, step.key);
   }
   return entity;
}

Patch::Patch(State& state, json const& operations, Checks checks)
   : state_(&state), operations_(parsePatch(state, operations, checks)) {}

size_t Patch::apply(Observer& observer) const {
   size_t tests = 0;
   for (auto const& operation : operations_) {
      if (operation.kind == Operation::Kind::test) {
         ++tests;
         test(operation, observer);
      } else if (operation.place.kind == Place::Kind::document) {
         writeAll(operation, observer);
      } else if (!isGone(operation.place)) {
         observer.writing(operation.place.root->isOutput);
         if (operation.kind == Operation::Kind::remove) {
            removeAt(operation.place);
         } else {
            writeAt(operation.place, operation.value);
         }
         observer.written();
      }
   }
   return tests;
}

void Patch::test(Operation const& operation, Observer& observer) const {
   auto const have = valueAt(*state_, operation.place);
   if (!have || *have != operation.value) {
      observer.failed(
         {operation.place.pointer, operation.value, have.value_or(json())});
   }
}

void Patch::writeAll(Operation const& operation, Observer& observer) const {
   auto const document = operation.kind == Operation::Kind::remove
                            ? state_->canonical(json::object(), Checks::plausible)
                            : operation.value;
   for (auto const& member : state_->members()) {
      observer.writing(member.isOutput);
      assign(*member.entity, document.at(std::string(member.name)));
      observer.written();
   }
}

std::optional<json> valueAt(State const& state, Place const& place) {
   if (place.kind == Place::Kind::document) {
      return state.toJson();
   }
   auto const entity = entityAt(place);
   if (!entity) {
      return std::nullopt;
   }
   if (place.kind == Place::Kind::entity) {
      return toJson(*entity);
   }
   auto const& attribute = *place.attribute;
   if (place.kind == Place::Kind::attribute) {
      return toJson(*entity, attribute);
   }
   if (!attribute.memberHas(*entity, place.key)) {
      return std::nullopt;
   }
   if (attribute.kind == Zin::AttributeKind::children) {
      return toJson(*attribute.child(*entity, place.key));
   }
   return toJson(*attribute.valueType, attribute.memberGet(*entity, place.key));
}

} // namespace Agent
