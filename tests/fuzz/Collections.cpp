#include "bridging/VlanId.h"
#include "dorf/DorfValueMap.h"
#include "fuzz/CollectionStory.h"
#include "fuzz/Target.h"
#include "l3/VrfName.h"
#include "lidra/IntfId.h"
#include "lidra/IpGenAddr.h"
#include "quell/QuellMap.h"
#include "zin/Hash.h"
#include "zin/HashMap2018.h"

#include <array>
#include <compare>
#include <cstdint>
#include <memory>
#include <string>

// The first byte chooses the collection, the second the hash seed; each of the others
// is an operation, or what it is done with.
namespace {

struct Usual {
   static constexpr char const* name = "usual";
   static constexpr uint32_t seed = 0x5eed0001;
};
struct FirstInline {
   static constexpr char const* name = "firstInline";
   static constexpr uint32_t seed = 0x5eed0002;
   static constexpr bool firstInline = true;
};

template <typename Name>
struct Vlans {
   using Collection = Zin::HashMap2018<Name, Bridging::VlanId>;
   static Bridging::VlanId key(uint32_t n) { return static_cast<uint16_t>(n + 1); }
};
template <typename Name>
struct Owners {
   using Collection = Zin::HashMap2018<Name, uint64_t, std::unique_ptr<uint32_t>>;
   static uint64_t key(uint32_t n) { return uint64_t{n} << 32; }
};
template <typename Name>
struct Texts {
   using Collection = Zin::HashMap2018<Name, L3::VrfName, std::string>;
   static L3::VrfName key(uint32_t n) {
      return L3::VrfName(n == 0 ? "default"
                                : std::to_string(n) + std::string(n % 5 * 5, 'x'));
   }
};
template <typename Name>
struct Interfaces {
   using Collection = Zin::HashMap2018<Name, Lidra::IntfId, uint32_t>;
   static Lidra::IntfId key(uint32_t n) {
      return Lidra::IntfId((n % 2 == 0 ? "Vlan" : "Et") + std::to_string(n));
   }
};

// Four hashes in all, the least and the greatest among them.
struct Colliding {
   uint32_t n = 0;
   uint32_t hash(uint32_t) const { return n % 4 * (UINT32_MAX / 3); }
   auto operator<=>(Colliding const&) const = default;
};
// Some hashes at the upper end, some in steps that are much too small.
struct Crowded {
   uint32_t n = 0;
   uint32_t hash(uint32_t) const {
      return n % 2 == 0 ? UINT32_MAX - n % 64 : 0x10000000u + n;
   }
   auto operator<=>(Crowded const&) const = default;
};
template <typename Bad, typename Name>
struct BadKeys {
   using Collection = Zin::HashMap2018<Name, Bad, uint32_t>;
   static Bad key(uint32_t n) { return {n}; }
};

struct Records {
   struct Record {
      uint32_t n = 0;
      uint32_t number = 0;
      uint32_t key() const { return n; }
   };
   using Collection = Quell::QuellMap<Usual, uint32_t, Record>;
   static uint32_t key(uint32_t n) { return n; }
   static Record value(uint32_t number) { return {0, number}; }
   static uint32_t number(Record const& record) { return record.number; }
};
struct Values {
   using Collection = Dorf::DorfValueMap<Usual, Lidra::IpGenAddr>;
   static Lidra::IpGenAddr key(uint32_t n) {
      return Lidra::IpGenAddr(Lidra::IpAddr(n << 24 | n));
   }
};

template <typename Kind>
void play(Fuzz::Bytes& bytes) {
   Fuzz::CollectionStory<Kind>(bytes).play();
}
constexpr std::array kStories = {&play<Vlans<Usual>>,
                                 &play<Vlans<FirstInline>>,
                                 &play<Owners<Usual>>,
                                 &play<Owners<FirstInline>>,
                                 &play<Texts<Usual>>,
                                 &play<Texts<FirstInline>>,
                                 &play<Interfaces<Usual>>,
                                 &play<Interfaces<FirstInline>>,
                                 &play<BadKeys<Colliding, Usual>>,
                                 &play<BadKeys<Colliding, FirstInline>>,
                                 &play<BadKeys<Crowded, Usual>>,
                                 &play<BadKeys<Crowded, FirstInline>>,
                                 &play<Records>,
                                 &play<Values>};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
   Fuzz::Bytes bytes(data, size);
   auto const story = kStories.at(bytes.below(kStories.size()));
   Zin::HashHelper::hashSeed32Is(bytes.byte());
   story(bytes);
   return 0;
}
