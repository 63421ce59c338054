#pragma once

#include "zin/HashMap2018.h"

#include <cstdint>
#include <utility>

namespace Quell {

// A table of records, each keyed by what Record::key() says; Tag names the table and
// gives its seed constant, as for Zin::HashMap2018, whose order, bookmarks and version
// it has. The platform shares such tables between processes; this one is private.
template <typename Tag, typename Key, typename Record>
class QuellMap : public Zin::HashMap2018<Tag, Key, Record> {
   using Base = Zin::HashMap2018<Tag, Key, Record>;

 public:
   // Adds the record, or overwrites the one with the same key.
   void recordIs(Record const& record) { Base::assign(record.key(), record); }
};

} // namespace Quell
