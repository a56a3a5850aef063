#pragma once

#include <rapidjson/document.h>

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/switch/SimulatedDataplane.h"
#include "platform/switch/Switch.h"

namespace VelmSdkRpc::fuzz {

/// The show commands of what a state folder keeps.
std::span<std::string_view const> storedTables();

/// A switch whose loop turns when it is asked to.
class Device : public velm::embedded::Switch {
 public:
   Device() : Switch(velm::embedded::makeSimulatedDataplane) {}

   /// Delivers what is queued, and what that queues in turn, a few turns long.
   void turn();

   /// The answer to a show command, which must succeed and be JSON.
   std::string show(std::string_view command);
   rapidjson::Document json(std::string_view command);
   /// The answers to all of them, without times of day.
   std::string show(std::span<std::string_view const> commands);
   /// Configuration; whether it was carried out.
   bool configure(std::vector<std::string> const& commands);
};

/// Ends the process unless the text is JSON.
rapidjson::Document parsed(std::string const& text);

}  // namespace VelmSdkRpc::fuzz
