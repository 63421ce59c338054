#pragma once

#include "agent/Host.h"

#include <nlohmann/json.hpp>

#include <cstddef>
#include <deque>
#include <vector>

namespace Agent {

// Leads the inputs of hosts from one document to the next, a few changes at a time, so
// that a large difference keeps nobody waiting. Event thread only.
class Feed {
 public:
   // The hosts, which outlive this, and the canonical document that their states were
   // made of.
   Feed(std::vector<Host*> hosts, nlohmann::json document, Checks checks);

   // The canonical document whose inputs are wanted next. Returns how many changes lead
   // there from the one before.
   size_t documentIs(nlohmann::json document);
   // That of the last call: what the inputs are, or will be.
   nlohmann::json const& document() const noexcept { return document_; }

   // Publishes so many changes at most, in each host; whether there are more.
   bool publish(size_t most);
   bool isDone() const noexcept { return operations_.empty(); }

 private:
   std::vector<Host*> hosts_;
   nlohmann::json document_;
   Checks checks_;
   std::deque<nlohmann::json> operations_; // that are not published yet
};

} // namespace Agent
