#include "agent/Graph.h"

#include "McastVpnLib/TransitIntfSm/Pipeline.h"
#include "agent/ExitStatus.h"

#include <iostream>

namespace Agent {

int graph(Options const& options) {
   using namespace Irb::Multicast::Evpn;
   if (options.graphFormat == Options::GraphFormat::dot) {
      Pipeline::printDot(std::cout);
   } else {
      Pipeline::printMermaid(std::cout);
   }
   return kFine;
}

} // namespace Agent
