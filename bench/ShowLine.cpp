#include "bench/ShowLine.h"

#include <stdexcept>

namespace VelmSdkRpc::Bench {

ShowLine::ShowLine(Client& client, std::shared_ptr<grpc::Channel> const& channel)
   : call_(client, channel, &velm::remote::VapiMgrService::Stub::Asyncrun_show_cmd) {}

rapidjson::Document ShowLine::run(std::string const& command, char const* object) {
   velm::remote::RunShowCmdRequest request;
   request.set_command(command);
   auto const& answer = call_.call(request).response();
   rapidjson::Document json;
   if (answer.responses_size() == 1) json.Parse(answer.responses(0).data(), answer.responses(0).size());
   if (!json.IsObject() || !json.HasMember(object) || !json[object].IsObject()) {
      throw std::runtime_error(command + " shows no " + object + ": " + answer.ShortDebugString());
   }
   return json;
}

}  // namespace VelmSdkRpc::Bench
