// The whole surface on the wire: which methods there are, that each is served, and that each tells its client of a
// switch that fails.
#include <google/protobuf/text_format.h>

#include <csignal>
#include <fstream>
#include <map>
#include <set>

#include "remote/rpc_status.pb.h"
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

class ServedTest : public AgentTest {
 protected:
   /// Until their services are built.
   static bool isPending(MethodDescriptor const& method) {
      static std::set<std::string> const pending{"EthLagIntfMgrService", "MacsecMgrService", "PolicyMapMgrService"};
      return pending.contains(method.service()->name());
   }
};

TEST_F(ServedTest, EveryMethodAnswers) {
   for (auto const* method : allMethods()) {
      bool const stays = method->name().starts_with("watch");
      auto const timeout = std::chrono::milliseconds(stays ? 100 : 60'000);
      auto const code = anyCall(channel(), *method, {}, timeout).status.error_code();
      if (isPending(*method)) {
         EXPECT_EQ(code, grpc::StatusCode::UNIMPLEMENTED) << method->full_name();
      } else {
         EXPECT_NE(code, grpc::StatusCode::UNIMPLEMENTED) << method->full_name();
         EXPECT_EQ(code == grpc::StatusCode::DEADLINE_EXCEEDED, stays) << method->full_name();
      }
   }
   EXPECT_EQ(stop(SIGTERM), 0);
}

/// The switch's operation behind a method of a mirror, without its manager; empty if there is none.
std::string operationBehind(MethodDescriptor const& method) {
   static std::map<std::string, std::string> const others{
      {"agent_id", ""},
      {"agent_options", "agent_option_iter"},
      {"statuses", "status_iter"},
      {"ipv4_unicast_paths", "ipv4_unicast_path_iter"},
      {"ipv6_unicast_paths", "ipv6_unicast_path_iter"},
      {"intfs", "intf_iter"},
      {"ip_routes", "ip_route_iter"},
      {"ip_route_vias", "ip_route_via_iter"},
      {"ip_route_exists", "exists"},
      {"ip_route_via_exists", "exists"},
      {"ip_addr_modify", "ip_addr_add"},
      {"mpls_routes", "mpls_route_iter"},
      {"mpls_route_statuses", "mpls_route_status_iter"},
      {"mpls_route_vias", "mpls_route_via_iter"},
      {"mpls_route_via_statuses", "mpls_route_via_status_iter"},
      {"nexthop_groups", "nexthop_group_iter"},
      {"programmed_nexthop_groups", "programmed_nexthop_group_iter"},
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

/// A request that reaches the switch: an empty one does, but for those told here. A bulk has one element.
std::string requestFor(MethodDescriptor const& method) {
   static std::map<std::string, std::string> const others{{"ip_addr_modify", "op: IP_INTF_ADDR_OP_ADD"}};
   bool const isBulk = method.name().starts_with("bulk_");
   auto const it = others.find(isBulk ? method.name().substr(5) : method.name());
   auto text = it == others.end() ? std::string() : it->second;
   if (isBulk) text = "requests {" + text + "}";
   auto* const factory = google::protobuf::MessageFactory::generated_factory();
   std::unique_ptr<google::protobuf::Message> const request(factory->GetPrototype(method.input_type())->New());
   EXPECT_TRUE(google::protobuf::TextFormat::ParseFromString(text, request.get())) << method.full_name();
   return request->SerializeAsString();
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
      if (isPending(*method) || manager.empty() || operation.empty()) continue;
      auto const& [error, code] = errors[called++ % errors.size()];
      SCOPED_TRACE(method->full_name());
      world({fmt::format("simulate fail {}.{} {} broken", manager, operation, error)});
      auto const outcome = anyCall(channel(), *method, requestFor(*method));
      if (method->name().starts_with("bulk_")) {
         ASSERT_TRUE(outcome.status.ok() && outcome.response);
         EXPECT_EQ(bulkOutcome(*outcome.response), fmt::format("{} broken after 0", code));
      } else {
         EXPECT_EQ(outcome.status.error_code(), code);
         EXPECT_EQ(outcome.status.error_message(), "broken");
         EXPECT_FALSE(outcome.response);
      }
      ASSERT_FALSE(HasFailure());
   }
   EXPECT_GE(called, 85);
}

}  // namespace
}  // namespace VelmSdkRpc
