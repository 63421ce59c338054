#include "agent/Table.h"

#include <fmt/color.h>
#include <fmt/format.h>

#include <algorithm>

namespace Agent {

namespace {

fmt::text_style styleOf(Table::Style style) {
   switch (style) {
      case Table::Style::good:
         return fmt::fg(fmt::terminal_color::green);
      case Table::Style::changed:
         return fmt::fg(fmt::terminal_color::yellow);
      case Table::Style::bad:
         return fmt::fg(fmt::terminal_color::red);
      case Table::Style::dim:
         return fmt::emphasis::faint;
      case Table::Style::plain:
         break;
   }
   return {};
}

// Names may be any UTF-8: what counts is how many code points they show.
size_t widthOf(std::string const& text) {
   return static_cast<size_t>(std::count_if(text.begin(), text.end(), [](char c) {
      return (static_cast<unsigned char>(c) & 0xc0) != 0x80;
   }));
}

} // namespace

void Table::row(Style style, std::vector<std::string> cells) {
   rows_.push_back({style, std::move(cells)});
}

std::string Table::text(bool colour) const {
   if (rows_.empty()) {
      return {};
   }
   std::vector<size_t> widths(columns_.size(), 0);
   for (auto const& each : rows_) {
      for (size_t i = 0; i < columns_.size(); ++i) {
         widths[i] = std::max(widths[i], widthOf(each.cells[i]));
      }
   }
   std::vector<std::string> titles;
   for (size_t i = 0; i < columns_.size(); ++i) {
      titles.push_back(columns_[i].title);
      if (widths[i] != 0) {
         widths[i] = std::max(widths[i], widthOf(titles[i]));
      }
   }
   auto const styled = [colour](fmt::text_style style, std::string const& text) {
      return colour ? fmt::format(style, "{}", text) : text;
   };
   std::string result = styled(fmt::emphasis::bold, line(titles, widths)) + '\n';
   for (auto const& each : rows_) {
      result += styled(styleOf(each.style), line(each.cells, widths)) + '\n';
   }
   return result;
}

std::string Table::line(std::vector<std::string> const& cells,
                        std::vector<size_t> const& widths) const {
   std::string result;
   for (size_t i = 0; i < columns_.size(); ++i) {
      if (widths[i] == 0) {
         continue;
      }
      std::string const padding(widths[i] - widthOf(cells[i]), ' ');
      bool const right = columns_[i].align == Align::right;
      result += "  " + (right ? padding : "") + cells[i] + (right ? "" : padding);
   }
   result.erase(result.find_last_not_of(' ') + 1);
   return result;
}

} // namespace Agent
