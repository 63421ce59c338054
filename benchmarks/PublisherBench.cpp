#include "pelk/Publisher.h"

#include <benchmark/benchmark.h>
#include <boost/signals2/signal.hpp>
#include <cstdint>
#include <deque>
#include <vector>

// Telling 1, 2 or 8 listeners of a change, each of which counts it.
namespace {

int64_t calls = 0;

struct TestPublisher : Pelk::Publisher {};

[[gnu::noinline]] void received(Pelk::Publisher* publisher,
                                Pelk::Subscriber* subscriber, int16_t attributeId,
                                void const* key, void const* value) noexcept {
   benchmark::DoNotOptimize(publisher);
   benchmark::DoNotOptimize(subscriber);
   benchmark::DoNotOptimize(key);
   benchmark::DoNotOptimize(value);
   calls += attributeId;
}

void functionPointer(benchmark::State& state) {
   TestPublisher publisher;
   Pelk::Subscriber subscriber(&received);
   Pelk::Subscriber::Callback callback = &received;
   int const key = 1;
   for (auto _ : state) {
      benchmark::DoNotOptimize(callback);
      callback(&publisher, &subscriber, 1, &key, nullptr);
   }
}

void functionPointers(benchmark::State& state) {
   TestPublisher publisher;
   Pelk::Subscriber subscriber(&received);
   std::vector<Pelk::Subscriber::Callback> callbacks(
      static_cast<size_t>(state.range(0)), &received);
   int const key = 1;
   for (auto _ : state) {
      benchmark::DoNotOptimize(callbacks.data());
      benchmark::ClobberMemory();
      for (auto const callback : callbacks) {
         callback(&publisher, &subscriber, 1, &key, nullptr);
      }
   }
}

void pelkPublish(benchmark::State& state) {
   TestPublisher publisher;
   std::deque<Pelk::Subscriber> subscribers;
   for (auto i = state.range(0); i > 0; --i) {
      publisher.subscriberAdd(&subscribers.emplace_back(&received), 0);
   }
   auto* from = &publisher;
   int const key = 1;
   for (auto _ : state) {
      benchmark::DoNotOptimize(from);
      benchmark::ClobberMemory();
      from->publishChangeRecursive(1, &key);
   }
   for (auto& subscriber : subscribers) {
      publisher.subscriberRemove(&subscriber);
   }
}

void signals2(benchmark::State& state) {
   TestPublisher publisher;
   Pelk::Subscriber subscriber(&received);
   boost::signals2::signal<void(Pelk::Publisher*, Pelk::Subscriber*, int16_t,
                                void const*, void const*)>
      signal;
   for (auto i = state.range(0); i > 0; --i) {
      signal.connect(&received);
   }
   int const key = 1;
   for (auto _ : state) {
      benchmark::ClobberMemory();
      signal(&publisher, &subscriber, 1, &key, nullptr);
   }
}

} // namespace

BENCHMARK(functionPointer)->Name("Function pointer");
BENCHMARK(functionPointers)
   ->Name("Vector of function pointers")
   ->Arg(1)
   ->Arg(2)
   ->Arg(8);
BENCHMARK(pelkPublish)->Name("Pelk::Publisher")->Arg(1)->Arg(2)->Arg(8);
BENCHMARK(signals2)->Name("boost::signals2")->Arg(1)->Arg(2)->Arg(8);
