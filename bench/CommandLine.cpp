#include "bench/CommandLine.h"

#include <stdexcept>

namespace VelmSdkRpc::Bench {

CommandLine::CommandLine(Client& client, std::shared_ptr<grpc::Channel> const& channel)
   : call_(client, channel, &velm::remote::VapiMgrService::Stub::Asyncrun_config_cmds), client_(client) {}

void CommandLine::run(Commands const& commands) {
   begin(commands);
   client_.runUntil([this] { return answered(); });
   finish();
}

void CommandLine::finish() const {
   auto const& result = call_.response().response();
   if (!result.success()) throw std::runtime_error("run_config_cmds: " + result.error_message());
}

}  // namespace VelmSdkRpc::Bench
