#include "agent/PatchParser.h"

#include "agent/BadInput.h"
#include "agent/JsonText.h"

#include <string>

namespace Agent {

namespace {

using nlohmann::json;
using Pointer = json::json_pointer;

// What the operations of one patch are checked against. One operation alone is checked
// against the entities; several need to see what those before them will have done, so
// they are checked against a copy of the state as a document.
class Preview {
 public:
   Preview(State const& state, bool needsCopy) : state_(&state) {
      if (needsCopy) {
         copy_ = state.toJson();
      }
   }

   bool has(Place const& place) const {
      if (copy_) {
         return copy_->contains(place.pointer);
      }
      if (place.kind != Place::Kind::member) {
         return place.kind == Place::Kind::document || entityAt(place);
      }
      auto const entity = entityAt(place);
      return entity && place.attribute->memberHas(*entity, place.key);
   }
   // Whether there is something that the place can be a part of.
   bool hasParent(Place const& place) const {
      if (place.kind == Place::Kind::document) {
         return true;
      }
      return copy_ ? copy_->contains(place.pointer.parent_pointer())
                   : static_cast<bool>(entityAt(place));
   }
   // Requires that something stands there.
   json value(Place const& place) const {
      return copy_ ? copy_->at(place.pointer)
                   : valueAt(*state_, place).value_or(json());
   }

   void write(Place const& place, json const& value) {
      if (copy_) {
         (*copy_)[place.pointer] = value;
      }
   }
   void remove(Place const& place) {
      if (!copy_) {
         return;
      }
      switch (place.kind) {
         case Place::Kind::document:
            *copy_ = state_->canonical(json::object(), Checks::plausible);
            break;
         case Place::Kind::entity:
            (*copy_)[place.pointer] = canonicalEntity(
               place.entityType(), json::object(), place.pointer, Checks::plausible);
            break;
         case Place::Kind::attribute:
            (*copy_)[place.pointer] = defaultOf(*place.attribute);
            break;
         case Place::Kind::member:
            (*copy_)[place.pointer.parent_pointer()].erase(place.key);
            break;
      }
   }

 private:
   State const* state_;
   std::optional<json> copy_;
};

json canonicalAt(State const& state, Place const& place, json const& value,
                 Checks checks) {
   switch (place.kind) {
      case Place::Kind::document:
         return state.canonical(value, checks);
      case Place::Kind::entity:
         return canonicalEntity(place.entityType(), value, place.pointer, checks);
      case Place::Kind::attribute:
         return canonicalAttribute(*place.attribute, value, place.pointer, checks);
      case Place::Kind::member:
         break;
   }
   return canonicalMember(*place.attribute, value, place.pointer, checks);
}

class Parser {
 public:
   Parser(State const& state, json const& patch, Checks checks)
      : state_(state), checks_(checks),
        preview_(state, patch.size() > 1 && patch.is_array()) {}

   // Operations that one line of a patch stands for: "move" and "copy" are a removal
   // and an addition.
   void parse(json const& operation, Pointer const& at) {
      if (!operation.is_object()) {
         throw BadInput(at, excerpt(operation), "a JSON Patch operation");
      }
      auto const name =
         text(operation, "op", at, "one of add, replace, remove, test, move, copy");
      auto const place = pointed(operation, "path", at);
      if (name == "add" || name == "replace" || name == "test") {
         auto const given = operation.find("value");
         if (given == operation.end()) {
            throw BadInput(at, "an operation without a value", "one with a value");
         }
         auto const value = canonicalAt(state_, place, *given, checks_);
         if (name == "test") {
            operations_.push_back({Operation::Kind::test, place, value});
         } else {
            write(name == "replace", place, value);
         }
      } else if (name == "remove") {
         remove(place);
      } else if (name == "move" || name == "copy") {
         auto const from = pointed(operation, "from", at);
         require(from);
         auto const value = canonicalAt(state_, place, preview_.value(from), checks_);
         if (name == "move") {
            remove(from);
         }
         write(false, place, value);
      } else {
         throw BadInput(at / "op", quote(name),
                        "one of add, replace, remove, test, move, copy");
      }
   }

