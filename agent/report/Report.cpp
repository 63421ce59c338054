#include "agent/report/Report.h"

#include "agent/Embedded.h"
#include "agent/ExitStatus.h"
#include "agent/JsonText.h"
#include "agent/OutputFile.h"
#include "agent/Progress.h"
#include "agent/record/Rerun.h"
#include "agent/report/History.h"
#include "agent/report/Selection.h"

#include <nlohmann/json.hpp>

#include <string>
#include <string_view>

namespace Agent {

using nlohmann::ordered_json;

namespace {

// Where the page has its parts.
constexpr std::string_view kCss = "/*CSS*/";
constexpr std::string_view kData = "/*DATA*/";
constexpr std::string_view kScript = "/*SCRIPT*/";

// JSON in which nothing ends the script element that it stands in: names are whatever
// somebody else chose.
std::string harmless(ordered_json const& data) {
   auto const text = jsonText(data);
   std::string result;
   result.reserve(text.size());
   for (char const c : text) {
      if (c == '<') {
         result += "\\u003c";
      } else {
         result += c;
      }
   }
   return result;
}

void fill(std::string& page, std::string_view mark, std::string_view text) {
   page.replace(page.find(mark), mark.size(), text);
}

// The data last, as no mark is looked for in them.
std::string pageOf(ordered_json const& data) {
   std::string page(Embedded::kPageHtml);
   fill(page, kCss, Embedded::kPageCss);
   std::string script;
   for (auto const& part : {Embedded::kBasicsJs, Embedded::kOverviewJs,
                            Embedded::kTimelineJs, Embedded::kVlansJs}) {
      script += part;
      script += '\n';
   }
   fill(page, kScript, script);
   fill(page, kData, harmless(data));
   return page;
}

} // namespace

int report(Options const& options) {
   FileText const recording(options.recording);
   Rerun rerun(recording, options);
   auto const selection = selectionOf(recording, rerun.host().state().toJson());
   Progress progress("playing", rerun.playback().size());
   History history(rerun, selection);
   int const status = rerun.play([&](PlayedStep const& step) {
      progress.step(step.recorded.text.size());
      history.add(step);
   });
   if (status == kFine) {
      replaceFile(options.output, pageOf(history.toJson(options.recording)));
   }
   return status;
}

} // namespace Agent
