#pragma once

#include "pelk/Export.h"

#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>

// Feature toggles: named switches that a file can turn on and off. A toggle file is
// one JSON object of toggle name to boolean.
//
// Event thread only, as is everything that reads a toggle.
namespace Zin {

// A toggle file cannot be used. The message names the file, the place in it, what
// stands there and what is allowed.
class PELK_EXPORT ToggleFileError : public std::runtime_error {
 public:
   using std::runtime_error::runtime_error;
   ~ToggleFileError() override;
};

// The state of a toggle: its override, else what the file says, else the default.
//
// file: a file name, such as "McastVpnLib.json", looked for in the toggle folder. A
// file that is not there leaves every toggle at its default; so does having no toggle
// folder, as is the case at first. A file is read once in the life of the process.
//
// ToggleFileError if the file is there and cannot be read or is not a toggle file.
PELK_EXPORT bool getToggleState(std::string_view name, std::string_view file,
                                bool defaultState);

// Where toggles come from. To be set before they are read: a reader may keep what it
// was told for the life of the process.
class PELK_EXPORT ToggleSource {
 public:
   // The folder of the toggle files; empty for none.
   static void folderIs(std::filesystem::path const& folder);
   // A file that is read in place of every toggle file; empty for none. This one must
   // be there: it is read at once, ToggleFileError if it cannot be used.
   static void fileIs(std::filesystem::path const& file);

   // Overrides a toggle of whatever file.
   static void overrideIs(std::string_view name, bool isOn);
   // Takes the override back.
   static void overrideDel(std::string_view name);

   // As at the start of the process, with every file forgotten; for tests.
   static void reset();
};

} // namespace Zin
