#pragma once

#include "fuzz/Target.h"
#include "zin/HashKey.h"

#include <algorithm>
#include <array>
#include <concepts>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>

// Plays bytes as operations on a collection with walks in progress, and on a model of
// it: a std::map in the order that the collection keeps, by hash, then by key.
namespace Fuzz {

// Kind has
//    using Collection
//    static Key key(uint32_t n)                another for each n below 65536
template <typename Kind>
class CollectionStory {
   using Collection = typename Kind::Collection;
   using Key = typename Collection::key_type;
   using Value = typename Collection::mapped_type;
   using Iterator = typename Collection::GenericIterator;
   using Place = std::pair<uint32_t, Key>;
   using Model = std::map<Place, uint32_t>;

   static constexpr bool kHasValues = !std::is_empty_v<Value>;
   static constexpr bool kCopies = std::copy_constructible<Value>;

 public:
   explicit CollectionStory(Bytes& bytes) : bytes_(bytes) {}

   void play() {
      while (!bytes_.empty()) {
         auto const version = collection_->version();
         bool const isChange = step();
         require(isChange == (collection_->version() != version),
                 "the version changes with every change, and with nothing else");
         look();
      }
      compare();
      // Iterators outlive the collection, with what they stand on.
      collection_.reset();
      for (auto& walker : walkers_) {
         if (walker.it) {
            lookAt(walker, walker.at.has_value());
            require(!walker.it->next(), "a collection that is gone has no next member");
         }
      }
   }

 private:
   // A walk, and where it must be.
   struct Walker {
      std::optional<Iterator> it;
      std::optional<Place> at;       // none: at the end
      std::optional<uint32_t> value; // none: moved away
      bool isStale = false;
   };

   static Place placeOf(Key const& key) {
      return {Zin::hashKey(Collection::hashSeed(), key), key};
   }
   static auto value([[maybe_unused]] uint32_t number) {
      if constexpr (requires { Kind::value(number); }) {
         return Kind::value(number);
      } else if constexpr (std::same_as<Value, std::unique_ptr<uint32_t>>) {
         return std::make_unique<uint32_t>(number);
      } else if constexpr (std::same_as<Value, std::string>) {
         return std::to_string(number) + std::string(number % 2 * 30, ' ');
      } else if constexpr (kHasValues) {
         return Value(number);
      } else {
         return Value();
      }
   }
   static uint32_t stored(uint32_t number) { return kHasValues ? number : 0; }
   static uint32_t numberOf([[maybe_unused]] Value const& value) {
      if constexpr (requires { Kind::number(value); }) {
         return Kind::number(value);
      } else if constexpr (std::same_as<Value, std::unique_ptr<uint32_t>>) {
         return *value;
      } else if constexpr (std::same_as<Value, std::string>) {
         return static_cast<uint32_t>(std::stoul(value));
      } else if constexpr (kHasValues) {
         return value;
      } else {
         return 0;
      }
   }

   // True if the collection has changed.
   bool step() {
      auto const what = bytes_.below(16);
      uint32_t const n = bytes_.byte();
      switch (what) {
         case 0:
         case 1:
            return insert(n);
         case 2:
            return assign(n);
         case 3:
         case 4:
            return erase(n);
         case 5:
            return extract(n);
         case 6:
            return clear(n);
         case 7:
            collection_->reserve(8 * n);
            return false;
         case 8:
            return run(n, true);
         case 9:
            return run(n, false);
         case 10:
            return eraseAt(walkers_[n % walkers_.size()]);
         case 11:
            return swap();
         case 12:
            start(walkers_[n % walkers_.size()]);
            return false;
         default:
            next(walkers_[n % walkers_.size()]);
            return false;
      }
   }

