#include "agent/verify/PathDependence.h"
#include "support/AgentProcess.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

using namespace TestSupport;
using Verify::PathDependence;

// The document shows the table that the check uses, row by row.
namespace {

std::string nameOf(PathDependence::Of machine) {
   switch (machine) {
      case PathDependence::Of::reactor:
         return "reactor";
      case PathDependence::Of::dataflow:
         return "dataflow";
      case PathDependence::Of::both:
         break;
   }
   return "both";
}

std::string tableOfTheCode() {
   std::ostringstream table;
   table << "| Name | Machine | What | Why |\n|---|---|---|---|\n";
   for (auto const& each : Verify::Path::kAll) {
      table << "| " << each.name << " | " << nameOf(each.machine) << " | " << each.what
            << " | " << each.reason << " |\n";
   }
   return table.str();
}

std::string tableOfTheDocument() {
   std::istringstream in(readText(SOURCE_FOLDER "/docs/PathDependence.md"));
   std::string table;
   for (std::string line; std::getline(in, line);) {
      if (line.starts_with("|")) {
         table += line + '\n';
      }
   }
   return table;
}

} // namespace

TEST(Documents, ShowEachPathDependentCaseAsTheCheckHasIt) {
   EXPECT_EQ(tableOfTheDocument(), tableOfTheCode());
}
