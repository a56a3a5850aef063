// Plays the scripts in this folder: what clients ask, what the world does, what is answered, heard, and in the switch
// then. A script is of lines; one that begins with blanks continues the one before, after a blank or a comma.
//
//   == NAME ARGUMENTS        a test of this name begins, with an agent of its own that is given the arguments; it must
//                            end in order at last. STATE stands for a state folder.
//   > COMMAND                the world, or who configures the switch, does this; lines that follow each other are one
//                            call
//   METHOD: REQUEST          a call, by "Service.method" or a method of the native service; "3x " before it is three
//   NAME = METHOD: REQUEST   the call stays open; the marker that it may ask for comes first
//   NAME: EVENT ; EVENT      is heard there next, in this order
//   NAME~ EVENT ; EVENT      in any order
//   NAME ends                the client cancels it; nothing was left to be heard
//   QUERY => ANSWER          the answer at once, of a call or of what evaluate() lists; "~>" is in the end
//   trace TEXT               is written by the agent
//   restart [VARIABLE]       the agent is killed if it runs, and starts again; with this in its environment
//
// In what is expected "*" is any text. <10.0.0.1> and <10.0.0.0/8> are as withAddresses() takes them.
#include <absl/strings/str_join.h>
#include <absl/strings/str_split.h>

#include <csignal>
#include <fstream>
#include <set>

#include "tests/agent/AgentTest.h"
#include "tests/support/SwitchTables.h"

namespace VelmSdkRpc {
namespace {

using Words = std::vector<std::string>;

struct Script {
   std::string name;
   Words arguments;
   Words lines;
};

void PrintTo(Script const& script, std::ostream* out) { *out << script.name; }

Words scriptNames() { return absl::StrSplit(SCRIPTS, ' '); }

std::vector<Script> scripts() {
   std::vector<Script> all;
   for (auto const& name : scriptNames()) {
      std::ifstream file(name);
      for (std::string line; std::getline(file, line);) {
         if (line.empty() || line.starts_with('#')) continue;
         if (line.starts_with("== ")) {
            Words words = absl::StrSplit(line, ' ');
            all.push_back({words.at(1), {words.begin() + 2, words.end()}, {}});
         } else if (line.starts_with(' ')) {
            auto& before = all.back().lines.back();
            before += (before.ends_with(',') ? "" : " ") + std::string(absl::StripAsciiWhitespace(line));
         } else {
            all.back().lines.push_back(line);
         }
      }
   }
   return all;
}

/// Parts a text in two; the second part is empty if there is no separator.
std::pair<std::string, std::string> parted(std::string const& text, std::string const& separator) {
   return absl::StrSplit(text, absl::MaxSplits(separator, 1));
}

bool fits(std::string_view text, std::string_view pattern) {
   auto const star = pattern.find('*');
   if (star == pattern.npos) return text == pattern;
   if (!text.starts_with(pattern.substr(0, star))) return false;
   for (text.remove_prefix(star);; text.remove_prefix(1)) {
      if (fits(text, pattern.substr(star + 1))) return true;
      if (text.empty()) return false;
   }
}

class ScriptTest : protected StateFolder, public AgentTest, public ::testing::WithParamInterface<Script> {
 protected:
   ScriptTest() : AgentTest(argumentsIn(folder)) {}

   static Words argumentsIn(std::string const& folder) {
      auto arguments = GetParam().arguments;
      for (auto& argument : arguments) {
         if (argument == "STATE") argument = folder;
      }
      return arguments.empty() ? Words{"--trace", "VelmSdkRpc/0"} : arguments;
   }

