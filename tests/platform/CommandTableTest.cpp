#include <fmt/format.h>
#include <fmt/ranges.h>

#include "platform/switch/commands/CommandTable.h"
#include "tests/platform/SwitchTest.h"

namespace velm::embedded::commands {
namespace {

std::vector<Command> commands() {
   return {{"show route summary", [](Session&, Arguments const&) -> std::string { return "summary"; }},
           {"show route [vrf NAME] [PREFIX] [limit N]",
            [](Session&, Arguments const& a) {
               return fmt::format("vrf '{}' prefix '{}' limit {}{}", a.text("NAME"),
                                  a.has("PREFIX") ? a.prefix("PREFIX").to_string() : "", a.has("N"), a.number("N"));
            }},
           {"show NAME", [](Session&, Arguments const& a) { return "any " + a.text("NAME"); }},
           {"set on|off N:low N:high",
            [](Session&, Arguments const& a) {
               return fmt::format("{} {}..{}", a.text("on|off"), a.number("N:low"), a.number("N:high"));
            }},
           {"list N,N:labels [to INTF]",
            [](Session&, Arguments const& a) {
               return fmt::format("[{}] {}", fmt::join(a.numbers("N,N:labels"), " "), a.intf("INTF").to_string());
            }},
           {"peer ADDR A/L",
            [](Session&, Arguments const& a) { return a.addr("ADDR").to_string() + ' ' + a.mask("A/L").to_string(); }},
           {"map NAME [group NHG]...", [](Session&, Arguments const& a) {
               return fmt::format("{}: {}", a.text("NAME"), fmt::join(a.texts("NHG"), "+"));
            }}};
}

class CommandTableTest : public SwitchTest {
 protected:
   std::string run(std::string const& command) {
      Session session{device, {}};
      try {
         return table.run(session, command);
      } catch (InvalidCommand const& e) {
         return e.what();
      }
   }
   CommandTable const table{commands()};
};

struct Row {
   char const* command;
   char const* answer;
};

TEST_F(CommandTableTest, WordsFindTheirPlaceholders) {
   for (auto const& row :
        {Row{"show route summary", "summary"}, Row{"show route", "vrf '' prefix '' limit false0"},
         Row{"  show\troute  vrf red 10.0.0.0/8   limit 3 ", "vrf 'red' prefix '10.0.0.0/8' limit true3"},
         Row{"show route limit 0", "vrf '' prefix '' limit true0"},
         Row{"show route vrf summary", "vrf 'summary' prefix '' limit false0"},
         Row{"show \"two words\"", "any two words"}, Row{"show a\"b c\"d", "any ab cd"}, Row{"show \"\"", "any "},
         Row{"set off 0 18446744073709551615", "off 0..18446744073709551615"}, Row{"list 3,2,1", "[3 2 1] "},
         Row{"list - to Ethernet3/1", "[] Ethernet3/1"}, Row{"peer 2001:db8::1 10.1.1.1/8", "2001:db8::1 10.1.1.1/8"},
         Row{"map m", "m: "}, Row{"map m group a", "m: a"},
         Row{"map m group a group group group \"b c\"", "m: a+group+b c"}}) {
      EXPECT_EQ(run(row.command), row.answer) << row.command;
   }
}

TEST_F(CommandTableTest, AWrongWordIsToldWithWhatCouldHaveStoodThere) {
   for (auto const& row :
        {Row{"", "expected list, map, peer, set or show at the end"},
         Row{"sh route", "expected list, map, peer, set or show at 'sh'"},
         Row{"SHOW route", "expected list, map, peer, set or show at 'SHOW'"},
         Row{"show", "expected NAME or route at the end"},
         Row{"show route vrf", "expected NAME at the end"},
         Row{"show route summ", "expected a network, limit, summary, the end or vrf at 'summ'"},
         Row{"show route limit 1 vrf red", "expected the end at 'vrf'"},
         Row{"show route 10.0.0.0/33", "expected a network, limit, summary, the end or vrf at '10.0.0.0/33'"},
         Row{"set up 1 2", "expected off or on at 'up'"},
         Row{"set on|off 1 2", "expected off or on at 'on|off'"},
         Row{"set on -1 2", "expected a number (low) at '-1'"},
         Row{"set on 1 18446744073709551616", "expected a number (high) at '18446744073709551616'"},
         Row{"set on 1", "expected a number (high) at the end"},
         Row{"list 1,,2", "expected a list of numbers (labels) at '1,,2'"},
         Row{"list 1, to Ethernet1", "expected a list of numbers (labels) at '1,'"},
         Row{"list - to ethernet1", "expected an interface at 'ethernet1'"},
         Row{"list - to \"\"", "expected an interface at ''"},
         Row{"peer 10.0.0 10.0.0.1/8", "expected an address at '10.0.0'"},
         Row{"peer 10.0.0.1 10.0.0.1", "expected an address with its length at '10.0.0.1'"},
         Row{"map m group", "expected NHG at the end"},
         Row{"map m group a b", "expected group at 'b'"}}) {
      EXPECT_EQ(run(row.command), std::string("invalid command, ") + row.answer) << row.command;
   }
   EXPECT_EQ(run("show \"route"), "invalid command, a quote is not closed");
}

}  // namespace
}  // namespace velm::embedded::commands
