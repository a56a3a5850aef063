#include <numeric>

#include "convert/AddressFamily.h"
#include "convert/Values.h"
#include "tests/convert/Messages.h"

namespace VelmSdkRpc::types {
namespace {

using velm::invalid_argument_error;
using velm::unsupported_error;

/// The bytes 1, 2, 3 and so on.
std::string bytes(std::size_t size) {
   std::string text(size, '\0');
   std::iota(text.begin(), text.end(), '\1');
   return text;
}

template <class Network>
Network network(std::string const& address, std::uint32_t length) {
   Network message;
   message.set_ip_addr(address);
   if constexpr (requires { message.set_prefix_length(length); }) {
      message.set_prefix_length(length);
   } else {
      message.set_mask_length(length);
   }
   return message;
}
constexpr auto prefix = network<velm::remote::Prefix>;
constexpr auto mask = network<velm::remote::IpAddrMask>;

TEST(AddressBytesTest, OnlyTheSizesOfAFamilyPass) {
   EXPECT_EQ(ip_addr(""), velm::ip_addr_t());
   EXPECT_EQ(ip_addr(bytes(4)), velm::ip_addr_t("1.2.3.4"));
   EXPECT_EQ(ip_addr(bytes(16)), velm::ip_addr_t("102:304:506:708:90a:b0c:d0e:f10"));
   for (auto const size : {0, 4, 16}) EXPECT_EQ(ip_addr_bytes(ip_addr(bytes(size))), bytes(size));
   for (auto const size : {1, 3, 5, 6, 15, 17, 256}) {
      EXPECT_EQ(errorText<invalid_argument_error>([&] { ip_addr(bytes(size)); }),
                "bytes length " + std::to_string(size) + " does not match IPv4(4) or IPv6(16)");
   }

   EXPECT_EQ(eth_addr(""), velm::eth_addr_t());
   EXPECT_EQ(eth_addr(bytes(6)).to_string(), "01:02:03:04:05:06");
   for (auto const size : {1, 4, 5, 7}) {
      EXPECT_EQ(errorText<invalid_argument_error>([&] { eth_addr(bytes(size)); }),
                "bytes length " + std::to_string(size) + " do not match MAC(6)");
   }
}

TEST(AddressBytesTest, AnUnknownFamilyFailsInTwoForms) {
   velm::ip_addr_t const address(static_cast<velm::af_t>(9), nullptr);
   EXPECT_EQ(errorText<invalid_argument_error>([&] { ip_addr_bytes(address); }), "Unknown address family: 9");
   auto const text = "Unknown address family on conversion from SDK";
   EXPECT_EQ(errorText<unsupported_error>([&] { afToSize(address); }), text);
   EXPECT_EQ(errorText<unsupported_error>([&] { convert(velm::ip_prefix_t(address, 1)); }), text);
   EXPECT_EQ(errorText<unsupported_error>([&] { convert(velm::ip_addr_mask_t(address, 1)); }), text);
   EXPECT_EQ(afToSize(velm::ip_addr_t()), 0U);
}

TEST(NetworkTest, LengthIsCutAndOnlyAPrefixLosesItsHostBits) {
   struct Row {
      std::string address;
      std::uint32_t length;
      unsigned char cut;
      std::string network;  // what the wire carries back for a prefix
   };
   std::string const v4("\xff\xff\xff\xff"), v6(16, '\xff');
   for (auto const& row :
        {Row{v4, 24, 24, std::string("\xff\xff\xff\0", 4)}, Row{v4, 257, 1, std::string("\x80\0\0\0", 4)},
         Row{v4, 256, 0, std::string(4, '\0')}, Row{v4, 255, 255, v4},
         Row{v6, 300, 44, std::string("\xff\xff\xff\xff\xff\xf0", 6) + std::string(10, '\0')}, Row{"", 8, 8, ""},
         Row{"", 0, 0, ""}}) {
      SCOPED_TRACE(row.length);
      auto const asPrefix = convert(prefix(row.address, row.length));
      EXPECT_EQ(asPrefix, velm::ip_prefix_t(ip_addr(row.address), row.cut));
      EXPECT_EQ(convert(asPrefix).ip_addr(), row.network);
      EXPECT_EQ(convert(asPrefix).prefix_length(), row.cut);
      auto const asMask = convert(mask(row.address, row.length));
      EXPECT_EQ(asMask, velm::ip_addr_mask_t(ip_addr(row.address), row.cut));
      EXPECT_EQ(convert(asMask).ip_addr(), row.address);
      EXPECT_EQ(convert(asMask).mask_length(), row.cut);
   }
   EXPECT_EQ(convert(velm::remote::Prefix()), velm::ip_prefix_t());
   auto const text = "bytes length 3 does not match IPv4(4) or IPv6(16)";
   EXPECT_EQ(errorText<invalid_argument_error>([] { convert(prefix("abc", 8)); }), text);
   EXPECT_EQ(errorText<invalid_argument_error>([] { convert(mask("abc", 8)); }), text);
}

TEST(RecordTest, TheSdkJudgesNamesAndLabels) {
   velm::remote::IntfId intf;
   EXPECT_EQ(convert(intf), velm::intf_id_t());
   intf.set_name("Ethernet3/1");
   EXPECT_EQ(convert(convert(intf)).name(), "Ethernet3/1");
   intf.set_name("Ether");
   EXPECT_EQ(errorText<invalid_argument_error>([&] { convert(intf); }), "'Ether' is not an interface name");

   velm::remote::MplsLabel label;
   label.set_label(velm::mpls_label_t::max);
   EXPECT_EQ(convert(convert(label)).label(), velm::mpls_label_t::max);
   label.set_label(velm::mpls_label_t::max + 1);
   EXPECT_THROW(convert(label), velm::invalid_range_error);

   velm::remote::MplsFecId fec;
   fec.set_id(UINT64_MAX);
   EXPECT_EQ(convert(convert(fec)).id(), UINT64_MAX);
}

}  // namespace
}  // namespace VelmSdkRpc::types
