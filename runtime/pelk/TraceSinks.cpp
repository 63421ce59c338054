#include "pelk/TraceSinks.h"

#include "pelk/Printable.h"

#include <cerrno>
#include <new>
#include <system_error>

namespace Pelk {

StreamTraceSink& StreamTraceSink::standardError() {
   alignas(StreamTraceSink) static std::byte storage[sizeof(StreamTraceSink)];
   static auto* const sink = new (storage) StreamTraceSink(stderr);
   return *sink;
}

std::string StreamTraceSink::lineOf(TraceRecord const& record) {
   std::string line;
   line.append(record.name).append(" ").append(std::to_string(record.level));
   line.append(" ").append(record.file).append(":");
   line.append(std::to_string(record.line)).append(" ");
   return line.append(record.function).append(": ").append(printable(record.text));
}

void StreamTraceSink::trace(TraceRecord const& record) {
   auto const line = lineOf(record) + '\n';
   std::fwrite(line.data(), 1, line.size(), stream_);
   std::fflush(stream_);
}

FileTraceSink::FileTraceSink(std::string const& path)
   : file_(std::fopen(path.c_str(), "w")), stream_(file_.get()) {
   if (!file_) {
      throw std::system_error(errno, std::generic_category(), "trace file " + path);
   }
}

void FileTraceSink::trace(TraceRecord const& record) {
   stream_.trace(record);
}

} // namespace Pelk
