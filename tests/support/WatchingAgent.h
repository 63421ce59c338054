#pragma once

#include "support/AgentProcess.h"
#include "support/ComesTrue.h"
#include "support/LineReader.h"
#include "support/RunningAgent.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <sys/types.h>

#include <csignal>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace TestSupport {

// A test with an agent that follows a state document (run --watch): the document is
// that of the test, and what the agent prints and says is read line by line.
class WatchingAgent : public testing::Test {
 protected:
   enum class Form { table, json };

   void start(std::vector<std::string> const& options = {},
              std::vector<std::string> const& environment = {},
              Form form = Form::json) {
      std::vector<std::string> arguments{"run", "--watch", "--seed", "1"};
      if (form == Form::json) {
         arguments.emplace_back("--json");
      }
      arguments.insert(arguments.end(), options.begin(), options.end());
      arguments.push_back(file());
      out_.emplace(streams_);
      err_.emplace(streams_);
      agent_.emplace(
         arguments,
         RunningAgent::Streams{-1, out_->writing(), err_->writing(), terminal_},
         environment);
      out_->closeWriting();
      err_->closeWriting();
      results_.emplace(out_->reading());
      messages_.emplace(err_->reading());
   }
   int stop(int signal = SIGTERM) {
      agent_->signal(signal);
      return agent_->status();
   }

   std::string file() const { return folder_.file("state.json"); }
   void write(nlohmann::json const& state) const {
      folder_.write("state.json", state.dump(1));
   }
   // As an editor does: another file takes its place.
   void replace(nlohmann::json const& state) const { replace(state.dump(1)); }
   void replace(std::string const& text) const {
      std::filesystem::rename(folder_.write("state.json.new", text), file());
   }
   nlohmann::json nextDocument() {
      auto const line = results_->next();
      return line ? nlohmann::json::parse(*line) : nlohmann::json();
   }
   static void expectToEnd(pid_t process) {
      EXPECT_TRUE(comesTrue([&] {
         auto const stat = readText("/proc/" + std::to_string(process) + "/stat");
         return stat.empty() || stat.find(") Z ") != std::string::npos;
      }));
   }
   // What the agent says next on standard error.
   std::string nextSaid() { return messages_->next().value_or("nothing"); }

   TemporaryFolder folder_;
   std::string terminal_; // that controls the agent; none if empty
   Pipe::Kind streams_ = Pipe::Kind::pipe;
   std::optional<Pipe> out_;
   std::optional<Pipe> err_;
   std::optional<RunningAgent> agent_;
   std::optional<LineReader> results_;
   std::optional<LineReader> messages_;
};

} // namespace TestSupport
