#include "agent/serve/Answers.h"

#include "agent/BadInput.h"
#include "agent/ExitStatus.h"
#include "agent/ExplanationText.h"
#include "agent/Formatters.h"
#include "agent/JsonText.h"
#include "agent/MachineNames.h"
#include "agent/OutputKey.h"
#include "agent/OutputTable.h"
#include "agent/serve/Question.h"
#include "agent/serve/TraceText.h"
#include "pelk/Printable.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <memory>
#include <stdexcept>
#include <utility>
#include <vector>

namespace Agent {

using nlohmann::json;
using nlohmann::ordered_json;

namespace {

constexpr char const* kFile = "question";

// A text of JSON has line ends only between its parts, where blanks follow.
std::string onOneLine(std::string const& text) {
   std::string line;
   line.reserve(text.size());
   bool isIndent = false;
   for (char const c : text) {
      isIndent = c == '\n' || (isIndent && c == ' ');
      if (!isIndent) {
         line += c;
      }
   }
   return line;
}

// The options that the state is shown to a command with.
std::vector<std::string> planArguments(Options const& options, bool isText) {
   std::vector<std::string> arguments{"plan",
                                      "--sm",
                                      std::string(smName(options.machine)),
                                      "--af",
                                      fmt::format("{}", options.af),
                                      "--unchecked"};
   if (options.mode == Vorn::RunMode::synchronous) {
      arguments.insert(arguments.end(), {"--mode", "sync"});
   }
   for (auto const& toggle : options.toggles) {
      arguments.insert(arguments.end(), {"--toggle", toggle});
   }
   if (!options.toggleFile.empty()) {
      arguments.insert(arguments.end(), {"--toggle-file", options.toggleFile});
   }
   if (!isText) {
      arguments.emplace_back("--json");
   }
   arguments.emplace_back("-");
   return arguments;
}

} // namespace

struct Answers::Kind {
   std::string_view name;
   std::vector<std::string_view> members; // beside those that any question may have
   void (Answers::*answer)(Question const& question);
};

Answers::Kind const Answers::kKinds[] = {
   {"show", {}, &Answers::show},
   {"explain", {"vlan", "vrf"}, &Answers::explain},
   {"plan", {}, &Answers::plan},
   {"stats", {}, &Answers::stats},
   {"trace", {"follow"}, &Answers::trace},
   {"verify", {}, &Answers::verify},
   {"log-level", {"levels"}, &Answers::logLevel},
};

Answers::Answers(EventLoop& loop, Subject const& subject)
   : subject_(subject), snapshots_(loop),
     socket_(loop, subject.options.control,
             [this](ControlSocket::Asker const& asker, std::string_view line) {
                asked(asker, line);
             }) {}

Answers::~Answers() = default;

std::string Answers::questions() {
   std::string names;
   for (auto const& kind : kKinds) {
      names += names.empty() ? "" : &kind == std::end(kKinds) - 1 ? " or " : ", ";
      names += kind.name;
   }
   return names;
}

void Answers::asked(ControlSocket::Asker const& asker, std::string_view line) {
   Question question(asker, json::object());
   try {
      auto const asked = parseJson(line, kFile);
      if (!asked.is_object()) {
         throw BadInput(json::json_pointer(), excerpt(asked), "an object");
      }
      question = Question(asker, asked);
      auto const name = question.text("ask");
      auto const* const kind = std::ranges::find(kKinds, name, &Kind::name);
      if (kind == std::end(kKinds)) {
         refuseMember("ask", asked.value("ask", json()), questions());
      }
      auto allowed = kind->members;
      allowed.insert(allowed.end(), {"ask", "id", "as", "colour"});
      for (auto const& [member, value] : asked.items()) {
         if (std::ranges::find(allowed, member) == allowed.end()) {
            refuseMember(member, value, fmt::format("{}", fmt::join(allowed, ", ")));
         }
      }
      (this->*kind->answer)(question);
   } catch (BadInput const& error) {
      socket_.answer(asker, question.refused(location(kFile, 0) + error.what()));
   } catch (std::exception const& error) {
      socket_.answer(asker, question.refused(error.what()));
   }
}

// The other process makes the whole line, which may be long.
void Answers::inSnapshot(Question const& question, Snapshots::Question work) {
   snapshots_.ask(
      [question, isText = question.isText(), work = std::move(work)] {
         auto answer = work();
         if (answer.status == kBadInput) {
            answer.text = question.refused(
               answer.text.empty() ? "why there is no answer is said on the agent's "
                                     "standard error"
                                   : answer.text);
         } else {
            answer.text =
               isText ? question.answered(answer.status, answer.text)
                      : question.answeredWith(answer.status, onOneLine(answer.text));
         }
         answer.status = kFine;
         return answer;
      },
      [this, question](Snapshots::Answer const& answer) {
         socket_.answer(question.asker(), answer.status == kFine
                                             ? answer.text
                                             : question.refused(answer.text));
      });
}

void Answers::show(Question const& question) {
   bool const isText = question.isText();
   bool const colour = question.flag("colour");
   inSnapshot(question, [this, isText, colour]() -> Snapshots::Answer {
      auto const& state = subject_.host.state();
      return {kFine, isText ? outputTable(state, subject_.options, colour)
                            : state.toJson().dump()};
   });
}

void Answers::explain(Question const& question) {
   auto options = subject_.options;
   for (auto const& vlan : question.list("vlan")) {
      if (!vlan.is_number_unsigned() || vlan < 1 || vlan > 4094) {
         refuseMember("vlan", vlan, "a number from 1 to 4094, or a list of such");
      }
      options.vlans.push_back(vlan.get<uint16_t>());
   }
   for (auto const& vrf : question.list("vrf")) {
      if (!vrf.is_string()) {
         refuseMember("vrf", vrf, "the name of a VRF, or a list of such");
      }
      options.vrfs.push_back(vrf.get<std::string>());
   }
   bool const isText = question.isText();
   bool const colour = question.flag("colour");
   inSnapshot(question, [this, options, isText, colour]() -> Snapshots::Answer {
      Explainer const explainer(subject_.host.state(), options);
      auto const* const provenance = subject_.host.provenance();
      return {kFine, isText ? explanationText(explainer, colour, provenance)
                            : explanationJson(explainer, provenance)};
   });
}

void Answers::plan(Question const& question) {
   bool const isText = question.isText();
   inSnapshot(question, [this, isText]() -> Snapshots::Answer {
      return Snapshots::answerOfCommand(planArguments(subject_.options, isText),
                                        subject_.host.state().toJson().dump());
   });
}

void Answers::stats(Question const& question) {
   subject_.statistics.look(subject_.host);
   socket_.answer(question.asker(),
                  question.answered(kFine, question.isText()
                                              ? ordered_json(subject_.statistics.text(
                                                   question.flag("colour")))
                                              : subject_.statistics.toJson()));
}

void Answers::trace(Question const& question) {
   auto const& ring = subject_.host.traceRing();
   bool const isText = question.isText();
   if (!question.flag("follow")) {
      inSnapshot(question, [&ring, isText]() -> Snapshots::Answer {
         ordered_json records = ordered_json::array();
         std::string text;
         for (auto const& record : ring->records()) {
            if (isText) {
               text += recordText(record) + '\n';
            } else {
               records.push_back(recordToJson(record));
            }
         }
         return {kFine, isText ? text
                               : jsonText(ordered_json{{"written", ring->written()},
                                                       {"lost", ring->lost()},
                                                       {"records", records}})};
      });
      return;
   }
   socket_.follow(question.asker(),
                  question.answered(kFine, "what is traced from now on follows"),
                  [follower = std::make_shared<RingFollower>(ring, isText)]() {
                     return follower->next();
                  });
}

void Answers::verify(Question const& question) {
   bool const isText = question.isText();
   if (!subject_.host.isIdle()) {
      throw std::runtime_error("the machine is not done: " +
                               subject_.host.phase().text());
   }
   inSnapshot(question, [this, isText]() -> Snapshots::Answer {
      if (!subject_.host.isIdle()) { // since it was asked
         return {kBadInput, "the machine is not done: " + subject_.host.phase().text()};
      }
      auto const found = subject_.host.verifier().findings();
      size_t errors = 0;
      ordered_json differences = ordered_json::array();
      std::string text;
      for (auto const& difference : found.differences) {
         auto const path = outputPathOf(difference.key);
         errors += difference.excuse == nullptr ? 1 : 0;
         auto const reason =
            difference.excuse == nullptr
               ? std::string("an error of the machine")
               : fmt::format("path-dependent, {}: {}", difference.excuse->name,
                             difference.excuse->what);
         differences.push_back({{"path", path},
                                {"is", difference.is},
                                {"should", difference.should},
                                {"isError", difference.excuse == nullptr},
                                {"reason", reason}});
         text += fmt::format("{}: {} stands here; the plain rule says {}; {}\n",
                             Pelk::printable(path), Pelk::printable(difference.is),
                             difference.should, reason);
      }
      text += fmt::format("{} outputs, {} error{}, {} path-dependent difference{}\n",
                          found.should.size(), errors, errors == 1 ? "" : "s",
                          differences.size() - errors,
                          differences.size() - errors == 1 ? "" : "s");
      return {errors == 0 ? kFine : kDisagrees,
              isText ? text
                     : jsonText(ordered_json{{"outputs", found.should.size()},
                                             {"errors", errors},
                                             {"differences", differences}})};
   });
}

void Answers::logLevel(Question const& question) {
   auto const before = subject_.events.shown();
   auto const levels = question.text("levels");
   if (!levels.empty()) {
      try {
         subject_.events.shownIs(levels == "none"
                                    ? Pelk::TraceLevels()
                                    : Pelk::TraceLevels::fromText(levels));
      } catch (std::invalid_argument const& error) {
         refuseMember("levels", levels,
                      std::string("none, or levels: ") + error.what());
      }
   }
   auto const textOf = [](Pelk::TraceLevels each) {
      return each.word() == 0 ? std::string("none") : each.text();
   };
   auto const now = textOf(subject_.events.shown());
   socket_.answer(
      question.asker(),
      question.answered(
         kFine, question.isText()
                   ? ordered_json(now + '\n')
                   : ordered_json{{"levels", now}, {"before", textOf(before)}}));
}

} // namespace Agent
