#include "agent/Zstd.h"

#include "agent/BadInput.h"
#include "agent/InputFile.h"

#include <zstd.h>

#include <array>
#include <memory>
#include <stdexcept>

namespace Agent {

namespace {

constexpr std::string_view kMagic = "\x28\xb5\x2f\xfd";
constexpr int kLevel = 9;

struct Free {
   void operator()(ZSTD_DStream* stream) const noexcept { ZSTD_freeDStream(stream); }
};

[[noreturn]] void notDecompressed(std::string const& file, std::string const& why) {
   throw InputError(location(file, 0) + why);
}

} // namespace

bool isCompressed(std::string_view data) noexcept {
   return data.starts_with(kMagic);
}

std::string decompressed(std::string_view data, std::string const& file) {
   std::unique_ptr<ZSTD_DStream, Free> const stream(ZSTD_createDStream());
   if (!stream) {
      throw std::bad_alloc();
   }
   std::string text;
   std::array<char, size_t{1} << 16> part;
   ZSTD_inBuffer in{data.data(), data.size(), 0};
   size_t more = 1; // of the frame; 0 at its end, where another may follow
   for (bool isFull = false; in.pos < in.size || isFull;) {
      ZSTD_outBuffer out{part.data(), part.size(), 0};
      more = ZSTD_decompressStream(stream.get(), &out, &in);
      if (ZSTD_isError(more) != 0) {
         notDecompressed(file, std::string("cannot be decompressed: ") +
                                  ZSTD_getErrorName(more));
      }
      text.append(part.data(), out.pos);
      if (text.size() > kMostInput) {
         notDecompressed(file, "it is longer than " + std::to_string(kMostInput >> 20) +
                                  " MiB when it is decompressed");
      }
      isFull = out.pos == out.size && more != 0;
   }
   if (more != 0) {
      notDecompressed(file, "cannot be decompressed: its end is missing");
   }
   return text;
}

std::string compressed(std::string_view text) {
   std::string data(ZSTD_compressBound(text.size()), '\0');
   size_t const size =
      ZSTD_compress(data.data(), data.size(), text.data(), text.size(), kLevel);
   if (ZSTD_isError(size) != 0) {
      throw std::runtime_error(std::string("the text cannot be compressed: ") +
                               ZSTD_getErrorName(size));
   }
   data.resize(size);
   return data;
}

} // namespace Agent
