#pragma once

#include "pelk/Export.h"

#include <stdexcept>

namespace Zin {

// A value that its type cannot hold, such as a VLAN number of 5000. The message is the
// type's own fixed text.
class PELK_EXPORT RangeException : public std::out_of_range {
 public:
   using std::out_of_range::out_of_range;
   RangeException(RangeException const&) = default;
   RangeException& operator=(RangeException const&) = default;
   ~RangeException() override;
};

// A text that is not the text form of the type that it was given to.
class PELK_EXPORT TextException : public std::invalid_argument {
 public:
   using std::invalid_argument::invalid_argument;
   TextException(TextException const&) = default;
   TextException& operator=(TextException const&) = default;
   ~TextException() override;
};

} // namespace Zin
