#pragma once

#include "Case.h"

#include <string>
#include <unordered_map>
#include <unordered_set>

namespace Bench::Machines {

// Computes everything afresh on each event, by the rule as one would say it. Also what
// the outputs of the other programs are checked against.
template <Rule rule>
class Recomputation {
 public:
   using Vrf = std::string;

   explicit Recomputation(Case const& inputs) {
      for (int vrf = 1; vrf <= inputs.vrfs; ++vrf) {
         transit_.insert(vrfName(vrf));
         vlanOf_.emplace(vrfName(vrf), inputs.vlanOf(vrf));
      }
      for (int vlan = 1; vlan <= inputs.pegVlans; ++vlan) {
         peg_.insert(static_cast<uint16_t>(vlan));
      }
   }

   void start() { recompute(); }
   void stop() {
      intfs_ = {};
      joins_ = {};
   }

   void transitIs(Vrf const& vrf, bool is) {
      setIs(transit_, vrf, is);
      recompute();
   }
   void mapIs(Vrf const& vrf, uint16_t vlan) {
      vlanOf_[vrf] = vlan;
      recompute();
   }
   void pegIs(uint16_t vlan, bool is) {
      setIs(peg_, vlan, is);
      recompute();
   }
   void mlagIs(int state) {
      mlag_ = state;
      recompute();
   }
   void localIs(uint32_t value) {
      local_ = value;
      recompute();
   }

   Outputs outputs() const {
      Outputs outputs;
      for (auto const& [vlan, is] : intfs_) {
         outputs.intf(vlan, is);
      }
      for (auto const vlan : joins_) {
         outputs.join(vlan);
      }
      return outputs;
   }

 private:
   template <typename Set, typename Member>
   static void setIs(Set& set, Member const& member, bool is) {
      if (is) {
         set.insert(member);
      } else {
         set.erase(member);
      }
   }

   void recompute() {
      std::unordered_map<uint16_t, int> vrfs;
      for (auto const& [vrf, vlan] : vlanOf_) {
         ++vrfs[vlan];
      }
      intfs_.clear();
      joins_.clear();
      for (auto const& [vrf, vlan] : vlanOf_) {
         bool enabled = transit_.contains(vrf);
         if constexpr (rule == Rule::dataflow) {
            enabled = enabled && vrfs[vlan] == 1 && peg_.contains(vlan);
         }
         if (!enabled) {
            continue;
         }
         joins_.insert(vlan);
         if (mlag_ != kStateWithheld) {
            intfs_[vlan] = mlag_ == kStateActive ? kShared : local_;
         }
      }
   }

   std::unordered_set<Vrf> transit_;
   std::unordered_map<Vrf, uint16_t> vlanOf_;
   std::unordered_set<uint16_t> peg_;
   uint32_t local_ = kLocal;
   int mlag_ = 0;

   std::unordered_map<uint16_t, uint32_t> intfs_;
   std::unordered_set<uint16_t> joins_;
};

} // namespace Bench::Machines
