#include "pelk/Placeholders.h"

namespace Pelk {

std::string replacePlaceholders(std::string_view format,
                                std::span<std::string const> arguments) {
   std::string text;
   text.reserve(format.size() + 16 * arguments.size());
   size_t from = 0;
   for (auto const& argument : arguments) {
      size_t at = format.find('%', from);
      while (at != std::string_view::npos && at + 1 < format.size() &&
             format[at + 1] != 's' && format[at + 1] != 'x') {
         at = format.find('%', at + 1);
      }
      if (at == std::string_view::npos || at + 1 >= format.size()) {
         break;
      }
      text.append(format, from, at - from).append(argument);
      from = at + 2;
   }
   return text.append(format, from);
}

} // namespace Pelk
