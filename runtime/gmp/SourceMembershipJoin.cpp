#include "gmp/SourceMembershipJoin.h"

#include "pelk/SpareBlocks.h"
#include "zin/AttributeMakers.h"
#include "zin/EntityOps.h"

#include <array>

namespace Irb::Multicast::Gmp {

namespace {

constexpr std::array kAttributes = {
   Zin::keyAttribute<SourceMembershipJoin>(
      "source", SourceMembershipJoin::kSource,
      [](auto const& join) { return join.source(); }),
   Zin::setAttribute<SourceMembershipJoin>(
      "includeIntf", SourceMembershipJoin::kIncludeIntf,
      [](auto const& join) -> auto& { return join.includeIntf(); },
      [](auto& join, Lidra::IntfId intfId) { join.includeIntfIs(intfId); },
      [](auto& join, Lidra::IntfId intfId) { join.includeIntfDel(intfId); }),
   Zin::setAttribute<SourceMembershipJoin>(
      "excludeIntf", SourceMembershipJoin::kExcludeIntf,
      [](auto const& join) -> auto& { return join.excludeIntf(); },
      [](auto& join, Lidra::IntfId intfId) { join.excludeIntfIs(intfId); },
      [](auto& join, Lidra::IntfId intfId) { join.excludeIntfDel(intfId); }),
};
constexpr Zin::EntityType kType{"Irb::Multicast::Gmp::SourceMembershipJoin",
                                kAttributes};
Zin::TypeRegistration const registration(kType);

constinit Pelk::SpareBlocks spareBlocks;

} // namespace

void* SourceMembershipJoin::operator new(size_t size) {
   return spareBlocks.allocate(size);
}

void SourceMembershipJoin::operator delete(void* memory) noexcept {
   spareBlocks.release(memory);
}

void SourceMembershipJoin::includeIntfIs(Lidra::IntfId intfId) {
   Zin::memberIs(*this, kIncludeIntf, includeIntf_, intfId);
}

void SourceMembershipJoin::includeIntfDel(Lidra::IntfId intfId) {
   Zin::memberDel(*this, kIncludeIntf, includeIntf_, intfId);
}

void SourceMembershipJoin::includeIntfDelAll() {
   Zin::memberDelAll(*this, kIncludeIntf, includeIntf_);
}

void SourceMembershipJoin::excludeIntfIs(Lidra::IntfId intfId) {
   Zin::memberIs(*this, kExcludeIntf, excludeIntf_, intfId);
}

void SourceMembershipJoin::excludeIntfDel(Lidra::IntfId intfId) {
   Zin::memberDel(*this, kExcludeIntf, excludeIntf_, intfId);
}

void SourceMembershipJoin::excludeIntfDelAll() {
   Zin::memberDelAll(*this, kExcludeIntf, excludeIntf_);
}

Zin::EntityType const& SourceMembershipJoin::type() noexcept {
   return kType;
}

} // namespace Irb::Multicast::Gmp
