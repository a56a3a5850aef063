#include "platform/switch/AgentMgr.h"

#include <string_view>
#include <vector>

#include "platform/switch/Identity.h"
#include "platform/switch/Iterators.h"

namespace velm {

std::uint32_t agent_mgr::id(char const* name) { return name == embedded::agentName ? 1 : 0; }

}  // namespace velm

namespace velm::embedded {
namespace {

std::string valueOf(TextTable const& table, std::string const& name) {
   std::string const* value = table.find(name);
   return value == nullptr ? std::string() : *value;
}

auto namesOf(TextTable const& table) {
   return makeTableIter(table, [](std::string const& name, std::string const&) { return name; });
}

}  // namespace

AgentMgr::AgentMgr(CallLedger& ledger, MainLoop& loop)
   : loop_(loop),
     op_enabled_(ledger, "agent_mgr.enabled"),
     op_option_(ledger, "agent_mgr.agent_option"),
     op_option_exists_(ledger, "agent_mgr.agent_option_exists"),
     op_option_iter_(ledger, "agent_mgr.agent_option_iter"),
     op_status_(ledger, "agent_mgr.status"),
     op_status_iter_(ledger, "agent_mgr.status_iter"),
     op_status_set_(ledger, "agent_mgr.status_set"),
     op_status_del_(ledger, "agent_mgr.status_del"),
     op_shutdown_complete_is_(ledger, "agent_mgr.shutdown_complete_is"),
     op_agent_id_(ledger, "agent_mgr.agent_id"),
     op_uptime_(ledger, "agent_mgr.agent_uptime") {}

void AgentMgr::storeIs(Store& store) {
   options_.storeIs(store, StoredTable::agentOptions);
   statuses_.storeIs(store, StoredTable::agentStatuses);
}

double AgentMgr::uptime() const {
   return std::chrono::duration<double>(std::chrono::steady_clock::now() - started_).count();
}

void AgentMgr::optionIs(std::string const& name, std::string const& value) {
   options_.set(name, value);
   raiseOption(name, value);
}

void AgentMgr::optionDel(std::string const& name) {
   options_.del(name);
   raiseOption(name, {});
}

void AgentMgr::raiseOption(std::string const& name, std::string const& value) {
   loop_.post(
      [this, name, value] { notify_every([&](agent_handler& handler) { handler.on_agent_option(name, value); }); });
}

void AgentMgr::initialize() {
   enabled_ = true;
   notify_every([](agent_handler& handler) { handler.on_initialized(); });
}

void AgentMgr::disable() {
   std::vector<agent_handler*> handlers;
   {
      sdk_scoped_lock const lock;
      enabled_ = false;
      notify_every([&](agent_handler& handler) { handlers.push_back(&handler); });
   }
   for (auto* handler : handlers) handler->on_agent_enabled(false);
}

bool AgentMgr::enabled() const {
   Call const call(op_enabled_);
   return enabled_;
}

std::string AgentMgr::agent_option(std::string const& name) const {
   Call const call(op_option_);
   return valueOf(options_, name);
}

bool AgentMgr::agent_option_exists(std::string const& name) const {
   Call const call(op_option_exists_);
   return options_.contains(name);
}

agent_option_iter_t AgentMgr::agent_option_iter() const {
   Call const call(op_option_iter_);
   return namesOf(options_);
}

std::string AgentMgr::status(std::string const& name) const {
   Call const call(op_status_);
   return valueOf(statuses_, name);
}

agent_status_iter_t AgentMgr::status_iter() const {
   Call const call(op_status_iter_);
   return namesOf(statuses_);
}

void AgentMgr::status_set(std::string const& name, std::string const& value) {
   Call const call(op_status_set_);
   statuses_.set(name, value);
}

void AgentMgr::status_del(std::string const& name) {
   Call const call(op_status_del_);
   statuses_.del(name);
}

void AgentMgr::shutdown_complete_is(bool complete) {
   Call const call(op_shutdown_complete_is_);
   if (complete) loop_.stop();
}

std::uint32_t AgentMgr::agent_id() const {
   Call const call(op_agent_id_);
   return id(agentName.data());
}

double AgentMgr::agent_uptime() const {
   Call const call(op_uptime_);
   return uptime();
}

}  // namespace velm::embedded
