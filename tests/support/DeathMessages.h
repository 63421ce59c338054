#pragma once

#include <gmock/gmock.h>
#include <string>

// What EXPECT_DEATH looks for on standard error when a process ends itself.
namespace Support {

// A fatal assertion with this message, whole.
inline auto assertionMessage(std::string const& message) {
   return testing::AllOf(testing::ContainsRegex(".+:[0-9]+: .+: "),
                         testing::HasSubstr(": " + message + "\n"));
}

// An exception that nobody caught, as std::terminate prints it.
inline auto escapedExceptionMessage(std::string const& what) {
   return testing::AllOf(testing::HasSubstr("terminate called"),
                         testing::HasSubstr("what():  " + what));
}

} // namespace Support
