#include "agent/serve/MetricsServer.h"

#include "agent/BadInput.h"
#include "agent/OptionChecks.h"
#include "agent/observe/MetricTable.h"

#include <prometheus/collectable.h>
#include <prometheus/exposer.h>

#include <fmt/format.h>

#include <arpa/inet.h>

#include <exception>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

namespace Agent {

namespace {

using namespace std::chrono_literals;

constexpr auto kFreshness = 50ms;
// Each serves one client at a time, and waits so long for what he asks.
constexpr size_t kThreads = 4;
constexpr auto kRequestPatience = 1000ms;

struct Endpoint {
   std::string host;
   std::string port;
};

// The server would take a list of addresses, too.
bool isAddress(std::string const& host) {
   in_addr four{};
   in6_addr six{};
   bool const isBracketed = host.starts_with('[') && host.ends_with(']');
   return isBracketed
             ? inet_pton(AF_INET6, host.substr(1, host.size() - 2).c_str(), &six) == 1
             : inet_pton(AF_INET, host.c_str(), &four) == 1;
}

Endpoint endpointOf(std::string const& text) {
   auto const colon = text.rfind(':');
   Endpoint endpoint = colon == std::string::npos
                          ? Endpoint{"127.0.0.1", text}
                          : Endpoint{text.substr(0, colon), text.substr(colon + 1)};
   auto const port = numberOf(endpoint.port);
   if (!isAddress(endpoint.host) || !port || *port > 65535) {
      throw InputError("--metrics: " +
                       refusal(text, "ADDR:PORT, or a port from 0 to 65535"));
   }
   return endpoint;
}

} // namespace

class MetricsServer::Collected final : public prometheus::Collectable {
 public:
   void statisticsAre(Statistics const& statistics) {
      std::scoped_lock const lock(mutex_);
      statistics_ = statistics;
   }

   std::vector<prometheus::MetricFamily> Collect() const override {
      std::unique_lock lock(mutex_);
      auto const statistics = statistics_;
      lock.unlock();
      return familiesOf(statistics);
   }

 private:
   mutable std::mutex mutex_;
   Statistics statistics_;
};

struct MetricsServer::Server {
   explicit Server(std::string const& address)
      : exposer(std::vector<std::string>{"listening_ports", address, "num_threads",
                                         std::to_string(kThreads), "request_timeout_ms",
                                         std::to_string(kRequestPatience.count())}) {}

   prometheus::Exposer exposer;
};

MetricsServer::MetricsServer(EventLoop& loop, std::string const& address,
                             std::function<Statistics const&()> now)
   : now_(std::move(now)), collected_(std::make_shared<Collected>()),
     timer_(loop, [this] { collected_->statisticsAre(now_()); }) {
   auto const endpoint = endpointOf(address);
   collected_->statisticsAre(now_());
   try {
      server_ = std::make_unique<Server>(endpoint.host + ':' + endpoint.port);
   } catch (std::exception const& error) {
      throw InputError(fmt::format("--metrics: nobody can listen at {}:{}: {}",
                                   endpoint.host, endpoint.port, error.what()));
   }
   auto const ports = server_->exposer.GetListeningPorts();
   url_ = fmt::format("http://{}:{}/metrics", endpoint.host,
                      ports.empty() ? 0 : ports.front());
   server_->exposer.RegisterCollectable(collected_);
}

MetricsServer::~MetricsServer() = default;

void MetricsServer::changed() {
   if (!timer_.isSet()) {
      timer_.onceAfter(kFreshness);
   }
}

} // namespace Agent
