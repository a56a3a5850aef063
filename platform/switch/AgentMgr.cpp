#include "platform/switch/AgentMgr.h"

#include <vector>

#include "platform/switch/Identity.h"
#include "platform/switch/Iterators.h"

// The order of an agent's life, all of it on the main loop:
//
//    Switch::run --------------------------> initialize: enabled; on_initialized, under the SDK lock
//    SIGTERM, SIGINT or "agent disable" ---> disable: no longer enabled; on_agent_enabled(false), without the SDK lock
//    the agent has stopped its server -----> shutdown_complete_is(true): the loop ends with the present turn
//
// Options are the operator's: every setting raises an event, even one that changes nothing. Statuses are the agent's
// own words and raise none. Both tables outlive the process.
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

AgentMgr::AgentMgr(CallLedger& ledger, MainLoop& loop) : loop_(loop), operations_(ledger) {}

void AgentMgr::storeIs(Store& store) {
   options_.storeIs(store, StoredTable::agentOptions);
   statuses_.storeIs(store, StoredTable::agentStatuses);
}

double AgentMgr::uptime() const {
   return std::chrono::duration<double>(std::chrono::steady_clock::now() - started_).count();
}

void AgentMgr::optionIs(std::string const& name, std::string const& value) {
   Inside const inside(operations_.ledger());
   options_.set(inside, name, value);
   raiseOption(name, value);
}

void AgentMgr::optionDel(std::string const& name) {
   Inside const inside(operations_.ledger());
   options_.del(inside, name);
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
   // Called without the lock, since a handler waits for the server thread, which may be waiting for the lock.
   std::vector<agent_handler*> handlers;
   {
      sdk_scoped_lock const lock;
      enabled_ = false;
      notify_every([&](agent_handler& handler) { handlers.push_back(&handler); });
   }
   for (auto* handler : handlers) handler->on_agent_enabled(false);
}

bool AgentMgr::enabled() const {
   Call const call(operations_);
   return enabled_;
}

std::string AgentMgr::agent_option(std::string const& name) const {
   Call const call(operations_);
   return valueOf(options_, name);
}

bool AgentMgr::agent_option_exists(std::string const& name) const {
   Call const call(operations_);
   return options_.contains(name);
}

agent_option_iter_t AgentMgr::agent_option_iter() const {
   Call const call(operations_);
   return namesOf(options_);
}

std::string AgentMgr::status(std::string const& name) const {
   Call const call(operations_);
   return valueOf(statuses_, name);
}

agent_status_iter_t AgentMgr::status_iter() const {
   Call const call(operations_);
   return namesOf(statuses_);
}

void AgentMgr::status_set(std::string const& name, std::string const& value) {
   Call const call(operations_);
   statuses_.set(call, name, value);
}

void AgentMgr::status_del(std::string const& name) {
   Call const call(operations_);
   statuses_.del(call, name);
}

void AgentMgr::shutdown_complete_is(bool complete) {
   Call const call(operations_);
   if (complete) loop_.stop();
}

std::uint32_t AgentMgr::agent_id() const {
   Call const call(operations_);
   return id(agentName.data());
}

double AgentMgr::agent_uptime() const {
   Call const call(operations_);
   return uptime();
}

}  // namespace velm::embedded
