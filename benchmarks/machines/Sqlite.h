#pragma once

#include "Case.h"

#include <string>

struct sqlite3;
struct sqlite3_stmt;

namespace Bench::Machines {

// The rule as a view, and triggers that keep the outputs' tables in step with it, in an
// SQLite database in memory. An event is one prepared statement, which commits itself.
template <Rule rule>
class Sqlite {
 public:
   using Vrf = std::string;

   explicit Sqlite(Case const& inputs);
   Sqlite(Sqlite const&) = delete;
   Sqlite& operator=(Sqlite const&) = delete;
   ~Sqlite();

   // Fills the outputs from the view, a statement for each.
   void start();
   void stop();

   void transitIs(Vrf const& vrf, bool is);
   void mapIs(Vrf const& vrf, uint16_t vlan);
   void pegIs(uint16_t vlan, bool is);
   void mlagIs(int state) { run(mlag_, state); }
   void localIs(uint32_t value) { run(local_, static_cast<int>(value)); }

   Outputs outputs() const;

 private:
   void execute(std::string const& sql) const;
   sqlite3_stmt* prepared(char const* sql) const;
   void run(sqlite3_stmt* statement, int number) const;
   void run(sqlite3_stmt* statement, Vrf const& vrf, int number = -1) const;
   void finish(sqlite3_stmt* statement) const;
   void triggers() const;

   sqlite3* db_ = nullptr;
   sqlite3_stmt* map_ = nullptr;
   sqlite3_stmt* transitAdd_ = nullptr;
   sqlite3_stmt* transitDel_ = nullptr;
   sqlite3_stmt* pegAdd_ = nullptr;
   sqlite3_stmt* pegDel_ = nullptr;
   sqlite3_stmt* mlag_ = nullptr;
   sqlite3_stmt* local_ = nullptr;
};

extern template class Sqlite<Rule::reactor>;
extern template class Sqlite<Rule::dataflow>;

} // namespace Bench::Machines
