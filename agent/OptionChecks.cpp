#include "agent/OptionChecks.h"

#include "agent/BadInput.h"
#include "pelk/TraceLevels.h"
#include "zin/Decimal.h"

#include <stdexcept>

namespace Agent {

namespace {

constexpr char const* kToggleOn = "McastVpnTransitMlag=on";
constexpr char const* kToggleOff = "McastVpnTransitMlag=off";

std::string checkToggle(std::string const& text) {
   return text == kToggleOn || text == kToggleOff
             ? std::string()
             : refusal(text, std::string(kToggleOn) + " or " + kToggleOff);
}

std::string checkTrace(std::string const& text) {
   try {
      Pelk::TraceLevels::fromText(text);
      return {};
   } catch (std::invalid_argument const& error) {
      return error.what();
   }
}

std::string barred(std::vector<std::string> const& choices) {
   std::string all;
   for (auto const& choice : choices) {
      all += (all.empty() ? "" : "|") + choice;
   }
   return all;
}

} // namespace

std::string refusal(std::string const& text, std::string const& allowed) {
   return quote(text) + " stands here; allowed is " + allowed;
}

CLI::Validator oneOf(std::vector<std::string> const& choices) {
   return CLI::Validator(
      [choices](std::string const& text) {
         std::string allowed;
         for (auto const& choice : choices) {
            if (choice == text) {
               return std::string();
            }
            allowed += (allowed.empty() ? "" : ", ") + choice;
         }
         return refusal(text, "one of " + allowed);
      },
      "", barred(choices));
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

std::string checkRealFile(std::string const& text) {
   return text.empty() || text == "-" ? refusal(text, "the name of a file")
                                      : std::string();
}

std::string checkName(std::string const& text) {
   return text.empty() ? refusal(text, "a name") : std::string();
}

CLI::Validator toggleState() {
   return CLI::Validator(checkToggle, "", barred({kToggleOn, kToggleOff}));
}

CLI::Validator traceLevels() {
   std::vector<std::string> choices{"all"};
   for (int level = 0; level <= 9; ++level) {
      choices.push_back(std::to_string(level));
   }
   return CLI::Validator(checkTrace, "", barred(choices));
}

} // namespace Agent
