#include "agent/Provenance.h"

#include "agent/OutputKey.h"

#include <fmt/format.h>

#include <utility>

namespace Agent {

using nlohmann::ordered_json;

namespace {

InputChange const kAnotherWriter{0, {}, {}, true};

} // namespace

ordered_json InputChange::toJson() const {
   if (isAnotherWriter) {
      return {{"anotherWriter", true}};
   }
   ordered_json json{{"number", number}};
   if (number != 0) {
      json["op"] = op;
      json["path"] = path;
   }
   return json;
}

std::string InputChange::text() const {
   return isAnotherWriter ? "another writer"
          : number == 0   ? "the start"
                          : fmt::format("change {}: {} {}", number, op, path);
}

Provenance::Provenance(State const& state, Input input, Output output)
   : input_(std::move(input)), output_(std::move(output)) {
   for (auto const& member : state.members()) {
      recorders_.push_back(std::make_unique<OutputRecorder>(
         member.name, member.entity,
         [this, isOutput = member.isOutput](auto const& operation) {
            isOutput ? wrote(operation) : changed(operation);
         }));
   }
}

Provenance::~Provenance() = default;

void Provenance::changed(ordered_json const& operation) {
   last_ = {last_.number + 1, operation.at("op"), operation.at("path"), false};
   if (input_) {
      input_(last_, operation);
   }
}

void Provenance::wrote(ordered_json const& operation) {
   std::string const path = operation.at("path");
   auto const key = outputKeyOf(path);
   auto const& cause = isByAnotherWriter_ ? kAnotherWriter : last_;
   if (operation.at("op") == "remove" && path == outputPathOf(key)) {
      causes_.erase(key);
   } else {
      causes_[key] = cause;
   }
   if (output_) {
      output_(operation, cause);
   }
}

InputChange const* Provenance::causeOf(std::string const& key) const {
   auto const found = causes_.find(key);
   return found == causes_.end() ? nullptr : &found->second;
}

} // namespace Agent
