#include "support/AgentProcess.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

using namespace TestSupport;

// The document has a row for each place where the library or the runtime gives up, with
// the test that has it happen; and no row for another.
namespace {

// A place in the code that raises an exception or ends the process.
struct Site {
   std::string file;
   std::vector<std::string> pieces; // of the message; what stands between them varies
   bool isFatal;
};

struct Row {
   std::string file;
   std::string message;
   std::vector<std::string> tests;
};

// Whether a literal begins at the place: a quote, but none between the digits of a
// number.
bool isLiteral(std::string const& text, size_t at) {
   return text[at] == '"' ||
          (text[at] == '\'' && (at == 0 || std::isalnum(text[at - 1]) == 0));
}

// Where the literal that begins at the place ends: behind its last quote.
size_t literalEnd(std::string const& text, size_t at) {
   char const quote = text[at];
   if (at > 0 && text[at - 1] == 'R') {
      return text.find(")\"", at) + 2;
   }
   for (++at; text[at] != quote; ++at) {
      at += text[at] == '\\' ? 1 : 0;
   }
   return at + 1;
}

// The arguments of a call, whose parenthesis opens at the place.
std::vector<std::string> argumentsAt(std::string const& text, size_t at) {
   std::vector<std::string> arguments(1);
   int depth = 0;
   do {
      size_t end = at + 1;
      if (isLiteral(text, at)) {
         end = literalEnd(text, at);
      } else if (text[at] == '(' || text[at] == '{') {
         ++depth;
      } else if (text[at] == ')' || text[at] == '}') {
         --depth;
      }
      if (text[at] == ',' && depth == 1) {
         arguments.emplace_back();
      } else {
         arguments.back() += text.substr(at, end - at);
      }
      at = end;
   } while (depth != 0);
   return arguments;
}

// The literals of an expression; those that stand side by side are one.
std::vector<std::string> literalsOf(std::string const& expression) {
   std::vector<std::string> literals;
   bool isJoined = false;
   for (size_t at = 0; at < expression.size();) {
      if (isLiteral(expression, at)) {
         auto const end = literalEnd(expression, at);
         auto const inside = std::regex_replace(expression.substr(at + 1, end - at - 2),
                                                std::regex(R"(\\(.))"), "$1");
         if (isJoined) {
            literals.back() += inside;
         } else {
            literals.push_back(inside);
         }
         isJoined = true;
         at = end;
      } else {
         isJoined = isJoined && std::isspace(expression[at]) != 0;
         ++at;
      }
   }
   return literals;
}

// "%s" of an assertion's format varies, as what stands between two literals does.
std::vector<std::string> piecesOf(std::string const& argument) {
   std::vector<std::string> pieces;
   for (auto const& literal : literalsOf(argument)) {
      std::string rest = literal;
      for (size_t at; (at = rest.find("%s")) != std::string::npos;) {
         pieces.push_back(rest.substr(0, at));
         rest.erase(0, at + 2);
      }
      pieces.push_back(rest);
   }
   std::erase(pieces, "");
   return pieces;
}

std::vector<std::string> sourcesBelow(std::string const& folder) {
   std::vector<std::string> files;
   for (auto const& entry :
        std::filesystem::recursive_directory_iterator(SOURCE_FOLDER "/" + folder)) {
      auto const extension = entry.path().extension();
      if (extension == ".h" || extension == ".cpp") {
         files.push_back(
            std::filesystem::relative(entry.path(), SOURCE_FOLDER).string());
      }
   }
   std::ranges::sort(files);
   return files;
}

std::string withoutComments(std::string const& text) {
   return std::regex_replace(text, std::regex("(^|\n|[^:\"])//[^\n]*"), "$1");
}

std::vector<Site> sitesOf(std::string const& file) {
   static std::regex const call(R"((PELK_ASSERT|vfmassert|throw\s+[\w:]+)\s*[({])");
   auto const text = withoutComments(readText(SOURCE_FOLDER "/" + file));
   std::vector<Site> sites;
   for (std::sregex_iterator at(text.begin(), text.end(), call), end; at != end; ++at) {
      auto const name = (*at)[1].str();
      auto const open = static_cast<size_t>(at->position() + at->length()) - 1;
      auto const arguments = argumentsAt(text, open);
      // The condition, the place (of three arguments) and the message of an assertion;
      // an exception has its message last.
      size_t const message = name == "PELK_ASSERT" ? 1
                             : name == "vfmassert" ? 4
                                                   : arguments.size() - 1;
      sites.push_back({file, piecesOf(arguments.at(message)), !name.starts_with("t")});
   }
   return sites;
}

std::vector<Site> allSites() {
   std::vector<Site> all;
   for (auto const* folder : {"runtime", "McastVpnLib"}) {
      for (auto const& file : sourcesBelow(folder)) {
         if (file != "runtime/pelk/Assert.h") { // which says what an assertion is
            std::ranges::copy(sitesOf(file), std::back_inserter(all));
         }
      }
   }
   return all;
}

std::string insideQuotes(std::string const& cell) {
   auto const first = cell.find('`');
   return cell.substr(first + 1, cell.rfind('`') - first - 1);
}

// The rows of the table whose first title is the given one.
std::vector<std::vector<std::string>> cellsOf(std::string const& title) {
   std::istringstream in(readText(SOURCE_FOLDER "/docs/Failures.md"));
   std::vector<std::vector<std::string>> rows;
   bool isInside = false;
   for (std::string line; std::getline(in, line);) {
      if (!line.starts_with("| ")) {
         isInside = isInside && line.starts_with("|-");
         continue;
      }
      if (isInside) {
         std::vector<std::string> cells;
         std::istringstream row(line.substr(1));
         for (std::string cell; std::getline(row, cell, '|');) {
            cells.push_back(cell);
         }
         rows.push_back(cells);
      }
      isInside = isInside || line.starts_with("| " + title + " |");
   }
   return rows;
}

std::vector<std::string> testsOf(std::string const& cell) {
   static std::regex const quoted("`([^`]+)`");
   std::vector<std::string> tests;
   for (std::sregex_iterator at(cell.begin(), cell.end(), quoted), end; at != end;
        ++at) {
      tests.push_back((*at)[1].str());
   }
   return tests;
}

std::vector<Row> allRows() {
   std::vector<Row> rows;
   for (auto const& cells : cellsOf("Where")) {
      rows.push_back(
         {insideQuotes(cells.at(0)), insideQuotes(cells.at(1)), testsOf(cells.at(3))});
   }
   return rows;
}

bool saysSo(std::string const& message, std::vector<std::string> const& pieces) {
   size_t at = 0;
   for (auto const& piece : pieces) {
      at = message.find(piece, at);
      if (at == std::string::npos) {
         return false;
      }
      at += piece.size();
   }
   return true;
}

// Each test's text, by its name, and the file that it stands in.
struct TestText {
   std::string body;
   std::string file;
};

std::map<std::string, TestText> const& allTests() {
   static auto const tests = [] {
      static std::regex const head(
         R"(\n(?:TYPED_)?TEST(?:_F|_P)?\(\s*(\w+),\s*(\w+)\))");
      std::map<std::string, TestText> found;
      for (auto const& file : sourcesBelow("tests")) {
         auto const text = readText(SOURCE_FOLDER "/" + file);
         for (std::sregex_iterator at(text.begin(), text.end(), head), end; at != end;
              ++at) {
            auto const first = static_cast<size_t>(at->position());
            found[(*at)[1].str() + '.' + (*at)[2].str()] = {
               text.substr(first, text.find("\n}\n", first) - first), text};
         }
      }
      return found;
   }();
   return tests;
}

// Whether some literal of the text holds what the message says, between what varies.
bool holdsMessage(std::string const& text, std::string const& message) {
   std::string longest;
   std::istringstream pieces(std::regex_replace(message, std::regex("…"), "\n"));
   for (std::string piece; std::getline(pieces, piece);) {
      longest = piece.size() > longest.size() ? piece : longest;
   }
   auto const literals = literalsOf(text);
   return std::ranges::any_of(literals, [&](std::string const& literal) {
      return literal.find(longest) != std::string::npos;
   });
}

} // namespace

