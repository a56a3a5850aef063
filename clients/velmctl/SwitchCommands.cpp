// The switch's own command line: show, config, and the lists of the native tables. The native service writes its tables
// and cannot read them, so that what it has programmed is read by show commands. velmctl knows their words for
// completion alone; what is typed goes to the switch as it is.

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <memory>

#include "clients/velmctl/Commands.h"
#include "clients/velmctl/Errors.h"
#include "clients/velmctl/LineReader.h"
#include "clients/velmctl/Refusal.h"
#include "proto/remote/vapi.pb.h"

namespace VelmSdkRpc::ctl {
namespace {

namespace remote = velm::remote;

void show(Session& session, std::string const& words) {
   remote::RunShowCmdRequest request;
   request.set_command("show " + words);
   auto const answer = ask<remote::RunShowCmdResponse>(session, "VapiMgrService.run_show_cmd", request);
   throwIfRefused(answer);
   session.output().result(parseJson(answer.response().responses(0)), Names::ofThings);
}

/// Words that have blanks were quoted for the shell; the switch wants quotes of its own.
std::string inQuotes(std::string const& word) {
   return word.find_first_of(" \t") == std::string::npos ? word : fmt::format("\"{}\"", word);
}

void showWords(Session& session, std::vector<std::string> words) {
   for (auto& word : words) word = inQuotes(word);
   show(session, fmt::format("{}", fmt::join(words, " ")));
}

void configure(Session& session, std::vector<std::string> const& commands) {
   remote::RunConfigCmdsRequest request;
   if (commands.size() == 1 && commands[0] == "-") {
      LineReader lines(session.interrupt());
      for (std::string line; lines.next(line);) request.add_commands(line);
   } else {
      request.mutable_commands()->Assign(commands.begin(), commands.end());
   }
   auto const answer = ask<remote::RunConfigCmdsResponse>(session, "VapiMgrService.run_config_cmds", request);
   throwIfRefused(answer);
   JsonDocument document(rapidjson::kObjectType);
   addMember(document, "commands", Json(answer.response().responses_size()), document.GetAllocator());
   session.output().result(document, "OK\n");
}

/// `filter` is one word that may follow.
void addList(Commands const& commands, char const* what, std::string const& words, char const* filter = nullptr) {
   auto const chosen = std::make_shared<std::string>();
   auto& app = commands.add("list", fmt::format("List {}", what), [words, chosen](Session& session) {
      show(session, chosen->empty() ? words : fmt::format("{} {}", words, inQuotes(*chosen)));
   });
   if (filter != nullptr) app.add_option(filter, *chosen, "Only this one")->option_text(" ");
}

struct RouteFilter {
   std::string prefix;
   std::string vrf;
   std::uint64_t limit = 0;
};

void listRoutes(Session& session, RouteFilter const& filter) {
   std::string words = "ip route";
   if (!filter.vrf.empty()) words += fmt::format(" vrf {}", inQuotes(filter.vrf));
   if (!filter.prefix.empty()) words += " " + filter.prefix;
   if (filter.limit > 0) words += fmt::format(" limit {}", filter.limit);
   show(session, words);
}

void addRouteList(Commands const& commands) {
   auto const filter = std::make_shared<RouteFilter>();
   auto& app = commands.add("list", "List IP routes", [filter](Session& session) { listRoutes(session, *filter); });
   app.add_option("PREFIX", filter->prefix, "Only the routes to it")->option_text(" ");
   app.add_option("--vrf", filter->vrf, "Of this VRF, not of the default one")->option_text("NAME");
   app.add_option("--limit", filter->limit, "At most so many")->option_text("N");
}

/// The words that may follow those typed before, of the switch's show commands.
std::vector<std::string> showCandidates(std::vector<std::string> const& before, std::string const& /*beginning*/) {
   static std::map<std::string, std::vector<std::string>> const next{
      {"",
       {"acl", "agent", "bgp", "class-map", "interfaces", "ip", "macsec", "mpls", "nexthop-group", "policy-map",
        "port-channel", "sbfd", "switch", "version"}},
      {"bgp", {"path"}},
      {"ip", {"route"}},
      {"ip route", {"limit", "summary", "vrf"}},
      {"mpls", {"route"}},
      {"nexthop-group", {"tunnel"}},
      {"sbfd", {"echo"}},
      {"switch", {"calls", "tasks", "watches"}}};
   auto const it = next.find(fmt::format("{}", fmt::join(before, " ")));
   return it == next.end() ? std::vector<std::string>() : it->second;
}

}  // namespace

void addSwitchCommands(Commands const& commands) {
   auto const words = std::make_shared<std::vector<std::string>>();
   commands
      .add(
         "show", "Run a show command of the switch", [words](Session& session) { showWords(session, *words); },
         showCandidates)
      .add_option("WORD", *words, "The command without its word show")
      ->required()
      ->option_text("...");
   auto const lines = std::make_shared<std::vector<std::string>>();
   commands
      .add("config", "Run configuration commands of the switch, up to the first that fails",
           [lines](Session& session) { configure(session, *lines); })
      .add_option("COMMAND", *lines, "An argument each, or - for the lines of standard input")
      ->required()
      ->option_text("...");

   addRouteList(commands.group("route", {}));
   addList(commands.group("nhg", {}), "nexthop groups", "nexthop-group", "NAME");
   addList(commands.group("mpls", {}), "what is done with labels", "mpls route");
   addList(commands.group("tunnel", {}), "nexthop group tunnels", "nexthop-group tunnel");
   addList(commands.group("sbfd", {}), "sBFD echo sessions", "sbfd echo");
   addList(commands.group("cbf", {}), "redirects, as the rules of policy maps", "policy-map");
}

}  // namespace VelmSdkRpc::ctl
