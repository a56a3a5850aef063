#pragma once

#include <cstdint>
#include <string>

#include "platform/velm/base_handler.h"
#include "platform/velm/errors.h"
#include "platform/velm/iter.h"
#include "platform/velm/sdk_lock.h"

namespace velm {

class agent_mgr;

/// Receives the events of the agent's own life, on the main loop. They always flow: there is nothing to switch on.
class agent_handler : public base_handler<agent_mgr, agent_handler> {
 public:
   using base_handler::base_handler;

   /// The switch is ready; called once.
   virtual void on_initialized() {}
   /// With false the agent must stop, and say so with shutdown_complete_is(true). Called without the SDK lock, so that
   /// the handler may wait for a thread that needs it.
   virtual void on_agent_enabled(bool /*enabled*/) {}
   /// An option of the agent was set, or removed, which reads as an empty value.
   virtual void on_agent_option(std::string const& /*name*/, std::string const& /*value*/) {}
   virtual std::string on_agent_rpc(std::string const& /*request*/) { return {}; }
};

using agent_option_iter_impl = iter_impl<std::string>;
using agent_option_iter_t = iter_base<std::string, agent_option_iter_impl>;
using agent_status_iter_impl = iter_impl<std::string>;
using agent_status_iter_t = iter_base<std::string, agent_status_iter_impl>;

/// The agent as the switch sees it: its options, the statuses that it publishes, its life. Thread-safe.
class agent_mgr : public base_mgr<agent_handler, int> {
 public:
   virtual ~agent_mgr() = default;

   /// The number of the agent of that name; 0 for a name other than this agent's.
   static std::uint32_t id(char const* name);

   /// Whether the agent is to work: from its initialization until it is disabled, and never again.
   virtual bool enabled() const = 0;
   /// The option's value, empty if it is not set.
   virtual std::string agent_option(std::string const& name) const = 0;
   /// Whether the option is set, be it to an empty value.
   virtual bool agent_option_exists(std::string const& name) const = 0;
   /// The names of the options that are set.
   virtual agent_option_iter_t agent_option_iter() const = 0;
   /// The published value, empty if there is none.
   virtual std::string status(std::string const& name) const = 0;
   /// The names of the statuses that are published.
   virtual agent_status_iter_t status_iter() const = 0;
   /// Publishes the status, or replaces its value. Raises no event.
   virtual void status_set(std::string const& name, std::string const& value) = 0;
   /// Deleting one that is absent is no error.
   virtual void status_del(std::string const& name) = 0;
   /// Told by the agent once it has stopped; ends the main loop.
   virtual void shutdown_complete_is(bool complete) = 0;
   /// This agent's own number.
   virtual std::uint32_t agent_id() const = 0;
   /// Seconds since the agent started.
   virtual double agent_uptime() const = 0;
};

}  // namespace velm