   void play(std::string const& line) {
      if (auto const arrow = std::min(line.find(" => "), line.find(" ~> ")); arrow != line.npos) {
         return expect(line.substr(0, arrow), withAddresses(line.substr(arrow + 4)), line[arrow + 1] == '~');
      }
      auto const [word, rest] = parted(line, " ");
      if (word == "restart") return startAnew(rest);
      if (word == "trace") {
         EXPECT_TRUE(eventually([&] { return fits(agent().stderrText(), '*' + rest + '*'); }));
      } else if (rest == "ends") {
         streams_.at(word)->cancel();
         EXPECT_EQ(streams_.at(word)->next(), nullptr);
      } else if (rest.starts_with("= ")) {
         open(word, rest.substr(2));
      } else if (auto const name = word.substr(0, word.size() - 1); streams_.contains(name)) {
         hear(*streams_.at(name), absl::StrSplit(withAddresses(rest), " ; "), word.ends_with(':'));
      } else {
         expect(line, "*", false);
      }
   }

 private:
   void startAnew(std::string const& variable) {
      if (!variable.empty()) setenv(variable.c_str(), "", 1);
      restart();
      if (!variable.empty()) unsetenv(variable.c_str());
      callsBefore_.clear();
   }

   void open(std::string const& name, std::string const& call) {
      auto const [method, request] = parted(call, ":");
      auto& stream = streams_[name];
      stream = std::make_unique<AnyStream>(channel(), *methodOf(method), request);
      if (request.ends_with("notify_ready: true")) {
         hear(*stream, {"ready: true"}, true);
      } else {
         evaluate("get_rpc_server_state:", false);  // is taken after the stream's call
      }
   }

   static void hear(AnyStream& stream, Words expected, bool inOrder) {
      Words unexpected;
      for (auto left = expected.size(); left > 0; --left) {
         auto const message = stream.next();
         auto const text = message == nullptr ? "the end" : textOf(*message);
         auto const last = inOrder ? expected.begin() + 1 : expected.end();
         auto const it = std::find_if(expected.begin(), last, [&](auto const& event) { return fits(text, event); });
         if (it == last) {
            unexpected.push_back(text);
            break;
         }
         expected.erase(it);
      }
      EXPECT_THAT(unexpected, ::testing::IsEmpty()) << "instead of " << absl::StrJoin(expected, " ; ");
   }

   void expect(std::string const& query, std::string const& answer, bool inTheEnd) {
      auto const [count, rest] = parted(query, "x ");
      bool const isRepeated = count.find_first_not_of("0123456789") == count.npos;
      for (int left = isRepeated ? std::stoi(count) : 1; left > 0; --left) {
         std::string actual;
         eventually(
            [&] {
               actual = evaluate(isRepeated ? rest : query, answer.ends_with("open"));
               return fits(actual, answer);
            },
            inTheEnd ? std::chrono::seconds(10) : std::chrono::seconds(-1));
         EXPECT_TRUE(fits(actual, answer)) << "but it is " << actual;
      }
      if (query == "calls") callsBefore_ = callsSoFar();
   }

   std::string evaluate(std::string const& query, bool staysOpen) {
      auto const [word, rest] = parted(query, " ");
      if (word.find(':') != word.npos) {
         return answer(query, staysOpen ? std::chrono::milliseconds(300) : std::chrono::minutes(1));
      }
      Words words;
      if (word == "show") return console().runShow(query).raw_response();
      if (word == "rows") {  // of one kind of SwitchTables.h
         for (auto const& [key, text] : tablesOf([this](auto const& command) { return console().show(command); })) {
            auto const [kind, name] = parted(key, " ");
            if (kind == rest) words.push_back(name + (text.empty() ? "" : ' ' + text));
         }
      } else if (word == "watched") {  // by a base of handlers
         words = watches(rest);
      } else if (word == "calls") {  // of the switch, since it was asked last
         for (auto const& [name, count] : callsSoFar()) {
            if (count > callsBefore_[name]) words.push_back(fmt::format("{} {}", name, count - callsBefore_[name]));
         }
      } else if (word == "objects") {
         words = objects();
      } else if (query == "stop") {  // by SIGTERM
         words = {std::to_string(stop(SIGTERM))};
      } else {
         ADD_FAILURE() << "what is " << query;
      }
      return words.empty() ? "nothing" : absl::StrJoin(words, " ; ");
   }

