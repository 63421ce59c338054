#include "Comparison.h"
#include "McastVpnLib/McastVpnLib.h"
#include "McastVpnLib/McastVpnTransitSm/TransitSm.h"
#include "McastVpnLib/McastVpnTransitSm/TransitTrace.h"

#include <absl/container/flat_hash_map.h>
#include <absl/container/flat_hash_set.h>
#include <benchmark/benchmark.h>
#include <cstdlib>
#include <ctime>
#include <new>
#include <string>
#include <vector>

// What the transit reactor costs a start and an event, beside a floor: a program that
// computes the same outputs incrementally from the same events, on bare hash tables,
// with no entities, notifications, references or trace.

namespace {

uint64_t allocations = 0;

} // namespace

// Not inlined: the compiler would see free() on what an operator new returned.
[[gnu::noinline]] void* operator new(size_t size) {
   ++allocations;
   if (void* const memory = std::malloc(size)) {
      return memory;
   }
   throw std::bad_alloc();
}
[[gnu::noinline]] void* operator new(size_t size, std::align_val_t alignment) {
   ++allocations;
   auto const align = static_cast<size_t>(alignment);
   if (void* const memory =
          std::aligned_alloc(align, (size + align - 1) & ~(align - 1))) {
      return memory;
   }
   throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* memory) noexcept {
   std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, size_t) noexcept {
   std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::align_val_t) noexcept {
   std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, size_t,
                                       std::align_val_t) noexcept {
   std::free(memory);
}

namespace {

constexpr uint32_t kLocal = 0x0a000001;
constexpr uint32_t kShared = 0x0a000063;

std::string vrfName(int number) {
   return "tenant-" + std::to_string(number);
}

// The events, of either program. One VRF a VLAN, all of them transit VRFs but one
// VLAN's worth of room that events move in.
struct Floor {
   absl::flat_hash_set<std::string> transit;
   absl::flat_hash_map<std::string, uint16_t> vlanOf;
   absl::flat_hash_map<uint16_t, std::vector<std::string>> vrfsOf;
   uint32_t local = kLocal;
   uint32_t shared = kShared;
   int mlag = 0;

   absl::flat_hash_map<uint16_t, uint32_t> intfs;
   absl::flat_hash_set<uint16_t> joins;

   uint32_t addr() const { return mlag == 3 ? shared : local; }

   void evaluate(uint16_t vlan) {
      bool enabled = false;
      if (auto const on = vrfsOf.find(vlan); on != vrfsOf.end()) {
         for (auto const& vrf : on->second) {
            enabled = enabled || transit.contains(vrf);
         }
      }
      if (!enabled) {
         intfs.erase(vlan);
         joins.erase(vlan);
         return;
      }
      if (mlag == 4) {
         intfs.erase(vlan);
      } else {
         intfs[vlan] = addr();
      }
      joins.insert(vlan);
   }
   void transitIs(std::string const& vrf, bool is) {
      if (is) {
         transit.insert(vrf);
      } else {
         transit.erase(vrf);
      }
      if (auto const at = vlanOf.find(vrf); at != vlanOf.end()) {
         evaluate(at->second);
      }
   }
   void mapIs(std::string const& vrf, uint16_t vlan) {
      auto const [at, isNew] = vlanOf.try_emplace(vrf, vlan);
      if (!isNew && at->second == vlan) {
         return;
      }
      if (!isNew) {
         auto const on = vrfsOf.find(at->second);
         std::erase(on->second, vrf);
         evaluate(at->second);
         if (on->second.empty()) {
            vrfsOf.erase(on);
         }
         at->second = vlan;
      }
      vrfsOf[vlan].push_back(vrf);
      evaluate(vlan);
   }
   void mlagIs(int state) {
      mlag = state;
      for (auto const& vrf : transit) {
         if (auto const at = vlanOf.find(vrf); at != vlanOf.end()) {
            evaluate(at->second);
         }
      }
   }
   void localIs(uint32_t value) {
      local = value;
      for (auto& [vlan, is] : intfs) {
         is = addr();
      }
   }
};

struct Reactor {
   Pelk::Ptr<Routing::Multicast::Evpn::Config> config =
      Pelk::makePtr<Routing::Multicast::Evpn::Config>();
   Pelk::Ptr<Vxlan::VtiStatusDir> dir = Pelk::makePtr<Vxlan::VtiStatusDir>();
   Pelk::Ptr<Vxlan::VtiStatus> status =
      Pelk::makePtr<Vxlan::VtiStatus>(Lidra::IntfId("Vxlan1"));
   Pelk::Ptr<Mlag::Status> mlag = Pelk::makePtr<Mlag::Status>();
   Pelk::Ptr<Irb::Multicast::Evpn::TransitIntfColl> coll;
   Pelk::Ptr<Irb::Multicast::Gmp::MembershipJoinStatus> joins;
   Pelk::Ptr<Irb::Multicast::Evpn::TransitSm> sm;

