#include "tests/support/NativeModel.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>

#include "platform/velm/errors.h"
#include "platform/velm/intf_id.h"
#include "platform/velm/ip.h"

namespace VelmSdkRpc {
namespace {

using pb::nexthop_msg;
using pb::rpc_status_msg;
using Pairs = pb::rpc_server_state_config_msg;
using Redirect = pb::cbf_nexthop_group_redirect_msg;
using Session = pb::sbfd_echo_session_msg;

constexpr std::uint32_t highestLabel = 1048575;

velm::ip_addr_t addressOf(std::string const& bytes) {
   if (bytes.empty()) return {};
   auto const family = bytes.size() == 4 ? velm::af_t::ipv4 : velm::af_t::ipv6;
   return {family, reinterpret_cast<unsigned char const*>(bytes.data())};
}

unsigned char lengthOf(pb::ip_prefix_msg const& prefix) { return static_cast<unsigned char>(prefix.prefix_length()); }

std::string textOf(pb::ip_prefix_msg const& prefix) {
   return prefix.addr().empty() ? "" : velm::ip_prefix_t(addressOf(prefix.addr()), lengthOf(prefix)).to_string();
}

bool isTooLong(pb::ip_prefix_msg const& prefix) {
   return !prefix.addr().empty() && lengthOf(prefix) > 8 * prefix.addr().size();
}

bool isIntf(std::string const& name) try {
   return velm::intf_id_t(name) == velm::intf_id_t(name);
} catch (velm::error const&) {
   return false;
}

// Asked of the nexthops of groups and of labels.
bool canBe(nexthop_msg const& nexthop) {
   return isIntf(nexthop.nexthop_interface()) &&
          std::ranges::all_of(nexthop.labels(), [](std::uint32_t label) { return label <= highestLabel; });
}

bool isGood(nexthop_msg const& nexthop) {
   auto const operation = nexthop.mpls_operation();
   int const wanted = operation == nexthop_msg::MPLS_OP_POP ? 0 : 1;
   return operation != nexthop_msg::MPLS_OP_NONE && nexthop.labels_size() == wanted && canBe(nexthop);
}

bool isGood(pb::mpls_route_msg const& request) {
   if (request.has_nexthop()) return isGood(request.nexthop());
   if (request.has_pop_and_forward_vrf_name()) return !request.pop_and_forward_vrf_name().empty();
   return request.has_forward_nexthop_group();
}

std::string textOf(pb::mpls_route_msg const& request) {
   if (request.has_pop_and_forward_vrf_name()) return request.pop_and_forward_vrf_name();
   if (request.has_forward_nexthop_group()) {
      auto const& forward = request.forward_nexthop_group();
      bool const pop = forward.mpls_operation() == pb::mpls_route_msg_forward_nexthop_group_msg::FORWARD_OP_POP;
      return fmt::format("{} 0 0 hop= intf= group={}", pop ? 2 : 4, forward.nexthop_group());
   }
   auto const& nexthop = request.nexthop();
   bool const pop = nexthop.mpls_operation() == nexthop_msg::MPLS_OP_POP;
   int const action = pop ? 2 : nexthop.mpls_operation() == nexthop_msg::MPLS_OP_PUSH ? 1 : 3;
   return fmt::format("{} {} {} hop={} intf={} group=", action, pop ? 0 : nexthop.labels(0), pop ? 4 : 0,
                      addressOf(nexthop.nexthop_ip().addr()).to_string(), nexthop.nexthop_interface());
}

std::string keyOf(Session const& request) {
   auto const& key = request.session_key();
   return fmt::format("session {}/{}", key.outgoing_interface(), key.labels(0));
}

std::string textOf(Session const& request) {
   bool const byDefault = request.min_tx() == 0;
   return fmt::format("{}x{} {}", byDefault ? 300 : request.min_tx(), byDefault ? 3 : request.detection_multiplier(),
                      request.rtt_enabled());
}

std::string keyOf(Redirect const& request) {
   return fmt::format("redirect {} {}", request.match_nexthop_group_name(), request.redirect_nexthop_group_name());
}

// The switch's IPv6 rules match the whole traffic class.
std::string textOf(Redirect const& request) {
   std::vector<std::uint32_t> ipv4(request.match_ipv4_dscp().begin(), request.match_ipv4_dscp().end());
   std::vector<std::uint32_t> ipv6(request.match_ipv6_dscp().begin(), request.match_ipv6_dscp().end());
   for (auto& value : ipv6) value *= 4;
   std::ranges::sort(ipv4);
   std::ranges::sort(ipv6);
   return fmt::format("{}/{}", fmt::join(ipv4, ","), fmt::join(ipv6, ","));
}

// Pairs are stored and removed one after the other.
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

// Adds the states in the course of an element that takes several operations of the switch.
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

NativeModel::Result NativeModel::put(std::string const& key, Element const& request, std::string text) {
   held_[key] = {request, std::move(text)};
   return rpc_status_msg::STATUS_SUCCESS;
}

NativeModel::Result NativeModel::erase(std::string const& key) {
   return held_.erase(key) == 0 ? rpc_status_msg::STATUS_NOT_FOUND : rpc_status_msg::STATUS_SUCCESS;
}

NativeModel::Result NativeModel::apply(pb::nexthop_group_msg const& request) {
   auto const key = "group " + request.name();
   if (request.request_delete()) return erase(key);
   bool const good =
      !request.name().empty() && !request.nexthop().empty() && std::ranges::all_of(request.nexthop(), canBe);
   if (!good) return rpc_status_msg::STATUS_ERROR;
   std::uint32_t entries = 0;
   for (auto const& nexthop : request.nexthop()) entries += nexthop.replicate_count();
   return put(key, request, std::to_string(entries));
}

NativeModel::Result NativeModel::apply(pb::nexthop_group_tunnel_msg const& request) {
   auto const key = "tunnel " + textOf(request.prefix());
   if (request.nexthop_group().empty()) return erase(key);
   if (isTooLong(request.prefix())) return rpc_status_msg::STATUS_ERROR;
   return put(key, request, fmt::format("{} {}", request.nexthop_group(), request.igp_metric()));
}

NativeModel::Result NativeModel::apply(pb::ip_route_msg const& request) {
   auto const key = "route " + textOf(request.prefix());
   if (request.nexthop_group().empty()) return erase(key);
   if ((tag_ != 0 && request.tag() != tag_) || isTooLong(request.prefix())) return rpc_status_msg::STATUS_ERROR;
   return put(key, request, fmt::format("{} {}", request.nexthop_group(), request.tag()));
}

NativeModel::Result NativeModel::apply(pb::mpls_route_msg const& request) {
   auto const key = fmt::format("label {}", request.label());
   if (request.label() > highestLabel) return rpc_status_msg::STATUS_ERROR;
   if (request.request_delete()) return erase(key);
   return isGood(request) ? put(key, request, textOf(request)) : rpc_status_msg::STATUS_ERROR;
}

NativeModel::Result NativeModel::apply(Pairs const& request) {
   for (auto const& pair : request.set()) put("pair " + pair.key(), Pairs(), pair.value());
   for (auto const& pair : request.delete_()) erase("pair " + pair.key());
   return rpc_status_msg::STATUS_SUCCESS;
}

NativeModel::Result NativeModel::apply(Session const& request) {
   if (!request.request_delete()) return put(keyOf(request), request, textOf(request));
   erase(keyOf(request));
   return rpc_status_msg::STATUS_SUCCESS;
}

bool NativeModel::redirect(Redirect const& request, Result result) {
   if (!request.request_delete()) {
      put(keyOf(request), request, textOf(request));
      return result == rpc_status_msg::STATUS_SUCCESS;
   }
   auto const it = held_.find(keyOf(request));
   if (it == held_.end()) return result == rpc_status_msg::STATUS_NOT_FOUND;
   bool const known = it->second.text != anything;
   it->second.text = anything;
   return result == rpc_status_msg::STATUS_SUCCESS || (!known && result == rpc_status_msg::STATUS_NOT_FOUND);
}

bool NativeModel::apply(Element const& element, Result result) {
   return std::visit(
      [&]<class Request>(Request const& request) {
         if constexpr (std::is_same_v<Request, Redirect>)
            return redirect(request, result);
         else
            return apply(request) == result;
      },
      element);
}

void NativeModel::tagIs(std::uint32_t tag) {
   tag_ = tag;
   if (tag != 0) resyncTag_ = tag;
}

void NativeModel::startResync() {
   for (auto& [key, held] : held_) {
      auto const* const route = std::get_if<pb::ip_route_msg>(&held.request);
      held.stale = !std::holds_alternative<Pairs>(held.request) &&
                   (route == nullptr || resyncTag_ == 0 || route->tag() == resyncTag_);
   }
}

void NativeModel::endResync() {
   std::erase_if(held_, [](auto const& row) { return row.second.stale; });
}

std::vector<Element> NativeModel::held() const {
   std::vector<Element> elements;
   for (auto const& [key, held] : held_) {
      if (!std::holds_alternative<Pairs>(held.request) && held.text != anything) elements.push_back(held.request);
   }
   return elements;
}

bool NativeModel::holds(std::string const& kind) const {
   auto const it = held_.lower_bound(kind + ' ');
   return it != held_.end() && it->first.starts_with(kind + ' ');
}

Tables NativeModel::tables(bool purging) const {
   Tables tables;
   for (auto const& [key, held] : held_) tables[key] = purging && held.stale ? anything : held.text;
   return tables;
}

std::vector<Tables> NativeModel::during(Batch const& batch, bool purging) const {
   std::vector<Tables> all{tables(purging)};
   auto model = *this;
   for (auto const& step : stepsOf(batch)) {
      auto const before = model.tables();
      model.done(step);
      // Nothing is seen of redirects before all are there: first the new values of old ones, then new ones.
      if (std::holds_alternative<Redirect>(step)) continue;
      auto const after = model.tables();
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

}  // namespace VelmSdkRpc
