#include "agent/Descriptor.h"
#include "agent/Host.h"
#include "agent/observe/MetricTable.h"
#include "fennlog/TraceHandle.h"

#include "support/ComesTrue.h"
#include "support/TransitState.h"
#include "support/WatchingAgent.h"

#include <gmock/gmock.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <chrono>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <vector>

using namespace TestSupport;
using namespace std::chrono_literals;
using Agent::Descriptor;
using testing::HasSubstr;

// run --watch --metrics: a real agent is scraped over HTTP.
namespace {

class Metrics : public WatchingAgent {
 protected:
   // Over these VLANs, at a free port.
   void startOver(nlohmann::json const& state) {
      write(state);
      start({"--metrics", "0"});
      std::smatch found;
      auto const said = nextSaid();
      ASSERT_TRUE(
         std::regex_match(said, found,
                          std::regex("mcastvpn-agent: metrics are served at "
                                     "http://127\\.0\\.0\\.1:([0-9]+)/metrics")))
         << said;
      port_ = static_cast<uint16_t>(std::stoi(found[1]));
      ASSERT_TRUE(nextDocument().is_object());
   }

   Descriptor connected() const {
      auto descriptor =
         Descriptor::made(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket");
      sockaddr_in address{};
      address.sin_family = AF_INET;
      address.sin_port = htons(port_);
      address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
      EXPECT_EQ(connect(descriptor.number(),
                        reinterpret_cast<sockaddr const*>(&address), sizeof address),
                0);
      return descriptor;
   }
   static void send(Descriptor const& connection, std::string const& text) {
      EXPECT_EQ(::send(connection.number(), text.data(), text.size(), MSG_NOSIGNAL),
                static_cast<ssize_t>(text.size()));
   }
   std::string scrape() const {
      auto const connection = connected();
      send(connection, "GET /metrics HTTP/1.1\r\nHost: localhost\r\n"
                       "Connection: close\r\n\r\n");
      std::string text;
      std::array<char, 4096> part;
      for (ssize_t count = 0;
           (count = recv(connection.number(), part.data(), part.size(), 0)) > 0;) {
         text.append(part.data(), static_cast<size_t>(count));
      }
      return text;
   }
   // Each sample by its name with its labels.
   std::map<std::string, double> samples() const {
      std::istringstream text(scrape());
      std::map<std::string, double> samples;
      for (std::string line; std::getline(text, line);) {
         auto const blank = line.rfind(' ');
         if (!line.starts_with('#') &&
             (line.starts_with("mcastvpn_") || line.starts_with("process_")) &&
             blank != std::string::npos) {
            samples[line.substr(0, blank)] = std::stod(line.substr(blank + 1));
         }
      }
      return samples;
   }
   // Samples in which this one has this value.
   std::map<std::string, double> samplesWith(std::string const& name,
                                             double value) const {
      std::map<std::string, double> found;
      EXPECT_TRUE(comesTrue([&] {
         found = samples();
         return found[name] == value;
      })) << name;
      return found;
   }

   uint16_t port_ = 0;
};

} // namespace

TEST_F(Metrics, AreWhatHappened) {
   startOver(transitState({10, 20}));
   auto before = samplesWith("mcastvpn_transit_vlans", 2);
   EXPECT_EQ(before["mcastvpn_ready"], 1);
   EXPECT_EQ(before["mcastvpn_phase{phase=\"ready\"}"], 1);
   EXPECT_EQ(before["mcastvpn_phase{phase=\"scanning\"}"], 0);
   EXPECT_EQ(before["mcastvpn_scans_done"], 5);
   EXPECT_EQ(before["mcastvpn_outputs_reconciled"], 4);
   EXPECT_EQ(
      before["mcastvpn_output_writes_total{output=\"transit_intf\",kind=\"add\"}"], 2);
   EXPECT_GT(before["mcastvpn_slice_duration_seconds_count"], 0);
   EXPECT_GT(before["mcastvpn_slice_items_sum"], 0);
   replace(transitState({10, 20, 30}));
   auto after = samplesWith("mcastvpn_transit_vlans", 3);
   EXPECT_EQ(after["mcastvpn_input_changes_total{input=\"peg_vlan\",kind=\"add\"}"], 1);
   EXPECT_EQ(after["mcastvpn_documents_total{outcome=\"published\"}"], 1);
   EXPECT_EQ(after["mcastvpn_stream_events_total{stream=\"pegVlanStream\"}"],
             before["mcastvpn_stream_events_total{stream=\"pegVlanStream\"}"] + 1);
   folder_.write("state.json", "{");
   EXPECT_EQ(samplesWith("mcastvpn_documents_total{outcome=\"refused\"}",
                         1)["mcastvpn_documents_total{outcome=\"refused\"}"],
             1);
   EXPECT_EQ(stop(), 0);
}

TEST_F(Metrics, HaveEachAHelpAndATypeAndNoMoreLabelsThanTheyShow) {
   startOver(manyTransitVlans(300));
   auto const text = scrape();
   for (auto const& metric : Agent::metrics()) {
      EXPECT_THAT(text, HasSubstr("# HELP " + std::string(metric.name) + ' ' +
                                  std::string(metric.help)));
      EXPECT_THAT(text, HasSubstr("# TYPE " + std::string(metric.name) + ' '));
   }
   // However many VLANs there are.
   EXPECT_LT(samples().size(), 120u);
}

TEST_F(Metrics, TellOfTheMemoryInUse) {
   startOver(transitState({10}));
   auto const resident = static_cast<double>(agent_->residentKilobytes()) * 1024;
   EXPECT_NEAR(samples()["process_resident_memory_bytes"], resident, resident / 5);
}

TEST_F(Metrics, TellOfTasksThatWaitAndOfRecordsThatAreLost) {
   Agent::Host host({});
   host.traceRingIs(
      Pelk::makePtr<Fennlog::TraceHandle>(Fennlog::TraceHandle::kMinBytes));
   auto const document = nlohmann::json::parse(manyTransitVlans(200).dump());
   host.state().assign(host.state().canonical(document, Agent::Checks::plausible));
   Agent::Statistics statistics;
   auto const value = [&](std::string const& name) {
      statistics.look(host);
      for (auto const& family : Agent::familiesOf(statistics)) {
         if (family.name == name) {
            auto const& metric = family.metric.front();
            return family.type == prometheus::MetricType::Counter ? metric.counter.value
                                                                  : metric.gauge.value;
         }
      }
      return -1.0;
   };
   EXPECT_EQ(value("mcastvpn_trace_records_lost_total"), 0);
   host.start();
   EXPECT_EQ(value("mcastvpn_pending_tasks"), static_cast<double>(host.pending()));
   EXPECT_GT(value("mcastvpn_pending_tasks"), 0);
   while (host.slice(1) != 0) {
   }
   EXPECT_EQ(value("mcastvpn_pending_tasks"), 0);
   EXPECT_GT(value("mcastvpn_trace_records_lost_total"), 0);
   EXPECT_LT(value("mcastvpn_trace_records_lost_total"),
             value("mcastvpn_trace_records_total"));
}

// As Prometheus has it: counters end with what is counted, and base units stand last.
TEST_F(Metrics, HaveTheirUnitsInTheirNames) {
   for (auto const& metric : Agent::metrics()) {
      std::string const name(metric.name);
      EXPECT_EQ(metric.type == prometheus::MetricType::Counter,
                name.ends_with("_total"))
         << name;
      std::string const help(metric.help);
      bool const isTime = help.find("ow long") != std::string::npos ||
                          help.find("When ") != std::string::npos;
      EXPECT_EQ(isTime, name.ends_with("_seconds")) << name;
      EXPECT_EQ(help.starts_with("Memory"), name.ends_with("_bytes")) << name;
   }
}

TEST_F(Metrics, AreServedToOthersWhileSomeAskForNothingOrDoNotRead) {
   startOver(transitState({10}));
   std::vector<Descriptor> connections;
   for (int i = 0; i < 12; ++i) {
      connections.push_back(connected());
      send(connections.back(),
           i % 2 == 0 ? "GET /met" : "GET /metrics HTTP/1.1\r\n\r\n");
   }
   replace(transitState({10, 20}));
   EXPECT_EQ(samplesWith("mcastvpn_transit_vlans", 2)["mcastvpn_transit_vlans"], 2);
   // They were given up, and nobody waited for them to go.
   pollfd given{connections.front().number(), POLLIN, 0};
   EXPECT_EQ(poll(&given, 1, 10'000), 1);
}

TEST_F(Metrics, AreRefusedAnAddressThatIsNone) {
   write(transitState({10}));
   for (auto const* address :
        {"70000", "localhost", ":1", "127.0.0.1:x", "127.0.0.1:0,0.0.0.0:1", "[x]:1"}) {
      auto const outcome =
         runAgent(folder_, {"run", "--watch", "--metrics", address, file()});
      EXPECT_EQ(outcome.status, 2) << address;
      EXPECT_THAT(outcome.err, HasSubstr("ADDR:PORT, or a port from 0 to 65535"));
   }
   auto const taken =
      runAgent(folder_, {"run", "--watch", "--metrics", "203.0.113.1:1", file()});
   EXPECT_EQ(taken.status, 2);
   EXPECT_THAT(taken.err, HasSubstr("nobody can listen at 203.0.113.1:1"));
}

TEST(MetricsDocument, IsWhatTheProgramMakes) {
   EXPECT_EQ(readText(SOURCE_FOLDER "/docs/Metrics.md"), Agent::metricsDocument())
      << "the target pages makes it: pages/Metrics.md in the build folder";
}
