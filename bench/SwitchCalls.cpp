#include "bench/SwitchCalls.h"

#include <rapidjson/document.h>

#include <stdexcept>

#include "remote/vapi.grpc.pb.h"

namespace VelmSdkRpc::Bench {
namespace {

std::string show(Server const& agent, char const* command) {
   grpc::ClientContext context;
   velm::remote::RunShowCmdRequest request;
   request.set_command(command);
   velm::remote::RunShowCmdResponse answer;
   auto const status = velm::remote::VapiMgrService::NewStub(agent.channel())->run_show_cmd(&context, request, &answer);
   if (!status.ok() || answer.response().responses_size() != 1) {
      throw std::runtime_error(std::string(command) + ": " + status.error_message() +
                               answer.response().error_message());
   }
   return answer.response().responses(0);
}

}  // namespace

CallCounts callsOf(Server const& agent) {
   auto const text = show(agent, "show switch calls");
   rapidjson::Document json;
   json.Parse(text.data(), text.size());
   if (!json.IsObject() || !json.HasMember("calls")) throw std::runtime_error("no counts of calls: " + text);
   CallCounts counts;
   for (auto const& [operation, count] : json["calls"].GetObject()) counts[operation.GetString()] = count.GetUint64();
   return counts;
}

CallCounts difference(CallCounts after, CallCounts const& before) {
   for (auto const& [operation, count] : before) after[operation] -= count;
   std::erase_if(after, [](auto const& entry) { return entry.second == 0; });
   return after;
}

}  // namespace VelmSdkRpc::Bench
