#pragma once

#include "agent/verify/Inputs.h"
#include "agent/verify/Outputs.h"
#include "agent/verify/PathDependence.h"
#include "pelk/Subscription.h"

#include <map>
#include <set>
#include <string>
#include <vector>

namespace Verify {

// One output on which a machine and the plain rule differ.
struct Difference {
   std::string key; // as in Outputs
   std::string should;
   std::string is;
   PathDependence const* excuse; // null: the machine is wrong

   bool operator==(Difference const&) const noexcept = default;
};

// Compares a machine's outputs with those of the plain rule, and finds the excuse of a
// difference: it follows, apart from the machine, what a path-dependent case needs to
// have happened. Changes the host makes to a machine itself (its notifications, its
// tables) are not followed, so their differences are never excused. Event thread only.
class Verifier {
 public:
   struct Subject {
      Machine machine;
      Lidra::AddressFamily af;
      bool joinsEnabled; // the reactor's toggle
      Inputs inputs;
      Pelk::Ptr<Irb::Multicast::Evpn::TransitIntfColl const> coll;
      Pelk::Ptr<Irb::Multicast::Gmp::MembershipJoinStatus const> joins;
   };

   explicit Verifier(Subject subject);

   // To be called before a machine is constructed, and after it was destroyed.
   void starting();
   void stopped();
   // Another writer changed the output of this key.
   void written(std::string const& key) { marks_[key] |= kWritten; }

   // What should stand there by the plain rule, what stands there (with and without the
   // levels that are empty), and the differences of now, by key. Requires that the
   // machine is running and idle.
   struct Findings {
      Outputs should;
      Outputs is;
      Outputs withoutEmpty;
      std::vector<Difference> differences;
   };
   Findings findings();
   std::vector<Difference> differences() { return findings().differences; }

   // The plain rule's outputs.
   Outputs expected() const;

 private:
   // What has happened to an output, so far as it bears on an excuse. An output that
   // agrees with the rule again begins with none.
   enum Mark : unsigned {
      kWritten = 1,    // another writer changed it while the machine was running
      kStood = 2,      // it stood there when the reactor started ...
      kNotStarted = 4, // ... which did not evaluate it
      kEmpty = 8,      // a level below it was empty when the dataflow machine started
      kGone = 16,      // its VLAN was mapped when the status of "Vxlan1" went
   };

   void markStart();
   void statusChanged(Pelk::Publisher*, Pelk::Subscriber*, int16_t attributeId,
                      void const* key, void const* value) noexcept;
   void mappingChanged(Pelk::Publisher*, Pelk::Subscriber*, int16_t attributeId,
                       void const* key, void const* value) noexcept;
   void statusIs(Pelk::Ptr<Vxlan::VtiStatus> const& status);
   void rememberMapped();
   std::set<std::string> mapped() const;
   PathDependence const* excuseOf(Difference const& difference, unsigned marks,
                                  Outputs const& withoutEmpty,
                                  std::set<std::string> const& mapped) const;
   PathDependence const* reactorExcuseOf(Difference const& difference,
                                         unsigned marks) const;

   Subject const subject_;
   std::map<std::string, unsigned> marks_;
   std::set<std::string> mappedBefore_; // at any time since the last comparison
   Pelk::Ptr<Vxlan::VtiStatus> status_; // of "Vxlan1"
   Pelk::Subscription<Verifier, Vxlan::VtiStatusDir> subscription_;
   Pelk::Subscription<Verifier, Vxlan::VtiStatus> mappingSubscription_;
};

} // namespace Verify
