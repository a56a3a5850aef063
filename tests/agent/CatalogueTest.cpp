// The whole surface on the wire: which methods there are, that each is served, and that each tells its client of a
// switch that fails.
#include <fmt/ranges.h>
#include <google/protobuf/text_format.h>

#include <csignal>
#include <fstream>
#include <map>

#include "proto/remote/rpc_status.pb.h"
#include "tests/support/AgentTest.h"
#include "tests/support/AnyCall.h"

namespace VelmSdkRpc {
namespace {

using google::protobuf::MethodDescriptor;
using google::protobuf::ServiceDescriptor;

TEST(CatalogueTest, EveryMethodHasItsPlaceItsKindAndItsMessages) {
   std::map<std::string, std::vector<std::string>> promised;
   std::ifstream file(CATALOGUE);
   for (std::string line; std::getline(file, line);) {
      if (!line.starts_with('#') && !line.empty()) promised[line.substr(0, line.find(' '))].push_back(line);
   }
   EXPECT_EQ(promised.size(), 13);
   for (auto const* service : allServices()) {
      std::vector<std::string> offered;
      for (int i = 0; i < service->method_count(); ++i) {
         auto const& method = *service->method(i);
         EXPECT_FALSE(method.client_streaming());
         offered.push_back(fmt::format("{} {} {} {} {}", service->full_name(), method.name(),
                                       method.server_streaming() ? "stream" : "unary", method.input_type()->name(),
                                       method.output_type()->name()));
      }
      EXPECT_EQ(offered, promised[service->full_name()]);
   }
   EXPECT_EQ(allMethods().size(), 181);
}

class ServedTest : public AgentTest {};

/// The switch's operation behind a method of a mirror, without its manager; empty if there is none.
std::string operationBehind(MethodDescriptor const& method) {
   static std::map<std::string, std::string> const others{
      {"agent_id", ""},
      {"agent_options", "agent_option_iter"},
      {"statuses", "status_iter"},
      {"eth_lag_intf_members", "eth_lag_intf_member_iter"},
      {"eth_lag_intfs", "eth_lag_intf_iter"},
      {"ipv4_unicast_paths", "ipv4_unicast_path_iter"},
      {"ipv6_unicast_paths", "ipv6_unicast_path_iter"},
      {"intfs", "intf_iter"},
      {"ip_routes", "ip_route_iter"},
      {"ip_route_vias", "ip_route_via_iter"},
      {"ip_route_exists", "exists"},
      {"ip_route_via_exists", "exists"},
      {"ip_addr_modify", "ip_addr_add"},
      {"macsec_intf_statuses", "macsec_intf_status_iter"},
      {"macsec_profiles", "macsec_profile_iter"},
      {"mpls_routes", "mpls_route_iter"},
      {"mpls_route_statuses", "mpls_route_status_iter"},
      {"mpls_route_vias", "mpls_route_via_iter"},
      {"mpls_route_via_statuses", "mpls_route_via_status_iter"},
      {"nexthop_groups", "nexthop_group_iter"},
      {"programmed_nexthop_groups", "programmed_nexthop_group_iter"},
      {"policy_map_hw_statuses", "policy_map_hw_status_iter"},
      {"policy_maps", "policy_map_iter"},
      {"watch", ""}};
   auto const name = method.name().starts_with("bulk_") ? method.name().substr(5) : method.name();
   auto const it = others.find(name);
   return it == others.end() ? name : it->second;
}

std::string managerOf(ServiceDescriptor const& service) {
   static std::map<std::string, std::string> const managers{{"AgentService", "agent_mgr"},
                                                            {"BgpPathMgrService", "bgp_path_mgr"},
                                                            {"EthLagIntfMgrService", "eth_lag_intf_mgr"},
                                                            {"IntfMgrService", "intf_mgr"},
                                                            {"IntfCounterMgrService", "intf_counter_mgr"},
                                                            {"IpRouteMgrService", "ip_route_mgr"},
                                                            {"IpIntfMgrService", "ip_intf_mgr"},
                                                            {"MacsecMgrService", "macsec_mgr"},
                                                            {"MplsRouteMgrService", "mpls_route_mgr"},
                                                            {"NexthopGroupMgrService", "nexthop_group_mgr"},
                                                            {"PolicyMapMgrService", "policy_map_mgr"}};
   auto const it = managers.find(service.name());
   return it == managers.end() ? std::string() : it->second;  // a fault of the command API would hit its own command
}

/// The request of that text, in its wire form.
std::string requestOf(MethodDescriptor const& method, std::string const& text) {
   auto* const factory = google::protobuf::MessageFactory::generated_factory();
   std::unique_ptr<google::protobuf::Message> const request(factory->GetPrototype(method.input_type())->New());
   EXPECT_TRUE(google::protobuf::TextFormat::ParseFromString(text, request.get())) << method.full_name() << ' ' << text;
   return request->SerializeAsString();
}

/// One that reaches the switch: an empty one does, but for those told here. A bulk has one element.
std::string requestFor(MethodDescriptor const& method) {
   static std::map<std::string, std::string> const others{{"ip_addr_modify", "op: IP_INTF_ADDR_OP_ADD"}};
   bool const isBulk = method.name().starts_with("bulk_");
   auto const it = others.find(isBulk ? method.name().substr(5) : method.name());
   auto text = it == others.end() ? std::string() : it->second;
   if (isBulk) text = "requests {" + text + "}";
   return requestOf(method, text);
}

/// "9 broken after 0": what a bulk method answers.
std::string bulkOutcome(google::protobuf::Message const& response) {
   auto const field = [&](char const* name) { return response.GetDescriptor()->FindFieldByName(name); };
   auto const& status = response.GetReflection()->GetMessage(response, field("status"));
   auto const& rpcStatus = dynamic_cast<velm::remote::RpcResponseStatus const&>(status);
   return fmt::format("{} {} after {}", rpcStatus.code(), rpcStatus.error_string(),
                      response.GetReflection()->GetUInt64(response, field("count")));
}

TEST_F(ServedTest, EveryMethodOfAMirrorTellsOfASwitchThatFails) {
   struct Error {
      char const* name;
      grpc::StatusCode code;
   };
   std::vector<Error> const errors{{"invalid_range_error", grpc::StatusCode::OUT_OF_RANGE},
                                   {"invalid_argument_error", grpc::StatusCode::INVALID_ARGUMENT},
                                   {"configuration_error", grpc::StatusCode::FAILED_PRECONDITION},
                                   {"unsupported_error", grpc::StatusCode::UNIMPLEMENTED},
                                   {"error", grpc::StatusCode::INTERNAL}};
   std::size_t called = 0;
   for (auto const* method : allMethods()) {
      auto const manager = managerOf(*method->service());
      auto const operation = operationBehind(*method);
      if (manager.empty() || operation.empty()) continue;
      auto const& [error, code] = errors[called++ % errors.size()];
      SCOPED_TRACE(method->full_name());
      world({fmt::format("simulate fail {}.{} {} broken", manager, operation, error)});
      auto const outcome = anyCall(channel(), *method, requestFor(*method));
      if (method->name().starts_with("bulk_")) {
         ASSERT_TRUE(outcome.status.ok() && outcome.responses.size() == 1);
         EXPECT_EQ(bulkOutcome(*outcome.responses[0]), fmt::format("{} broken after 0", code));
      } else {
         EXPECT_EQ(outcome.status.error_code(), code);
         EXPECT_EQ(outcome.status.error_message(), "broken");
         EXPECT_TRUE(outcome.responses.empty());
      }
      ASSERT_FALSE(HasFailure());
   }
   EXPECT_EQ(called, 163 - 2 - 9 - 1);  // but the command API, the watches, and an id that is no manager's
}

/// A line of the script: a call, and how it is answered.
struct ScriptedCall {
   std::string method;   // "Service.method"
   std::string request;  // as text
   bool inTheEnd;        // it may take a while until the answer is so
   std::string answer;
};

ScriptedCall parse(std::string const& line) {
   auto const colon = line.find(':');
   auto const arrow = line.rfind("> ") - 1;
   return {line.substr(0, colon), line.substr(colon + 1, arrow - colon - 1), line[arrow] == '~',
           line.substr(arrow + 3)};
}

class ScriptTest : public AgentTest {
 protected:
   /// The answer of a call as the script writes it.
   std::string answer(MethodDescriptor const& method, std::string const& request) {
      bool const stays = method.name().starts_with("watch");
      auto const outcome =
         anyCall(channel(), method, requestOf(method, request), std::chrono::milliseconds(stays ? 300 : 60'000));
      std::vector<std::string> words;
      for (auto const& response : outcome.responses) {
         auto text = response->ShortDebugString();
         words.push_back(text.empty() ? "{}" : std::move(text));
      }
      auto const code = outcome.status.error_code();
      if (stays && code == grpc::StatusCode::DEADLINE_EXCEEDED) {
         words.emplace_back("open");
      } else if (code != grpc::StatusCode::OK) {
         words.push_back(fmt::format("error {} {}", code, outcome.status.error_message()));
      }
      return fmt::format("{}", fmt::join(words, " ; "));
   }
};

TEST_F(ScriptTest, EveryMethodDoesWhatItIsFor) {
   std::map<std::string, MethodDescriptor const*> methods;
   for (auto const* method : allMethods()) methods[method->service()->name() + "." + method->name()] = method;
   auto left = methods;
   std::ifstream file(CALLS);
   for (std::string line; std::getline(file, line);) {
      if (line.empty() || line.starts_with('#')) continue;
      if (line.starts_with("> ")) {
         world({line.substr(2)});
         continue;
      }
      auto const call = parse(line);
      ASSERT_TRUE(methods.contains(call.method)) << line;
      left.erase(call.method);
      auto const& method = *methods[call.method];
      auto actual = answer(method, call.request);
      auto const fits = [&] { return call.answer == "*" ? !actual.starts_with("error") : actual == call.answer; };
      if (call.inTheEnd && !fits()) {
         eventually([&] {
            actual = answer(method, call.request);
            return fits();
         });
      }
      EXPECT_TRUE(fits()) << line << "\n  is answered: " << actual;
   }
   for (auto const& [name, method] : left) ADD_FAILURE() << name << " was not called";
   EXPECT_EQ(stop(SIGTERM), 0);
}

}  // namespace
}  // namespace VelmSdkRpc
