#pragma once

#include "agent/observe/Statistics.h"
#include "agent/record/Rerun.h"
#include "agent/report/Lanes.h"
#include "agent/report/Selection.h"
#include "agent/report/Strips.h"
#include "agent/report/Texts.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace Agent {

// What a page shows of a recording, gathered while it is played. Places on the page are
// in steps: 0 is where the first step that is shown begins, 1.5 the middle of the next.
class History {
 public:
   History(Rerun& rerun, Selection selection);
   History(History const&) = delete;
   History& operator=(History const&) = delete;

   void add(PlayedStep const& step);

   // file: the recording.
   nlohmann::ordered_json toJson(std::string const& file);

 private:
   // How often a number was, from which place on.
   using Series = std::vector<std::pair<size_t, size_t>>;

   void addOutputs(size_t place);
   nlohmann::ordered_json headToJson(std::string const& file) const;
   nlohmann::ordered_json graphToJson() const;

   Rerun& rerun_;
   Selection const selection_;
   Statistics statistics_;
   Texts texts_;
   Lanes lanes_;
   Strips strips_;
   std::vector<int64_t> begins_;
   std::vector<int64_t> ends_;
   std::vector<size_t> plays_; // texts
   Series intfs_;
   Series joins_;
};

} // namespace Agent
