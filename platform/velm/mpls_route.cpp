#include "platform/velm/mpls_route.h"

#include <absl/hash/hash.h>
#include <fmt/format.h>

#include <iterator>

namespace velm {

std::size_t mpls_route_key_t::hash() const { return absl::HashOf(*this); }

std::string mpls_route_key_t::to_string() const {
   std::string text;
   for (auto const label : labels_) fmt::format_to(std::back_inserter(text), "{} ", label.label());
   return text + fmt::format("metric {}", metric_);
}

}  // namespace velm
