#pragma once

#include "fennlog/TraceHandle.h"
#include "soak/Gauges.h"
#include "soak/Life.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace Soak {

enum class Machines : uint8_t { reactor, dataflow, both };

struct Options {
   uint32_t seed = 1;
   Machines machines = Machines::both;
   uint64_t settling = 1'000'000; // events after which nothing may grow any more
};

struct Figures {
   uint64_t events = 0;
   uint64_t inside = 0; // of them inside a notification of an output
   uint64_t foreignWrites = 0;
   uint64_t starts = 0;
   uint64_t comparisons = 0; // of an idle machine with the plain rule
   uint64_t recordsRead = 0;
   SliceFigures slices;
};

// Machines that live for a long time, over inputs that change at random: of each kind
// one that is never stopped, and one that starts again and again over what it wrote,
// and what others did. Each round ends with inputs that are empty and outputs
// that are cleared, and there everything that has a size is read.
class Soak {
 public:
   static constexpr uint64_t kRound = 10'000; // events

   explicit Soak(Options const& options);

   void round();

   // Called after each stop of a machine; empty for nobody.
   void whenStoppedIs(std::function<void(Life const& life)> whenStopped) {
      whenStopped_ = std::move(whenStopped);
   }

   // Whether the sizes were compared with what they had settled to.
   bool isCompared() const noexcept { return gauges_.readings() != 0; }
   std::vector<std::string> const& problems() const noexcept { return problems_; }
   Figures const& figures() const noexcept { return figures_; }
   Gauges const& gauges() const noexcept { return gauges_; }
   Fennlog::TraceHandle const& ring() const noexcept { return *ring_; }

   std::vector<std::unique_ptr<Life>> const& lives() const noexcept { return lives_; }

 private:
   void event();
   void start(Life& life);
   void stopOrStart(Life& life);
   void byAnotherWriter(Life& life);
   void notified(Life& life);
   void look();
   void toBase();
   void readRing();
   void readGauges();
   void complain(std::string const& what);
   // The first half of them is never stopped.
   bool isSteadfast(size_t life) const noexcept { return life < lives_.size() / 2; }
   uint32_t below(uint32_t n) { return static_cast<uint32_t>(random_() % n); }

   Options const options_;
   std::mt19937 random_;
   Pelk::Ptr<Fennlog::TraceHandle> const ring_;
   Fennlog::TraceReader reader_;
   Figures figures_;
   Gauges gauges_;
   bool isChanging_ = false; // inside a change that came from a notification
   bool isQuiet_ = false;    // nobody changes anything from inside
   std::vector<std::unique_ptr<Life>> lives_;
   std::vector<std::string> problems_;
   std::function<void(Life const& life)> whenStopped_;
};

} // namespace Soak
