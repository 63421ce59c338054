#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <system_error>

namespace TestSupport {

// A folder of its own for each test, gone afterwards.
class TemporaryFolder {
 public:
   TemporaryFolder() {
      // mkdtemp() puts characters of its own in the place of the last six.
      auto pattern = (std::filesystem::temp_directory_path() / "mcastvpn-").string() +
                     std::string(6, 'X');
      path_ = mkdtemp(pattern.data());
   }
   TemporaryFolder(TemporaryFolder const&) = delete;
   TemporaryFolder& operator=(TemporaryFolder const&) = delete;
   ~TemporaryFolder() {
      std::error_code ignored;
      std::filesystem::remove_all(path_, ignored);
   }

   std::string file(std::string const& name) const { return (path_ / name).string(); }
   std::string write(std::string const& name, std::string const& text) const {
      std::ofstream(file(name), std::ios::binary) << text;
      return file(name);
   }

 private:
   std::filesystem::path path_;
};

inline std::string readText(std::string const& file) {
   std::ostringstream text;
   text << std::ifstream(file, std::ios::binary).rdbuf();
   return text.str();
}

} // namespace TestSupport
