#include "agent/BadInput.h"
#include "agent/HostLine.h"
#include "agent/JsonText.h"
#include "agent/OutputRecorder.h"
#include "agent/Patch.h"
#include "agent/PatchParser.h"
#include "agent/State.h"
#include "fuzz/ClearError.h"
#include "fuzz/Target.h"

#include <nlohmann/json.hpp>

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

// The first line of the input is a state document, the others are lines of an event
// file over it, played without a machine.
namespace {

using Agent::Checks;
using nlohmann::json;

class Observer final : public Agent::Patch::Observer {
 public:
   void failed(Agent::FailedTest const& test) override {
      Fuzz::require(test.want != test.have, "a test fails where two values differ");
      ++failedTests;
   }
   void writing(bool) override { ++depth; }
   void written() override { --depth; }

   size_t failedTests = 0;
   int depth = 0;
};

// What stands at a place from which everything was removed, if it always stands there.
json defaultAt(Agent::Place const& place) {
   switch (place.kind) {
      case Agent::Place::Kind::document:
         return Agent::State().toJson();
      case Agent::Place::Kind::entity:
         return Agent::canonicalEntity(place.entityType(), json::object(),
                                       place.pointer, Checks::plausible);
      default:
         return Agent::defaultOf(*place.attribute);
   }
}

// The operation as one of RFC 6902 on the document that the state is.
json patchOf(Agent::Operation const& operation) {
   auto const& place = operation.place;
   auto const path = place.pointer.to_string();
   bool const isRemoval = operation.kind == Agent::Operation::Kind::remove;
   bool const isMember = place.kind == Agent::Place::Kind::member;
   if (isRemoval && isMember) {
      return {{"op", "remove"}, {"path", path}};
   }
   return {{"op", isMember ? "add" : "replace"},
           {"path", path},
           {"value", isRemoval ? defaultAt(place) : operation.value}};
}

class Play {
 public:
   explicit Play(Checks checks) : checks_(checks) {}

   void begin(std::string_view document) {
      try {
         state_.assign(state_.canonical(Agent::parseJson(document, "s"), checks_));
      } catch (Agent::InputError const&) {
         // Then it is played over an empty state.
      } catch (Agent::BadInput const&) {
      }
      for (auto const& member : state_.members()) {
         recorders_.push_back(std::make_unique<Agent::OutputRecorder>(
            member.name, member.entity,
            [this](auto const& operation) { records_.push_back(json(operation)); }));
      }
      before_ = state_.toJson();
   }

   void line(std::string_view text, size_t number) {
      records_ = json::array();
      json event;
      try {
         event = Agent::parseJson(text, "events.jsonl", number);
      } catch (Agent::InputError const& error) {
         Fuzz::requireClear(error.what(), "events.jsonl:" + std::to_string(number));
         return;
      }
      try {
         if (event.is_object() && event.contains("host")) {
            host(event);
         } else {
            patch(event);
         }
      } catch (Agent::BadInput const& error) {
         Fuzz::requireClear(std::string("x: ") + error.what(), "x: ");
         Fuzz::require(records_.empty(), "a refused line publishes nothing");
         Fuzz::require(state_.toJson() == before_, "a refused line changes nothing");
      }
   }

 private:
   void host(json const& event) {
      for (unsigned bits = 0; bits < 8; ++bits) {
         try {
            auto const line = Agent::hostLineOf(
               event, {(bits & 1) != 0, (bits & 2) != 0, (bits & 4) != 0});
            bool const isFlag = line.kind == Agent::HostLine::Kind::flag;
            Fuzz::require(isFlag == (line.flag != nullptr), "a flag line has a flag");
         } catch (Agent::BadInput const& error) {
            Fuzz::requireClear(std::string("x: ") + error.what(), "x: ");
         }
      }
   }

   void patch(json const& event) {
      json expected = before_;
      size_t tests = 0;
      size_t failedTests = 0;
      for (auto const& each : Agent::parsePatch(state_, event, checks_)) {
         if (each.kind == Agent::Operation::Kind::test) {
            ++tests;
            auto const& at = each.place.pointer;
            bool const holds = expected.contains(at) && expected.at(at) == each.value;
            failedTests += holds ? 0 : 1;
         } else {
            expected = expected.patch(json::array({patchOf(each)}));
         }
      }
      Observer observer;
      auto const played = Agent::Patch(state_, event, checks_).apply(observer);
      Fuzz::require(played == tests, "every test is played");
      Fuzz::require(observer.failedTests == failedTests, "tests fail as they should");
      Fuzz::require(observer.depth == 0, "every write has an end");
      auto const after = state_.toJson();
      Fuzz::require(after == expected, [&] {
         return "a line does what RFC 6902 says: " + after.dump() + " in place of " +
                expected.dump();
      });
      Fuzz::require(before_.patch(records_) == after, [&] {
         return "the records lead from before to after: " + records_.dump();
      });
      Fuzz::require(state_.canonical(after, checks_) == after, "the state stays valid");
      before_ = after;
   }

   Checks const checks_;
   Agent::State state_;
   json records_ = json::array();
   json before_;
   std::vector<std::unique_ptr<Agent::OutputRecorder>> recorders_;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
   for (auto const checks : {Checks::plausible, Checks::unchecked}) {
      Fuzz::Bytes bytes(data, size);
      Play play(checks);
      play.begin(bytes.line());
      for (size_t number = 1; !bytes.empty(); ++number) {
         play.line(bytes.line(), number);
      }
   }
   return 0;
}