   std::vector<Operation> take() { return std::move(operations_); }

 private:
   static std::string text(json const& operation, char const* name, Pointer const& at,
                           char const* allowed) {
      auto const given = operation.find(name);
      if (given == operation.end()) {
         throw BadInput(at, "an operation without \"" + std::string(name) + '"',
                        allowed);
      }
      if (!given->is_string()) {
         throw BadInput(at / name, excerpt(*given), allowed);
      }
      return given->get<std::string>();
   }

   Place pointed(json const& operation, char const* name, Pointer const& at) const {
      auto const path = text(operation, name, at, "a JSON pointer");
      try {
         return placeOf(state_, Pointer(path), checks_);
      } catch (json::parse_error const&) {
         throw BadInput(at / name, quote(path),
                        "a JSON pointer, such as /pegVlanStatus");
      }
   }

   void require(Place const& place) const {
      if (!preview_.has(place)) {
         throw BadInput(place.pointer, "nothing",
                        "what is there to be replaced, removed or taken");
      }
   }

   void write(bool replaces, Place const& place, json const& value) {
      if (replaces) {
         require(place);
      } else if (!preview_.hasParent(place)) {
         throw BadInput(place.pointer, "nothing to add to",
                        "a place in something that stands there");
      }
      preview_.write(place, value);
      operations_.push_back(
         {replaces ? Operation::Kind::replace : Operation::Kind::add, place, value});
   }

   void remove(Place const& place) {
      require(place);
      preview_.remove(place);
      operations_.push_back({Operation::Kind::remove, place, {}});
   }

   State const& state_;
   Checks checks_;
   Preview preview_;
   std::vector<Operation> operations_;
};

} // namespace

Zin::EntityType const& Place::entityType() const {
   return steps.empty() ? root->entity->entityType()
                        : steps.back().attribute->childType();
}

Place placeOf(State const& state, Pointer const& pointer, Checks checks) {
   auto const tokens = tokensOf(pointer);
   Place place;
   if (tokens.empty()) {
      return place;
   }
   place.pointer /= tokens[0];
   place.root = state.member(tokens[0]);
   if (place.root == nullptr) {
      throw BadInput(place.pointer, "the unknown member " + quote(tokens[0]),
                     state.memberNames());
   }
   place.kind = Place::Kind::entity;
   for (size_t i = 1; i < tokens.size(); ++i) {
      auto const& token = tokens[i];
      auto const inside = place.pointer / token;
      switch (place.kind) {
         case Place::Kind::member:
            if (place.attribute->kind != Zin::AttributeKind::children) {
               throw BadInput(inside, "a place inside a value",
                              "no more than " + placeText(place.pointer));
            }
            place.steps.push_back({place.attribute, place.key});
            [[fallthrough]];
         case Place::Kind::entity:
            place.attribute = place.entityType().attribute(token);
            if (place.attribute == nullptr || !place.attribute->writable) {
               throw BadInput(inside, "the unknown member " + quote(token),
                              attributeNames(place.entityType()));
            }
            place.kind = Place::Kind::attribute;
            place.pointer = inside;
            break;
         default:
            if (!place.attribute->isCollection()) {
               throw BadInput(inside, "a place inside a value",
                              "no more than " + placeText(place.pointer));
            }
            place.key = canonicalKey(*place.attribute, token, inside, checks);
            place.kind = Place::Kind::member;
            place.pointer /= place.key;
            break;
      }
   }
   return place;
}

std::vector<Operation> parsePatch(State const& state, json const& patch,
                                  Checks checks) {
   Parser parser(state, patch, checks);
   if (!patch.is_array()) {
      parser.parse(patch, Pointer());
      return parser.take();
   }
   for (size_t i = 0; i < patch.size(); ++i) {
      try {
         parser.parse(patch[i], Pointer());
      } catch (BadInput const& error) {
         throw BadInput(error, "operation " + std::to_string(i + 1));
      }
   }
   return parser.take();
}

} // namespace Agent
