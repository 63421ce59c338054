#pragma once

#include <string>
#include <vector>

namespace Agent {

// A table for people: columns as wide as what they hold, colours where asked for.
class Table {
 public:
   enum class Align { left, right };
   enum class Style { plain, good, changed, bad, dim };

   struct Column {
      std::string title;
      Align align = Align::left;
   };

   explicit Table(std::vector<Column> columns) : columns_(std::move(columns)) {}

   // One cell a column.
   void row(Style style, std::vector<std::string> cells);

   // Every line ends in a line end, and none in a blank. A column without any content
   // below its title is left out, a table without rows is empty.
   std::string text(bool colour) const;

 private:
   struct Row {
      Style style;
      std::vector<std::string> cells;
   };

   std::string line(std::vector<std::string> const& cells,
                    std::vector<size_t> const& widths) const;

   std::vector<Column> columns_;
   std::vector<Row> rows_;
};

} // namespace Agent
