#pragma once

#include "platform/velm/agent.h"
#include "proto/remote/agent.grpc.pb.h"
#include "remote/MirrorService.h"

namespace VelmSdkRpc {

/// Mirrors what the switch knows of its agent: options, published statuses, age. A name that is unknown reads as empty
/// and is deleted without an error.
///
/// Its watch brings every change of an option to every client, as it comes: options change seldom, and each change
/// matters, so nothing is merged and nothing filtered.
class AgentService : public MirrorService<velm::remote::AgentService, velm::agent_mgr>, public velm::agent_handler {
 public:
   explicit AgentService(velm::agent_mgr* mgr) : MirrorService("agent", mgr), agent_handler(mgr) {}

   void startHandlers() override;

   void on_agent_option(std::string const& name, std::string const& value) override;
};

}  // namespace VelmSdkRpc
