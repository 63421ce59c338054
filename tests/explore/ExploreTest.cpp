#include "explore/Alone.h"
#include "explore/Exhaustive.h"
#include "explore/Player.h"
#include "explore/Schedule.h"
#include "support/AgentProcess.h"
#include "zin/Hash.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <string>

using namespace Explore;
using nlohmann::json;
using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

Schedule oneVrf() {
   return smallSystems().front().schedule;
}

} // namespace

TEST(Explore, ComplainsOfAnOutputThatTheRuleHasNot) {
   Figures figures;
   auto const schedule = oneVrf();
   Player player(schedule, figures);
   player.start();
   player.finish();
   EXPECT_THAT(player.problems(), IsEmpty());
   // As if the machine had done it: no line says so.
   player.state().transitIntfColl->intfDel(Lidra::IntfId("Vlan10"));
   player.finish();
   EXPECT_THAT(player.problems(), Contains(HasSubstr("intf Vlan10: nothing in place")));
}

TEST(Explore, CountsEveryMemberOfAnUndisturbedStart) {
   Figures figures;
   for (uint32_t items = 1; items <= 4; ++items) {
      auto schedule = smallSystems().back().schedule;
      schedule.lines.clear();
      schedule.sliceItems = items;
      EXPECT_THAT(Player(schedule, figures).play(), IsEmpty());
   }
   EXPECT_EQ(figures.scans, 4U);
}

TEST(Explore, TriesEachWayToChooseOnce) {
   Figures figures;
   auto system = smallSystems().front();
   auto const all = exploreAll(system, figures);
   EXPECT_THAT(all.problems, IsEmpty());
   EXPECT_EQ(all.schedules, uint64_t{1} << all.mostChoices);
   system.mostDepartures = 1;
   auto const few = exploreAll(system, figures);
   EXPECT_EQ(few.schedules, 1 + few.mostChoices);
}

TEST(Explore, ShrinksAScheduleToWhatStillFails) {
   auto const schedule = randomSchedule(7, 1);
   ASSERT_GT(schedule.lines.size(), 10U);
   auto const line = schedule.lines[schedule.lines.size() / 2];
   auto const small = shrunk(schedule, [&](Schedule const& tried) {
      return std::ranges::count(tried.lines, line) != 0 &&
             tried.document.contains("mlagStatus");
   });
   EXPECT_EQ(small.lines, std::vector<json>{line});
   EXPECT_EQ(small.document, (json{{"mlagStatus", json::object()}}));
}

TEST(Explore, TakesTheEndOfItsProcessForAFailure) {
   EXPECT_EQ(aloneStatus([] { return 3; }), 3);
   EXPECT_EQ(aloneStatus([]() -> int { std::abort(); }), 128 + SIGABRT);
   auto schedule = oneVrf();
   EXPECT_EQ(playedAlone(schedule), "");
   schedule.lines.push_back({{"host", 3}}); // which the player takes for a text
   EXPECT_EQ(playedAlone(schedule), "ends the process: Aborted");
   auto const small = shrunk(
      schedule, [](Schedule const& tried) { return !playedAlone(tried).empty(); });
   EXPECT_EQ(small.lines.size(), 1U);
   EXPECT_TRUE(small.document.empty());
}

TEST(Explore, WritesFilesThatTheAgentPlaysAsThePlayerDid) {
   TestSupport::TemporaryFolder folder;
   Zin::HashHelper::hashSeed32Is(1);
   uint32_t withInsides = 0;
   for (uint32_t seed = 1; seed <= 90; ++seed) {
      auto schedule = randomSchedule(seed, 1);
      schedule.lines.push_back({{"host", "drain"}});
      Figures figures;
      Player player(schedule, figures);
      ASSERT_THAT(player.play(), IsEmpty());
      if (player.insidesLeftOut() != 0) {
         continue; // which the agent tells as a failure
      }
      withInsides += schedule.linesText().find("inside") == std::string::npos ? 0 : 1;

      auto const command = schedule.command(
         folder.write("state.json", schedule.documentText()),
         folder.write("events.jsonl",
                      schedule.linesText(player.leftOut()) +
                         json{{"op", "test"},
                              {"path", "/transitIntfColl"},
                              {"value", player.state().toJson()["transitIntfColl"]}}
                            .dump() +
                         '\n'));
      auto const outcome = TestSupport::runShell(
         folder, AGENT_PROGRAM + command.substr(std::string("mcastvpn-agent").size()));
      EXPECT_EQ(outcome.status, 0) << seed << outcome.err;
   }
   EXPECT_GT(withInsides, 20U);
}
