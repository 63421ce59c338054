#include "gmp/GroupMembershipJoin.h"

#include "pelk/SpareBlocks.h"
#include "zin/AttributeMakers.h"
#include "zin/EntityOps.h"

#include <array>

namespace Irb::Multicast::Gmp {

namespace {

constexpr std::array kAttributes = {
   Zin::keyAttribute<GroupMembershipJoin>(
      "group", GroupMembershipJoin::kGroup,
      [](auto const& join) { return join.group(); }),
   Zin::childrenAttribute<GroupMembershipJoin, SourceMembershipJoin>(
      "source", GroupMembershipJoin::kSource,
      [](auto const& join) -> auto& { return join.source(); },
      [](auto& join, Lidra::IpGenAddr const& source, Zin::InitialValues const&) {
         return join.sourceIs(source);
      },
      [](auto& join, Lidra::IpGenAddr const& source) { join.sourceDel(source); }),
};
constexpr Zin::EntityType kType{"Irb::Multicast::Gmp::GroupMembershipJoin",
                                kAttributes};
Zin::TypeRegistration const registration(kType);

constinit Pelk::SpareBlocks spareBlocks;

} // namespace

void* GroupMembershipJoin::operator new(size_t size) {
   return spareBlocks.allocate(size);
}

void GroupMembershipJoin::operator delete(void* memory) noexcept {
   spareBlocks.release(memory);
}

Pelk::Ptr<SourceMembershipJoin>
GroupMembershipJoin::source(Lidra::IpGenAddr const& source) const {
   return Zin::child(source_, source);
}

Pelk::Ptr<SourceMembershipJoin>
GroupMembershipJoin::sourceIs(Lidra::IpGenAddr const& source) {
   return Zin::childIs(*this, kSource, source_, source);
}

void GroupMembershipJoin::sourceDel(Lidra::IpGenAddr const& source) {
   Zin::memberDel(*this, kSource, source_, source);
}

void GroupMembershipJoin::sourceDelAll() {
   Zin::memberDelAll(*this, kSource, source_);
}

Zin::EntityType const& GroupMembershipJoin::type() noexcept {
   return kType;
}

} // namespace Irb::Multicast::Gmp
