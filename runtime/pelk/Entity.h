#pragma once

#include "pelk/Export.h"
#include "pelk/Ptr.h"
#include "pelk/Publisher.h"

namespace Zin {
struct EntityType;
}

namespace Pelk {

// An object with attributes: counted, and a publisher of its attributes' changes. Its
// type's table of attributes (zin/TypeTable.h) reads and writes them by name.
//
// A change is made whole before it is announced: the attribute is stored, the
// collection's version is bumped, then the notification goes out, as the last thing
// that a setter does, since a callback may drop the entity's last use.
class PELK_EXPORT Entity : public SharedObject, public Publisher {
 public:
   virtual Zin::EntityType const& entityType() const noexcept = 0;

 protected:
   Entity() noexcept = default;
   ~Entity() override = default;
};

} // namespace Pelk
