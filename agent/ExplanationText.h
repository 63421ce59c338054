#pragma once

#include "agent/Explainer.h"

#include <string>

namespace Agent {

// What explain prints, for programs and for people.
std::string explanationJson(Explainer const& explainer);
std::string explanationText(Explainer const& explainer, bool colour);

} // namespace Agent
