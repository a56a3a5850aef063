// The native service's daily work under short names. A command is a row of the tables below, and no code: the row says
// which method is called, which fields are always the same, and which field each word or option sets. So a short form
// can do nothing that `velmctl call` cannot.

#include <fmt/format.h>

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "clients/velmctl/Commands.h"
#include "clients/velmctl/MessageReader.h"
#include "clients/velmctl/Nexthop.h"
#include "clients/velmctl/Split.h"

namespace VelmSdkRpc::ctl {
namespace {

using google::protobuf::Message;

/// How what is typed becomes the value of a field.
enum class Kind {
   value,     // as it is
   list,      // "1,2" or "1/2", an element each
   nexthop,   // as nexthopOf reads it
   nexthops,  // many of them
   flag,      // true if it is given
};

struct Argument {
   char const* name;   // "--tag", or of what has its place "PREFIX"
   char const* field;  // that is set
   char const* description;
   Kind kind = Kind::value;
   char const* implies = nullptr;  // "FIELD=VALUE" that is set with it
   char const* needs = nullptr;    // the option without which this one says nothing

   bool hasPlace() const { return *name != '-'; }
};

struct ShortForm {
   char const* group;  // null of a command that has none
   char const* name;
   char const* description;
   char const* method;
   std::vector<char const*> constants;  // "FIELD=VALUE"
   std::vector<Argument> arguments;
};

constexpr auto deletion = "request_delete=true";
constexpr auto nexthopForm = "[ADDRESS@]INTERFACE or ADDRESS, then ,push=L/L ,pop ,swap=L ,weight=N";

std::vector<Argument> sessionKey() {
   return {{"INTERFACE", "session_key.outgoing_interface", "Where the packets leave"},
           {"ADDRESS", "session_key.nexthop", "Of the neighbour"},
           {"--labels", "session_key.labels", "Of the path, outermost first: L/L", Kind::list},
           {"--dscp", "session_key.dscp", "Of the packets"},
           {"--exp", "session_key.mpls_exp", "Of the labels"}};
}

template <class T>
std::vector<T> operator+(std::vector<T> first, std::vector<T> const& second) {
   first.insert(first.end(), second.begin(), second.end());
   return first;
}

std::vector<ShortForm> takeoverForms() {
   return {
      {nullptr,
       "init",
       "Open the agent to requests, and tell what the switch holds",
       "velmsdk_service.rpc_server_init",
       {},
       {{"--tag", "ip_route_tag", "The tag of this client's routes; 0, the default, takes any"},
        {"--policy-map", "cbf_nexthop_group_redirect_policy_map_name", "The policy map for redirects by DSCP"}}},
      {"resync",
       "start",
       "Open a resync: send again what is to stay",
       "velmsdk_service.rpc_server_resync",
       {"resync_state=RESYNC_START"},
       {}},
      {"resync",
       "end",
       "Close the resync: what was not sent again goes",
       "velmsdk_service.rpc_server_resync",
       {"resync_state=RESYNC_END"},
       {}},
   };
}

std::vector<ShortForm> routeForms() {
   return {
      {"route",
       "add",
       "Create or replace an IP route",
       "velmsdk_service.ip_route",
       {},
       {{"PREFIX", "prefix", "Such as 10.0.0.0/8 or 2001:db8::/32"},
        {"GROUP", "nexthop_group", "The nexthop group to forward through"},
        {"--tag", "tag", "That of init, unless it was 0"}}},
      {"route", "del", "Delete an IP route", "velmsdk_service.ip_route", {}, {{"PREFIX", "prefix", "Of the route"}}},
   };
}

std::vector<ShortForm> groupForms() {
   return {
      {"nhg",
       "add",
       "Create or replace a nexthop group",
       "velmsdk_service.nexthop_group",
       {},
       {{"NAME", "name", "Of the group"},
        {"NEXTHOP", "nexthop", nexthopForm, Kind::nexthops},
        {"--autosize", "autosize", "Leave out the indexes that have no reachable entry", Kind::flag},
        {"--unshared-counters", "counters_unshared",
         "Keep counters of its own even where another group has the same entries", Kind::flag}}},
      {"nhg",
       "del",
       "Delete a nexthop group",
       "velmsdk_service.nexthop_group",
       {deletion},
       {{"NAME", "name", "Of the group"}}},
   };
}

std::vector<ShortForm> labelForms() {
   return {
      {"mpls",
       "add",
       "Create or replace what is done with an incoming label; one of --nexthop, --group and --vrf",
       "velmsdk_service.mpls_route",
       {},
       {{"LABEL", "label", "0 to 1048575"},
        {"--nexthop", "nexthop", nexthopForm, Kind::nexthop},
        {"--group", "forward_nexthop_group.nexthop_group", "Forward through this nexthop group", Kind::value,
         "forward_nexthop_group.mpls_operation=FORWARD_OP_FORWARD"},
        {"--pop", nullptr, "Pop the label before the group", Kind::flag,
         "forward_nexthop_group.mpls_operation=FORWARD_OP_POP", "--group"},
        {"--vrf", "pop_and_forward_vrf_name", "Pop the label and look the packet up in this VRF"}}},
      {"mpls",
       "del",
       "Delete what is done with a label",
       "velmsdk_service.mpls_route",
       {deletion},
       {{"LABEL", "label", "Of the route"}}},
   };
}

std::vector<ShortForm> tunnelForms() {
   return {
      {"tunnel",
       "add",
       "Create or replace the tunnel to an endpoint",
       "velmsdk_service.nexthop_group_tunnel",
       {},
       {{"PREFIX", "prefix", "The endpoint"},
        {"GROUP", "nexthop_group", "The nexthop group that leads there"},
        {"--metric", "igp_metric", "By which it competes with others"}}},
      {"tunnel",
       "del",
       "Delete the tunnel to an endpoint",
       "velmsdk_service.nexthop_group_tunnel",
       {},
       {{"PREFIX", "prefix", "The endpoint"}}},
   };
}

std::vector<ShortForm> sessionForms() {
   return {
      {"sbfd",
       "add",
       "Create or replace an sBFD echo session",
       "velmsdk_service.sbfd_echo_session",
       {},
       sessionKey() +
          std::vector<Argument>{
             {"--rtt", "rtt_enabled", "Collect round-trip times", Kind::flag},
             {"--min-tx", "min_tx", "Milliseconds between two packets", Kind::value, nullptr, "--multiplier"},
             {"--multiplier", "detection_multiplier", "Intervals without an echo that take it down", Kind::value,
              nullptr, "--min-tx"},
             {"--track", "track_interface_state", "Take it down with its interface", Kind::flag}}},
      {"sbfd", "del", "Delete an sBFD echo session", "velmsdk_service.sbfd_echo_session", {deletion}, sessionKey()},
   };
}

std::vector<ShortForm> redirectForms() {
   return {
      {"cbf",
       "add",
       "Redirect traffic of a group by DSCP",
       "velmsdk_service.cbf_nexthop_group_redirect",
       {},
       {{"MATCH", "match_nexthop_group_name", "The group that it would leave through"},
        {"REDIRECT", "redirect_nexthop_group_name", "The group that it leaves through"},
        {"--ipv4", "match_ipv4_dscp", "DSCP values of IPv4: N,N", Kind::list},
        {"--ipv6", "match_ipv6_dscp", "DSCP values of IPv6: N,N", Kind::list}}},
      {"cbf",
       "del",
       "Remove a redirect, about a second from now",
       "velmsdk_service.cbf_nexthop_group_redirect",
       {deletion},
       {{"MATCH", "match_nexthop_group_name", "As it was added"},
        {"REDIRECT", "redirect_nexthop_group_name", "As it was added"}}},
   };
}

std::vector<ShortForm> shortForms() {
   return takeoverForms() + routeForms() + groupForms() + labelForms() + tunnelForms() + sessionForms() +
          redirectForms();
}

/// The texts typed for the arguments of a command, in their order; empty lists for those that were not given.
using Typed = std::vector<std::vector<std::string>>;

/// A nexthop goes where the field is, whether there may be many or one.
void readNexthop(std::string const& text, char const* field, Message& request) {
   auto const& descriptor = *request.GetDescriptor()->FindFieldByName(field);
   auto const* const reflection = request.GetReflection();
   auto* const place = descriptor.is_repeated() ? reflection->AddMessage(&request, &descriptor)
                                                : reflection->MutableMessage(&request, &descriptor);
   place->CopyFrom(nexthopOf(text));
}

void readOne(Argument const& argument, std::string const& text, Message& request) {
   switch (argument.kind) {
      case Kind::value: return readArgument(fmt::format("{}={}", argument.field, text), request);
      case Kind::list:
         for (auto const element : split(text, ",/")) {
            readArgument(fmt::format("{}={}", argument.field, element), request);
         }
         return;
      case Kind::nexthop:
      case Kind::nexthops: return readNexthop(text, argument.field, request);
      case Kind::flag:
         if (argument.field != nullptr) readArgument(fmt::format("{}=true", argument.field), request);
   }
}

void perform(Session& session, ShortForm const& form, Typed const& typed) {
   auto const& method = methodNamed(form.method);
   auto const request = newMessage(*method.input_type());
   for (auto const* constant : form.constants) readArgument(constant, *request);
   for (std::size_t i = 0; i < typed.size(); ++i) {
      auto const& argument = form.arguments[i];
      for (auto const& text : typed[i]) readOne(argument, text, *request);
      if (!typed[i].empty() && argument.implies != nullptr) readArgument(argument.implies, *request);
   }
   session.askAndShow(method, *request);
}

void addArgument(CLI::App& app, Argument const& argument, std::vector<std::string>& typed) {
   if (argument.kind == Kind::flag) {
      app.add_flag_callback(
         argument.name, [&typed] { typed = {"true"}; }, argument.description);
   } else if (argument.kind == Kind::nexthops) {
      app.add_option(argument.name, typed, argument.description)->required()->option_text("...");
   } else {
      auto const keep = [&typed](std::string const& text) { typed = {text}; };
      app.add_option_function<std::string>(argument.name, keep, argument.description)
         ->required(argument.hasPlace())
         ->option_text(argument.hasPlace() ? " " : "VALUE");
   }
}

void add(Commands const& commands, ShortForm const& form) {
   auto const typed = std::make_shared<Typed>(form.arguments.size());
   auto& app =
      commands.add(form.name, form.description, [form, typed](Session& session) { perform(session, form, *typed); });
   for (std::size_t i = 0; i < form.arguments.size(); ++i) addArgument(app, form.arguments[i], (*typed)[i]);
   for (auto const& argument : form.arguments) {
      if (argument.needs != nullptr) app.get_option(argument.name)->needs(argument.needs);
   }
}

}  // namespace

void addShortForms(Commands const& commands) {
   static std::map<std::string_view, char const*> const groups{{"resync", "Take over what an earlier client left"},
                                                               {"route", "IP routes"},
                                                               {"nhg", "Nexthop groups"},
                                                               {"mpls", "MPLS labels"},
                                                               {"tunnel", "Nexthop group tunnels"},
                                                               {"sbfd", "sBFD echo sessions"},
                                                               {"cbf", "Redirects by DSCP"}};
   for (auto const& form : shortForms()) {
      add(form.group == nullptr ? commands : commands.group(form.group, groups.at(form.group)), form);
   }
}

}  // namespace VelmSdkRpc::ctl
