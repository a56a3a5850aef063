#include "trials/chaos/Model.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>

namespace VelmSdkRpc::chaos {
namespace {

using pb::rpc_status_msg;
using Redirect = pb::cbf_nexthop_group_redirect_msg;
using Session = pb::sbfd_echo_session_msg;
using Pairs = pb::rpc_server_state_config_msg;

std::string keyOf(Session const& request) {
   auto const& key = request.session_key();
   return fmt::format("session {}/{}", key.outgoing_interface(), key.labels(0));
}
std::string keyOf(Redirect const& request) {
   return fmt::format("redirect {} {}", request.match_nexthop_group_name(), request.redirect_nexthop_group_name());
}

std::string textOf(Session const& request) {
   bool const byDefault = request.min_tx() == 0;
   return fmt::format("{}x{} {}", byDefault ? 300 : request.min_tx(), byDefault ? 3 : request.detection_multiplier(),
                      request.rtt_enabled());
}

// As the switch has them: IPv6 rules match the whole traffic class.
std::string textOf(Redirect const& request) {
   std::vector<std::uint32_t> ipv4(request.match_ipv4_dscp().begin(), request.match_ipv4_dscp().end());
   std::vector<std::uint32_t> ipv6(request.match_ipv6_dscp().begin(), request.match_ipv6_dscp().end());
   for (auto& value : ipv6) value *= 4;
   std::ranges::sort(ipv4);
   std::ranges::sort(ipv6);
   return fmt::format("{}/{}", fmt::join(ipv4, ","), fmt::join(ipv6, ","));
}

// A step each: pairs are stored and removed one after the other.
Batch stepsOf(Batch const& batch) {
   Batch steps;
   for (auto const& element : batch) {
      auto const* const pairs = std::get_if<Pairs>(&element);
      if (pairs == nullptr) {
         steps.push_back(element);
         continue;
      }
      for (auto const& pair : pairs->set()) *std::get<Pairs>(steps.emplace_back(Pairs())).add_set() = pair;
      for (auto const& pair : pairs->delete_()) *std::get<Pairs>(steps.emplace_back(Pairs())).add_delete_() = pair;
   }
   return steps;
}

std::string textAt(Tables const& tables, std::string const& key) {
   auto const it = tables.find(key);
   return it == tables.end() ? std::string() : it->second;
}

// What there may be while an element that is more than one operation of the switch is carried out.
void addBetween(std::vector<Tables>& all, Element const& element, Tables const& old, Tables const& now) {
   auto const with = [&](std::string const& key, std::string const& text) { all.emplace_back(old)[key] = text; };
   if (auto const* const label = std::get_if<pb::mpls_route_msg>(&element)) {
      auto const key = fmt::format("label {}", label->label());
      auto const before = textAt(old, key);
      auto const after = textAt(now, key);
      all.emplace_back(old).erase(key);
      for (auto const& text : {std::string(), '|' + before, after + '|' + before, before + '|' + after})
         with(key, text);
   } else if (std::holds_alternative<pb::ip_route_msg>(element)) {
      for (auto const& [key, text] : now) {
         if (!old.contains(key)) with(key, "");
      }
   } else if (auto const* const session = std::get_if<Session>(&element); session && !session->request_delete()) {
      auto const key = keyOf(*session);
      auto const before = old.contains(key) ? old.at(key) : "300x3 false";
      auto const after = now.at(key);
      with(key, before);
      with(key, after.substr(0, after.find(' ')) + before.substr(before.find(' ')));
   }
}

}  // namespace

Model::Result Model::set(Session const& request) {
   if (request.request_delete()) {
      kept_.erase(keyOf(request));
   } else {
      kept_[keyOf(request)] = {request, textOf(request)};
   }
   return rpc_status_msg::STATUS_SUCCESS;
}

// A removal is carried out within a second, and not at all if the agent ends before.
bool Model::set(Redirect const& request, Result result) {
   if (!request.request_delete()) {
      kept_[keyOf(request)] = {request, textOf(request)};
      return result == rpc_status_msg::STATUS_SUCCESS;
   }
   auto const it = kept_.find(keyOf(request));
   if (it == kept_.end()) return result == rpc_status_msg::STATUS_NOT_FOUND;
   bool const known = it->second.text != anything;
   it->second.text = anything;
   return result == rpc_status_msg::STATUS_SUCCESS || (!known && result == rpc_status_msg::STATUS_NOT_FOUND);
}

bool Model::apply(Element const& element, Result result) {
   if (auto const* const session = std::get_if<Session>(&element)) return set(*session) == result;
   if (auto const* const redirect = std::get_if<Redirect>(&element)) return set(*redirect, result);
   return std::visit(
      [&](auto const& request) {
         if constexpr (requires { native_.apply(request); }) return native_.apply(request) == result;
         return false;
      },
      element);
}

void Model::startResync() {
   native_.startResync();
   for (auto& [key, kept] : kept_) kept.stale = true;
}

void Model::endResync() {
   native_.endResync();
   std::erase_if(kept_, [](auto const& row) { return row.second.stale; });
}

std::vector<Element> Model::held() const {
   std::vector<Element> elements;
   native_.eachHeld([&](auto const& request) { elements.emplace_back(request); });
   for (auto const& [key, kept] : kept_) {
      if (kept.text != anything) elements.push_back(kept.request);
   }
   return elements;
}

Tables Model::tables(bool purging) const {
   Tables tables;
   addLines(tables, "group", native_.groups());
   addLines(tables, "route", native_.routes());
   addLines(tables, "tunnel", native_.tunnels());
   addLines(tables, "label", native_.labels());
   for (auto const& [key, kept] : kept_) tables[key] = kept.text;
   for (auto const& [key, value] : native_.pairs()) tables["pair " + key] = value;
   if (!purging) return tables;
   auto purged = *this;
   purged.endResync();
   auto const left = purged.tables();
   for (auto& [key, text] : tables) {
      if (!left.contains(key)) text = anything;
   }
   return tables;
}

std::vector<Tables> Model::during(Batch const& batch, bool purging) const {
   std::vector<Tables> all{tables(purging)};
   auto model = *this;
   for (auto const& step : stepsOf(batch)) {
      auto const before = model.tables();
      model.apply(step);
      auto const after = model.tables();
      // Of redirects nothing is seen before all are there: first the new values of old ones, then new ones.
      if (std::holds_alternative<Redirect>(step)) continue;
      addBetween(all, step, before, after);
      all.push_back(after);
   }
   if (batch.empty() || !std::holds_alternative<Redirect>(batch.front())) return all;
   auto const after = model.tables();
   auto& updated = all.emplace_back(all.front());
   for (auto& [key, text] : updated) text = after.at(key);
   all.push_back(after);
   return all;
}

}  // namespace VelmSdkRpc::chaos
