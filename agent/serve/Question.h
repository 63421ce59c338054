#pragma once

#include "agent/serve/ControlSocket.h"

#include <nlohmann/json.hpp>

#include <string>
#include <utility>
#include <vector>

namespace Agent {

// What somebody asks a running agent, and who he is. Copies are of the same question.
class Question {
 public:
   // asked: an object.
   Question(ControlSocket::Asker asker, nlohmann::json asked)
      : asker_(std::move(asker)), asked_(std::move(asked)) {}

   ControlSocket::Asker const& asker() const noexcept { return asker_; }

   // A member that may be left out. BadInput if it is something else, here and below.
   bool flag(char const* name) const;
   std::string text(char const* name) const;
   // One or a list of them.
   std::vector<nlohmann::json> list(char const* name) const;
   // Whether a text for people is wanted.
   bool isText() const;

   // The answer, for whoever asked it. The second form has its JSON, on one line.
   std::string answered(int status, nlohmann::ordered_json const& answer) const;
   std::string answeredWith(int status, std::string const& answer) const;
   std::string refused(std::string const& why) const;

 private:
   nlohmann::ordered_json begun(int status) const;

   ControlSocket::Asker asker_;
   nlohmann::json asked_;
};

// BadInput: what stands in a member of a question, and what is allowed.
[[noreturn]] void refuseMember(std::string const& member, nlohmann::json const& found,
                               std::string const& allowed);

} // namespace Agent
