#include "agent/serve/Question.h"

#include "agent/BadInput.h"
#include "agent/ExitStatus.h"
#include "agent/JsonText.h"

namespace Agent {

using nlohmann::json;
using nlohmann::ordered_json;

namespace {

// A value of this kind, or none.
template <typename T>
T memberOf(json const& asked, char const* name, bool (json::*is)() const noexcept,
           char const* allowed) {
   auto const found = asked.find(name);
   if (found == asked.end()) {
      return {};
   }
   if (!(*found.*is)()) {
      refuseMember(name, *found, allowed);
   }
   return found->get<T>();
}

} // namespace

bool Question::flag(char const* name) const {
   return memberOf<bool>(asked_, name, &json::is_boolean, "true or false");
}

std::string Question::text(char const* name) const {
   return memberOf<std::string>(asked_, name, &json::is_string, "a text");
}

std::vector<json> Question::list(char const* name) const {
   auto const found = asked_.find(name);
   if (found == asked_.end()) {
      return {};
   }
   return found->is_array() ? found->get<std::vector<json>>() : std::vector{*found};
}

bool Question::isText() const {
   auto const as = text("as");
   if (!as.empty() && as != "json" && as != "text") {
      refuseMember("as", as, R"("json" or "text")");
   }
   return as == "text";
}

std::string Question::answered(int status, ordered_json const& answer) const {
   return answeredWith(status, jsonText(answer));
}

std::string Question::answeredWith(int status, std::string const& answer) const {
   auto line = jsonText(begun(status));
   line.pop_back();
   return line + ",\"answer\":" + answer + '}';
}

std::string Question::refused(std::string const& why) const {
   auto line = begun(kBadInput);
   line["error"] = why;
   return jsonText(line);
}

ordered_json Question::begun(int status) const {
   ordered_json line;
   if (auto const id = asked_.find("id"); id != asked_.end()) {
      line["id"] = *id;
   }
   line["status"] = status;
   return line;
}

void refuseMember(std::string const& member, json const& found,
                  std::string const& allowed) {
   throw BadInput(json::json_pointer('/' + member), excerpt(found), allowed);
}

} // namespace Agent
