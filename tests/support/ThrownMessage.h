#pragma once

#include <string>

namespace Support {

// What the exception of type E says that a call throws; what went wrong instead, if it
// throws none.
template <typename E, typename Call>
std::string thrownMessage(Call call) {
   try {
      static_cast<void>(call());
   } catch (E const& exception) {
      return exception.what();
   }
   return "nothing was thrown";
}

} // namespace Support
