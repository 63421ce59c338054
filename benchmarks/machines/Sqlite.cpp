#include "Sqlite.h"

#include <cstdio>
#include <cstdlib>
#include <sqlite3.h>

namespace Bench::Machines {

namespace {

constexpr char const* kTables = R"(
   PRAGMA journal_mode = OFF;
   PRAGMA synchronous = OFF;
   PRAGMA locking_mode = EXCLUSIVE;
   CREATE TABLE transit( vrf TEXT PRIMARY KEY ) WITHOUT ROWID;
   CREATE TABLE map( vrf TEXT PRIMARY KEY, vlan INT ) WITHOUT ROWID;
   CREATE INDEX mapByVlan ON map( vlan );
   CREATE TABLE peg( vlan INTEGER PRIMARY KEY );
   CREATE TABLE state( mlag INT, local INT, shared INT );
   CREATE TABLE intf( vlan INTEGER PRIMARY KEY, addr INT );
   CREATE TABLE joins( vlan INTEGER PRIMARY KEY );
   CREATE VIEW chosen AS
      SELECT CASE mlag WHEN 3 THEN shared ELSE local END AS addr FROM state;
)";

constexpr char const* kReactorView = R"(
   CREATE VIEW wanted AS
      SELECT vlan FROM map
      WHERE EXISTS ( SELECT 1 FROM transit WHERE transit.vrf = map.vrf );
)";

constexpr char const* kDataflowView = R"(
   CREATE VIEW wanted AS
      SELECT vlan FROM peg
      WHERE ( SELECT count(*) FROM map WHERE map.vlan = peg.vlan ) = 1
         AND EXISTS ( SELECT 1 FROM map JOIN transit USING( vrf )
                      WHERE map.vlan = peg.vlan );
)";

// The statements of a trigger that bring the outputs of one VLAN in line.
std::string evaluation(std::string const& vlan) {
   std::string const is = "vlan = ( " + vlan + " )";
   std::string const unwanted =
      " WHERE " + is + " AND NOT EXISTS ( SELECT 1 FROM wanted WHERE " + is + " );\n";
   return "DELETE FROM joins" + unwanted + "DELETE FROM intf" + unwanted +
          "INSERT OR IGNORE INTO joins SELECT vlan FROM wanted WHERE " + is + ";\n" +
          "INSERT OR IGNORE INTO intf SELECT vlan, ( SELECT addr FROM chosen )"
          " FROM wanted WHERE " +
          is + " AND ( SELECT mlag FROM state ) <> 4;\n";
}

std::string trigger(std::string const& name, std::string const& event,
                    std::string const& body) {
   return "CREATE TRIGGER " + name + " AFTER " + event + " BEGIN\n" + body + "END;\n";
}

} // namespace

template <Rule rule>
Sqlite<rule>::Sqlite(Case const& inputs) {
   if (sqlite3_open(":memory:", &db_) != SQLITE_OK) {
      std::fputs("sqlite3_open failed\n", stderr);
      std::exit(1);
   }
   execute(kTables);
   execute(rule == Rule::reactor ? kReactorView : kDataflowView);
   execute("INSERT INTO state VALUES( 0, " + std::to_string(kLocal) + ", " +
           std::to_string(kShared) + " )");
   map_ = prepared("INSERT INTO map VALUES( ?, ? )"
                   " ON CONFLICT( vrf ) DO UPDATE SET vlan = excluded.vlan");
   transitAdd_ = prepared("INSERT OR IGNORE INTO transit VALUES( ? )");
   transitDel_ = prepared("DELETE FROM transit WHERE vrf = ?");
   pegAdd_ = prepared("INSERT OR IGNORE INTO peg VALUES( ? )");
   pegDel_ = prepared("DELETE FROM peg WHERE vlan = ?");
   mlag_ = prepared("UPDATE state SET mlag = ?");
   local_ = prepared("UPDATE state SET local = ?");
   execute("BEGIN");
   for (int vrf = 1; vrf <= inputs.vrfs; ++vrf) {
      mapIs(vrfName(vrf), inputs.vlanOf(vrf));
      transitIs(vrfName(vrf), true);
   }
   for (int vlan = 1; vlan <= inputs.pegVlans; ++vlan) {
      pegIs(static_cast<uint16_t>(vlan), true);
   }
   execute("COMMIT");
   execute("ANALYZE");
   triggers();
}

template <Rule rule>
Sqlite<rule>::~Sqlite() {
   for (auto* const statement :
        {map_, transitAdd_, transitDel_, pegAdd_, pegDel_, mlag_, local_}) {
      sqlite3_finalize(statement);
   }
   sqlite3_close(db_);
}

