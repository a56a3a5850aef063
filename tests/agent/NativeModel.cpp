#include "tests/agent/NativeModel.h"

#include <fmt/format.h>

#include <algorithm>

#include "platform/velm/errors.h"
#include "platform/velm/intf_id.h"
#include "platform/velm/ip.h"

namespace VelmSdkRpc {
namespace {

using pb::rpc_status_msg;

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

// What nexthops of groups and labels have in common.
bool canBe(pb::nexthop_msg const& nexthop) {
   return isIntf(nexthop.nexthop_interface()) &&
          std::ranges::all_of(nexthop.labels(), [](std::uint32_t label) { return label <= highestLabel; });
}

int wantedLabels(pb::nexthop_msg const& nexthop) {
   switch (nexthop.mpls_operation()) {
      case pb::nexthop_msg::MPLS_OP_NONE: return -1;  // no number is right
      case pb::nexthop_msg::MPLS_OP_POP: return 0;
      default: return 1;
   }
}

bool isGood(pb::nexthop_msg const& nexthop) { return nexthop.labels_size() == wantedLabels(nexthop) && canBe(nexthop); }

std::string lineOf(pb::mpls_route_msg const& request) {
   using pb::nexthop_msg;
   if (request.has_pop_and_forward_vrf_name()) {
      return fmt::format("{} {}", request.label(), request.pop_and_forward_vrf_name());
   }
   if (request.has_forward_nexthop_group()) {
      auto const& forward = request.forward_nexthop_group();
      bool const pop = forward.mpls_operation() == pb::mpls_route_msg_forward_nexthop_group_msg::FORWARD_OP_POP;
      return fmt::format("{} {} 0 0 hop= intf= group={}", request.label(), pop ? 2 : 4, forward.nexthop_group());
   }
   auto const& nexthop = request.nexthop();
   bool const pop = nexthop.mpls_operation() == nexthop_msg::MPLS_OP_POP;
   int const action = pop ? 2 : nexthop.mpls_operation() == nexthop_msg::MPLS_OP_PUSH ? 1 : 3;
   return fmt::format("{} {} {} {} hop={} intf={} group=", request.label(), action, pop ? 0 : nexthop.labels(0),
                      pop ? 4 : 0, addressOf(nexthop.nexthop_ip().addr()).to_string(), nexthop.nexthop_interface());
}

template <class Table, class Line>
std::vector<std::string> linesOf(Table const& table, Line&& line) {
   std::vector<std::string> lines;
   for (auto const& [key, held] : table) lines.push_back(line(key, held.request));
   return lines;
}

}  // namespace

template <class Request>
NativeModel::Result NativeModel::put(Table<Request>& table, std::string const& key, Request const& request) {
   table[key] = {request};
   return rpc_status_msg::STATUS_SUCCESS;
}

template <class Request>
NativeModel::Result NativeModel::erase(Table<Request>& table, std::string const& key) {
   return table.erase(key) == 0 ? rpc_status_msg::STATUS_NOT_FOUND : rpc_status_msg::STATUS_SUCCESS;
}

template <class Fn>
void NativeModel::eachTable(Fn&& fn) {
   fn(groups_);
   fn(tunnels_);
   fn(routes_);
   fn(labels_);
}

NativeModel::Result NativeModel::apply(pb::nexthop_group_msg const& request) {
   if (request.request_delete()) return erase(groups_, request.name());
   if (request.name().empty() || request.nexthop().empty()) return rpc_status_msg::STATUS_ERROR;
   if (!std::ranges::all_of(request.nexthop(), canBe)) return rpc_status_msg::STATUS_ERROR;
   return put(groups_, request.name(), request);
}

NativeModel::Result NativeModel::apply(pb::nexthop_group_tunnel_msg const& request) {
   auto const key = textOf(request.prefix());
   if (request.nexthop_group().empty()) return erase(tunnels_, key);
   return isTooLong(request.prefix()) ? rpc_status_msg::STATUS_ERROR : put(tunnels_, key, request);
}

NativeModel::Result NativeModel::apply(pb::ip_route_msg const& request) {
   auto const key = textOf(request.prefix());
   if (request.nexthop_group().empty()) return erase(routes_, key);
   if ((tag_ != 0 && request.tag() != tag_) || isTooLong(request.prefix())) return rpc_status_msg::STATUS_ERROR;
   return put(routes_, key, request);
}

NativeModel::Result NativeModel::apply(pb::mpls_route_msg const& request) {
   auto const key = std::to_string(request.label());
   if (request.label() > highestLabel) return rpc_status_msg::STATUS_ERROR;
   if (request.request_delete()) return erase(labels_, key);
   bool const good = request.has_nexthop()                    ? isGood(request.nexthop())
                     : request.has_pop_and_forward_vrf_name() ? !request.pop_and_forward_vrf_name().empty()
                                                              : request.has_forward_nexthop_group();
   return good ? put(labels_, key, request) : rpc_status_msg::STATUS_ERROR;
}

NativeModel::Result NativeModel::apply(pb::rpc_server_state_config_msg const& request) {
   for (auto const& pair : request.set()) pairs_[pair.key()] = pair.value();
   for (auto const& pair : request.delete_()) pairs_.erase(pair.key());
   return rpc_status_msg::STATUS_SUCCESS;
}

void NativeModel::tagIs(std::uint32_t tag) {
   tag_ = tag;
   if (tag != 0) resyncTag_ = tag;
}

void NativeModel::startResync() {
   eachTable([](auto& table) {
      for (auto& [key, held] : table) held.stale = true;
   });
   for (auto& [key, held] : routes_) held.stale = resyncTag_ == 0 || held.request.tag() == resyncTag_;
}

void NativeModel::endResync() {
   eachTable([](auto& table) { std::erase_if(table, [](auto const& row) { return row.second.stale; }); });
}

std::vector<std::string> NativeModel::groups() const {
   return linesOf(groups_, [](auto const& name, auto const& request) {
      std::uint32_t entries = 0;
      for (auto const& nexthop : request.nexthop()) entries += nexthop.replicate_count();
      return fmt::format("{} {}", name, entries);
   });
}

std::vector<std::string> NativeModel::routes() const {
   return linesOf(routes_, [](auto const& prefix, auto const& request) {
      return fmt::format("{} {} {}", prefix, request.nexthop_group(), request.tag());
   });
}

std::vector<std::string> NativeModel::tunnels() const {
   return linesOf(tunnels_, [](auto const& prefix, auto const& request) {
      return fmt::format("{} {} {}", prefix, request.nexthop_group(), request.igp_metric());
   });
}

std::vector<std::string> NativeModel::labels() const {
   return linesOf(labels_, [](auto const&, auto const& request) { return lineOf(request); });
}

}  // namespace VelmSdkRpc
