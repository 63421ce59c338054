#pragma once

#include "agent/Host.h"
#include "agent/HostLine.h"
#include "agent/Options.h"
#include "agent/Patch.h"
#include "agent/Records.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <memory>
#include <string>
#include <variant>

namespace Agent {

// One machine of a replay: its host and state, and what is printed of it. Two of them
// never look at one another.
class Lane final : private Patch::Observer {
 public:
   // A line of the event file, checked against this lane's state.
   using Step = std::variant<HostLine, Patch>;

   // sm: the tag of its records; empty for none.
   Lane(Options options, std::string_view sm);
   Lane(Lane const&) = delete;
   Lane& operator=(Lane const&) = delete;
   ~Lane();

   Host& host() noexcept { return host_; }

   // Prints from here on: what the state document says is no change. Starts the
   // machine, unless the event file begins with a line that stops it.
   void begin(bool isStopped);
   // BadInput if the line cannot be played here; nothing has changed then.
   Step checked(nlohmann::json const& event, bool isFirst);
   void play(size_t line, Step const& step);
   // Destroys the machine and prints the last record. Returns the exit status.
   int end();

 private:
   void afterwards(size_t line);
   void playHost(HostLine const& line);
   void testFlag(HostLine const& line);
   void writing(bool toOutput) override { host_.byAnotherWriterIs(toOutput); }
   void written() override { host_.byAnotherWriterIs(false); }
   void failed(FailedTest const& test) override;
   void reportFailure(std::string const& path, nlohmann::json const& want,
                      nlohmann::json const& have);
   nlohmann::ordered_json endRecord() const;

   Options const options_;
   std::string const sm_;
   Host host_;
   std::unique_ptr<Records> records_;
   size_t line_ = 0; // that is being played
   uint64_t slices_ = 0;
   uint64_t tests_ = 0;
   uint64_t failed_ = 0;
};

} // namespace Agent
