#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/switch/Operations.h"
#include "platform/switch/commands/CommandTable.h"
#include "platform/velm/vapi.h"

namespace velm::embedded {

/// Runs the command line of the switch.
class VapiMgr : public vapi_mgr {
 public:
   VapiMgr(CallLedger& ledger, Switch& device);

   /// Makes the next show command take so long, for trials of what must wait for it.
   void delayNextShow(std::uint64_t milliseconds) { delay_ = milliseconds; }

   /// The lines of a configuration that are of this stage; the others are answered by nothing.
   vapi_response_t configure(std::vector<std::string> const& lines, commands::Stage stage);

   vapi_response_t run_show_cmd(std::string const& command) override;
   vapi_response_t run_config_cmds(std::vector<std::string> const& commands) override;

 private:
   vapi_response_t run(commands::CommandTable const& table, std::vector<std::string> const& commands,
                       commands::Stage stage = commands::Stage::any);

   Switch& device_;
   commands::CommandTable const show_;
   commands::CommandTable const configure_;
   std::uint64_t delay_ = 0;

   Operations<"vapi_mgr", "run_show_cmd", "run_config_cmds"> operations_;
};

}  // namespace velm::embedded
