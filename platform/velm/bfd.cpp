#include "platform/velm/bfd.h"

#include <absl/hash/hash.h>
#include <fmt/format.h>

#include <iterator>

namespace velm {

std::size_t sbfd_echo_session_key_t::hash() const { return absl::HashOf(*this); }

std::string sbfd_echo_session_key_t::to_string() const {
   auto text = fmt::format("{} {} labels ", intf_.to_string(), nexthop_.to_string());
   for (auto const label : labels_) fmt::format_to(std::back_inserter(text), "{},", label.label());
   if (labels_.empty()) {
      text += '-';
   } else {
      text.pop_back();
   }
   return text + fmt::format(" dscp {} exp {}", ip_dscp_, mpls_exp_);
}

std::string sbfd_echo_session_rtt_stats_t::to_string() const {
   return fmt::format("last {} min {} avg {} max {} snapshot min {} avg {} max {}", last_rtt_, min_rtt_, avg_rtt_,
                      max_rtt_, snapshot_min_rtt_, snapshot_avg_rtt_, snapshot_max_rtt_);
}

std::string bfd_session_key_t::to_string() const {
   auto text = ip_addr_.to_string();
   if (!vrf_name_.empty()) text += " vrf " + vrf_name_;
   if (intf_ != intf_id_t()) text += ' ' + intf_.to_string();
   return text;
}

}  // namespace velm