   explicit Reactor(int vlans) {
      status->localVtepAddrIs(Lidra::IpAddr(kLocal));
      status->mlagVtepAddrIs(Lidra::IpAddr(kShared));
      dir->vtiStatusIs(status);
      for (int vlan = 1; vlan <= vlans; ++vlan) {
         status->vrfToSBDVlanIs(L3::VrfName(vrfName(vlan)),
                                static_cast<uint16_t>(vlan));
         config->transitVrfIs(L3::VrfName(vrfName(vlan)));
      }
   }
   void start() {
      coll = Irb::Multicast::Evpn::transitIntfCollFactory();
      joins = Pelk::makePtr<Irb::Multicast::Gmp::MembershipJoinStatus>();
      sm = Irb::Multicast::Evpn::transitSmFactory(Lidra::AddressFamily::ipv4, config,
                                                  dir, mlag, coll, joins);
   }
   void transitIs(L3::VrfName const& vrf, bool is) {
      if (is) {
         config->transitVrfIs(vrf);
      } else {
         config->transitVrfDel(vrf);
      }
   }
   void mapIs(L3::VrfName const& vrf, uint16_t vlan) {
      status->vrfToSBDVlanIs(vrf, vlan);
   }
   void mlagIs(int state) { mlag->mlagStateIs(static_cast<Mlag::MlagState>(state)); }
   void localIs(uint32_t value) { status->localVtepAddrIs(Lidra::IpAddr(value)); }
};

// Counts what the events of a benchmark allocate, one number an event.
class AllocationCount {
 public:
   explicit AllocationCount(benchmark::State& state) : state_(state) {}
   ~AllocationCount() {
      auto const events = static_cast<double>(state_.iterations()) * 2;
      state_.counters["allocs/event"] =
         static_cast<double>(allocations - before_) / events;
      state_.SetItemsProcessed(state_.iterations() * 2);
   }

