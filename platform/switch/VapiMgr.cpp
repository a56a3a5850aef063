#include "platform/switch/VapiMgr.h"

#include <fmt/format.h>

#include <chrono>
#include <thread>
#include <utility>

#include "platform/switch/Switch.h"
#include "platform/switch/commands/Commands.h"

// A list of commands is carried out in order up to the first that fails; those before it stay. All of it runs under one
// hold of the SDK lock, so nothing of the outside comes between, and the events that it causes reach the main loop as
// one burst. What the commands call is not counted as clients' calls: the whole list is one.
namespace velm::embedded {
namespace {

constexpr std::uint32_t cannotBeParsed = 1000;
constexpr std::uint32_t refused = 1001;

// Made in one go: the answer of a command may be a table of a million rows.
std::string arrayOf(std::vector<std::string> const& elements) {
   std::size_t size = elements.size() + 1;
   for (auto const& element : elements) size += element.size();
   std::string array;
   array.reserve(size);
   array += '[';
   for (auto const& element : elements) {
      if (array.size() > 1) array += ',';
      array += element;
   }
   array += ']';
   return array;
}

}  // namespace

VapiMgr::VapiMgr(CallLedger& ledger, Switch& device)
   : device_(device),
     show_(commands::showCommands()),
     configure_(commands::configurationCommands()),
     operations_(ledger) {}

vapi_response_t VapiMgr::run_show_cmd(std::string const& command) {
   Call const call(operations_);
   if (auto const delay = std::exchange(delay_, 0); delay > 0) {
      std::this_thread::sleep_for(std::chrono::milliseconds(delay));
   }
   return run(show_, {command});
}

vapi_response_t VapiMgr::run_config_cmds(std::vector<std::string> const& commands) {
   Call const call(operations_);
   return run(configure_, commands);
}

vapi_response_t VapiMgr::configure(std::vector<std::string> const& lines, commands::Stage stage) {
   sdk_scoped_lock const lock;
   return run(configure_, lines, stage);
}

vapi_response_t VapiMgr::run(commands::CommandTable const& table, std::vector<std::string> const& commands,
                             commands::Stage stage) {
   vapi_response_t response;
   commands::Session session{device_, {}};
   for (std::size_t i = 0; i < commands.size() && response.success(); ++i) {
      auto const fail = [&](std::uint32_t code, std::string_view why) {
         response.error_is(code,
                           fmt::format("command {} of {} '{}' failed: {}", i + 1, commands.size(), commands[i], why));
      };
      try {
         response.response_add(table.run(session, commands[i], stage));
      } catch (commands::InvalidCommand const& e) {
         fail(cannotBeParsed, e.what());
      } catch (error const& e) {
         fail(refused, e.what());
      }
   }
   response.raw_response_is(arrayOf(response.responses()));
   return response;
}

}  // namespace velm::embedded
