#pragma once

#include "agent/Explainer.h"
#include "agent/Provenance.h"

#include <string>

namespace Agent {

// What explain prints, for programs and for people. provenance: what last wrote each
// output, which is told then; null if that is not known.
std::string explanationJson(Explainer const& explainer,
                            Provenance const* provenance = nullptr);
std::string explanationText(Explainer const& explainer, bool colour,
                            Provenance const* provenance = nullptr);

} // namespace Agent
