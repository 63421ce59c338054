#pragma once

#include "agent/Options.h"
#include "agent/SbdVlans.h"
#include "agent/State.h"
#include "agent/TwoMachines.h"
#include "agent/verify/Outputs.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace Agent {

enum class Rows { all, differing };

// The two machines side by side, for people and for programs.
class ComparisonText {
 public:
   // Of what the states hold now and what the last comparison found.
   ComparisonText(State const& reactor, State const& dataflow,
                  TwoMachines const& machines, Options const& options);

   std::string table(Rows rows, bool colour) const;
   std::string json(Rows rows) const;

 private:
   // The outputs of a VLAN, or an interface that belongs to none.
   struct Row {
      std::string intf;
      std::string join; // empty: can have none
      std::vector<OutputDifference const*> differences;
   };

   void add(std::string const& key);
   std::string cell(Verify::Outputs const& outputs, Row const& row) const;
   std::string joinText(std::string const& join) const;
   static std::string reasons(Row const& row);
   std::string summary(size_t differing, size_t unexplained) const;
   bool isShown(Verify::ExpectedDifference const* reason) const;
   std::string onTheWay() const;

   State const& reactor_;
   State const& dataflow_;
   TwoMachines const& machines_;
   Options const& options_;
   SbdVlans const vlans_;
   Verify::Outputs const ofReactor_;
   Verify::Outputs const ofDataflow_;
   std::map<uint16_t, Row> rows_;
   std::map<std::string, Row> strangers_; // by the interface's name
};

} // namespace Agent
