// All methods on the wire: which there are, that each is served, and that each tells its client of a switch that fails.
#include <fmt/ranges.h>

#include <cctype>
#include <csignal>
#include <fnmatch.h>
#include <fstream>
#include <iterator>
#include <map>
#include <set>

#include "proto/remote/rpc_status.pb.h"
#include "tests/agent/AgentTest.h"

namespace VelmSdkRpc {
namespace {

using google::protobuf::MethodDescriptor;
using google::protobuf::ServiceDescriptor;

TEST(CatalogueTest, EveryMethodHasItsPlaceAndItsKind) {
   std::ifstream file(CATALOGUE);
   std::string comment;
   std::getline(file, comment);
   std::vector<std::string> const promised(std::istream_iterator<std::string>(file), {});
   std::vector<std::string> offered;
   for (auto const* service : allServices()) {
      offered.push_back(service->full_name() + ':');
      for (int i = 0; i < service->method_count(); ++i) {
         EXPECT_FALSE(service->method(i)->client_streaming());
         offered.push_back(service->method(i)->name() + (service->method(i)->server_streaming() ? "*" : ""));
      }
   }
   EXPECT_EQ(offered, promised);
   EXPECT_EQ(allMethods().size(), 181);
}

class ServedTest : public AgentTest {};

/// The switch's operation that a mirror's method stands for, without its manager; empty if there is none.
std::string operationOf(MethodDescriptor const& method) {
   static std::map<std::string, std::string> const others{{"agent_id", ""},
                                                          {"agent_options", "agent_option_iter"},
                                                          {"statuses", "status_iter"},
                                                          {"eth_lag_intf_members", "eth_lag_intf_member_iter"},
                                                          {"ip_route_exists", "exists"},
                                                          {"ip_route_via_exists", "exists"},
                                                          {"ip_addr_modify", "ip_addr_add"},
                                                          {"macsec_intf_statuses", "macsec_intf_status_iter"},
                                                          {"mpls_route_statuses", "mpls_route_status_iter"},
                                                          {"mpls_route_via_statuses", "mpls_route_via_status_iter"},
                                                          {"policy_map_hw_statuses", "policy_map_hw_status_iter"},
                                                          {"watch", ""}};
   auto const name = method.name().starts_with("bulk_") ? method.name().substr(5) : method.name();
   if (auto const it = others.find(name); it != others.end()) return it->second;
   return method.server_streaming() ? name.substr(0, name.size() - 1) + "_iter" : name;
}

/// "IpRouteMgrService" becomes "ip_route_mgr". A fault of the command API would hit the command that sets it.
std::string managerOf(ServiceDescriptor const& service) {
   if (service.name() == "velmsdk_service" || service.name() == "VapiMgrService") return {};
   if (service.name() == "AgentService") return "agent_mgr";
   std::string manager;
   for (char const c : service.name().substr(0, service.name().size() - std::string("Service").size())) {
      bool const isUpper = std::isupper(static_cast<unsigned char>(c)) != 0;
      if (isUpper && !manager.empty()) manager += '_';
      manager += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
   }
   return manager;
}

/// One that reaches the switch: an empty one does, but for the one told here. A bulk has one element.
std::string requestFor(MethodDescriptor const& method) {
   bool const isBulk = method.name().starts_with("bulk_");
   std::string const text = method.name().ends_with("ip_addr_modify") ? "op: IP_INTF_ADDR_OP_ADD" : "";
   return isBulk ? "requests {" + text + "}" : text;
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
      auto const operation = operationOf(*method);
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

}  // namespace
}  // namespace VelmSdkRpc