   /// But for those of a client's own commands.
   std::map<std::string, std::uint64_t> callsSoFar() {
      std::map<std::string, std::uint64_t> calls;
      auto const json = show("show switch calls");
      for (auto const& [name, count] : json["calls"].GetObject()) {
         if (std::string(name.GetString()).starts_with("vapi_mgr.")) continue;
         calls[name.GetString()] = count.GetUint64();
      }
      return calls;
   }

   /// The objects that redirects are made of: "p 1: c -> b" a rule of a policy map, "c: 1=a_IPv4/1" a class map, and
   /// "a_IPv4/1: 1=46&63@a" an ACL, by number the rules with value, mask and match group.
   Words objects() {
      Words words;
      auto const aclName = [](auto const& key) {
         return fmt::format("{}/{}", key["acl_name"].GetString(), key["acl_type"].GetUint());
      };
      auto const add = [&](std::string text, auto const& rules, auto const& textOfRule) {
         for (auto const& [seq, rule] : rules.GetObject()) {
            text += fmt::format(" {}={}", seq.GetString(), textOfRule(rule));
         }
         words.push_back(std::move(text));
      };
      auto const policyMaps = show("show policy-map");
      for (auto const& map : policyMaps["policy_maps"].GetArray()) {
         for (auto const& [seq, rule] : map["rules"].GetObject()) {
            auto text = fmt::format("{} {}: {} ->", map["key"]["name"].GetString(), seq.GetString(),
                                    rule["class_map_key"]["name"].GetString());
            for (auto const& action : rule["actions"].GetArray()) {
               text += fmt::format(" {}", action["nexthop_group_name"].GetString());
            }
            words.push_back(std::move(text));
         }
      }
      auto const classMaps = show("show class-map");
      for (auto const& map : classMaps["class_maps"].GetArray()) {
         add(fmt::format("{}:", map["key"]["name"].GetString()), map["rules"],
             [&](auto const& rule) { return aclName(rule["acl_key"]); });
      }
      auto const acls = show("show acl");
      EXPECT_FALSE(acls["staged"].GetBool());
      for (auto const& acl : acls["acls"].GetArray()) {
         add(fmt::format("{}:", aclName(acl)), acl["rules"], [&](auto const& rule) {
            EXPECT_TRUE(rule["action"].GetUint() == 1 && rule["match_ip_priority"].GetBool());
            return fmt::format("{}&{}@{}", rule["priority_value"].GetUint(), rule["priority_mask"].GetUint(),
                               rule["nexthop_group"].GetString());
         });
      }
      return words;
   }

   std::map<std::string, std::unique_ptr<AnyStream>> streams_;
   std::map<std::string, std::uint64_t> callsBefore_;
};

TEST_P(ScriptTest, Holds) {
   Words burst;
   for (auto const& line : GetParam().lines) {
      if (line.starts_with("> ")) {
         burst.push_back(line.substr(2));
         continue;
      }
      SCOPED_TRACE(line);
      if (!burst.empty()) world(std::exchange(burst, {}));
      play(line);
      ASSERT_FALSE(HasFailure());
   }
   if (!agent().waitForEnd(std::chrono::milliseconds(0))) {
      EXPECT_EQ(stop(SIGTERM), 0);
   }
}

INSTANTIATE_TEST_SUITE_P(Script, ScriptTest, ::testing::ValuesIn(scripts()),
                         [](auto const& info) { return info.param.name; });

TEST(ScriptsTest, CallEveryMethod) {
   std::set<std::string> called;
   for (auto const& script : scripts()) {
      for (auto const& line : script.lines) {
         if (auto const* const method = methodOf(line.substr(0, line.find(':')))) called.insert(method->full_name());
      }
   }
   for (auto const* method : allMethods()) EXPECT_TRUE(called.contains(method->full_name())) << method->full_name();
}

}  // namespace
}  // namespace VelmSdkRpc
