#include "agent/verify/Verifier.h"

#include "agent/verify/DataflowRule.h"
#include "agent/verify/ReactorRule.h"

#include <algorithm>
#include <utility>

namespace Verify {

namespace {

bool isJoin(std::string const& key) {
   return key.starts_with("join ");
}

// Whether the part is one of those that the text of a join lists.
bool contains(std::string const& text, std::string const& part) {
   return ("; " + text + "; ").find("; " + part + "; ") != std::string::npos;
}

// The keys of both outputs of a VLAN.
void insertKeysOf(uint16_t vlanId, std::set<std::string>& keys) {
   if (vlanId != 0) {
      keys.insert(joinKey(vlanId));
      keys.insert(intfKey("Vlan" + std::to_string(vlanId)));
   }
}

} // namespace

Verifier::Verifier(Subject subject)
   : subject_(std::move(subject)),
     subscription_(
        Pelk::Subscription<Verifier, Vxlan::VtiStatusDir>::of<&Verifier::statusChanged>(
           this)),
     mappingSubscription_(
        Pelk::Subscription<Verifier, Vxlan::VtiStatus>::of<&Verifier::mappingChanged>(
           this)) {}

Outputs Verifier::expected() const {
   return subject_.machine == Machine::reactor
             ? reactorOutputs(subject_.inputs, subject_.af, subject_.joinsEnabled)
             : dataflowOutputs(subject_.inputs, subject_.af);
}

void Verifier::starting() {
   statusIs(vxlan1Of(subject_.inputs));
   subscription_.sourceIs(subject_.inputs.dir);
   marks_.clear();
   mappedBefore_ = mapped();
   markStart();
}

void Verifier::stopped() {
   subscription_.sourceIs(nullptr);
   statusIs(nullptr);
}

void Verifier::markStart() {
   auto const outputs = outputsOf(*subject_.coll, *subject_.joins);
   if (subject_.machine == Machine::dataflow) {
      auto const whole =
         outputsOf(*subject_.coll, *subject_.joins, EmptyLevels::leftOut);
      for (auto const& [key, text] : outputs) {
         if (standsAt(whole, key) != text) {
            marks_[key] = kEmpty;
         }
      }
      return;
   }
   auto const mapped = this->mapped();
   for (auto const& [key, text] : outputs) {
      bool const isWritten = subject_.af == Lidra::AddressFamily::ipv4 &&
                             (subject_.joinsEnabled || !isJoin(key));
      marks_[key] = kStood | (isWritten && mapped.contains(key) ? 0U : kNotStarted);
   }
}

void Verifier::statusChanged(Pelk::Publisher*, Pelk::Subscriber*, int16_t attributeId,
                             void const*, void const*) noexcept {
   auto const status = vxlan1Of(subject_.inputs);
   if (attributeId != Vxlan::VtiStatusDir::kVtiStatus || status == status_) {
      return;
   }
   rememberMapped();
   if (!status && subject_.machine == Machine::dataflow) {
      // One of a VLAN that it mapped earlier may have been on its way out: this may be
      // told from inside of a withdrawal.
      for (auto const& key : mappedBefore_) {
         marks_[key] |= kGone;
      }
   }
   statusIs(status);
   rememberMapped();
}

void Verifier::mappingChanged(Pelk::Publisher*, Pelk::Subscriber*, int16_t attributeId,
                              void const*, void const* value) noexcept {
   if (attributeId == Vxlan::VtiStatus::kVrfToSBDVlan && value != nullptr) {
      auto const vlanId = static_cast<Bridging::VlanIdOrNone const*>(value)->value();
      insertKeysOf(vlanId, mappedBefore_);
   }
}

void Verifier::statusIs(Pelk::Ptr<Vxlan::VtiStatus> const& status) {
   status_ = status;
   mappingSubscription_.sourceIs(status);
}

void Verifier::rememberMapped() {
   mappedBefore_.merge(mapped());
}

// The keys of all outputs of the VLANs that the status of "Vxlan1" maps a VRF to.
std::set<std::string> Verifier::mapped() const {
   std::set<uint16_t> vlans;
   if (status_) {
      for (auto const& entry : status_->vrfToSBDVlan()) {
         vlans.insert(entry.value().value());
      }
   }
   std::set<std::string> keys;
   for (auto const vlanId : vlans) {
      insertKeysOf(vlanId, keys);
   }
   return keys;
}

PathDependence const* Verifier::reactorExcuseOf(Difference const& difference,
                                                unsigned marks) const {
   if (difference.should == kNothing) {
      return (marks & (kNotStarted | kWritten)) != 0 ? &Path::kForeignEntry : nullptr;
   }
   if (isJoin(difference.key) && contains(difference.is, difference.should)) {
      return (marks & (kStood | kWritten)) != 0 ? &Path::kForeignLeaf : nullptr;
   }
   return (marks & kWritten) != 0 ? &Path::kTakenAway : nullptr;
}

PathDependence const* Verifier::excuseOf(Difference const& difference, unsigned marks,
                                         Outputs const& withoutEmpty,
                                         std::set<std::string> const& mapped) const {
   if (subject_.machine == Machine::reactor) {
      return reactorExcuseOf(difference, marks);
   }
   if ((marks & kEmpty) != 0 &&
       standsAt(withoutEmpty, difference.key) == difference.should) {
      return &Path::kEmptyLevel;
   }
   if ((marks & kGone) != 0 && !isJoin(difference.key) &&
       difference.should == kNothing && !mapped.contains(difference.key)) {
      return &Path::kStatusGone;
   }
   if ((marks & kWritten) == 0) {
      return nullptr;
   }
   bool const isMore =
      difference.should == kNothing ||
      (isJoin(difference.key) && contains(difference.is, difference.should));
   return isMore ? &Path::kLateEntry : &Path::kTakenAway;
}

Verifier::Findings Verifier::findings() {
   Findings found{expected(),
                  outputsOf(*subject_.coll, *subject_.joins),
                  outputsOf(*subject_.coll, *subject_.joins, EmptyLevels::leftOut),
                  {}};
   auto const mapped = this->mapped();
   Outputs keys = found.should;
   keys.insert(found.is.begin(), found.is.end());
   decltype(marks_) marks;
   for (auto const& [key, text] : keys) {
      Difference difference{key, standsAt(found.should, key), standsAt(found.is, key),
                            nullptr};
      if (difference.should == difference.is) {
         continue;
      }
      auto const marked = marks_.find(key);
      if (marked != marks_.end()) {
         marks.insert(*marked);
         difference.excuse =
            excuseOf(difference, marked->second, found.withoutEmpty, mapped);
      }
      found.differences.push_back(std::move(difference));
   }
   marks_ = std::move(marks);
   mappedBefore_ = mapped;
   return found;
}

} // namespace Verify
