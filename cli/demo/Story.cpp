#include "cli/demo/Story.h"

#include <fmt/format.h>
#include <sys/wait.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cli/demo/Controller.h"
#include "cli/demo/SwitchView.h"
#include "cli/demo/Table.h"

namespace VelmSdkRpc::demo {
namespace {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr std::uint32_t ourTag = 100;
constexpr std::size_t routeCount = 10'000;
constexpr std::size_t repeatedCount = 8;
constexpr std::string_view indent = "   ";

template <class... Values>
void say(fmt::format_string<Values...> text, Values&&... values) {
   fmt::print("{}{}\n", indent, fmt::format(text, std::forward<Values>(values)...));
}

void show(Table const& table) { fmt::print("\n{}\n", table.text(indent)); }

[[noreturn]] void fail(std::string const& claim) { throw std::runtime_error("this does not hold: " + claim); }

void expect(bool holds, std::string const& claim) {
   if (!holds) fail(claim);
}

void expectSuccess(pb::rpc_status_msg const& status, std::string_view request) {
   if (status.status() == pb::rpc_status_msg::STATUS_SUCCESS) return;
   fail(fmt::format("{} succeeds; the answer is {} {}", request,
                    pb::rpc_status_msg::rpc_status_value_enum_Name(status.status()), status.debug_string()));
}

void expectSuccess(pb::rpc_status_bulk_msg const& answer, std::size_t size, std::string_view request) {
   expect(static_cast<std::size_t>(answer.status_size()) == size,
          fmt::format("{} is answered with {} statuses, not {}", request, size, answer.status_size()));
   for (auto const& status : answer.status()) expectSuccess(status, request);
}

std::vector<Group> ourGroups() {
   Hop const north{.intf = "Ethernet1", .neighbour = "192.0.2.1", .label = 16001};
   Hop const south{.intf = "Ethernet2", .neighbour = "192.0.2.5", .label = 16002};
   auto northFirst = north;
   northFirst.weight = 3;
   return {{"north", {north}}, {"south", {south}}, {"spread", {northFirst, south}}};
}

// 10.0.0.0/24, 10.0.1.0/24 and so on, dealt out to the groups in turn.
std::vector<Route> ourRoutes(std::vector<Group> const& groups) {
   std::vector<Route> routes;
   for (std::size_t i = 0; i < routeCount; ++i) {
      routes.push_back({fmt::format("10.{}.{}.0/24", i / 256, i % 256), groups[i % groups.size()].name, ourTag});
   }
   return routes;
}

Table routeTable(std::vector<Route> const& routes) {
   Table table({"prefix", "tag", "nexthop group"});
   for (auto const& route : routes) table.add({route.prefix, std::to_string(route.tag), route.group});
   return table;
}

Table groupTable(std::vector<GroupState> const& groups) {
   Table table({"nexthop group", "active", "version", "packets leave by (weight, interface, neighbour, label)"});
   for (auto const& group : groups) {
      std::vector<std::string> ways;
      ways.reserve(group.hops.size());
      for (auto const& hop : group.hops) {
         ways.push_back(fmt::format("{}x {} {} push {}", hop.weight, hop.intf, hop.neighbour, hop.label));
      }
      table.add({group.name, group.active ? "yes" : "no", std::to_string(group.version),
                 fmt::format("{}", fmt::join(ways, ", "))});
   }
   return table;
}

/// A chapter a method. The story keeps what its controller has asked for, as a controller does, and holds what the
/// switch shows against it.
class Story {
 public:
   explicit Story(AgentProcess& agent) : agent_(agent), view_(agent.channel()), controller_(agent.channel()) {}

   void tell() {
      theAgentStarts();
      theControllerIntroducesItself();
      groupsSayWherePacketsLeave();
      manyRoutesInOneRequest();
      oneRouteIsWithdrawn();
      aForeignTagIsRefused();
      theSwitchShowsWhatItHolds();
      aNewControllerTakesOver();
      theAgentStops();
      theAgentComesBack();
   }

 private:
   void chapter(std::string_view title) { fmt::print("\n{}. {}\n", ++chapter_, title); }

   void theAgentStarts() {
      fmt::print(
         "VelmSdkRpc puts a switch's programming SDK behind one gRPC port: a controller anywhere on the network says\n"
         "where traffic goes, and the agent programs the switch. Here a small controller plays that through, with the\n"
         "agent at {} and a simulated switch inside it.\n",
         agent_.address());
      awaitService();
   }

