#include "agent/ctl/Ctl.h"

#include "agent/BadInput.h"
#include "agent/Descriptor.h"
#include "agent/ExitStatus.h"
#include "agent/JsonText.h"
#include "agent/Streams.h"
#include "agent/Terminal.h"
#include "pelk/Printable.h"

#include <nlohmann/json.hpp>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string>
#include <system_error>

namespace Agent {

namespace {

using nlohmann::json;
using nlohmann::ordered_json;

[[noreturn]] void failed(std::string const& path, std::string const& what) {
   throw InputError(location(path, 0) + what + ": " +
                    std::generic_category().message(errno));
}

// A connection to a running agent, as any program may have one.
class Connection {
 public:
   explicit Connection(std::string const& path)
      : path_(path), descriptor_(Descriptor::made(
                        socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket")) {
      sockaddr_un address{};
      address.sun_family = AF_UNIX;
      if (path.size() >= sizeof address.sun_path) {
         errno = ENAMETOOLONG;
         failed(path_, "no agent can listen here");
      }
      std::memcpy(address.sun_path, path.data(), path.size());
      if (connect(descriptor_.number(), reinterpret_cast<sockaddr const*>(&address),
                  sizeof address) != 0) {
         failed(path_,
                "no agent answers here, which \"run --watch --control\" makes one "
                "do");
      }
   }

   void ask(ordered_json const& question) const {
      auto const line = question.dump() + '\n';
      if (::send(descriptor_.number(), line.data(), line.size(), MSG_NOSIGNAL) !=
          static_cast<ssize_t>(line.size())) {
         failed(path_, "the question cannot be sent");
      }
   }

   // None when the agent has hung up.
   std::optional<ordered_json> next() {
      size_t looked = 0;
      for (;;) {
         if (auto const end = text_.find('\n', looked); end != std::string::npos) {
            auto line = ordered_json::parse(text_.substr(0, end), nullptr, false);
            text_.erase(0, end + 1);
            if (!line.is_object()) {
               throw InputError(location(path_, 0) + "what answers here is no agent");
            }
            return line;
         }
         looked = text_.size();
         std::array<char, 1 << 16> part;
         auto const count = read(descriptor_.number(), part.data(), part.size());
         if (count < 0 && errno != EINTR) {
            failed(path_, "the answer cannot be read");
         }
         if (count == 0) {
            return std::nullopt;
         }
         text_.append(part.data(), count < 0 ? 0 : static_cast<size_t>(count));
      }
   }

 private:
   std::string path_;
   Descriptor descriptor_;
   std::string text_;
};

ordered_json questionOf(Options const& options) {
   ordered_json question{{"ask", options.question}};
   if (!options.json) {
      question["as"] = "text";
      question["colour"] = mayDecorate(stdout);
   }
   if (!options.vlans.empty()) {
      question["vlan"] = options.vlans;
   }
   if (!options.vrfs.empty()) {
      question["vrf"] = options.vrfs;
   }
   if (options.follow) {
      question["follow"] = true;
   }
   if (!options.levels.empty()) {
      question["levels"] = options.levels;
   }
   return question;
}

// A text as it is, anything else as JSON.
void show(ordered_json const& value, int indent) {
   print(value.is_string() ? value.get<std::string>() : jsonText(value, indent) + '\n');
}

// What is traced, until the agent ends or cuts us off.
int showAll(Connection& connection, bool isJson) {
   while (auto const line = connection.next()) {
      if (line->contains("error")) {
         throw InputError(line->at("error").get<std::string>());
      }
      if (isJson) {
         show(*line, -1);
      } else if (line->contains("missed")) {
         print(line->at("missed").dump() + " records were overwritten before\n");
      } else {
         print(line->value("trace", std::string()) + '\n');
      }
      flushResults();
      requireResults();
   }
   return kFine;
}

} // namespace

int ctl(Options const& options) {
   Connection connection(options.control);
   connection.ask(questionOf(options));
   auto const line = connection.next();
   if (!line) {
      throw InputError(location(options.control, 0) + "the agent hung up");
   }
   if (auto const error = line->find("error"); error != line->end()) {
      throw InputError(error->is_string() ? Pelk::printable(error->get<std::string>())
                                          : error->dump());
   }
   if (options.follow) {
      return showAll(connection, options.json);
   }
   show(line->value("answer", ordered_json()), 2);
   return line->value("status", int{kFine});
}

} // namespace Agent
