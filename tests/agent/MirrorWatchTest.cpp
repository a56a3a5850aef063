// The watches of addresses, policy maps, Macsec and LAGs, and what becomes of key material.
#include <sys/stat.h>

#include <csignal>

#include "proto/remote/eth_lag_intf.grpc.pb.h"
#include "proto/remote/ip_intf.grpc.pb.h"
#include "proto/remote/macsec.grpc.pb.h"
#include "proto/remote/policy_map.grpc.pb.h"
#include "tests/support/AgentTest.h"
#include "tests/support/Mirror.h"

namespace VelmSdkRpc {
namespace {

namespace remote = velm::remote;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::UnorderedElementsAre;
using Addrs = remote::IpIntfMgrService::Stub;
using Policies = remote::PolicyMapMgrService::Stub;
using Macsec = remote::MacsecMgrService::Stub;
using Lags = remote::EthLagIntfMgrService::Stub;

class MirrorWatchTest : public StatefulAgentTest {
 protected:
   MirrorWatchTest() : StatefulAgentTest("macsec/0-9") {}

   /// Nobody watches any more once the stream has gone.
   template <class Response>
   void expectLast(Stream<Response>& stream, char const* handler) {
      EXPECT_THAT(watches(handler), ElementsAre("all"));
      stream.cancel();
      EXPECT_TRUE(eventually([&] { return watches(handler).empty(); }));
   }
};

TEST_F(MirrorWatchTest, EveryChangeOfAnAddressComesInOrder) {
   auto const stub = remote::IpIntfMgrService::NewStub(channel());
   auto const watch = watchFrom(*stub, &Addrs::watch, remote::IpIntfWatchRequest());
   world({"interface Ethernet1", "ip address 192.0.2.1/24", "no ip address 192.0.2.1/24",
          "simulate ip interface Ethernet1 vlan 65535"});
   EXPECT_THAT(nextWords(*watch, 3,
                         [](auto const& event) {
                            return event.has_internal_vlan_id()
                                      ? fmt::format("{} vlan {}", event.intf().name(),
                                                    event.internal_vlan_id().vlan_id())
                                      : fmt::format("{} op {} /{}", event.intf().name(), event.ip_addr_event().op(),
                                                    event.ip_addr_event().addr().mask_length());
                         }),
               ElementsAre("Ethernet1 op 1 /24", "Ethernet1 op 2 /24", "Ethernet1 vlan 65535"));
   expectLast(*watch, "ip_intf_handler");
}

TEST_F(MirrorWatchTest, OfAPolicyMapTheLastEventOfABurstComes) {
   auto const stub = remote::PolicyMapMgrService::NewStub(channel());
   auto const watch = [&](auto choose) {
      remote::PolicyMapWatchRequest request;
      choose(request);
      return watchFrom(*stub, &Policies::watch, request);
   };
   auto const word = [](remote::PolicyMapWatchResponse const& event) {
      return fmt::format("{}/{} {}{}", event.key().name(), event.key().feature(), event.event(),
                         event.sync_fail_message());
   };
   auto const all = watch([](auto& request) { request.set_all(true); });
   auto const one = watch([](auto& request) {
      request.mutable_key()->set_name("p");
      request.mutable_key()->set_feature(remote::POLICY_FEATURE_PBR);
   });
   auto const none = watch([](auto& request) { request.set_all(false); });
   world({"simulate policy-map p feature 1 sync", "simulate policy-map p feature 2 config-set",
          "simulate policy-map p feature 1 sync-fail \"no room\""});
   EXPECT_THAT(nextWords(*all, 2, word), UnorderedElementsAre("p/1 0no room", "p/2 2"));
   EXPECT_THAT(nextWords(*one, 1, word), ElementsAre("p/1 0no room"));
   world({"simulate policy-map p feature 1 config-set", "simulate policy-map p feature 1 sync"});
   EXPECT_THAT(nextWords(*one, 1, word), ElementsAre("p/1 1"));
   one->cancel();
   none->cancel();
   EXPECT_FALSE(none->next());
   expectLast(*all, "policy_map_handler");
}

TEST_F(MirrorWatchTest, OfALagAndOfAMemberTheLastEventOfABurstComes) {
   auto const stub = remote::EthLagIntfMgrService::NewStub(channel());
   auto const watch = watchFrom(*stub, &Lags::watch, remote::EthLagIntfWatchRequest());
   auto const word = [](remote::EthLagIntfWatchResponse const& event) {
      return fmt::format("{} {} type {} speed {}", event.intf().name(), event.member().name(), event.event_type(),
                         event.speed());
   };
   world({"interface Port-Channel1", "no interface Port-Channel1", "interface Port-Channel2",
          "simulate port-channel Port-Channel2 speed 5", "interface Ethernet7", "channel-group 2 mode on",
          "channel-group 3 mode active"});
   // Of the creations nothing is seen: speeds have overtaken them.
   EXPECT_THAT(
      nextWords(*watch, 4, word),
      UnorderedElementsAre("Port-Channel1  type 2 speed 0", "Port-Channel2  type 5 speed 0",
                           "Port-Channel3  type 5 speed 100000000000", "Port-Channel3 Ethernet7 type 3 speed 0"));
   world({"interface Ethernet7", "no channel-group"});
   EXPECT_THAT(nextWords(*watch, 2, word),
               UnorderedElementsAre("Port-Channel3 Ethernet7 type 4 speed 0", "Port-Channel3  type 5 speed 0"));
}

TEST_F(MirrorWatchTest, AMacsecStatusOutsideItsTableIsNoneThatTheWorldHas) {
   auto const stub = remote::MacsecMgrService::NewStub(channel());
   auto const watch = watchFrom(*stub, &Macsec::watch, remote::MacsecWatchRequest());
   remote::MacsecProfileSetRequest set;
   set.mutable_profile()->set_name("m");
   ASSERT_TRUE(ask(*stub, &Macsec::profile_set, set).status.ok());
   world({"interface Ethernet1", "mac security profile m", "simulate macsec Ethernet1 key-status 0 traffic-status 0",
          "simulate macsec Ethernet1 key-status 2 traffic-status 1"});
   for (std::string last; last != "Ethernet1 3 2";) {
      auto const event = watch->next();
      ASSERT_TRUE(event);
      last =
         fmt::format("{} {} {}", event->intf().name(), event->status().key_status(), event->status().traffic_status());
   }
   auto const refused = runConfig({"simulate macsec Ethernet1 key-status 99 traffic-status 1"});
   EXPECT_EQ(refused.error_code(), 1001);
   EXPECT_THAT(refused.error_message(), EndsWith("failed: key-status 99 is out of range"));
   expectLast(*watch, "macsec_handler");
}

TEST_F(MirrorWatchTest, KeyMaterialStaysWithTheSwitchAndItsClients) {
   auto const stub = remote::MacsecMgrService::NewStub(channel());
   remote::BulkMacsecProfileSetRequest sets;
   auto& profile = *sets.add_requests()->mutable_profile();
   profile.set_name("m");
   profile.mutable_primary_key()->set_cak("5ec2e7");
   profile.mutable_fallback_key()->set_cak("5ec2e8");
   *sets.add_requests()->mutable_profile() = profile;
   sets.mutable_requests(1)->mutable_profile()->set_cipher(static_cast<remote::MacsecCipherSuite>(9));
   auto const refused = ask(*stub, &Macsec::bulk_profile_set, sets).response;
   EXPECT_EQ(refused.count(), 1);
   EXPECT_THAT(refused.status().error_string(), Not(HasSubstr("5ec2")));
   EXPECT_THAT(runShow("show macsec").raw_response(), Not(HasSubstr("5ec2")));
   remote::MacsecProfileRequest request;
   request.set_name("m");
   EXPECT_EQ(ask(*stub, &Macsec::profile, request).response.profile().fallback_key().cak(), "5ec2e8");
   struct stat status {};
   ASSERT_EQ(::stat(folder.c_str(), &status), 0);
   EXPECT_EQ(status.st_mode & 0777, 0700);
   EXPECT_EQ(stop(SIGTERM), 0);
   EXPECT_THAT(agent().stderrText(), Not(HasSubstr("5ec2")));
}

}  // namespace
}  // namespace VelmSdkRpc