TEST(Failures, AreEachInTheDocumentWithItsMessage) {
   std::map<std::string, size_t> sites;
   std::map<std::string, size_t> listed;
   auto const rows = allRows();
   for (auto const& row : rows) {
      ++listed[row.file];
   }
   for (auto const& site : allSites()) {
      ++sites[site.file];
      EXPECT_TRUE(std::ranges::any_of(rows,
                                      [&](Row const& row) {
                                         return row.file == site.file &&
                                                saysSo(row.message, site.pieces);
                                      }))
         << "docs/Failures.md has no row for " << site.file << ": "
         << testing::PrintToString(site.pieces);
   }
   EXPECT_EQ(listed, sites) << "rows of docs/Failures.md and places in the code";
}

TEST(Failures, AreEachMadeToHappenByATestThatHasTheMessage) {
   std::set<std::string> fatal;
   for (auto const& site : allSites()) {
      if (site.isFatal) {
         fatal.insert(site.file);
      }
   }
   auto const rows = allRows();
   ASSERT_FALSE(rows.empty());
   for (auto const& row : rows) {
      EXPECT_FALSE(row.tests.empty()) << row.message;
      for (auto const& name : row.tests) {
         auto const test = allTests().find(name);
         ASSERT_NE(test, allTests().end()) << "no test is called " << name;
         EXPECT_TRUE(holdsMessage(test->second.file, row.message))
            << name << " has not " << row.message;
         if (fatal.contains(row.file)) {
            EXPECT_NE(test->second.body.find("EXPECT_DEATH"), std::string::npos)
               << name;
         }
      }
   }
}

TEST(Failures, OfTheProcessAreEachMadeToHappenByATest) {
   auto const rows = cellsOf("What happens");
   ASSERT_GT(rows.size(), 20U) << "of both tables";
   for (auto const& cells : rows) {
      auto const tests = testsOf(cells.back());
      EXPECT_FALSE(tests.empty()) << cells.front();
      for (auto const& name : tests) {
         EXPECT_TRUE(allTests().contains(name)) << "no test is called " << name;
      }
   }
}
