#include "fuzz/Target.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string_view>
#include <vector>

// The main program of a target without a fuzzer: plays the files that are named, and
// those in the folders that are named. Options, which are the fuzzer's, are passed
// over.
namespace {

using Path = std::filesystem::path;

void collect(Path const& path, std::vector<Path>& files) {
   if (!std::filesystem::is_directory(path)) {
      files.push_back(path);
      return;
   }
   for (auto const& entry : std::filesystem::recursive_directory_iterator(path)) {
      if (entry.is_regular_file()) {
         files.push_back(entry.path());
      }
   }
}

bool play(Path const& file) {
   std::ifstream in(file, std::ios::binary);
   if (!in) {
      std::fprintf(stderr, "%s: cannot be read\n", file.c_str());
      return false;
   }
   std::vector<char> const bytes{std::istreambuf_iterator<char>(in), {}};
   // In case that it is the last that is heard.
   std::fprintf(stderr, "%s\n", file.c_str());
   LLVMFuzzerTestOneInput(reinterpret_cast<uint8_t const*>(bytes.data()), bytes.size());
   return true;
}

} // namespace

int main(int argc, char** argv) {
   std::vector<Path> files;
   for (std::string_view const argument :
        std::vector<std::string_view>(argv + 1, argv + argc)) {
      if (!argument.starts_with('-')) {
         collect(argument, files);
      }
   }
   std::ranges::sort(files);
   if (files.empty() || !std::ranges::all_of(files, play)) {
      std::fprintf(stderr, "%s: nothing to play\n", argv[0]);
      return 1;
   }
   std::fprintf(stderr, "%s: %zu inputs\n", argv[0], files.size());
   return 0;
}
