#include "ContractFloor.h"

#include "pelk/Trace.h"

#include <vector>

namespace Bench::Machines {

namespace {

constexpr uint16_t kDecision = 4;
constexpr uint16_t kFilter = 6;
constexpr uint16_t kStream = 7;
constexpr uint16_t kEvent = 8;
constexpr uint16_t kDetail = 9;

Pelk::TraceHandler handler("ContractFloor");

// Where the contract has a trace line: nothing is on.
void tested(uint16_t level) {
   if (handler.enabled(level)) [[unlikely]] {
      handler.deliver(level, __FILE__, __func__, __LINE__, "contract floor");
   }
}

} // namespace

template <Rule rule>
ContractFloor<rule>::ContractFloor(Case const& inputs)
   : Entities(inputs),
     onConfig_(decltype(onConfig_)::template of<&ContractFloor::onConfig>(this)),
     onStatus_(decltype(onStatus_)::template of<&ContractFloor::onStatus>(this)),
     onMlag_(decltype(onMlag_)::template of<&ContractFloor::onMlag>(this)),
     onPeg_(decltype(onPeg_)::template of<&ContractFloor::onPeg>(this)) {}

template <Rule rule>
void ContractFloor<rule>::start() {
   onConfig_.sourceIs(config);
   onStatus_.sourceIs(status);
   onMlag_.sourceIs(mlag);
   if constexpr (rule == Rule::dataflow) {
      onPeg_.sourceIs(peg);
   }
   vlanOf_.reserve(status->vrfToSBDVlan().size());
   for (auto const& entry : status->vrfToSBDVlan()) {
      vlanOf_.emplace(entry.key(), entry.value().value());
      groupAdd(entry.value().value(), entry.key());
   }
   for (auto const& entry : groups_) {
      evaluate(entry.key());
   }
   if constexpr (rule == Rule::dataflow) {
      removeUnwanted();
   }
}

template <Rule rule>
void ContractFloor<rule>::stop() {
   onConfig_.sourceIs(nullptr);
   onStatus_.sourceIs(nullptr);
   onMlag_.sourceIs(nullptr);
   onPeg_.sourceIs(nullptr);
   vlanOf_ = {};
   groups_.clear();
}

template <Rule rule>
void ContractFloor<rule>::onConfig(Pelk::Publisher*, Pelk::Subscriber*, int16_t id,
                                   void const* key, void const*) noexcept {
   if (id == Routing::Multicast::Evpn::Config::kTransitVrf) {
      tested(kEvent);
      evaluateVrf(*static_cast<Vrf const*>(key));
   }
}

template <Rule rule>
void ContractFloor<rule>::onStatus(Pelk::Publisher*, Pelk::Subscriber*, int16_t id,
                                   void const* key, void const*) noexcept {
   if (id == Vxlan::VtiStatus::kVrfToSBDVlan) {
      tested(kEvent);
      mapped(*static_cast<Vrf const*>(key));
   } else if constexpr (rule == Rule::dataflow) {
      evaluateTransitVrfs();
   } else {
      auto const& now = addr();
      for (auto intf = coll->intf().iterate(); intf; ++intf) {
         intf.value()->ipAddrIs(now);
      }
   }
}

template <Rule rule>
void ContractFloor<rule>::onMlag(Pelk::Publisher*, Pelk::Subscriber*, int16_t id,
                                 void const*, void const*) noexcept {
   if (id == Mlag::Status::kMlagState) {
      evaluateTransitVrfs();
   }
}

template <Rule rule>
void ContractFloor<rule>::onPeg(Pelk::Publisher*, Pelk::Subscriber*, int16_t id,
                                void const* key, void const*) noexcept {
   if (id == Routing::Multicast::PegVlanStatus::kPegVlan) {
      tested(kEvent);
      tested(kStream);
      evaluate(*static_cast<Bridging::VlanId const*>(key));
   }
}

template <Rule rule>
auto ContractFloor<rule>::group(uint16_t vlan) const -> Group const* {
   auto const* const entry = groups_.find(vlan);
   return entry != nullptr ? entry->value().get() : nullptr;
}

template <Rule rule>
void ContractFloor<rule>::groupAdd(uint16_t vlan, Vrf const& vrf) {
   tested(kFilter);
   auto* entry = groups_.find(vlan);
   if (entry == nullptr) {
      entry = groups_.insert(vlan, Pelk::makePtr<Group>()).entry;
   }
   entry->value()->collIs(vrf);
}

template <Rule rule>
void ContractFloor<rule>::groupRemove(uint16_t vlan, Vrf const& vrf) {
   tested(kFilter);
   if (auto* const entry = groups_.find(vlan)) {
      entry->value()->collDel(vrf);
      if (entry->value()->coll().empty()) {
         groups_.erase(vlan);
      }
   }
}

template <Rule rule>
void ContractFloor<rule>::mapped(Vrf const& vrf) {
   auto const* const entry = status->vrfToSBDVlan().find(vrf);
   uint16_t const now = entry != nullptr ? entry->value().value() : 0;
   auto const [at, isNew] = vlanOf_.try_emplace(vrf, now);
   uint16_t const before = isNew ? 0 : at->second;
   if (before == now && rule == Rule::reactor) {
      return;
   }
   at->second = now;
   if (now == 0) {
      vlanOf_.erase(at);
   }
   tested(kStream);
   if (before != 0 && before != now) {
      groupRemove(before, vrf);
      evaluate(before);
   }
   if (now != 0) {
      groupAdd(now, vrf);
      evaluate(now);
   }
}

template <Rule rule>
bool ContractFloor<rule>::enabled(Bridging::VlanId vlan) const {
   auto const* const on = group(vlan);
   if (on == nullptr) {
      return false;
   }
   if constexpr (rule == Rule::dataflow) {
      return on->coll().size() == 1 &&
             config->transitVrfHas(on->coll().begin()->key()) && peg->pegVlanHas(vlan);
   }
   for (auto const& member : on->coll()) {
      if (config->transitVrfHas(member.key())) {
         return true;
      }
   }
   return false;
}

template <Rule rule>
void ContractFloor<rule>::evaluate(uint16_t number) {
   tested(kStream);
   Bridging::VlanId const vlan(number);
   bool const is = enabled(vlan);
   tested(kDecision);
   writeJoins(vlan, is);
   auto const intf = Lidra::VlanIntfId::vlanIdToIntfId(vlan);
   tested(kDetail);
   if (is && mlag->mlagState() != Mlag::MlagState::withheld) {
      coll->intfIs(intf, addr());
   } else {
      coll->intfDel(intf);
   }
}

template <Rule rule>
void ContractFloor<rule>::evaluateVrf(Vrf const& vrf) {
   tested(kStream);
   if (auto const* const entry = status->vrfToSBDVlan().find(vrf)) {
      evaluate(entry->value().value());
   }
}

template <Rule rule>
void ContractFloor<rule>::evaluateTransitVrfs() {
   tested(kStream);
   tested(kFilter);
   for (auto member = config->transitVrf().iterate(); member; ++member) {
      tested(kDetail);
      evaluateVrf(member.key());
   }
}

// One way through the tree serves all that an evaluation has to say there.
template <Rule rule>
void ContractFloor<rule>::writeJoins(Bridging::VlanId number, bool is) {
   tested(kDetail);
   if (rule == Rule::reactor && !is) {
      joins->vlanDel(number);
      return;
   }
   if (is) {
      auto const vlan = joins->vlanIs(number);
      auto const source = vlan->groupIs(any_)->sourceIs(any_);
      if constexpr (rule == Rule::dataflow) {
         vlan->routerIntfDel(null0_);
         source->excludeIntfDel(null0_);
      }
      source->includeIntfIs(null0_);
      return;
   }
   auto const* const atVlan = joins->vlan().find(number);
   if (atVlan == nullptr) {
      return;
   }
   auto const vlan = atVlan->value();
   vlan->routerIntfDel(null0_);
   if (auto const group = vlan->group(any_)) {
      if (auto const source = group->source(any_)) {
         source->excludeIntfDel(null0_);
         source->includeIntfDel(null0_);
         if (source->includeIntf().empty() && source->excludeIntf().empty()) {
            group->sourceDel(any_);
         }
      }
      if (group->source().empty()) {
         vlan->groupDel(any_);
      }
   }
   if (vlan->group().empty() && vlan->routerIntf().empty()) {
      joins->vlanDel(number);
   }
}

// What an earlier life or somebody else has left in the outputs.
template <Rule rule>
void ContractFloor<rule>::removeUnwanted() {
   for (auto intf = coll->intf().iterate(); intf; ++intf) {
      auto const name = intf.key().stringValue();
      int const number = name.starts_with("Vlan") ? std::stoi(name.substr(4)) : 0;
      if (number == 0 || !enabled(static_cast<uint16_t>(number))) {
         coll->intfDel(intf.key());
      }
   }
   for (auto atVlan = joins->vlan().iterate(); atVlan; ++atVlan) {
      auto const vlan = atVlan.value();
      bool const is = enabled(atVlan.key());
      vlan->routerIntfDelAll();
      for (auto atGroup = vlan->group().iterate(); atGroup; ++atGroup) {
         auto const group = atGroup.value();
         for (auto at = group->source().iterate(); at; ++at) {
            auto const source = at.value();
            bool const isAny = atGroup.key() == any_ && at.key() == any_;
            source->excludeIntfDelAll();
            for (auto leaf = source->includeIntf().iterate(); leaf; ++leaf) {
               if (!is || !isAny || leaf.key() != null0_) {
                  source->includeIntfDel(leaf.key());
               }
            }
            if (source->includeIntf().empty()) {
               group->sourceDel(at.key());
            }
         }
         if (group->source().empty()) {
            vlan->groupDel(atGroup.key());
         }
      }
      if (vlan->group().empty()) {
         joins->vlanDel(atVlan.key());
      }
   }
}

template <Rule rule>
Lidra::IpGenAddr const& ContractFloor<rule>::addr() {
   auto const now = mlag->mlagState() == Mlag::MlagState::active
                       ? status->mlagVtepAddr()
                       : status->localVtepAddr();
   addr_ = Lidra::IpGenAddr(now);
   return addr_;
}

template class ContractFloor<Rule::reactor>;
template class ContractFloor<Rule::dataflow>;

} // namespace Bench::Machines