   bool insert(uint32_t n) {
      auto const result = collection_->insert(Kind::key(n), value(n + 1));
      auto const [at, isNew] = model_.try_emplace(place(n), stored(n + 1));
      require(result.inserted == isNew, "adds what is not there");
      require(result.entry->key() == Kind::key(n) &&
                 numberOf(result.entry->value()) == at->second,
              "returns the member");
      return isNew;
   }
   bool assign(uint32_t n) {
      uint32_t const number = bytes_.byte();
      if constexpr (requires { collection_->recordIs(value(number)); }) {
         auto record = value(number);
         record.n = n;
         collection_->recordIs(record);
      } else {
         auto const result = collection_->assign(Kind::key(n), value(number));
         require(result.inserted != model_.contains(place(n)), "tells what is new");
      }
      model_[place(n)] = stored(number);
      for (auto& walker : walkers_) {
         if (isOn(walker, n)) {
            walker.value = stored(number);
         }
      }
      return true;
   }
   bool erase(uint32_t n) {
      bool const was = model_.erase(place(n)) != 0;
      require(collection_->erase(Kind::key(n)) == was, "removes what is there");
      staleNow();
      return was;
   }
   bool extract(uint32_t n) {
      auto const known = model_.find(place(n));
      auto const taken = collection_->extract(Kind::key(n));
      require(taken.has_value() == (known != model_.end()), "takes out what is there");
      if (!taken) {
         return false;
      }
      require(numberOf(*taken) == known->second, "takes out the value");
      for (auto& walker : walkers_) {
         if (isOn(walker, n) && !kCopies) {
            walker.value.reset();
         }
      }
      model_.erase(known);
      staleNow();
      return true;
   }
   bool clear(uint32_t n) {
      bool const was = n % 4 == 0 && !model_.empty();
      if (n % 4 == 0) {
         collection_->clear();
         model_.clear();
      }
      staleNow();
      return was;
   }
   // Many members at once, so that tables grow and shrink.
   bool run(uint32_t n, bool isThere) {
      bool isChange = false;
      for (uint32_t left = bytes_.byte() + 1u; left != 0; --left, n += 3) {
         isChange = (isThere ? insert(n) : erase(n)) || isChange;
      }
      return isChange;
   }
   bool eraseAt(Walker& walker) {
      bool const was = walker.at && !walker.isStale;
      if (walker.it) {
         require(collection_->erase(*walker.it) == was, "removes where a walk stands");
      }
      if (was) {
         model_.erase(*walker.at);
         staleNow();
      }
      return was;
   }
   // To another collection and back, which no walk may see.
   bool swap() {
      for (auto& walker : walkers_) {
         walker.it.reset();
         walker.at.reset();
      }
      auto const version = collection_->version();
      Collection other(std::move(*collection_));
      require(collection_->empty() && other.version() == version,
              "moves with its version");
      *collection_ = std::move(other);
      return false;
   }

   void start(Walker& walker) {
      walker.it.reset();
      walker.at.reset();
      uint32_t const n = bytes_.byte();
      switch (n % 3) {
         case 0:
            walker.it.emplace(*collection_);
            stand(walker, model_.begin());
            break;
         case 1:
            walker.it.emplace(*collection_, Kind::key(n));
            stand(walker, model_.lower_bound(place(n)));
            break;
         default:
            if constexpr (requires { collection_->iterateFromHash(n); }) {
               uint32_t const hash = place(n).first;
               walker.it.emplace(*collection_, hash, typename Iterator::ByHash());
               stand(walker, std::ranges::find_if(model_, [=](auto const& each) {
                        return each.first.first >= hash;
                     }));
            }
      }
   }
   void next(Walker& walker) {
      if (!walker.it) {
         return;
      }
      bool const isThere = walker.it->next();
      if (walker.at) {
         stand(walker, model_.upper_bound(*walker.at));
      }
      require(isThere == walker.at.has_value(), "tells whether there is a next one");
   }

   Place place(uint32_t n) const { return placeOf(Kind::key(n)); }
   void stand(Walker& walker, typename Model::const_iterator position) {
      walker.isStale = false;
      walker.at.reset();
      if (position != model_.end()) {
         walker.at.emplace(position->first);
         walker.value = position->second;
      }
   }
   bool isOn(Walker const& walker, uint32_t n) const {
      return walker.at && !walker.isStale && *walker.at == place(n);
   }
   void staleNow() {
      for (auto& walker : walkers_) {
         walker.isStale = walker.at && (walker.isStale || !model_.contains(*walker.at));
      }
   }

   void look() {
      require(collection_->size() == model_.size(), "has as many members");
      require(collection_->empty() == model_.empty(), "knows when it is empty");
      for (auto const& walker : walkers_) {
         if (walker.it) {
            lookAt(walker, walker.isStale);
         }
      }
      auto const at = place(bytes_.byte());
      auto const known = model_.find(at);
      auto const* const found = std::as_const(*collection_).find(at.second);
      require((found != nullptr) == (known != model_.end()), "finds what is there");
      require(found == nullptr || (found->key() == at.second &&
                                   numberOf(found->value()) == known->second),
              "finds the member");
      if constexpr (requires(bool is) { collection_->safeLookup(at.second, is); }) {
         bool isFound = false;
         auto const key = collection_->safeLookup(at.second, isFound);
         require(isFound == (found != nullptr), "looks up what is there");
         require(key == (isFound ? at.second : Key()), "looks up the key");
         require(collection_->members() == model_.size(), "counts its members");
      }
   }
   void lookAt(Walker const& walker, bool isStale) const {
      require(walker.it->valid() == walker.at.has_value(), "a walk ends at the end");
      require(walker.it->stale() == isStale, "a walk knows of a removal");
      if (walker.at) {
         require(walker.it->key() == walker.at->second, "a walk is where it must be");
         require(!walker.value || numberOf(walker.it->value()) == *walker.value,
                 "a walk reads the value");
      }
   }
   void compare() const {
      auto expected = model_.begin();
      for (auto const& entry : *collection_) {
         require(expected != model_.end() && entry.key() == expected->first.second,
                 "keeps the order");
         require(numberOf(entry.value()) == expected->second, "keeps the values");
         ++expected;
      }
      require(expected == model_.end(), "loses no member");
   }

   Bytes& bytes_;
   std::optional<Collection> collection_{std::in_place};
   Model model_;
   std::array<Walker, 4> walkers_;
};

} // namespace Fuzz
