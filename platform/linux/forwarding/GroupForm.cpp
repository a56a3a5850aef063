#include "platform/linux/forwarding/GroupForm.h"

#include <fmt/format.h>
#include <linux/if_ether.h>
#include <netinet/in.h>
#include <netinet/ip.h>
#include <netinet/ip6.h>
#include <netinet/udp.h>

#include <algorithm>
#include <cstring>
#include <span>

#include "platform/velm/errors.h"

namespace velm::machine {
namespace {

using Encap = nexthop_group_encap_t;

constexpr std::uint16_t mplsOverUdpPort = 6635;
constexpr std::uint16_t mplsEthertype = 0x8847;
constexpr std::uint16_t ipv4Ethertype = 0x0800;
constexpr std::uint16_t dontFragment = 0x4000;
constexpr std::uint16_t greKeyPresent = 0x2000;

class Reader {
 public:
   Reader(nexthop_group_t const& group, Surroundings const& surroundings)
      : group_(group), surroundings_(surroundings) {}

   EntryForm read(unsigned short index, nexthop_group_entry_t const& entry) const {
      EntryForm form;
      form.index = index;
      form.form.labels = labelsOf(index, entry.mpls_action());
      form.form.carriesLabels = carriesLabels();
      form.form.takes = takesLabel(entry.mpls_action().action_type());
      if (!entry.child_nexthop_group().empty()) {
         if (tunnels()) refuse<unsupported_error>(index, "a tunnel leads into no other group");
         form.child = entry.child_nexthop_group();
         return form;
      }
      if (entry.nexthop().af() == af_t::none) refuse<unsupported_error>(index, "it names no address");
      auto const intf = entry.intf() == intf_id_t() ? surroundings_.intfTowards({}, entry.nexthop()) : entry.intf();
      form.neighbour = {intf, entry.nexthop()};
      if (tunnels()) {
         addOuter(index, form.form);
      } else if (!form.form.labels.empty()) {
         form.form.kind = EXIT_LABELS;
      }
      return form;
   }

 private:
   template <class Error>
   [[noreturn]] void refuse(unsigned short index, std::string const& why) const {
      throw Error(fmt::format("nexthop group {}, entry {}: {}", group_.name(), index, why));
   }

   bool tunnels() const { return group_.type() != Encap::none && group_.type() != Encap::mpls; }
   bool carriesLabels() const { return group_.type() != Encap::ip_in_ip && group_.type() != Encap::gre; }

   absl::InlinedVector<std::uint32_t, 4> labelsOf(unsigned short index,
                                                  nexthop_group_mpls_action_t const& action) const {
      absl::InlinedVector<std::uint32_t, 4> labels;
      if (action.action_type() == mpls_action_t::none) return labels;
      for (auto const& label : action.label_stack()) labels.push_back(label.label());
      if (labels.size() > MAX_LABELS) {
         refuse<unsupported_error>(index,
                                   fmt::format("{} labels, and at most {} are pushed", labels.size(), MAX_LABELS));
      }
      if (!labels.empty() && !carriesLabels()) refuse<configuration_error>(index, "its tunnel carries no labels");
      return labels;
   }

   // An IP packet has none to take: for it a swap is a push.
   static bool takesLabel(mpls_action_t action) {
      return action == mpls_action_t::swap || action == mpls_action_t::pop;
   }

   ip_addr_t sourceFor(unsigned short index, af_t af) const {
      auto const source =
         group_.source_ip().af() == af_t::none ? surroundings_.addressOf(group_.source_intf(), af) : group_.source_ip();
      if (source.af() != af) {
         refuse<configuration_error>(index, fmt::format("its tunnel has no source of the family of its destination"));
      }
      return source;
   }

   void addOuter(unsigned short index, ExitForm& form) const {
      auto const found = group_.destination_ips().find(index);
      if (found == group_.destination_ips().end()) refuse<configuration_error>(index, "its tunnel has no destination");
      auto const& destination = found->second;
      form.ttl = static_cast<std::uint8_t>(std::min<unsigned>(group_.ttl(), 255));
      auto const source = sourceFor(index, destination.af());
      if (destination.af() == af_t::ipv4) {
         addIpv4(source, destination, form);
      } else {
         addIpv6(source, destination, form);
      }
      addInner(form);
   }

   std::uint8_t protocol() const {
      switch (group_.type()) {
         case Encap::gre:
         case Encap::mpls_over_gre: return IPPROTO_GRE;
         case Encap::mpls_over_udp: return IPPROTO_UDP;
         default: return IPPROTO_IPIP;
      }
   }

   template <class Header>
   static void append(ExitForm& form, Header const& header) {
      auto const* const bytes = reinterpret_cast<unsigned char const*>(&header);
      form.outer.insert(form.outer.end(), bytes, bytes + sizeof header);
   }

   // Lengths, TTL, DSCP and checksum are each packet's.
   void addIpv4(ip_addr_t const& source, ip_addr_t const& destination, ExitForm& form) const {
      form.kind = EXIT_IPV4;
      iphdr header{};
      header.version = 4;
      header.ihl = sizeof header / sizeof(std::uint32_t);
      header.frag_off = htons(dontFragment);
      header.protocol = protocol();
      std::memcpy(&header.saddr, source.addr(), sizeof header.saddr);
      std::memcpy(&header.daddr, destination.addr(), sizeof header.daddr);
      append(form, header);
   }
   void addIpv6(ip_addr_t const& source, ip_addr_t const& destination, ExitForm& form) const {
      form.kind = EXIT_IPV6;
      ip6_hdr header{};
      header.ip6_nxt = protocol();
      std::memcpy(&header.ip6_src, source.addr(), sizeof header.ip6_src);
      std::memcpy(&header.ip6_dst, destination.addr(), sizeof header.ip6_dst);
      append(form, header);
   }
   // The key, if there is one, is each packet's.
   void addGre(std::uint16_t protocol, ExitForm& form) const {
      bool const hasKey = group_.gre_key_type() != nexthop_group_gre_key_t::none;
      append(form, htons(hasKey ? greKeyPresent : 0));
      append(form, htons(protocol));
      if (hasKey) append(form, std::uint32_t{0});
   }
   void addInner(ExitForm& form) const {
      switch (group_.type()) {
         case Encap::gre: return addGre(ipv4Ethertype, form);
         case Encap::mpls_over_gre: return addGre(mplsEthertype, form);
         case Encap::mpls_over_udp: {
            udphdr header{};
            header.dest = htons(mplsOverUdpPort);
            return append(form, header);
         }
         default: return;
      }
   }

   nexthop_group_t const& group_;
   Surroundings const& surroundings_;
};

}  // namespace

std::vector<EntryForm> entriesOf(nexthop_group_t const& group, Surroundings const& surroundings) {
   Reader const reader(group, surroundings);
   std::vector<EntryForm> entries;
   for (auto const& [index, entry] : group.nexthops()) {
      auto form = reader.read(index, entry);
      bool const leadsSomewhere = !form.child.empty() || form.neighbour.first != intf_id_t();
      if (leadsSomewhere) entries.push_back(std::move(form));
   }
   return entries;
}

}  // namespace velm::machine
