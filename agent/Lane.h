#pragma once

#include "agent/EntityTree.h"
#include "agent/Host.h"
#include "agent/HostLine.h"
#include "agent/Options.h"
#include "agent/Patch.h"
#include "agent/Records.h"
#include "agent/record/FirstDifference.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

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
   // text: the line as the file has it.
   void play(size_t line, Step const& step, std::string_view text);

   // Keeps what the machine writes from here on; to be called before begin().
   void keepWrites();
   // What was kept since the last call.
   std::vector<PlayedWrite> takeWrites() { return std::exchange(writes_, {}); }

   // Destroys the machine and prints the last record. Returns the exit status.
   int end();

 private:
   void record();
   void afterwards(size_t line);
   void playHost(HostLine const& line);
   void testFlag(HostLine const& line);
   void notified();
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
   std::unique_ptr<Recorder> recorder_;
   std::vector<std::unique_ptr<EntityTree>> inputs_; // followed while that is recorded
   uint64_t inputChanges_ = 0;                       // and counted
   std::vector<PlayedWrite> writes_;
   struct Inside {
      uint64_t left; // notifications until it is done
      nlohmann::json event;
      size_t line;
   };
   std::deque<Inside> insides_; // the first counts, the others wait
   size_t line_ = 0;            // that is being played
   uint64_t slices_ = 0;
   uint64_t tests_ = 0;
   uint64_t failed_ = 0;
};

} // namespace Agent