 private:
   benchmark::State& state_;
   uint64_t before_ = allocations;
};

// What one event allocates.
template <typename Event>
double allocationsOf(Event const& event) {
   auto const before = allocations;
   event();
   return static_cast<double>(allocations - before);
}

// Each iteration is two events: there and back.
template <typename Program, typename Vrf>
void toggle(benchmark::State& state, Program& program, int vlans) {
   Vrf const vrf(vrfName(vlans / 2));
   program.transitIs(vrf, false); // the tables' last growth, if there is any
   program.transitIs(vrf, true);
   state.counters["off"] = allocationsOf([&] { program.transitIs(vrf, false); });
   state.counters["on"] = allocationsOf([&] { program.transitIs(vrf, true); });
   AllocationCount const count(state);
   for (auto _ : state) {
      program.transitIs(vrf, false);
      program.transitIs(vrf, true);
   }
}

template <typename Program, typename Vrf>
void move(benchmark::State& state, Program& program, int vlans) {
   Vrf const vrf(vrfName(vlans / 2));
   auto const from = static_cast<uint16_t>(vlans / 2);
   auto const to = static_cast<uint16_t>(vlans); // whose VRF is no transit VRF
   program.transitIs(Vrf(vrfName(vlans)), false);
   program.mapIs(vrf, to);
   program.mapIs(vrf, from);
   state.counters["there"] = allocationsOf([&] { program.mapIs(vrf, to); });
   state.counters["back"] = allocationsOf([&] { program.mapIs(vrf, from); });
   AllocationCount const count(state);
   for (auto _ : state) {
      program.mapIs(vrf, to);
      program.mapIs(vrf, from);
   }
}

template <typename Program, typename>
void flip(benchmark::State& state, Program& program, int) {
   AllocationCount const count(state);
   for (auto _ : state) {
      program.mlagIs(3);
      program.mlagIs(0);
   }
}

template <typename Program, typename>
void address(benchmark::State& state, Program& program, int) {
   AllocationCount const count(state);
   for (auto _ : state) {
      program.localIs(kLocal + 1);
      program.localIs(kLocal);
   }
}

// An event that changes nothing in the outputs.
template <typename Program, typename Vrf>
void refresh(benchmark::State& state, Program& program, int vlans) {
   Vrf const vrf(vrfName(vlans / 2));
   auto const vlan = static_cast<uint16_t>(vlans / 2);
   AllocationCount const count(state);
   for (auto _ : state) {
      program.mapIs(vrf, vlan);
      program.mapIs(vrf, vlan);
   }
}

void fill(Floor& floor, int vlans) {
   for (int vlan = 1; vlan <= vlans; ++vlan) {
      floor.mapIs(vrfName(vlan), static_cast<uint16_t>(vlan));
   }
   for (int vlan = 1; vlan <= vlans; ++vlan) {
      floor.transitIs(vrfName(vlan), true);
   }
}

// The time that this thread has had the processor, so that others' work is not in it.
double seconds() {
   timespec time{};
   clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
   return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

// Both starts find the same inputs and leave the same outputs; the time of the clean-up
// is not in it.
void startReactor(benchmark::State& state, int vlans) {
   Reactor reactor(vlans);
   uint64_t before = 0;
   for (auto _ : state) {
      reactor.sm = nullptr;
      reactor.coll = nullptr;
      reactor.joins = nullptr;
      before = allocations;
      auto const begin = seconds();
      reactor.start();
      state.SetIterationTime(seconds() - begin);
   }
   state.counters["allocs/vlan"] = static_cast<double>(allocations - before) / vlans;
   state.SetItemsProcessed(state.iterations() * vlans);
}

void startFloor(benchmark::State& state, int vlans) {
   std::vector<std::pair<std::string, uint16_t>> mapping;
   absl::flat_hash_set<std::string> transit;
   for (int vlan = 1; vlan <= vlans; ++vlan) {
      mapping.emplace_back(vrfName(vlan), vlan);
      transit.insert(vrfName(vlan));
   }
   for (auto _ : state) {
      Floor floor;
      floor.transit = transit;
      auto const begin = seconds();
      for (auto const& [vrf, vlan] : mapping) {
         floor.mapIs(vrf, vlan);
      }
      for (auto const& vrf : transit) {
         floor.evaluate(floor.vlanOf.at(vrf));
      }
      state.SetIterationTime(seconds() - begin);
      benchmark::DoNotOptimize(floor.intfs.size());
   }
   state.SetItemsProcessed(state.iterations() * vlans);
}

template <typename OnReactor, typename OnFloor>
void both(std::string const& event, int vlans, OnReactor onReactor, OnFloor onFloor) {
   auto const name = event + "/" + std::to_string(vlans);
   auto const ring = [=](bool isOn) {
      return [=](benchmark::State& state) {
         auto const& handle = Irb::Multicast::Evpn::TransitTrace::ring();
         auto const levels = handle->levels();
         handle->levelsIs(isOn ? levels : Pelk::TraceLevels());
         {
            Reactor reactor(vlans);
            reactor.start();
            onReactor(state, reactor, vlans);
         }
         handle->levelsIs(levels);
      };
   };
   benchmark::RegisterBenchmark(("reactor/" + name).c_str(), ring(true));
   benchmark::RegisterBenchmark(("reactorNoRing/" + name).c_str(), ring(false));
   benchmark::RegisterBenchmark(("floor/" + name).c_str(),
                                [=](benchmark::State& state) {
                                   Floor floor;
                                   fill(floor, vlans);
                                   onFloor(state, floor, vlans);
                                });
}

} // namespace

int main(int argc, char** argv) {
   std::vector<Bench::Comparison> comparisons;
   auto const compared = [&](std::string const& event, int vlans, double mark) {
      auto const name = event + "/" + std::to_string(vlans);
      comparisons.push_back({name + ", beside the floor", "reactor/" + name,
                             "floor/" + name, Bench::Comparison::Kind::ratio, mark});
      if (event != "start") {
         comparisons.push_back({name + ", ring off, beside the floor",
                                "reactorNoRing/" + name, "floor/" + name,
                                Bench::Comparison::Kind::ratio, mark});
      }
   };
   for (int const vlans : {16, 256, 4094}) {
      auto const name = "start/" + std::to_string(vlans);
      benchmark::RegisterBenchmark(("reactor/" + name).c_str(), [=](auto& state) {
         startReactor(state, vlans);
      })->UseManualTime();
      benchmark::RegisterBenchmark(("floor/" + name).c_str(), [=](auto& state) {
         startFloor(state, vlans);
      })->UseManualTime();
      both("toggle", vlans, toggle<Reactor, L3::VrfName>, toggle<Floor, std::string>);
      both("move", vlans, move<Reactor, L3::VrfName>, move<Floor, std::string>);
      both("mlag", vlans, flip<Reactor, void>, flip<Floor, void>);
      both("address", vlans, address<Reactor, void>, address<Floor, void>);
      both("refresh", vlans, refresh<Reactor, L3::VrfName>,
           refresh<Floor, std::string>);
      // Marks, so that a regression shows; what the entities cost is in them.
      compared("start", vlans, 10);
      compared("toggle", vlans, 10);
      compared("move", vlans, 10);
      compared("mlag", vlans, 10);
      compared("address", vlans, 10);
      compared("refresh", vlans, 10);
   }
   return Bench::compare(argc, argv, comparisons);
}