template <Rule rule>
void Sqlite<rule>::triggers() const {
   execute(trigger("mapAdd", "INSERT ON map", evaluation("NEW.vlan")) +
           trigger("mapMove", "UPDATE OF vlan ON map WHEN OLD.vlan <> NEW.vlan",
                   evaluation("OLD.vlan") + evaluation("NEW.vlan")) +
           trigger("transitAdd", "INSERT ON transit",
                   evaluation("SELECT vlan FROM map WHERE vrf = NEW.vrf")) +
           trigger("transitDel", "DELETE ON transit",
                   evaluation("SELECT vlan FROM map WHERE vrf = OLD.vrf")) +
           trigger("stateSet", "UPDATE ON state",
                   "DELETE FROM intf WHERE NEW.mlag = 4;\n"
                   "UPDATE intf SET addr = ( SELECT addr FROM chosen );\n"
                   "INSERT OR IGNORE INTO intf SELECT vlan, ( SELECT addr FROM chosen )"
                   " FROM wanted WHERE OLD.mlag = 4 AND NEW.mlag <> 4;\n"));
   if constexpr (rule == Rule::dataflow) {
      execute(trigger("pegAdd", "INSERT ON peg", evaluation("NEW.vlan")) +
              trigger("pegDel", "DELETE ON peg", evaluation("OLD.vlan")));
   }
}

template <Rule rule>
void Sqlite<rule>::start() {
   execute(
      "INSERT OR IGNORE INTO joins SELECT vlan FROM wanted;"
      "INSERT OR IGNORE INTO intf SELECT vlan, ( SELECT addr FROM chosen ) FROM wanted"
      " WHERE ( SELECT mlag FROM state ) <> 4");
}

template <Rule rule>
void Sqlite<rule>::stop() {
   execute("DELETE FROM joins; DELETE FROM intf");
}

template <Rule rule>
void Sqlite<rule>::transitIs(Vrf const& vrf, bool is) {
   run(is ? transitAdd_ : transitDel_, vrf);
}

template <Rule rule>
void Sqlite<rule>::mapIs(Vrf const& vrf, uint16_t vlan) {
   run(map_, vrf, vlan);
}

template <Rule rule>
void Sqlite<rule>::pegIs(uint16_t vlan, bool is) {
   run(is ? pegAdd_ : pegDel_, vlan);
}

template <Rule rule>
Outputs Sqlite<rule>::outputs() const {
   Outputs outputs;
   auto* const intfs = prepared("SELECT vlan, addr FROM intf");
   while (sqlite3_step(intfs) == SQLITE_ROW) {
      outputs.intf(static_cast<uint16_t>(sqlite3_column_int(intfs, 0)),
                   static_cast<uint32_t>(sqlite3_column_int64(intfs, 1)));
   }
   sqlite3_finalize(intfs);
   auto* const joins = prepared("SELECT vlan FROM joins");
   while (sqlite3_step(joins) == SQLITE_ROW) {
      outputs.join(static_cast<uint16_t>(sqlite3_column_int(joins, 0)));
   }
   sqlite3_finalize(joins);
   return outputs;
}

template <Rule rule>
void Sqlite<rule>::execute(std::string const& sql) const {
   if (sqlite3_exec(db_, sql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) {
      std::fprintf(stderr, "%s\nin: %s\n", sqlite3_errmsg(db_), sql.c_str());
      std::exit(1);
   }
}

template <Rule rule>
sqlite3_stmt* Sqlite<rule>::prepared(char const* sql) const {
   sqlite3_stmt* statement = nullptr;
   if (sqlite3_prepare_v3(db_, sql, -1, SQLITE_PREPARE_PERSISTENT, &statement,
                          nullptr) != SQLITE_OK) {
      std::fprintf(stderr, "%s\nin: %s\n", sqlite3_errmsg(db_), sql);
      std::exit(1);
   }
   return statement;
}

template <Rule rule>
void Sqlite<rule>::run(sqlite3_stmt* statement, int number) const {
   sqlite3_bind_int(statement, 1, number);
   finish(statement);
}

template <Rule rule>
void Sqlite<rule>::run(sqlite3_stmt* statement, Vrf const& vrf, int number) const {
   sqlite3_bind_text(statement, 1, vrf.data(), static_cast<int>(vrf.size()),
                     SQLITE_STATIC);
   if (number >= 0) {
      sqlite3_bind_int(statement, 2, number);
   }
   finish(statement);
}

template <Rule rule>
void Sqlite<rule>::finish(sqlite3_stmt* statement) const {
   if (sqlite3_step(statement) != SQLITE_DONE) {
      std::fprintf(stderr, "%s\n", sqlite3_errmsg(db_));
      std::exit(1);
   }
   sqlite3_reset(statement);
}

template class Sqlite<Rule::reactor>;
template class Sqlite<Rule::dataflow>;

} // namespace Bench::Machines
