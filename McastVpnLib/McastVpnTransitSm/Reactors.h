#pragma once

#include "McastVpnLib/McastVpnTransitSm/TransitSm.h"
#include "lidra/IntfId.h"
#include "pelk/Subscription.h"

#include <cstdint>
#include <memory>

// What TransitSm listens to. Each reactor turns the notifications of one input into
// handler calls, holds a Guard on the machine meanwhile, and does nothing once the
// machine is being deleted. A reactor may go while its own callback runs, so a callback
// touches only the machine.
namespace Irb::Multicast::Evpn {

// Keeps the machine while a dispatcher runs.
class TransitSm::Guard {
 public:
   explicit Guard(TransitSm& sm) noexcept : sm_(&sm) {
      ++sm.guards_;
      ++sm.dispatches_;
   }
   Guard(Guard const&) = delete;
   Guard& operator=(Guard const&) = delete;
   ~Guard() { --sm_->guards_; }

 private:
   Pelk::Ptr<TransitSm> sm_;
};

struct TransitSm::Reactors {
   using VtiStatusPtr = Pelk::Ptr<Vxlan::VtiStatus const>;
   using VtiStatusDirPtr = Pelk::Ptr<Vxlan::VtiStatusDir const>;

   // One input, of type Source, and the handler of its notifications.
   template <typename Source>
   class Reactor {
    public:
      // Calls the handler that the changed attribute is for, if any.
      using Dispatch = void (*)(TransitSm& sm, int16_t attributeId, void const* key);

      Reactor(TransitSm* sm, Dispatch dispatch) noexcept
         : subscription_(
              Pelk::Subscription<Reactor, Source>::template of<&Reactor::changed>(
                 this)),
           sm_(sm), dispatch_(dispatch) {}

      void sourceIs(Pelk::Ptr<Source const> const& source) {
         subscription_.sourceIs(source);
      }
      Pelk::Ptr<Source const> const& source() const noexcept {
         return subscription_.source();
      }

    private:
      void changed(Pelk::Publisher*, Pelk::Subscriber*, int16_t attributeId,
                   void const* key, void const*) noexcept {
         TransitSm& sm = *sm_;
         if (sm.isBeingDeleted()) {
            return;
         }
         Guard const guard(sm);
         dispatch_(sm, attributeId, key);
      }

      Pelk::Subscription<Reactor, Source> subscription_;
      TransitSm* sm_;
      Dispatch dispatch_;
   };

   using on_mcastEvpnConfig = Reactor<Routing::Multicast::Evpn::Config>;
   using on_mlagStatus = Reactor<Mlag::Status>;

   // Follows the directory, and owns what follows its entries.
   class on_vtiStatusDir {
    public:
      explicit on_vtiStatusDir(TransitSm* sm) noexcept;

      // Follows the directory and its entries without calling a handler.
      void subscribe(VtiStatusDirPtr const& dir);
      // The machine's directory was replaced.
      void on_self0(VtiStatusDirPtr const& oldDir, VtiStatusDirPtr const& newDir);
      // Lets go of the directory.
      void shutdown();

    private:
      Reactor<Vxlan::VtiStatusDir> reactor_;
      TransitSm* sm_;
   };

   // Follows the entries of the directory.
   class on_vtiStatusDir_vtiStatus {
    public:
      explicit on_vtiStatusDir_vtiStatus(TransitSm* sm) noexcept : sm_(sm) {}

      // The entry that is followed under the interface, or null.
      VtiStatusPtr status(Lidra::IntfId intfId) const;
      // Follows the directory's entry under the interface in the place of the one that
      // is followed; either may be none.
      void subscribe(Lidra::IntfId intfId);
      // The entry under the interface changed from one object (or none) to another.
      void on_self0(Lidra::IntfId intfId, VtiStatusPtr const& oldStatus,
                    VtiStatusPtr const& newStatus);
      // Lets go of every entry.
      void shutdown();

    private:
      using EntryReactor = Reactor<Vxlan::VtiStatus>;

      struct EntryTag {
         static constexpr char const* name = "vtiStatusReactor";
         static constexpr uint32_t seed = 0x70b92ef5;
      };
      TransitSm* sm_;
      Zin::HashMap2018<EntryTag, Lidra::IntfId, std::unique_ptr<EntryReactor>> entries_;
   };

   explicit Reactors(TransitSm* sm) noexcept;

   on_mcastEvpnConfig mcastEvpnConfig;
   on_mlagStatus mlagStatus;
   on_vtiStatusDir vtiStatusDir;
   on_vtiStatusDir_vtiStatus vtiStatus;
};

} // namespace Irb::Multicast::Evpn
