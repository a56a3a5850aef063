#include "clients/velmctl/Nexthop.h"

#include <fmt/format.h>

#include <stdexcept>
#include <string>

#include "clients/support/Address.h"
#include "clients/velmctl/Errors.h"
#include "clients/velmctl/MessageReader.h"
#include "clients/velmctl/Split.h"

// Each part is set by readArgument, as if it had been typed as FIELD=VALUE, so that its checks and the words of a
// refusal are those of any request.
namespace VelmSdkRpc::ctl {
namespace {

bool isAddress(std::string const& text) {
   try {
      addressBytes(text);
      return true;
   } catch (std::invalid_argument const&) {
      return false;
   }
}

void readPlace(std::string_view text, pb::nexthop_msg& nexthop) {
   auto const at = text.find('@');
   bool const hasBoth = at != std::string_view::npos;
   if (hasBoth || isAddress(std::string(text))) {
      readArgument(fmt::format("nexthop_ip={}", text.substr(0, at)), nexthop);
   }
   if (hasBoth || !nexthop.has_nexthop_ip()) {
      nexthop.set_nexthop_interface(std::string(hasBoth ? text.substr(at + 1) : text));
   }
}

void readLabels(std::string_view labels, char const* operation, pb::nexthop_msg& nexthop) {
   if (nexthop.mpls_operation() != pb::nexthop_msg::MPLS_OP_NONE)
      throw UsageError("more than one of push, pop and swap");
   readArgument(fmt::format("mpls_operation={}", operation), nexthop);
   for (auto const label : split(labels, "/")) {
      readArgument(fmt::format("labels={}", label), nexthop);
   }
}

void readProperty(std::string_view property, pb::nexthop_msg& nexthop) {
   auto const equals = property.find('=');
   auto const name = property.substr(0, equals);
   auto const value = equals == std::string_view::npos ? std::string_view() : property.substr(equals + 1);
   if (name == "push" && !value.empty()) return readLabels(value, "MPLS_OP_PUSH", nexthop);
   if (name == "swap" && !value.empty()) return readLabels(value, "MPLS_OP_SWAP", nexthop);
   if (property == "pop") return readLabels({}, "MPLS_OP_POP", nexthop);
   if (name == "weight") return readArgument(fmt::format("replicate_count={}", value), nexthop);
   throw UsageError(fmt::format("expected push=LABELS, pop, swap=LABEL or weight=N, not \"{}\"", property));
}

}  // namespace

pb::nexthop_msg nexthopOf(std::string_view text) {
   pb::nexthop_msg nexthop;
   nexthop.set_replicate_count(1);
   auto const parts = split(text, ",");
   try {
      if (parts.empty() || text.starts_with(',')) throw UsageError("expected an interface or an address first");
      readPlace(parts[0], nexthop);
      for (std::size_t i = 1; i < parts.size(); ++i) readProperty(parts[i], nexthop);
   } catch (UsageError const& e) {
      throw UsageError(fmt::format("nexthop \"{}\": {}", text, e.what()));
   }
   return nexthop;
}

}  // namespace VelmSdkRpc::ctl
