#include "bench/NhgRedirects.h"

#include <fmt/format.h>

#include <chrono>
#include <stdexcept>
#include <thread>

namespace VelmSdkRpc::Bench {
namespace {

constexpr std::uint32_t dscpValues = 64;  // that there are
constexpr auto classMapDel = "class_map_mgr.class_map_del";

}  // namespace

NhgRedirects::Element NhgRedirects::add(Place place) const {
   auto redirect = removal(place);
   redirect.set_request_delete(false);
   for (std::uint32_t i = 0; i < values; ++i) {
      redirect.add_match_ipv4_dscp((place + i) % dscpValues);
      redirect.add_match_ipv6_dscp((place + i) % dscpValues);
   }
   return redirect;
}

NhgRedirects::Element NhgRedirects::removal(Place place) const {
   Element redirect;
   redirect.set_match_nexthop_group_name(fmt::format("from-{}", place));
   redirect.set_redirect_nexthop_group_name(fmt::format("to-{}", place));
   redirect.set_request_delete(true);
   return redirect;
}

CallCounts NhgRedirects::callsOf(Server const& agent) {
   auto calls = Bench::callsOf(agent);
   std::erase_if(calls, [](auto const& entry) {
      auto const& operation = entry.first;
      return !operation.starts_with("acl_mgr.") && !operation.starts_with("class_map_mgr.") &&
             !operation.starts_with("policy_map_mgr.");
   });
   return calls;
}

CallCounts NhgRedirects::callsForNew(std::size_t redirects) const {
   auto calls = callsForRepeated();
   calls["acl_mgr.acl_rule_set"] = redirects * values * 2;
   calls["class_map_mgr.class_map_is"] = redirects;
   return calls;
}

CallCounts NhgRedirects::callsForRepeated() { return {{"acl_mgr.acl_commit", 1}, {"policy_map_mgr.policy_map_is", 1}}; }

CallCounts NhgRedirects::callsForRestored(std::size_t redirects) {
   return {{"acl_mgr.acl_rule_ip_iter", redirects * 2},
           {"class_map_mgr.class_map", redirects},
           {"class_map_mgr.exists", redirects},
           {"policy_map_mgr.exists", 1},
           {"policy_map_mgr.policy_map", 1}};
}

void RedirectSubject::remove(Server& agent, PlaceList const& places) const {
   auto const deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
   auto const before = callsOf(agent);
   BulkSubject::remove(agent, places);
   while (difference(callsOf(agent), before)[classMapDel] < places.size()) {
      if (std::chrono::steady_clock::now() > deadline) throw std::runtime_error("the agent does not remove redirects");
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
   }
}

}  // namespace VelmSdkRpc::Bench
