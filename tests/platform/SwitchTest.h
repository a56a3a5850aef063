#pragma once

#include <gmock/gmock.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <regex>
#include <string>
#include <type_traits>
#include <vector>

#include "platform/switch/SimulatedDataplane.h"
#include "platform/switch/Switch.h"

namespace velm::embedded {

/// A switch alone, whose main loop stands still but while the test turns it: what a test does in between is one step.
class SwitchTest : public ::testing::Test {
 protected:
   /// Turns the loop until the condition holds; false once the time is over.
   bool turnUntil(std::function<bool()> const& condition,
                  std::chrono::milliseconds timeout = std::chrono::seconds(20)) {
      auto const deadline = std::chrono::steady_clock::now() + timeout;
      bool held = false;
      std::function<void()> const look = [&] {
         held = condition();
         if (held || std::chrono::steady_clock::now() > deadline) {
            device.loop.stop();
         } else {
            device.loop.postAfter(std::chrono::milliseconds(1), look);
         }
      };
      device.loop.post(look);
      device.loop.run([] {});
      return held;
   }
   /// Turns the loop until all that is queued, and what that queues in turn, has been delivered.
   void deliver() {
      int turns = 3;
      turnUntil([&] { return --turns == 0; });
   }
   /// Turns the loop for some time, for what must not happen meanwhile.
   void turnFor(std::chrono::milliseconds time) {
      bool over = false;
      device.loop.postAfter(time, [&] { over = true; });
      turnUntil([&] { return over; });
   }

   /// Lets another switch live in a state folder until life(it) is over, then brings its state back in this one.
   template <class Life>
   void restart(Life&& life) {
      std::string pattern = std::filesystem::temp_directory_path() / "switch-XXXXXX";
      std::string const top = mkdtemp(pattern.data());
      {
         Switch before(makeSimulatedDataplane);
         before.stateIs(top + "/state");
         life(before);
      }
      device.stateIs(top + "/state");
      std::filesystem::remove_all(top);  // the file stays open, and mapped, without its name
   }

   /// Plays the outside world, or configures; must succeed.
   void world(std::vector<std::string> const& commands) {
      auto const response = device.vapi.run_config_cmds(commands);
      EXPECT_TRUE(response.success()) << response.error_message();
   }
   /// Why a command is not carried out; empty if it is.
   std::string refusal(std::string const& command) { return device.vapi.run_config_cmds({command}).error_message(); }
   /// A show command's answer.
   std::string shown(std::string const& command) {
      auto const response = device.vapi.run_show_cmd(command);
      EXPECT_TRUE(response.success()) << response.error_message();
      return response.success() ? response.responses().front() : std::string();
   }

   /// All of a switch's tables, as the show commands tell them, but for what goes with the time.
   static std::string shownTables(Switch& device) {
      std::string all;
      for (auto const* command :
           {"show interfaces", "show ip route", "show ip route vrf red", "show mpls route", "show nexthop-group",
            "show nexthop-group tunnel", "show sbfd echo", "show acl", "show class-map", "show policy-map",
            "show macsec", "show port-channel", "show bgp path", "show agent"}) {
         auto const response = device.vapi.run_show_cmd(command);
         EXPECT_TRUE(response.success()) << response.error_message();
         all += response.raw_response() + '\n';
      }
      return std::regex_replace(all, std::regex(R"re("(member_time|uptime)":[^,}]*)re"), "");
   }

   /// What a walk meets: text(element) of each.
   template <class It, class Text>
   static auto walked(It it, Text text) {
      std::vector<std::remove_cvref_t<decltype(text(*it))>> texts;
      for (; it; ++it) texts.push_back(text(*it));
      return texts;
   }

   Switch device{makeSimulatedDataplane};
};

}  // namespace velm::embedded
