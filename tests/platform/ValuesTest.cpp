#include <gmock/gmock.h>

#include <sstream>

#include "platform/velm/errors.h"
#include "platform/velm/intf_id.h"
#include "platform/velm/ip.h"
#include "platform/velm/mpls.h"

namespace velm {
namespace {

TEST(IpTest, PrefixesClearTheirHostBitsAndShowAnyLength) {
   struct Row {
      char const* address;
      int length;
      char const* text;
   };
   for (auto const& row : {Row{"10.1.2.3", 8, "10.0.0.0/8"}, Row{"10.1.2.3", 31, "10.1.2.2/31"},
                           Row{"10.1.2.3", 0, "0.0.0.0/0"}, Row{"10.1.2.3", 33, "10.1.2.3/33"},
                           Row{"2001:db8:ffff::1", 33, "2001:db8:8000::/33"}, Row{"::1", 128, "::1/128"}}) {
      ip_prefix_t const prefix(ip_addr_t(std::string(row.address)), static_cast<unsigned char>(row.length));
      EXPECT_EQ(prefix.to_string(), row.text);
      if (prefix.prefix_length() <= 8 * address_size(prefix.af())) {
         EXPECT_EQ(ip_prefix_t(prefix.to_string()), prefix);
      }
   }
   EXPECT_EQ(ip_prefix_t().to_string(), "");
   EXPECT_EQ(ip_addr_t(static_cast<af_t>(9), nullptr).to_string(), "");
   std::ostringstream os;
   os << ip_addr_t("10.0.0.1") << ip_addr_t() << mpls_action_t::swap << static_cast<mpls_action_t>(9);
   EXPECT_EQ(os.str(), "10.0.0.1swap");
}

TEST(IpTest, TextThatIsNoNetworkIsRefusedWithTheText) {
   for (auto const* text : {"10.0.0.0", "10.0.0.0/33", "10.0.0/8", "/8", "10.0.0.0/", "10.0.0.0/8x", "::/129", ""}) {
      try {
         ip_prefix_t const prefix{std::string(text)};
         FAIL() << text;
      } catch (invalid_argument_error const& e) {
         EXPECT_THAT(e.what(), ::testing::HasSubstr("'"));
      }
   }
   EXPECT_THROW(check_length(ip_prefix_t(ip_addr_t("10.0.0.1"), 33)), invalid_range_error);
   EXPECT_NO_THROW(check_length(ip_prefix_t()));
}

TEST(IntfIdTest, NamesAreTheirOwnKeys) {
   for (auto const* name : {"Ethernet1", "Ethernet3/1", "Port-Channel7", "Loopback0", "Vlan4094", "Management1", ""}) {
      EXPECT_EQ(intf_id_t(name).to_string(), name);
      EXPECT_EQ(intf_of_kernel_name(kernel_name(intf_id_t(name))), intf_id_t(name));
   }
   EXPECT_EQ(kernel_name(intf_id_t("Ethernet3/1")), "eth3_1");
   EXPECT_LT(intf_id_t("Ethernet2"), intf_id_t("Ethernet10"));
   for (auto const* name : {"Ethernet", "Ethernet01", "ethernet1", "Ethernet1/", "Ethernet1/01", "Ethernet1/1/1", "Et1",
                            "Ethernet4294967295", "Ethernet1 ", "eth1"}) {
      EXPECT_THROW(intf_id_t{name}, invalid_argument_error) << name;
   }
   EXPECT_EQ(intf_of_kernel_name("eth3/1"), intf_id_t());
}

TEST(ErrorTest, ARootIsThrownOnAsWhatItIs) {
   std::unique_ptr<error> const e = std::make_unique<unconfigured_agent_error>("not yet");
   EXPECT_THROW(e->raise(), unconfigured_agent_error);
   EXPECT_THROW(mpls_label_t(1048576), invalid_range_error);
   EXPECT_EQ(mpls_label_t(1048575).label(), 1048575);
}

}  // namespace
}  // namespace velm
