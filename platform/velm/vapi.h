#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "platform/velm/errors.h"
#include "platform/velm/sdk_lock.h"

namespace velm {

/// The outcome of a list of commands. What ran before a failed command stays in force and in the responses.
class vapi_response_t {
 public:
   bool success() const { return error_code_ == 0; }
   /// 0, or why the list stopped: 1000 a command that cannot be parsed, 1001 one that the switch refuses.
   std::uint32_t error_code() const { return error_code_; }
   std::string const& error_message() const { return error_message_; }
   /// One JSON text for each command that was carried out, in order.
   std::vector<std::string> const& responses() const { return responses_; }
   /// The JSON array of the responses.
   std::string const& raw_response() const { return raw_response_; }

   void error_is(std::uint32_t code, std::string message) {
      error_code_ = code;
      error_message_ = std::move(message);
   }
   void response_add(std::string response) { responses_.push_back(std::move(response)); }
   void raw_response_is(std::string raw) { raw_response_ = std::move(raw); }

 private:
   std::uint32_t error_code_ = 0;
   std::string error_message_;
   std::vector<std::string> responses_;
   std::string raw_response_;
};

/// Runs command-line commands on the switch. Thread-safe; the SDK lock is held for the whole list.
class vapi_mgr {
 public:
   virtual ~vapi_mgr() = default;
   /// Gives the command's JSON as the one response, or the code and text of its failure. Changes nothing.
   virtual vapi_response_t run_show_cmd(std::string const& command) = 0;
   /// Carries the commands out in order, a response each, and stops at the first failure; those before it stay.
   virtual vapi_response_t run_config_cmds(std::vector<std::string> const& commands) = 0;
};

}  // namespace velm
