#pragma once

#include "Case.h"

#include <absl/container/flat_hash_map.h>
#include <absl/container/flat_hash_set.h>
#include <string>
#include <vector>

namespace Bench::Machines {

// The floor: computes the outputs incrementally on bare hash tables, with no entities,
// notifications, references, join tree or trace.
template <Rule rule>
class Floor {
 public:
   using Vrf = std::string;

   explicit Floor(Case const& inputs) {
      for (int vrf = 1; vrf <= inputs.vrfs; ++vrf) {
         transit_.insert(vrfName(vrf));
         vlanOf_.emplace(vrfName(vrf), inputs.vlanOf(vrf));
      }
      for (int vlan = 1; vlan <= inputs.pegVlans; ++vlan) {
         peg_.insert(static_cast<uint16_t>(vlan));
      }
   }

   void start() {
      for (auto const& [vrf, vlan] : vlanOf_) {
         vrfsOf_[vlan].push_back(vrf);
      }
      for (auto const& [vlan, vrfs] : vrfsOf_) {
         evaluate(vlan);
      }
   }
   void stop() {
      vrfsOf_ = {};
      intfs_ = {};
      joins_ = {};
   }

   void transitIs(Vrf const& vrf, bool is) {
      if (is) {
         transit_.insert(vrf);
      } else {
         transit_.erase(vrf);
      }
      if (auto const at = vlanOf_.find(vrf); at != vlanOf_.end()) {
         evaluate(at->second);
      }
   }
   void mapIs(Vrf const& vrf, uint16_t vlan) {
      auto const [at, isNew] = vlanOf_.try_emplace(vrf, vlan);
      if (!isNew && at->second == vlan) {
         return;
      }
      if (!isNew) {
         auto const old = at->second;
         auto const on = vrfsOf_.find(old);
         std::erase(on->second, vrf);
         if (on->second.empty()) {
            vrfsOf_.erase(on);
         }
         at->second = vlan;
         evaluate(old);
      }
      vrfsOf_[vlan].push_back(vrf);
      evaluate(vlan);
   }
   void pegIs(uint16_t vlan, bool is) {
      if (is) {
         peg_.insert(vlan);
      } else {
         peg_.erase(vlan);
      }
      evaluate(vlan);
   }
   void mlagIs(int state) {
      mlag_ = state;
      evaluateTransitVrfs();
   }
   void localIs(uint32_t value) {
      local_ = value;
      if constexpr (rule == Rule::dataflow) {
         evaluateTransitVrfs();
      } else {
         for (auto& [vlan, is] : intfs_) {
            is = addr();
         }
      }
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
   uint32_t addr() const { return mlag_ == kStateActive ? kShared : local_; }

   bool enabled(uint16_t vlan) const {
      auto const on = vrfsOf_.find(vlan);
      if (on == vrfsOf_.end()) {
         return false;
      }
      if constexpr (rule == Rule::dataflow) {
         return on->second.size() == 1 && transit_.contains(on->second.front()) &&
                peg_.contains(vlan);
      }
      for (auto const& vrf : on->second) {
         if (transit_.contains(vrf)) {
            return true;
         }
      }
      return false;
   }
   void evaluate(uint16_t vlan) {
      if (!enabled(vlan)) {
         intfs_.erase(vlan);
         joins_.erase(vlan);
         return;
      }
      if (mlag_ == kStateWithheld) {
         intfs_.erase(vlan);
      } else {
         intfs_[vlan] = addr();
      }
      joins_.insert(vlan);
   }
   void evaluateTransitVrfs() {
      for (auto const& vrf : transit_) {
         if (auto const at = vlanOf_.find(vrf); at != vlanOf_.end()) {
            evaluate(at->second);
         }
      }
   }

   absl::flat_hash_set<Vrf> transit_;
   absl::flat_hash_map<Vrf, uint16_t> vlanOf_;
   absl::flat_hash_set<uint16_t> peg_;
   uint32_t local_ = kLocal;
   int mlag_ = 0;

   absl::flat_hash_map<uint16_t, std::vector<Vrf>> vrfsOf_;

   absl::flat_hash_map<uint16_t, uint32_t> intfs_;
   absl::flat_hash_set<uint16_t> joins_;
};

} // namespace Bench::Machines
