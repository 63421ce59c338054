#pragma once

#include "pelk/Export.h"
#include "pelk/Trace.h"

#include <cstdio>
#include <memory>
#include <string>

namespace Pelk {

// Writes each record as one line, flushed at once, so that a process that dies has
// its last line out:
//    McastVpn::Transit 8 McastVpnLib/McastVpnTransitSm:120 handleMlagState: text
class PELK_EXPORT StreamTraceSink : public TraceSink {
 public:
   // The stream stays the caller's.
   explicit StreamTraceSink(std::FILE* stream) noexcept : stream_(stream) {}

   // The one for standard error, which lives as long as the process.
   static StreamTraceSink& standardError();

   void trace(TraceRecord const& record) override;

   // The line of a record, without its end.
   static std::string lineOf(TraceRecord const& record);

 private:
   std::FILE* stream_;
};

// The same into a file, which is emptied first. std::system_error with the path if it
// cannot be opened.
class PELK_EXPORT FileTraceSink : public TraceSink {
 public:
   explicit FileTraceSink(std::string const& path);

   void trace(TraceRecord const& record) override;

 private:
   struct Close {
      void operator()(std::FILE* file) const noexcept { std::fclose(file); }
   };

   std::unique_ptr<std::FILE, Close> file_;
   StreamTraceSink stream_;
};

} // namespace Pelk
