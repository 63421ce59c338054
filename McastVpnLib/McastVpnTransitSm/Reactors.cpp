#include "McastVpnLib/McastVpnTransitSm/Reactors.h"

namespace Irb::Multicast::Evpn {

namespace {

L3::VrfName const& vrfOf(void const* key) {
   return *static_cast<L3::VrfName const*>(key);
}

} // namespace

TransitSm::Reactors::Reactors(TransitSm* sm) noexcept
   : mcastEvpnConfig(sm,
                     [](TransitSm& machine, int16_t attributeId, void const* key) {
                        if (attributeId ==
                            Routing::Multicast::Evpn::Config::kTransitVrf) {
                           machine.zin_handleMcastEvpnConfig_transitVrf(vrfOf(key));
                        }
                     }),
     mlagStatus(sm,
                [](TransitSm& machine, int16_t attributeId, void const*) {
                   if (attributeId == Mlag::Status::kMlagState) {
                      machine.handleMlagState();
                   }
                }),
     vtiStatusDir(sm), vtiStatus(sm) {}

TransitSm::Reactors::on_vtiStatusDir::on_vtiStatusDir(TransitSm* sm) noexcept
   : reactor_(sm,
              [](TransitSm& machine, int16_t attributeId, void const* key) {
                 if (attributeId != Vxlan::VtiStatusDir::kVtiStatus) {
                    return;
                 }
                 auto const intfId = *static_cast<Lidra::IntfId const*>(key);
                 auto& entries = machine.reactors_->vtiStatus;
                 entries.on_self0(intfId, entries.status(intfId),
                                  machine.vtiStatusDir_->vtiStatus(intfId));
                 if (machine.referenced()) {
                    machine.handleVtepAddr();
                 }
              }),
     sm_(sm) {}

void TransitSm::Reactors::on_vtiStatusDir::subscribe(VtiStatusDirPtr const& dir) {
   reactor_.sourceIs(dir);
   if (!dir) {
      return;
   }
   for (auto const& entry : dir->vtiStatus()) {
      sm_->reactors_->vtiStatus.subscribe(entry.key());
   }
}

void TransitSm::Reactors::on_vtiStatusDir::on_self0(VtiStatusDirPtr const& oldDir,
                                                    VtiStatusDirPtr const& newDir) {
   TransitSm& sm = *sm_;
   // All of it before the first handler, which may be the reason for a further change.
   subscribe(newDir);
   auto const entryOf = [](VtiStatusDirPtr const& dir, Lidra::IntfId intfId) {
      return dir ? VtiStatusPtr(dir->vtiStatus(intfId)) : VtiStatusPtr();
   };
   auto const visit = [&](VtiStatusDirPtr const& dir, auto&& concerns) {
      if (!dir) {
         return;
      }
      for (auto entry = dir->vtiStatus().iterate(); entry && sm.referenced(); ++entry) {
         auto const intfId = entry.key();
         if (concerns(intfId)) {
            sm.reactors_->vtiStatus.on_self0(intfId, entryOf(oldDir, intfId),
                                             entryOf(newDir, intfId));
         }
      }
   };
   visit(newDir, [](Lidra::IntfId) { return true; });
   visit(oldDir, [&](Lidra::IntfId intfId) { return !entryOf(newDir, intfId); });
}

void TransitSm::Reactors::on_vtiStatusDir::shutdown() {
   reactor_.sourceIs(nullptr);
}

TransitSm::Reactors::VtiStatusPtr
TransitSm::Reactors::on_vtiStatusDir_vtiStatus::status(Lidra::IntfId intfId) const {
   auto const* const entry = entries_.find(intfId);
   return entry != nullptr ? entry->value()->source() : nullptr;
}

void TransitSm::Reactors::on_vtiStatusDir_vtiStatus::subscribe(Lidra::IntfId intfId) {
   auto const& dir = sm_->vtiStatusDir_;
   VtiStatusPtr const status = dir ? dir->vtiStatus(intfId) : nullptr;
   if (!status) {
      entries_.erase(intfId);
      return;
   }
   if (auto* const entry = entries_.find(intfId)) {
      entry->value()->sourceIs(status);
      return;
   }
   auto const dispatch = [](TransitSm& machine, int16_t attributeId, void const* key) {
      switch (attributeId) {
         case Vxlan::VtiStatus::kVrfToSBDVlan:
            machine.handleVrfToSBDVlan(vrfOf(key));
            break;
         case Vxlan::VtiStatus::kLocalVtepAddr:
         case Vxlan::VtiStatus::kMlagVtepAddr:
            machine.handleVtepAddr();
            break;
         default:
            break;
      }
   };
   auto made = std::make_unique<EntryReactor>(sm_, dispatch);
   made->sourceIs(status);
   entries_.insert(intfId, std::move(made));
}

void TransitSm::Reactors::on_vtiStatusDir_vtiStatus::on_self0(
   Lidra::IntfId intfId, VtiStatusPtr const& oldStatus, VtiStatusPtr const& newStatus) {
   TransitSm& sm = *sm_;
   VtiStatusPtr const before = oldStatus;
   VtiStatusPtr const after = newStatus;
   // Not simply to the new one: a handler of an earlier entry may have been the reason
   // why the directory was replaced again.
   subscribe(intfId);

   auto const handleEach = [&](VtiStatusPtr const& status, auto&& concerns) {
      if (!status) {
         return;
      }
      for (auto entry = status->vrfToSBDVlan().iterate(); entry && sm.referenced();
           ++entry) {
         auto const vrf = entry.key();
         if (concerns(vrf)) {
            sm.handleVrfToSBDVlan(vrf);
         }
      }
   };
   handleEach(before, [&](L3::VrfName const& vrf) {
      return !after || !after->vrfToSBDVlan().contains(vrf);
   });
   handleEach(after, [](L3::VrfName const&) { return true; });
   if (sm.referenced()) {
      sm.handleVtepAddr();
   }
}

void TransitSm::Reactors::on_vtiStatusDir_vtiStatus::shutdown() {
   entries_.clear();
}

} // namespace Irb::Multicast::Evpn
