#include "lidra/IntfId.h"

#include "zin/Decimal.h"
#include "zin/Hash.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <deque>
#include <mutex>
#include <optional>
#include <ostream>
#include <unordered_map>

namespace Lidra {

namespace {

enum Kind : uint64_t { inlineName = 0, vlan = 1, tableName = 2 };

constexpr int kKindShift = 56;
constexpr size_t kInlineMax = 7;
constexpr std::string_view kVlanPrefix = "Vlan";

// Names that fit nowhere else. Identities are made on any thread.
class NameTable {
 public:
   uint64_t indexOf(std::string_view name) {
      std::scoped_lock const lock(mutex_);
      if (auto found = indices_.find(name); found != indices_.end()) {
         return found->second;
      }
      auto const& kept = names_.emplace_back(name);
      return indices_.emplace(kept, names_.size() - 1).first->second;
   }
   std::string name(uint64_t index) {
      std::scoped_lock const lock(mutex_);
      return names_[index];
   }

   static NameTable& instance() {
      static NameTable table;
      return table;
   }

 private:
   std::mutex mutex_;
   std::deque<std::string> names_;
   std::unordered_map<std::string_view, uint64_t> indices_;
};

constexpr uint64_t make(Kind kind, uint64_t content) {
   return (static_cast<uint64_t>(kind) << kKindShift) | content;
}

std::optional<uint16_t> vlanNumber(std::string_view name) {
   if (!name.starts_with(kVlanPrefix)) {
      return std::nullopt;
   }
   try {
      return Zin::decimalFromText<uint16_t>(name.substr(kVlanPrefix.size()));
   } catch (Zin::TextException const&) {
      return std::nullopt;
   } catch (Zin::RangeException const&) {
      return std::nullopt;
   }
}

uint64_t valueOf(std::string_view name) {
   if (auto const number = vlanNumber(name)) {
      return make(vlan, *number);
   }
   if (name.size() > kInlineMax || name.find('\0') != std::string_view::npos) {
      return make(tableName, NameTable::instance().indexOf(name));
   }
   uint64_t packed = 0;
   for (size_t i = 0; i < name.size(); ++i) {
      packed |= static_cast<uint64_t>(static_cast<uint8_t>(name[i])) << (8 * i);
   }
   return make(inlineName, packed);
}

} // namespace

IntfId::IntfId(std::string_view name) : value_(valueOf(name)) {}

std::string IntfId::stringValue() const {
   uint64_t const content = value_ & ((uint64_t{1} << kKindShift) - 1);
   switch (value_ >> kKindShift) {
      case vlan:
         return std::string(kVlanPrefix) + std::to_string(content);
      case tableName:
         return NameTable::instance().name(content);
      default: {
         std::string name;
         for (uint64_t rest = content; rest != 0; rest >>= 8) {
            name.push_back(static_cast<char>(rest & 0xff));
         }
         return name;
      }
   }
}

std::string IntfId::shortName() const {
   std::string name = stringValue();
   auto const letters = std::ranges::find_if_not(
      name, [](unsigned char c) { return std::isalpha(c) != 0; });
   if (letters - name.begin() > 2) {
      name.erase(name.begin() + 2, letters);
   }
   return name;
}

uint32_t IntfId::hash(uint32_t seed) const noexcept {
   return Zin::hashSingleAttr(seed, &value_, sizeof value_);
}

std::ostream& operator<<(std::ostream& out, IntfId intf) {
   return out << intf.stringValue();
}

IntfId VlanIntfId::vlanIdToIntfId(unsigned short vlanId) noexcept {
   return IntfId(make(vlan, vlanId));
}

} // namespace Lidra
