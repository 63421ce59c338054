#include "soak/Soak.h"

#include "soak/Heap.h"

#include <string>
#include <utility>
#include <vector>

namespace Soak {

namespace {

constexpr size_t kRingBytes = size_t{1} << 16;
// What the heap may grow by once it has settled.
constexpr double kHeapGrowth = 0.01;
// Blocks are few, and small ones are kept for the next object of their kind.
constexpr double kBlocksGrowth = 0.1;

} // namespace

Soak::Soak(Options const& options)
   : options_(options), random_(options.seed),
     ring_(Pelk::makePtr<Fennlog::TraceHandle>(kRingBytes)), reader_(ring_) {
   auto const notified = [this](Life& life) { this->notified(life); };
   auto const seed = [this] { return static_cast<uint32_t>(random_()); };
   for (auto const* what : {"that is never stopped", "that starts again"}) {
      if (options.machines != Machines::dataflow) {
         lives_.push_back(
            reactorLife(std::string("the reactor ") + what, seed(), notified));
      }
      if (options.machines != Machines::reactor) {
         lives_.push_back(dataflowLife(std::string("the dataflow machine ") + what,
                                       seed(), notified, ring_, figures_.slices));
      }
   }
   for (auto const& life : lives_) {
      start(*life);
   }
}

void Soak::round() {
   for (auto const end = figures_.events + kRound; figures_.events < end;) {
      event();
   }
   toBase();
   look();
   readRing();
   readGauges();
}

void Soak::event() {
   auto const at = below(static_cast<uint32_t>(lives_.size()));
   auto& life = *lives_[at];
   ++figures_.events;
   switch (below(64)) {
      case 0:
         if (!isSteadfast(at)) {
            stopOrStart(life);
         }
         break;
      case 1:
         byAnotherWriter(life);
         break;
      case 2:
         life.shareChanges();
         break;
      default:
         life.world().inputs.step();
         break;
   }
   life.slices(below(3));
   if (below(50) == 0) {
      look();
   }
}

void Soak::start(Life& life) {
   ++figures_.starts;
   bool const wasQuiet = std::exchange(isQuiet_, !life.followsFromTheFirst());
   life.start();
   isQuiet_ = wasQuiet;
}

void Soak::stopOrStart(Life& life) {
   if (!life.isRunning()) {
      start(life);
      return;
   }
   life.stop();
   if (whenStopped_) {
      whenStopped_(life);
   }
   if (below(2) == 0) {
      start(life);
   }
}

// Whoever follows the outputs changes nothing meanwhile: then what the machine wrote
// could not be told from what was written to it.
void Soak::byAnotherWriter(Life& life) {
   ++figures_.foreignWrites;
   isQuiet_ = true;
   if (below(4) == 0) {
      life.clear();
   } else {
      life.write(below(1'000'000));
   }
   isQuiet_ = false;
}

// Somebody who follows an output changes an input.
void Soak::notified(Life& life) {
   if (!isChanging_ && !isQuiet_ && below(64) == 0) {
      isChanging_ = true;
      ++figures_.events;
      ++figures_.inside;
      life.world().inputs.step();
      isChanging_ = false;
   }
}

void Soak::look() {
   for (auto const& life : lives_) {
      if (!life->isRunning()) {
         continue;
      }
      ++figures_.comparisons;
      for (auto const& each : life->complaints()) {
         complain(each);
      }
   }
}

// All machines run, with nothing in their inputs and their outputs.
void Soak::toBase() {
   isQuiet_ = true;
   for (auto const& life : lives_) {
      if (!life->isRunning()) {
         start(*life);
      }
      life->shareIsUnlimited();
      life->emptyInputs();
   }
   look();
   for (auto const& life : lives_) {
      life->clear();
   }
   isQuiet_ = false;
}

// What was written was read, or is counted as lost.
void Soak::readRing() {
   while (auto const record = reader_.next()) {
      ++figures_.recordsRead;
      if (record->sequence + 1 != figures_.recordsRead + reader_.missed()) {
         complain("the ring has a gap before its record " +
                  std::to_string(record->sequence));
      }
   }
   if (figures_.recordsRead + reader_.missed() != ring_->written()) {
      complain("the ring took " + std::to_string(ring_->written()) + " records, of " +
               "which " + std::to_string(figures_.recordsRead) + " were read and " +
               std::to_string(reader_.missed()) + " missed");
   }
}

void Soak::readGauges() {
   auto const heap = heapInUse();
   gauges_.read("bytes of heap", heap.bytes, kHeapGrowth);
   gauges_.read("blocks of heap", heap.blocks, kBlocksGrowth);
   gauges_.read("uses of the ring", ring_->useCount());
   for (auto const& life : lives_) {
      life->read(gauges_);
   }
   for (auto const& grown : gauges_.taken(figures_.events < options_.settling)) {
      complain(grown);
   }
}

void Soak::complain(std::string const& what) {
   problems_.push_back("after " + std::to_string(figures_.events) + " events: " + what);
}

} // namespace Soak
