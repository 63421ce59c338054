#include "agent/Host.h"
#include "agent/Options.h"
#include "agent/Patch.h"
#include "agent/TwoMachines.h"
#include "fuzz/Target.h"
#include "support/RandomDocument.h"
#include "support/RandomEvents.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

// The lives of both machines side by side. The first three bytes choose the hash seed,
// the run mode, the slices and the address family; the others what the machines start
// over, what changes, and how much they have done when it does. Whenever one is idle it
// is compared with the plain rule, and when both are, with one another.
namespace {

using Agent::Host;
using Agent::Options;
using nlohmann::json;

class Lives final : private Agent::Patch::Observer {
 public:
   explicit Lives(Fuzz::Bytes& bytes)
      : bytes_(bytes), options_(optionsOf(bytes)),
        ofEach_(Agent::optionsOfEach(options_)),
        hosts_{Host(ofEach_[0]), Host(ofEach_[1])} {}

   void play() {
      auto const document = TestSupport::RandomDocument(bytes_.random()).make();
      for (auto& host : hosts_) {
         host.state().assign(
            host.state().canonical(document, Agent::Checks::plausible));
      }
      machines_ = std::make_unique<Agent::TwoMachines>(hosts_[0], hosts_[1], options_);
      log_.push_back(document);
      start();
      look();
      TestSupport::RandomEvents events(bytes_.random(), document);
      events.foreignWritesAre(bytes_.below(2) == 0);
      for (int left = kMostLines; left != 0 && !bytes_.empty(); --left) {
         line(events.next());
         work();
         look();
      }
      finish();
   }

 private:
   static constexpr int kMostLines = 60;
   static constexpr uint64_t kMostSlices = 4000;

   static Options optionsOf(Fuzz::Bytes& bytes) {
      Options options;
      options.both = true;
      options.verify = true;
      options.manual = true;
      options.seed = bytes.byte();
      options.mode =
         bytes.below(4) == 0 ? Vorn::RunMode::synchronous : Vorn::RunMode::asynchronous;
      auto const family = bytes.byte();
      options.af =
         family % 8 == 7 ? Lidra::AddressFamily::ipv6 : Lidra::AddressFamily::ipv4;
      options.sliceItems = 1 + family / 8 % 4;
      return options;
   }

   void line(json const& event) {
      log_.push_back(event);
      if (event.contains("host")) {
         stop();
         start();
         return;
      }
      for (auto& host : hosts_) {
         host_ = &host;
         Agent::Patch(host.state(), event, Agent::Checks::plausible).apply(*this);
      }
   }
   void start() {
      for (auto& host : hosts_) {
         host.start();
      }
   }
   void stop() {
      for (auto& host : hosts_) {
         host.stop();
      }
   }
   // Some slices, or all there are.
   void work() {
      uint32_t const slices = bytes_.below(8);
      uint64_t const count = slices == 7 ? kMostSlices : slices;
      log_.push_back({{"host", "slice"}, {"count", count}});
      dataflow().slice(count);
   }
   void finish() {
      require(dataflow().slice(kMostSlices) < kMostSlices, "comes to an end");
      look();
      auto const flags = dataflow().flags();
      require(flags && flags->ready && flags->idle && flags->initialScanDone,
              "is ready when nothing is left to do");
      stop();
   }

   void look() {
      for (auto& host : hosts_) {
         if (!host.isIdle()) {
            continue;
         }
         for (auto const& each : host.verifier().differences()) {
            if (each.excuse == nullptr) {
               require(false,
                       each.key + ": " + each.is + " in place of " + each.should);
            }
         }
      }
      machines_->compare("");
      require(machines_->status() == 0, "the machines differ with a reason");
   }
   void require(bool holds, std::string_view what) const {
      if (!holds) {
         for (auto const& line : log_) {
            std::fprintf(stderr, "%s\n", line.dump().c_str());
         }
      }
      Fuzz::require(holds, what);
   }

   void failed(Agent::FailedTest const&) override { require(false, "tests nothing"); }
   void writing(bool toOutput) override { host_->byAnotherWriterIs(toOutput); }
   void written() override { host_->byAnotherWriterIs(false); }

   Host& dataflow() noexcept { return hosts_[1]; }

   Fuzz::Bytes& bytes_;
   Options const options_;
   std::vector<Options> const ofEach_;
   std::array<Host, 2> hosts_; // the reactor's, the dataflow machine's
   std::unique_ptr<Agent::TwoMachines> machines_;
   Host* host_ = nullptr;  // whose state is written
   std::vector<json> log_; // the document and what came then
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
   Fuzz::Bytes bytes(data, size);
   Lives(bytes).play();
   return 0;
}
