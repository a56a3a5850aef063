#pragma once

#include <fmt/format.h>
#include <grpcpp/grpcpp.h>

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "clients/support/AgentProcess.h"
#include "clients/support/Call.h"
#include "clients/support/SwitchConsole.h"
#include "clients/support/SwitchTable.h"
#include "clients/velmctl/Refusal.h"
#include "proto/velmsdk.grpc.pb.h"

/// The story: what it says, does and claims. Whatever does not hold throws an exception, which tells what.
namespace VelmSdkRpc::demo {

using Clock = std::chrono::steady_clock;
using Stub = pb::velmsdk_service::Stub;
using Words = std::vector<std::string>;

/// How long the story waits for what must come.
constexpr std::chrono::seconds waitLimit{20};

template <class... Values>
void say(fmt::format_string<Values...> text, Values&&... values) {
   fmt::print("   {}\n", fmt::format(text, std::forward<Values>(values)...));
}
inline void show(SwitchTable const& table, SwitchTable::Rows const& rows) {
   fmt::print("\n{}", table.textOf(rows, "      ", 10));
}

void expect(bool holds, std::string const& claim);
void await(std::function<bool()> const& condition, std::string const& claim);

inline double millisecondsSince(Clock::time_point start) {
   return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

extern SwitchTable const groups, routes, labels, vrfLabels, tunnels, statuses, sessions, policyRules, classRules,
   aclRules;

/// Shows the table, which has exactly these lines, in whatever order, or soon will have.
void showLines(SwitchConsole const& console, SwitchTable const& table, Words lines);

/// The lines of all tables but that of statuses.
using State = std::map<SwitchTable const*, Words>;
State stateOf(SwitchConsole const& console);

/// The entries that a controller asks for, as the elements of bulk requests.
struct Plan {
   Words groups, routes, labels, tunnels, redirects, sessions;
};

/// Fills a request from the words "FIELD=VALUE ..." that `velmctl call` takes, or a bulk request from such elements.
void fill(google::protobuf::Message& request, std::string_view words);
void fill(google::protobuf::Message& bulk, Words const& elements);

/// A controller's connection to the agent, and the switch's command line over the same port.
struct Controller {
   explicit Controller(AgentProcess const& agent)
      : channel(agent.channel()), stub(pb::velmsdk_service::NewStub(channel)), console(channel) {}

   /// Makes a call, of words or of elements, and gives its answer.
   template <class Request, class Answer, class Text>
   Answer ask(grpc::Status (Stub::*method)(grpc::ClientContext*, Request const&, Answer*), Text const& text) {
      Request request;
      fill(request, text);
      return call(*stub, method, request, {.timeout = waitLimit, .waitsForAgent = true});
   }
   /// Makes a call that must succeed, with each of its elements.
   template <class Request, class Answer, class Text>
   void program(grpc::Status (Stub::*method)(grpc::ClientContext*, Request const&, Answer*), Text const& text) {
      ctl::throwIfRefused(ask(method, text));
   }
   void program(Plan const& plan);
   /// Introduces itself; the answer tells whether all kinds of entries are there, or none of them.
   void init(bool all);

   std::shared_ptr<grpc::Channel> channel;
   std::unique_ptr<Stub> stub;
   SwitchConsole console;
};

/// The agent, the present controller and its plan: all chapters have them.
struct Stage {
   void chapter(std::string_view title) { fmt::print("\n{}. {}\n", ++chapters, title); }
   void awaitService() const;
   void stopAgent() const;  // which ends in order

   AgentProcess& agent;
   Controller controller;  // the present one
   Plan plan{};
   int chapters = 0;
};

/// The parts of the story, in this order.
void programAll(Stage& stage);
void takeOver(Stage& stage);
void testTheWays(Stage& stage);
void startAgain(Stage& stage);
void watchSessions(Stage& stage);

}  // namespace VelmSdkRpc::demo
