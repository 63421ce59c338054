#include "agent/Provenance.h"

#include "agent/OutputKey.h"

#include <utility>

namespace Agent {

using nlohmann::ordered_json;

ordered_json InputChange::toJson() const {
   ordered_json json{{"number", number}};
   if (number != 0) {
      json["op"] = op;
      json["path"] = path;
   }
   return json;
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
   last_ = {last_.number + 1, operation.at("op"), operation.at("path")};
   if (input_) {
      input_(last_, operation);
   }
}

void Provenance::wrote(ordered_json const& operation) {
   std::string const path = operation.at("path");
   auto const key = outputKeyOf(path);
   if (operation.at("op") == "remove" && path == outputPathOf(key)) {
      causes_.erase(key);
   } else {
      causes_[key] = last_;
   }
   if (output_) {
      output_(operation, last_);
   }
}

InputChange const* Provenance::causeOf(std::string const& key) const {
   auto const found = causes_.find(key);
   return found == causes_.end() ? nullptr : &found->second;
}

} // namespace Agent
