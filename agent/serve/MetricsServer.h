#pragma once

#include "agent/observe/Statistics.h"
#include "agent/serve/EventLoop.h"

#include <functional>
#include <memory>
#include <string>

namespace Agent {

// Serves metrics over HTTP, for Prometheus to scrape, by threads of its own, which see
// copies of what the event thread counts.
class MetricsServer {
 public:
   // address: ADDR:PORT, or a port of the loopback interface. InputError if nobody can
   // listen there. Signals that are to reach the event thread are blocked before.
   // now: tells what was counted until now; called by the event thread.
   MetricsServer(EventLoop& loop, std::string const& address,
                 std::function<Statistics const&()> now);
   MetricsServer(MetricsServer const&) = delete;
   MetricsServer& operator=(MetricsServer const&) = delete;
   ~MetricsServer();

   // Something was counted: it is served a moment later, together with what follows.
   void changed();

   // "http://127.0.0.1:9464/metrics"
   std::string const& url() const noexcept { return url_; }

 private:
   class Collected;
   struct Server;

   std::function<Statistics const&()> now_;
   std::shared_ptr<Collected> collected_;
   std::unique_ptr<Server> server_;
   std::string url_;
   EventLoop::Timer timer_;
};

} // namespace Agent
