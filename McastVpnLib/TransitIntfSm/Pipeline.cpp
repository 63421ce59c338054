#include "McastVpnLib/TransitIntfSm/Pipeline.h"

#include <ostream>

namespace Irb::Multicast::Evpn::Pipeline {

namespace {

struct Shape {
   std::string_view dot;
   std::string_view open; // in Mermaid
   std::string_view close;
};

Shape shapeOf(Stage stage) {
   switch (stage) {
      case Stage::input:
      case Stage::output:
         return {"box", "[\"", "\"]"};
      case Stage::source:
         return {"ellipse", "([\"", "\"])"};
      case Stage::merge:
         return {"diamond", "{{\"", "\"}}"};
      case Stage::sink:
         break;
   }
   return {"ellipse", "([\"", "\"])"};
}

} // namespace

void printDot(std::ostream& out) {
   out << "digraph TransitIntfSm {\n   rankdir=LR;\n";
   for (auto const& node : kNodes) {
      out << "   \"" << node.name << "\" [shape=" << shapeOf(node.stage).dot << "];\n";
   }
   for (auto const& edge : kEdges) {
      out << "   \"" << edge.from << "\" -> \"" << edge.to << "\";\n";
   }
   out << "}\n";
}

void printMermaid(std::ostream& out) {
   out << "flowchart LR\n";
   for (size_t i = 0; i < kNodes.size(); ++i) {
      auto const shape = shapeOf(kNodes[i].stage);
      out << "   n" << i << shape.open << kNodes[i].name << shape.close << '\n';
   }
   for (auto const& edge : kEdges) {
      out << "   n" << indexOf(edge.from) << " --> n" << indexOf(edge.to) << '\n';
   }
}

} // namespace Irb::Multicast::Evpn::Pipeline
