#include "agent/Explain.h"

#include "agent/ExitStatus.h"
#include "agent/Explainer.h"
#include "agent/ExplanationText.h"
#include "agent/Host.h"
#include "agent/Streams.h"
#include "agent/Terminal.h"

#include <cstdio>

namespace Agent {

int explain(Options const& options) {
   Host host(options);
   loadState({&host}, options);
   Explainer const explainer(host.state(), options);
   auto const text = options.json ? explanationJson(explainer)
                                  : explanationText(explainer, mayDecorate(stdout));
   print(text);
   return kFine;
}

} // namespace Agent
