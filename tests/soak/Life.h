#pragma once

#include "agent/verify/Verifier.h"
#include "fennlog/TraceHandle.h"
#include "scenarios/Scenario.h"
#include "soak/Gauges.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace Soak {

// How long slices lasted that had a time share.
struct Lateness {
   struct Limit {
      std::chrono::microseconds after;
      char const* name;
   };
   static constexpr std::array<Limit, 5> kLimits{{
      {std::chrono::microseconds(0), "in time"},
      {std::chrono::microseconds(10), "up to 10 us late"},
      {std::chrono::microseconds(100), "up to 100 us late"},
      {std::chrono::microseconds(1000), "up to 1 ms late"},
      {std::chrono::hours(1), "later"},
   }};

   void add(std::chrono::nanoseconds late);

   std::array<uint64_t, kLimits.size()> slices{};
};

// What the slices of all machines did.
struct SliceFigures {
   uint64_t slices = 0;
   uint64_t items = 0;
   uint64_t mostItems = 0;
   uint64_t mostPending = 0; // tasks of one scheduler
   Lateness lateness;
};

// One machine with a world of its own, which starts and stops and starts over its
// outputs.
class Life {
 public:
   // Called inside each notification of its outputs' collections.
   using Notified = std::function<void(Life& life)>;

   explicit Life(uint32_t seed) : world_(seed) {}
   Life(Life const&) = delete;
   Life& operator=(Life const&) = delete;
   virtual ~Life() = default;

   virtual std::string const& name() const = 0;
   virtual bool isRunning() const = 0;
   virtual void start() = 0;
   virtual void stop() = 0;
   // Whether it follows a change of every input that is made inside its start.
   virtual bool followsFromTheFirst() const = 0;
   // Runs so many slices, if as many are due.
   virtual void slices(uint32_t) {}
   // Shares the thread otherwise from the next slice on.
   virtual void shareChanges() {}
   virtual void shareIsUnlimited() {}
   // Runs all that is pending. What is wrong then.
   virtual std::vector<std::string> complaints() = 0;
   // Every size that the machine, its outputs and its scheduler have.
   virtual void read(Gauges& gauges) const;

   Support::World& world() noexcept { return world_; }
   Support::World const& world() const noexcept { return world_; }
   // Removes all that the inputs hold.
   void emptyInputs();

   // Another writer leaves something in the outputs, or removes all of them.
   void write(uint32_t seed);
   void clear();

   virtual Irb::Multicast::Evpn::TransitIntfColl& coll() const = 0;
   virtual Irb::Multicast::Gmp::MembershipJoinStatus& joins() const = 0;

 protected:
   virtual void written(std::string const& key) = 0;

 private:
   template <typename Write>
   void byAnotherWriter(Write write);

   Support::World world_;
};

std::unique_ptr<Life> reactorLife(std::string const& name, uint32_t seed,
                                  Life::Notified const& notified);
// ring: what the machine traces its decisions to.
std::unique_ptr<Life> dataflowLife(std::string const& name, uint32_t seed,
                                   Life::Notified const& notified,
                                   Pelk::Ptr<Fennlog::TraceHandle> const& ring,
                                   SliceFigures& figures);

} // namespace Soak
