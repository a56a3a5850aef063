#include "trials/fuzz/Device.h"

#include <array>
#include <functional>

#include "trials/fuzz/Choices.h"

namespace VelmSdkRpc::fuzz {
namespace {

// When something was sampled, or joined, is nobody's choice.
void forgetTimes(std::string& text) {
   constexpr std::string_view key = "_time\":";
   for (auto at = text.find(key); at != std::string::npos; at = text.find(key, at + 1)) {
      auto const number = at + key.size();
      text.erase(number, text.find_first_of(",}", number) - number);
   }
}

}  // namespace

std::span<std::string_view const> storedTables() {
   static constexpr std::array<std::string_view, 12> tables{
      "show interfaces",           "show ip route",   "show ip route vrf red", "show mpls route", "show nexthop-group",
      "show nexthop-group tunnel", "show policy-map", "show class-map",        "show acl",        "show macsec",
      "show port-channel",         "show agent"};
   return tables;
}

void Device::turn() {
   int left = 4;
   std::function<void()> const next = [&] {
      if (--left == 0) {
         loop.stop();
      } else {
         loop.post(next);
      }
   };
   loop.post(next);
   loop.run([] {});
}

std::string Device::show(std::string_view command) {
   auto const response = vapi.run_show_cmd(std::string(command));
   expect(response.success(), "{}: {}", command, response.error_message());
   return response.responses().front();
}

rapidjson::Document Device::json(std::string_view command) { return parsed(show(command)); }

std::string Device::show(std::span<std::string_view const> commands) {
   std::string texts;
   for (auto const command : commands) texts += show(command) + '\n';
   forgetTimes(texts);
   return texts;
}

bool Device::configure(std::vector<std::string> const& commands) { return vapi.run_config_cmds(commands).success(); }

rapidjson::Document parsed(std::string const& text) {
   rapidjson::Document document;
   document.Parse(text.c_str(), text.size());
   expect(!document.HasParseError(), "no JSON, at {}: {}", document.GetErrorOffset(), text);
   return document;
}

}  // namespace VelmSdkRpc::fuzz
