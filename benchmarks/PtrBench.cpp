#include "pelk/Ptr.h"

#include <benchmark/benchmark.h>
#include <boost/smart_ptr/intrusive_ptr.hpp>
#include <boost/smart_ptr/intrusive_ref_counter.hpp>
#include <memory>

// Copying a handle and dropping the copy, of an object that stays.
namespace {

struct Thing : Pelk::SharedObject {};

template <typename Counter>
struct BoostThing : boost::intrusive_ref_counter<BoostThing<Counter>, Counter> {
   virtual ~BoostThing() = default;
};
using PlainThing = BoostThing<boost::thread_unsafe_counter>;
using AtomicThing = BoostThing<boost::thread_safe_counter>;

struct VirtualThing {
   virtual ~VirtualThing() = default;
};

template <typename Handle>
void copyAndDrop(benchmark::State& state, Handle const& handle) {
   auto const* source = &handle;
   for (auto _ : state) {
      benchmark::DoNotOptimize(source);
      Handle copy(*source);
      benchmark::DoNotOptimize(copy);
   }
}

void pelkOneThread(benchmark::State& state) {
   Pelk::ThreadControl::multiThreadedIs(false);
   copyAndDrop(state, Pelk::makePtr<Thing>());
}

void pelkSeveralThreads(benchmark::State& state) {
   Pelk::ThreadControl::multiThreadedIs(true);
   copyAndDrop(state, Pelk::makePtr<Thing>());
   Pelk::ThreadControl::multiThreadedIs(false);
}

void boostPlain(benchmark::State& state) {
   copyAndDrop(state, boost::intrusive_ptr<PlainThing>(new PlainThing));
}

void boostAtomic(benchmark::State& state) {
   copyAndDrop(state, boost::intrusive_ptr<AtomicThing>(new AtomicThing));
}

void stdShared(benchmark::State& state) {
   copyAndDrop(state, std::make_shared<VirtualThing>());
}

} // namespace

BENCHMARK(boostPlain)->Name("Copy and drop, boost::intrusive_ptr, plain counter");
BENCHMARK(pelkOneThread)->Name("Copy and drop, Pelk::Ptr, one thread");
BENCHMARK(boostAtomic)->Name("Copy and drop, boost::intrusive_ptr, atomic counter");
BENCHMARK(pelkSeveralThreads)->Name("Copy and drop, Pelk::Ptr, several threads");
BENCHMARK(stdShared)->Name("Copy and drop, std::shared_ptr");
