#pragma once

#include <chrono>
#include <string>

#include "platform/switch/MainLoop.h"
#include "platform/switch/Operations.h"
#include "platform/switch/Table.h"
#include "platform/velm/agent.h"

namespace velm::embedded {

using TextTable = Table<std::string, std::string>;

/// The agent's options and published statuses, and the order of its life. Handlers are told on the main loop.
class AgentMgr : public agent_mgr {
 public:
   AgentMgr(CallLedger& ledger, MainLoop& loop);

   /// Brings the folder's options and statuses back, without events, and keeps every change in it.
   void storeIs(Store& store);

   TextTable const& options() const { return options_; }
   TextTable const& statuses() const { return statuses_; }
   /// Seconds since the switch was made.
   double uptime() const;

   /// Sets an option, or removes it where there is no value; either raises the event.
   void optionIs(std::string const& name, std::string const& value);
   void optionDel(std::string const& name);

   /// Main loop only: calls on_initialized of every handler, under the SDK lock.
   void initialize();
   /// Main loop only, without the SDK lock: calls on_agent_enabled(false) of every handler.
   void disable();

   bool enabled() const override;
   std::string agent_option(std::string const& name) const override;
   bool agent_option_exists(std::string const& name) const override;
   agent_option_iter_t agent_option_iter() const override;
   std::string status(std::string const& name) const override;
   agent_status_iter_t status_iter() const override;
   void status_set(std::string const& name, std::string const& value) override;
   void status_del(std::string const& name) override;
   void shutdown_complete_is(bool complete) override;
   std::uint32_t agent_id() const override;
   double agent_uptime() const override;

 private:
   void raiseOption(std::string const& name, std::string const& value);

   MainLoop& loop_;
   std::chrono::steady_clock::time_point const started_ = std::chrono::steady_clock::now();
   bool enabled_ = false;
   TextTable options_;
   TextTable statuses_;

   Operations<"agent_mgr", "enabled", "agent_option", "agent_option_exists", "agent_option_iter", "status",
              "status_iter", "status_set", "status_del", "shutdown_complete_is", "agent_id", "agent_uptime">
      operations_;
};

}  // namespace velm::embedded
