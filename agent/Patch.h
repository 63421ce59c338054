#pragma once

#include "agent/Document.h"
#include "agent/State.h"

#include <nlohmann/json.hpp>

#include <vector>

// JSON Patch (RFC 6902) as entity mutations.
namespace Agent {

// A place in a state document: which entity, attribute or member a pointer names.
struct Place {
   enum class Kind { document, entity, attribute, member };

   Kind kind = Kind::document;
   nlohmann::json::json_pointer pointer; // canonical
   State::Member const* root = nullptr;
   // The way down from the root entity: the collections of children and the keys.
   struct Step {
      Zin::Attribute const* attribute;
      std::string key;
   };
   std::vector<Step> steps;
   Zin::Attribute const* attribute = nullptr; // of an attribute or a member
   std::string key;                           // of a member

   Zin::EntityType const& entityType() const;
};

// One operation, checked.
struct Operation {
   enum class Kind { add, replace, remove, test };

   Kind kind = Kind::test;
   Place place;
   nlohmann::json value; // canonical; null for remove
};

// The outcome of a test that does not hold.
struct FailedTest {
   nlohmann::json::json_pointer pointer;
   nlohmann::json want;
   nlohmann::json have;
};

class Patch {
 public:
   // Checks one operation or an array of them against the state, without changing it:
   // each must be possible after those before it. BadInput if one is not; its pointer
   // leads to what is wrong, in the state or, for a malformed operation, in the patch.
   Patch(State& state, nlohmann::json const& operations, Checks checks);

   // Told what happens while a patch is carried out.
   class Observer {
    public:
      virtual void failed(FailedTest const& test) = 0;
      // Around each write, to an output or to an input.
      virtual void writing(bool toOutput) = 0;
      virtual void written() = 0;

    protected:
      ~Observer() = default;
   };

   // Carries the operations out, in order; those after a test that does not hold, all
   // the same. Returns the number of tests.
   size_t apply(Observer& observer) const;

 private:
   void test(Operation const& operation, Observer& observer) const;
   void writeAll(Operation const& operation, Observer& observer) const;

   State* state_;
   std::vector<Operation> operations_;
};

} // namespace Agent
