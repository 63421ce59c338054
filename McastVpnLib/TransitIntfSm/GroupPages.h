#pragma once

#include "McastVpnLib/TransitIntfSm/GroupBy.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace Irb::Multicast::Evpn {

// The groups of a GroupByMap by their number, for those who ask for one without a hash.
// Whoever changes the map says so here. Event thread only.
class GroupPages {
 public:
   // The group of the number, or null. Numbers that no VLAN has are looked up.
   GroupByCollection* find(GroupByMap const& map, uint16_t number) const {
      if (number >= kNumbers) [[unlikely]] {
         auto const* const entry = map.find(number);
         return entry != nullptr ? entry->value().get() : nullptr;
      }
      auto const& page = pages_[number / kPage];
      return page ? (*page)[number % kPage] : nullptr;
   }

   // The map has another group under the number, or none.
   void groupIs(uint16_t number, GroupByCollection* group) {
      if (number >= kNumbers) {
         return;
      }
      auto& page = pages_[number / kPage];
      if (!page) {
         page = std::make_unique<Page>();
      }
      (*page)[number % kPage] = group;
   }

 private:
   static constexpr size_t kNumbers = 4096;
   static constexpr size_t kPage = 64;

   using Page = std::array<GroupByCollection*, kPage>;

   std::array<std::unique_ptr<Page>, kNumbers / kPage> pages_;
};

} // namespace Irb::Multicast::Evpn
