#include "zin/Toggle.h"

#include <cerrno>
#include <fstream>
#include <iterator>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <system_error>

namespace Zin {

namespace {

using Toggles = std::map<std::string, bool, std::less<>>;

constexpr char const* kAllowed =
   "allowed is one JSON object of toggle name to true or false";

struct State {
   std::filesystem::path folder;
   std::filesystem::path file;
   Toggles overrides;
   std::map<std::filesystem::path, Toggles> read;
};

State& state() {
   static State theState;
   return theState;
}

[[noreturn]] void refuse(std::filesystem::path const& path, std::string const& why) {
   throw ToggleFileError("toggle file " + path.string() + ": " + why);
}

nlohmann::json parse(std::filesystem::path const& path, std::string const& text) {
   std::set<std::string> names;
   auto const refuseTwice = [&](int depth, nlohmann::json::parse_event_t event,
                                nlohmann::json& parsed) {
      if (depth == 1 && event == nlohmann::json::parse_event_t::key &&
          !names.insert(parsed.get<std::string>()).second) {
         refuse(path, "/" + parsed.get<std::string>() + " stands there twice");
      }
      return true;
   };
   try {
      return nlohmann::json::parse(text, refuseTwice);
   } catch (nlohmann::json::exception const& error) {
      // The text begins with the library's own error code, in brackets.
      std::string_view const what = error.what();
      refuse(path, std::string(what.substr(what.find(']') + 2)) + "; " + kAllowed);
   }
}

std::string describe(nlohmann::json const& value) {
   std::string const type = value.type_name();
   return value.is_structured() || value.is_null()
             ? type
             : type + " " +
                  value.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

Toggles read(std::filesystem::path const& path, bool mustExist) {
   std::error_code error;
   if (!mustExist && !std::filesystem::exists(path, error) && !error) {
      return {};
   }
   if (std::filesystem::is_directory(path, error)) {
      refuse(path, std::generic_category().message(EISDIR));
   }
   std::ifstream in(path, std::ios::binary);
   if (!in) {
      refuse(path, std::generic_category().message(errno));
   }
   std::string const text{std::istreambuf_iterator<char>(in), {}};
   auto const document = parse(path, text);
   if (!document.is_object()) {
      refuse(path, "at the top stands the " + describe(document) + "; " + kAllowed);
   }
   Toggles toggles;
   for (auto const& [name, value] : document.items()) {
      if (!value.is_boolean()) {
         refuse(path, "/" + name + ": the " + describe(value) +
                         " stands where true or false is allowed");
      }
      toggles.emplace(name, value.get<bool>());
   }
   return toggles;
}

Toggles const& togglesOf(std::filesystem::path const& path, bool mustExist) {
   auto& files = state().read;
   auto const known = files.find(path);
   return known != files.end()
             ? known->second
             : files.emplace(path, read(path, mustExist)).first->second;
}

} // namespace

ToggleFileError::~ToggleFileError() = default;

bool getToggleState(std::string_view name, std::string_view file, bool defaultState) {
   auto const& source = state();
   if (auto const own = source.overrides.find(name); own != source.overrides.end()) {
      return own->second;
   }
   if (source.file.empty() && source.folder.empty()) {
      return defaultState;
   }
   auto const& toggles = source.file.empty() ? togglesOf(source.folder / file, false)
                                             : togglesOf(source.file, true);
   auto const found = toggles.find(name);
   return found != toggles.end() ? found->second : defaultState;
}

void ToggleSource::folderIs(std::filesystem::path const& folder) {
   state().folder = folder;
}

void ToggleSource::fileIs(std::filesystem::path const& file) {
   if (!file.empty()) {
      togglesOf(file, true);
   }
   state().file = file;
}

void ToggleSource::overrideIs(std::string_view name, bool isOn) {
   state().overrides.insert_or_assign(std::string(name), isOn);
}

void ToggleSource::overrideDel(std::string_view name) {
   auto& overrides = state().overrides;
   if (auto const own = overrides.find(name); own != overrides.end()) {
      overrides.erase(own);
   }
}

void ToggleSource::reset() {
   state() = State{};
}

} // namespace Zin
