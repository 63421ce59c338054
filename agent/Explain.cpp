#include "agent/Explain.h"

#include "agent/ExitStatus.h"
#include "agent/Explainer.h"
#include "agent/ExplanationText.h"
#include "agent/Host.h"
#include "agent/Streams.h"
#include "agent/Terminal.h"
#include "agent/record/Rerun.h"

#include <cstdio>

namespace Agent {

namespace {

void printExplanation(Host& host, Options const& options) {
   Explainer const explainer(host.state(), options);
   print(options.json
            ? explanationJson(explainer, host.provenance())
            : explanationText(explainer, mayDecorate(stdout), host.provenance()));
}

// Of the state that the recording ends in.
int explainRecording(FileText const& recording, Options const& options) {
   Rerun rerun(recording, options);
   int const status = rerun.play({});
   if (status == kFine) {
      printExplanation(rerun.host(), rerun.options());
   }
   return status;
}

} // namespace

int explain(Options const& options) {
   FileText const file(options.state);
   if (Playback::isOne(file)) {
      return explainRecording(file, options);
   }
   Host host(options);
   loadState({&host}, file, options.checks);
   printExplanation(host, options);
   return kFine;
}

} // namespace Agent