   void theControllerIntroducesItself() {
      chapter("The controller introduces itself (rpc_server_init)");
      auto const answer = controller_.init(ourTag);
      expectSuccess(answer.status(), "rpc_server_init");
      expect(!answer.ip_routes_exist() && !answer.nexthop_groups_exist(), "a fresh switch holds no routes and groups");
      say("It names the tag of its routes, {}. The answer tells what the switch holds already: nothing.", ourTag);
   }

   void groupsSayWherePacketsLeave() {
      chapter("Three nexthop groups (nexthop_group_bulk)");
      say("A group says where packets leave, and with what MPLS label. Routes name a group, so that one change to a");
      say("group moves all of its routes. The group `spread` sends three packets north for each one south.");
      expectSuccess(controller_.setGroups(groups_), groups_.size(), "nexthop_group_bulk");
      show(groupTable(awaitGroups(1)));
      say("The switch has programmed each of them once, and all have an interface that is up.");
   }

   void manyRoutesInOneRequest() {
      chapter("Ten thousand routes in one request (ip_route_bulk)");
      auto const start = Clock::now();
      auto const answer = controller_.setRoutes(routes_);
      Milliseconds const time = Clock::now() - start;
      expectSuccess(answer, routes_.size(), "ip_route_bulk");
      say("{} routes in {:.1f} ms, {:.0f} routes/s, each with a status of its own in the answer: all succeeded.",
          routes_.size(), time.count(), 1000.0 * static_cast<double>(routes_.size()) / time.count());
      sayCount();
   }

   void oneRouteIsWithdrawn() {
      auto const prefix = routes_[1].prefix;
      chapter("One route is withdrawn (ip_route without a group)");
      expectSuccess(controller_.deleteRoute(prefix), "the deletion of " + prefix);
      std::erase_if(routes_, [&](Route const& route) { return route.prefix == prefix; });
      expect(view_.routes(prefix).empty(), "`show ip route " + prefix + "` is empty");
      say("{} is gone. To withdraw it again harms nothing, and says so: {}.", prefix,
          statusName(controller_.deleteRoute(prefix), pb::rpc_status_msg::STATUS_NOT_FOUND));
      sayCount();
   }

   void aForeignTagIsRefused() {
      chapter("A route with a wrong tag is refused");
      Route const foreign{"10.200.0.0/16", groups_[0].name, ourTag + 1};
      auto const answer = controller_.setRoute(foreign);
      say("The tag keeps this controller's routes apart from those of others. With another one the answer is");
      say("{}, and in words:", statusName(answer, pb::rpc_status_msg::STATUS_ERROR));
      expect(!answer.debug_string().empty(), "a refusal gives its reason");
      fmt::print("\n{}{}{}\n\n", indent, indent, answer.debug_string());
      expect(view_.routes(foreign.prefix).empty(), "the refused route is not in the table");
      sayCount();
   }

   void theSwitchShowsWhatItHolds() {
      chapter("The switch's own table (run_show_cmd \"show ip route\")");
      say("The commands of the switch's command line run over the same port. They answer in JSON.");
      auto const held = view_.routes();
      expectTable(held);
      show(routeTable(held));
      say("These are the {} routes that the controller asked for, compared one by one.", held.size());
   }

   void aNewControllerTakesOver() {
      chapter("A new controller takes over (rpc_server_resync)");
      auto const before = routes_.size();
      Controller successor(agent_.channel());
      auto const found = successor.init(ourTag);
      expectSuccess(found.status(), "rpc_server_init of the successor");
      expect(found.ip_routes_exist() && found.nexthop_groups_exist(),
             "init tells of the routes and groups left behind");
      say("Routes outlive the controller that set them: traffic flows on while it is away. Its successor learns from");
      say("rpc_server_init that there are some, opens a resync, and repeats what is to stay.");

      expectSuccess(successor.startResync(), "RESYNC_START");
      groups_.pop_back();
      std::erase_if(routes_, [](Route const& route) { return route.group == "spread"; });
      routes_.resize(repeatedCount);
      expectSuccess(successor.setGroups(groups_), groups_.size(), "nexthop_group_bulk in the resync");
      expectSuccess(successor.setRoutes(routes_), routes_.size(), "ip_route_bulk in the resync");
      expect(view_.routeCount() == before, "nothing goes before the end of the resync");
      say("It repeats {} groups and {} routes. Until it closes the resync all {} routes stay.", groups_.size(),
          routes_.size(), before);

      expectSuccess(successor.endResync(), "RESYNC_END");
      auto const held = view_.routes();
      expectTable(held);
      show(routeTable(held));
      fmt::print("{}\n", groupTable(awaitGroups(2)).text(indent));
      say("Exactly what was repeated is left, of the routes and of the groups.");
   }

