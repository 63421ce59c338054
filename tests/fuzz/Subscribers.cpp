#include "fuzz/Target.h"
#include "support/PublisherScript.h"

#include <string>

// A publisher with subscribers that come, go, publish and destroy it from inside their
// callbacks: the first byte says how often it is destroyed, the others what happens.
namespace {

std::string joined(std::vector<std::string> const& log) {
   std::string text;
   for (auto const& line : log) {
      text += line + '\n';
   }
   return text;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
   using namespace TestSupport::Publishing;
   auto const played = [&]<typename World>() {
      Fuzz::Bytes bytes(data, size);
      auto const destroyWeight = static_cast<int>(bytes.below(4));
      return joined(Script<World>(bytes.random(), destroyWeight).play());
   };
   auto const expected = played.operator()<Model>();
   auto const seen = played.operator()<Real>();
   Fuzz::require(seen == expected, [&] {
      return "a publisher does what its model says\n" + seen + "in place of\n" +
             expected;
   });
   return 0;
}
