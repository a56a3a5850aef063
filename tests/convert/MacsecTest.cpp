#include <gmock/gmock.h>

#include "convert/EthLagIntf.h"
#include "convert/Macsec.h"
#include "platform/velm/eth_lag_intf.h"
#include "platform/velm/macsec.h"
#include "tests/convert/Messages.h"

namespace VelmSdkRpc::types {
namespace {

using velm::invalid_argument_error;
using velm::unsupported_error;

TEST(MacsecProfileTest, TheFirstFaultInOrderIsToldWithoutAnyKey) {
   expectOrder<velm::remote::MacsecProfile>({{"key_server_priority: 256", "Invalid key server priority 256"},
                                             {"cipher: 5", "Invalid macsec cipher suite 5"},
                                             {"lldp_bypass_level: 3", "Invalid macsec bypass 3"},
                                             {"traffic_policy: 4", "Invalid macsec traffic policy 4"}});
   std::string const keys = R"(primary_key { cak: "c1" ckn: "n1" } fallback_key { cak: "c2" ckn: "n2" } )";
   for (auto const& [fault, text] :
        {std::pair("key_server_priority: 4294967295 cipher: 5", "Invalid key server priority 4294967295"),
         std::pair("cipher: -1", "Invalid macsec cipher suite -1")}) {
      auto const profile = message<velm::remote::MacsecProfile>(keys + fault);
      EXPECT_EQ(errorText<invalid_argument_error>([&] { convert(profile); }), text);
   }
}

TEST(MacsecProfileTest, OnlyTwoZerosLeaveTheDefaultAlone) {
   velm::macsec_profile_t expected;
   ASSERT_NE(expected.mka_life_time(), 0U);
   ASSERT_NE(expected.cipher(), velm::macsec_cipher_suite_t::none);
   ASSERT_NE(expected.key_server_priority(), 0);
   expected.key_server_priority_is(0);
   EXPECT_EQ(convert(velm::remote::MacsecProfile()), expected);
   EXPECT_EQ(convert(expected).mka_life_time(), expected.mka_life_time());  // which is what is read afterwards

   expected.mka_life_time_is(1);
   EXPECT_EQ(convert(message<velm::remote::MacsecProfile>("mka_life_time: 1")), expected);
   expected.cipher_is(velm::macsec_cipher_suite_t::gcm_aes_256);
   expected.key_server_priority_is(255);
   EXPECT_EQ(convert(message<velm::remote::MacsecProfile>("mka_life_time: 1 cipher: 2 key_server_priority: 255")),
             expected);
}

TEST(MacsecProfileTest, TheInterfacesAreReadOnly) {
   // Not even judged.
   EXPECT_TRUE(convert(message<velm::remote::MacsecProfile>(R"(intfs { name: "Ethernet1" } intfs { name: "x" })"))
                  .intfs()
                  .empty());
   velm::macsec_profile_t profile;
   profile.intfs_is({velm::intf_id_t("Ethernet2"), velm::intf_id_t("Ethernet1")});
   auto const sent = convert(profile);
   ASSERT_EQ(sent.intfs_size(), 2);
   EXPECT_EQ(sent.intfs(0).name() + sent.intfs(1).name(), "Ethernet2Ethernet1");
}

TEST(MacsecIntfTest, WhatTheHardwareSaysArrivesOrIsAnError) {
   using Key = velm::macsec_intf_key_status_t;
   using Traffic = velm::macsec_intf_traffic_status_t;
   EXPECT_EQ(convert(velm::macsec_intf_status_t(Key::unsecured, Traffic::blocked)).ShortDebugString(),
             "key_status: MACSEC_INTF_KEY_STATUS_UNSECURED traffic_status: MACSEC_INTF_TRAFFIC_STATUS_BLOCKED");
   auto const status = [](int key, int traffic) {
      return errorText<invalid_argument_error>(
         [&] { convert(velm::macsec_intf_status_t(static_cast<Key>(key), static_cast<Traffic>(traffic))); });
   };
   EXPECT_EQ(status(6, 3), "Invalid Macsec intf key status 6");
   EXPECT_EQ(status(5, 3), "Invalid Macsec intf traffic status 3");

   velm::macsec_intf_counters_t counters;
   velm::for_each_attribute(counters, [next = UINT64_MAX](char const*, auto& counter) mutable { counter = next--; });
   EXPECT_EQ(convert(counters).ShortDebugString(),
             "out_pkts_encrypted: 18446744073709551615 out_octets_encrypted: 18446744073709551614 "
             "in_pkts_decrypted: 18446744073709551613 in_octets_decrypted: 18446744073709551612 "
             "in_pkts_not_valid: 18446744073709551611");
}

TEST(EthLagIntfTest, ArrivesWholeOrIsUnsupported) {
   velm::eth_lag_intf_t lag;
   lag.intf_is(velm::intf_id_t("Port-Channel7"));
   lag.speed_is(UINT64_MAX);
   lag.min_links_is(UINT32_MAX);
   lag.fallback_type_is(velm::eth_lag_intf_fallback_type_t::individual);
   lag.fallback_timeout_is(65535);
   lag.fallback_timeout_default_is(65534);
   EXPECT_EQ(convert(lag).ShortDebugString(),
             R"(intf { name: "Port-Channel7" } speed: 18446744073709551615 min_links: 4294967295 )"
             "fallback_type: ETH_LAG_INTF_FALLBACK_TYPE_INDIVIDUAL fallback_timeout: 65535 "
             "fallback_timeout_default: 65534");
   lag.fallback_type_is(static_cast<velm::eth_lag_intf_fallback_type_t>(4));
   EXPECT_EQ(errorText<unsupported_error>([&] { convert(lag); }), "unknown fallback type 4");

   velm::eth_lag_intf_membership_t member;
   EXPECT_EQ(convert(member).ShortDebugString(), "eth_lag_intf_id { }");
   member.eth_lag_intf_id_is(velm::intf_id_t("Port-Channel7"));
   member.active_is(true);
   member.reason_is("r");
   member.member_time_is(1.5);
   member.mode_is(velm::eth_lag_intf_member_lacp_mode_t::passive);
   EXPECT_EQ(convert(member).ShortDebugString(),
             R"(eth_lag_intf_id { name: "Port-Channel7" } active: true reason: "r" member_time: 1.5 )"
             "mode: ETH_LAG_INTF_MEMBER_LACP_MODE_PASSIVE");
   member.mode_is(static_cast<velm::eth_lag_intf_member_lacp_mode_t>(4));
   EXPECT_EQ(errorText<unsupported_error>([&] { convert(member); }), "unknown LACP member mode 4");
}

}  // namespace
}  // namespace VelmSdkRpc::types
