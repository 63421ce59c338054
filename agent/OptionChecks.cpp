#include "agent/OptionChecks.h"

#include "agent/BadInput.h"
#include "pelk/TraceLevels.h"
#include "zin/Decimal.h"

#include <stdexcept>
#include <utility>

namespace Agent {

namespace {

constexpr std::string_view kTogglePrefix = "McastVpnTransitMlag=";

} // namespace

std::string refusal(std::string const& text, std::string const& allowed) {
   return quote(text) + " stands here; allowed is " + allowed;
}

CLI::Validator oneOf(std::vector<std::string> choices) {
   return CLI::Validator(
      [choices = std::move(choices)](std::string const& text) {
         std::string allowed;
         for (auto const& choice : choices) {
            if (choice == text) {
               return std::string();
            }
            allowed += (allowed.empty() ? "" : ", ") + choice;
         }
         return refusal(text, "one of " + allowed);
      },
      "");
}

std::optional<uint32_t> numberOf(std::string const& text) {
   try {
      return Zin::decimalFromText<uint32_t>(text);
   } catch (std::logic_error const&) {
      return std::nullopt;
   }
}

CLI::Validator numberFrom(uint32_t least, uint32_t most) {
   return CLI::Validator(
      [least, most](std::string const& text) {
         auto const number = numberOf(text);
         return number && *number >= least && *number <= most
                   ? std::string()
                   : refusal(text, "a number from " + std::to_string(least) + " to " +
                                      std::to_string(most));
      },
      "");
}

std::string checkFile(std::string const& text) {
   return text.empty() ? refusal(text, "the name of a file, or - for standard input")
                       : std::string();
}

std::string checkToggle(std::string const& text) {
   bool const known = text.starts_with(kTogglePrefix);
   auto const state = known ? text.substr(kTogglePrefix.size()) : std::string();
   if (state != "on" && state != "off") {
      return refusal(text, "McastVpnTransitMlag=on or McastVpnTransitMlag=off");
   }
   return {};
}

std::string checkTrace(std::string const& text) {
   try {
      Pelk::TraceLevels::fromText(text);
      return {};
   } catch (std::invalid_argument const& error) {
      return error.what();
   }
}

} // namespace Agent