   void theAgentStops() {
      chapter("The agent stops (SIGTERM)");
      auto const start = Clock::now();
      agent_.signal(SIGTERM);
      auto const ended = agent_.waitForEnd();
      Milliseconds const time = Clock::now() - start;
      expect(ended.has_value(), "the agent ends within 20 seconds of SIGTERM");
      int const status = ended.value_or(-1);
      expect(WIFEXITED(status) && WEXITSTATUS(status) == 0,
             fmt::format("the agent exits with status 0; waitpid says {:#x}", status));
      say("It shut down in order: exit status 0 after {:.0f} ms.", time.count());
   }

   void theAgentComesBack() {
      chapter("The agent starts again and finds its routes (--switch-state)");
      auto const start = Clock::now();
      agent_.restart();
      awaitService();
      Milliseconds const time = Clock::now() - start;
      view_ = SwitchView(agent_.channel());
      expectTable(view_.routes());
      auto const found = Controller(agent_.channel()).init(ourTag);
      expect(found.ip_routes_exist() && found.nexthop_groups_exist(),
             "init tells of the routes and groups that are back");
      say(
         "The switch keeps its state in a folder that outlives the process. {:.0f} ms after the start it serves again,",
         time.count());
      say("with the same {} routes, and has programmed the groups anew:", routes_.size());
      show(groupTable(awaitGroups(1)));
      agent_.signal(SIGTERM);
      expect(agent_.waitForEnd() == 0, "the agent exits with status 0");
   }

   void awaitService() {
      auto const deadline = Clock::now() + std::chrono::seconds(20);
      while (!agent_.waitUntilServing(std::chrono::milliseconds(200))) {
         expect(!agent_.waitForEnd({}), "the agent keeps running once it is started");
         expect(Clock::now() < deadline, "the agent serves within 20 seconds");
      }
   }

   static std::string statusName(pb::rpc_status_msg const& answer, pb::rpc_status_msg::rpc_status_value_enum expected) {
      auto const& name = pb::rpc_status_msg::rpc_status_value_enum_Name(answer.status());
      expect(answer.status() == expected,
             fmt::format("the answer is {}, not {}", pb::rpc_status_msg::rpc_status_value_enum_Name(expected), name));
      return name;
   }

   void sayCount() {
      auto const count = view_.routeCount();
      expect(count == routes_.size(), fmt::format("the switch holds {} routes, not {}", routes_.size(), count));
      say("`show ip route summary` counts {}.", count);
   }

   void expectTable(std::vector<Route> held) {
      auto asked = routes_;
      std::ranges::sort(asked);
      std::ranges::sort(held);
      expect(held == asked,
             fmt::format("the switch holds exactly the {} routes asked for; it shows {}", asked.size(), held.size()));
   }

   // The switch programs groups behind the answer, so the table is read until it is as asked for.
   std::vector<GroupState> awaitGroups(std::uint32_t version) {
      auto const asIsAsked = [version](GroupState const& state, Group const& group) {
         return state.name == group.name && state.hops == group.hops && state.active && state.version == version;
      };
      auto const deadline = Clock::now() + std::chrono::seconds(5);
      for (;;) {
         auto states = view_.groups();
         if (std::ranges::equal(states, groups_, asIsAsked)) return states;
         expect(Clock::now() < deadline, fmt::format("the switch's groups become the {} asked for\n{}", groups_.size(),
                                                     groupTable(states).text(indent)));
      }
   }

   AgentProcess& agent_;
   SwitchView view_;
   Controller controller_;
   std::vector<Group> groups_ = ourGroups();  // in the order of their names, which is the switch's
   std::vector<Route> routes_ = ourRoutes(groups_);
   int chapter_ = 0;
};

}  // namespace

void tellStory(AgentProcess& agent) { Story(agent).tell(); }

}  // namespace VelmSdkRpc::demo
