// sBFD echo sessions through the native service, and what their status stream carries.
#include <csignal>
#include <cstdlib>
#include <map>

#include "tests/support/AgentTest.h"
#include "tests/support/Mirror.h"

namespace VelmSdkRpc {
namespace {

using pb::rpc_status_msg;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;
using ::testing::UnorderedElementsAre;
using Stub = pb::velmsdk_service::Stub;
using Batch = pb::watch_sbfd_echo_session_status_msg;

/// The front of a simulation of the session.
std::string simulate(std::string const& intf, std::uint32_t label) {
   return fmt::format("simulate sbfd {} 10.0.0.1 labels {} dscp 0 exp 0 ", intf, label);
}

/// A batch in a word for each element: "Ethernet1/16=3", "Ethernet1/16 rtt 5", "end".
std::vector<std::string> wordsOf(std::optional<Batch> const& batch) {
   if (!batch) return {"over"};
   std::vector<std::string> words;
   for (auto const& element : batch->bulk()) {
      auto const& key = element.session_key();
      auto const name = key.labels().empty() ? "" : fmt::format("{}/{}", key.outgoing_interface(), key.labels(0));
      switch (element.update_case()) {
         case Batch::kStatus: words.push_back(fmt::format("{}={}", name, element.status().status())); break;
         case Batch::kRtt: words.push_back(fmt::format("{} rtt {}", name, element.rtt().last_rtt())); break;
         case Batch::kEndOfStatusBatch: words.push_back(element.has_session_key() ? "end with key" : "end"); break;
         default: words.emplace_back("nothing");
      }
   }
   return words;
}

class SbfdTest : public StatefulAgentTest {
 protected:
   void SetUp() override {
      AgentTest::SetUp();
      still();
   }
   /// The switch changes no session by itself.
   void still() {
      world({"simulate sbfd auto off"});
      init();
   }

   /// A stream that listens.
   std::unique_ptr<Stream<Batch>> listen(bool wantsRtt = true) { return listen(client(), wantsRtt); }
   std::unique_ptr<Stream<Batch>> listen(Stub& stub, bool wantsRtt = true) {
      pb::watch_sbfd_echo_session_config_msg config;
      config.set_request_rtt_updates(wantsRtt);
      auto stream = std::make_unique<Stream<Batch>>(stub, &Stub::watch_sbfd_echo_session_status_msgs, config);
      ask(stub, &Stub::get_rpc_server_state, pb::rpc_server_state_status_msg());  // taken after the stream's call
      return stream;
   }
   /// "Ethernet1/16 300x3 false", the last whether RTT is measured.
   std::vector<std::string> sessions() {
      std::vector<std::string> lines;
      for (auto const& [key, text] : table("session")) lines.push_back(key + ' ' + text);
      return lines;
   }
};

TEST_F(SbfdTest, RequestsAreCheckedInOrder) {
   auto const refused = [&](auto&& spoil) {
      auto request = sessionMsg("Ethernet1", 16);
      spoil(request);
      auto const answer = set(request);
      EXPECT_EQ(answer.status(), rpc_status_msg::STATUS_ERROR);
      return answer.debug_string();
   };
   EXPECT_THAT(refused([](auto& request) {
                  request.mutable_session_key()->set_dscp(256);
                  request.set_request_delete(true);
               }),
               StartsWith("Error: invalid DSCP value 256 request VelmSdkRpc::pb::sbfd_echo_session_msg{sessionKey="));
   EXPECT_THAT(refused([](auto& request) { request.mutable_session_key()->set_mpls_exp(8); }),
               StartsWith("Error: invalid MPLS exp value 8 request VelmSdkRpc::pb::sbfd_echo_session_msg{"));
   EXPECT_THAT(refused([](auto& request) { request.set_detection_multiplier(3); }),
               StartsWith("Error: Must specify either both min_tx and detectionMultiplier or none of them. Request "));
   EXPECT_THAT(refused([](auto& request) { request.set_min_tx(3); }), HasSubstr(" minTx=3 detectionMultiplier=0 "));
   EXPECT_THAT(refused([](auto& request) { request.mutable_session_key()->set_labels(0, 1 << 20); }),
               EndsWith("1048576 is above 1048575"));
   EXPECT_THAT(refused([](auto& request) { request.mutable_session_key()->set_outgoing_interface("Ethernt1"); }),
               EndsWith("exception 'Ethernt1' is not an interface name"));
   EXPECT_THAT(refused([](auto& request) { request.mutable_session_key()->clear_nexthop(); }),
               EndsWith("names no nexthop"));
   EXPECT_THAT(sessions(), IsEmpty());
   auto highest = sessionMsg("Ethernet1", 16);
   highest.mutable_session_key()->set_dscp(255);
   highest.mutable_session_key()->set_mpls_exp(7);
   EXPECT_THAT(set(highest), Succeeded());
   EXPECT_EQ(setAll<pb::sbfd_echo_session_msg>({}).status_size(), 0);
}

TEST_F(SbfdTest, ARepeatedRequestSetsEverythingAnew) {
   auto request = sessionMsg("Ethernet1", 16, true);
   request.set_min_tx(65536 + 50);  // cut to 16 and 8 bits, unchecked
   request.set_detection_multiplier(256 + 5);
   request.set_rtt_enabled(true);
   EXPECT_THAT(set(request), Succeeded());
   EXPECT_THAT(sessions(), ElementsAre("Ethernet1/16 50x5 true"));
   EXPECT_THAT(watches("intf_handler"), ElementsAre("Ethernet1"));
   request.set_min_tx(65536);
   EXPECT_THAT(set(request), Succeeded());
   EXPECT_THAT(sessions(), ElementsAre("Ethernet1/16 0x5 true"));
   EXPECT_THAT(set(sessionMsg("Ethernet1", 17, true)), Succeeded());
   EXPECT_THAT(set(sessionMsg("Ethernet1", 16)), Succeeded());
   EXPECT_THAT(sessions(), ElementsAre("Ethernet1/16 300x3 false", "Ethernet1/17 300x3 false"));
   EXPECT_THAT(watches("intf_handler"), ElementsAre("Ethernet1"));  // for the other one
   EXPECT_THAT(set(deletionOf(sessionMsg("Ethernet1", 17))), Succeeded());
   EXPECT_THAT(watches("intf_handler"), IsEmpty());
   EXPECT_THAT(set(deletionOf(sessionMsg("Ethernet1", 17))), Succeeded());  // unknown by now
   EXPECT_THAT(sessions(), ElementsAre("Ethernet1/16 300x3 false"));
}

TEST_F(SbfdTest, AFaultLeavesWhatWasDoneBeforeIt) {
   auto request = sessionMsg("Ethernet1", 16, true);
   request.set_rtt_enabled(true);
   auto const faultAt = [&](std::string const& operation, pb::sbfd_echo_session_msg const& asked) {
      failNext("bfd_session_mgr." + operation);
      auto const answer = set(asked);
      EXPECT_EQ(answer.status(), rpc_status_msg::STATUS_ERROR);
      EXPECT_THAT(answer.debug_string(), StartsWith("Error: request VelmSdkRpc::pb::sbfd_echo_session_msg{"));
      EXPECT_THAT(answer.debug_string(), EndsWith("} exception broken"));
      return sessions();
   };
   EXPECT_THAT(faultAt("sbfd_echo_session_set", request), IsEmpty());
   EXPECT_THAT(faultAt("sbfd_echo_session_default_interval", request), ElementsAre("Ethernet1/16 300x3 false"));
   EXPECT_THAT(faultAt("sbfd_echo_session_interval_is", request), ElementsAre("Ethernet1/16 300x3 false"));
   EXPECT_THAT(faultAt("sbfd_echo_session_rtt_enabled_is", request), ElementsAre("Ethernet1/16 300x3 false"));
   EXPECT_THAT(watches("intf_handler"), IsEmpty());
   EXPECT_THAT(set(request), Succeeded());
   EXPECT_THAT(faultAt("sbfd_echo_session_del", deletionOf(request)), ElementsAre("Ethernet1/16 300x3 true"));
   EXPECT_THAT(watches("intf_handler"), ElementsAre("Ethernet1"));
   failNext("bfd_session_mgr.sbfd_echo_session_status");
   EXPECT_THAT(resync(pb::RESYNC_START), Succeeded());
   EXPECT_THAT(set(request), Succeeded());
   EXPECT_THAT(resync(pb::RESYNC_END), Status(rpc_status_msg::STATUS_ERROR, "Error: exception broken"));
}

TEST_F(SbfdTest, StatusesOfOneTurnAreOneBatchWhoeverTheyAreOf) {
   auto const first = listen();
   auto second = listen(false);
   EXPECT_THAT(set(sessionMsg("Ethernet1", 16)), Succeeded());
   std::vector<std::string> commands;
   for (auto const* status : {"1", "2", "3", "4", "0", "5"})
      commands.push_back(simulate("Ethernet1", 16) + "status " + status);
   commands.push_back(simulate("Ethernet2", 17) + "status 3");  // no session of ours
   world(commands);
   for (auto* stream : {first.get(), second.get()}) {
      EXPECT_THAT(wordsOf(stream->next()),
                  ElementsAre("Ethernet1/16=1", "Ethernet1/16=2", "Ethernet1/16=3", "Ethernet1/16=4", "Ethernet1/16=0",
                              "Ethernet1/16=0", "Ethernet2/17=3", "end"));
   }
   second.reset();
   for (int i = 0; i < 3; ++i) {
      world({simulate("Ethernet1", 16) + "status 3"});
      EXPECT_THAT(wordsOf(first->next()), ElementsAre("Ethernet1/16=3", "end"));
   }
}

TEST_F(SbfdTest, RttFiguresCoalesceByKeyAndGoToEveryListener) {
   auto const stream = listen(false);
   world({simulate("Ethernet1", 16) + "rtt 1 2 3 4 5 6 7", simulate("Ethernet2", 16) + "rtt 2 2 3 4 5 6 7",
          simulate("Ethernet1", 16) + "rtt 11 12 13 14 15 16 17"});
   auto const batch = stream->next();
   EXPECT_THAT(wordsOf(batch), UnorderedElementsAre("Ethernet1/16 rtt 11", "Ethernet2/16 rtt 2"));
   auto const& rtt = batch->bulk(batch->bulk(0).rtt().last_rtt() == 11 ? 0 : 1).rtt();
   EXPECT_EQ(rtt.min_rtt(), 12);
   EXPECT_EQ(rtt.avg_rtt(), 13);
   EXPECT_EQ(rtt.max_rtt(), 14);
   EXPECT_EQ(rtt.snapshot_min_rtt(), 15);
   EXPECT_EQ(rtt.snapshot_avg_rtt(), 16);
   EXPECT_EQ(rtt.snapshot_max_rtt(), 17);
   EXPECT_EQ(show("show switch tasks")["tasks"]["bfdRttBacklog"]["work_count"].GetUint(), 2);
   EXPECT_EQ(show("show switch tasks")["tasks"]["bfdRttBacklog"]["priority"].GetUint(), 3);
   EXPECT_EQ(show("show switch tasks")["tasks"]["BfdSendAliveBulk"]["priority"].GetUint(), 1);
}

TEST_F(SbfdTest, AnInterfaceThatFailsIsToldAtOnceForThoseThatFollowIt) {
   auto const stream = listen();
   for (auto const label : {16, 17, 18}) EXPECT_THAT(set(sessionMsg("Ethernet1", label, label != 18)), Succeeded());
   world({simulate("Ethernet1", 16) + "status 3", simulate("Ethernet1", 17) + "status 1"});
   EXPECT_THAT(wordsOf(stream->next()), ElementsAre("Ethernet1/16=3", "Ethernet1/17=1", "end"));
   auto const expectNews = [&](std::string const& command, std::vector<std::string> const& news) {
      world({command});
      EXPECT_THAT(wordsOf(stream->next()), ::testing::ElementsAreArray(news)) << command;
   };
   // Once this event has come, the loop has done all that was to be done before it, and told nothing.
   auto const expectNoNews = [&] { expectNews(simulate("Ethernet9", 9) + "status 3", {"Ethernet9/9=3", "end"}); };
   expectNews("simulate interface Ethernet1 oper down", {"Ethernet1/16=1", "end"});  // the other one is down already
   expectNews("simulate interface Ethernet1 oper up", {"Ethernet1/16=3", "end"});    // as the switch still says
   world({"simulate interface Ethernet1 oper unknown"});                             // nothing can be said
   expectNoNews();
   expectNews("simulate interface Ethernet1 oper up", {"Ethernet1/16=3", "end"});
   expectNews(simulate("Ethernet1", 16) + "status 1", {"Ethernet1/16=1", "end"});
   world({"simulate interface Ethernet1 oper down", "simulate interface Ethernet1 oper up"});  // all are down
   expectNoNews();
   expectNews(simulate("Ethernet1", 16) + "status 3", {"Ethernet1/16=3", "end"});
   expectNews("simulate interface Ethernet1 delete", {"Ethernet1/16=1", "end"});
   expectNews("simulate interface Ethernet1 create", {"Ethernet1/16=3", "end"});
   world({"simulate interface Ethernet2 oper down"});  // nobody follows it
   expectNoNews();
   EXPECT_THAT(set(sessionMsg("Ethernet2", 20, true)), Succeeded());
   expectNews("simulate interface Ethernet2 oper up", {"Ethernet2/20=0", "end"});
   world({"interface Ethernet2", "shutdown"});
   EXPECT_THAT(wordsOf(stream->next()), ElementsAre("Ethernet2/20=1", "end"));
}

TEST_F(SbfdTest, AResyncPurgesWhatWasNotRepeatedAndTellsTheRest) {
   auto const stream = listen();
   for (auto const label : {16, 17, 18}) EXPECT_THAT(set(sessionMsg("Ethernet1", label, true)), Succeeded());
   world({simulate("Ethernet1", 16) + "status 3"});
   EXPECT_THAT(wordsOf(stream->next()), ElementsAre("Ethernet1/16=3", "end"));
   EXPECT_THAT(resync(pb::RESYNC_START), Succeeded());
   EXPECT_THAT(set(sessionMsg("Ethernet1", 16)), Succeeded());
   EXPECT_THAT(set(sessionMsg("Ethernet2", 19, true)), Succeeded());
   EXPECT_THAT(resync(pb::RESYNC_END), Succeeded());
   auto words = wordsOf(stream->next());
   EXPECT_EQ(words.back(), "end");
   EXPECT_THAT(words, UnorderedElementsAre("Ethernet1/16=3", "Ethernet2/19=0", "end"));
   EXPECT_THAT(sessions(), ElementsAre("Ethernet1/16 300x3 false", "Ethernet2/19 300x3 false"));
   EXPECT_THAT(watches("intf_handler"), ElementsAre("Ethernet2"));
   EXPECT_THAT(resync(pb::RESYNC_START), Succeeded());
   EXPECT_THAT(resync(pb::RESYNC_END), Succeeded());  // nothing is left, and nothing is said
   EXPECT_THAT(sessions(), IsEmpty());
   world({simulate("Ethernet1", 16) + "status 3"});  // passed on, though the session is gone
   EXPECT_THAT(wordsOf(stream->next()), ElementsAre("Ethernet1/16=3", "end"));
}

TEST_F(SbfdTest, SessionsOutliveTheAgentUntilAResyncDoesNotRepeatThem) {
   for (auto const label : {16, 17}) EXPECT_THAT(set(sessionMsg("Ethernet1", label, true)), Succeeded());
   stop(SIGKILL);
   setenv("TERNAGENT_NOBFD", "", 1);
   restart();
   unsetenv("TERNAGENT_NOBFD");
   still();
   EXPECT_EQ(sessions().size(), 2);
   EXPECT_THAT(watches("intf_handler"), IsEmpty());  // who follows an interface is not known yet
   auto const stream = listen();
   EXPECT_THAT(resync(pb::RESYNC_START), Succeeded());
   EXPECT_THAT(set(sessionMsg("Ethernet1", 17)), Succeeded());
   EXPECT_THAT(resync(pb::RESYNC_END), Succeeded());
   EXPECT_THAT(sessions(), ElementsAre("Ethernet1/17 300x3 false"));
   world({simulate("Ethernet1", 17) + "status 3"});
   EXPECT_THAT(wordsOf(stream->next()), ElementsAre("Ethernet1/17=3", "end"));  // and not the resync's statuses
}

TEST_F(SbfdTest, StatusesOvertakeTheFiguresThatWaitForAWrite) {
   constexpr int sessionCount = 6000;
   grpc::ChannelArguments narrow;  // else the client's side takes megabytes that nobody reads
   narrow.SetInt(GRPC_ARG_HTTP2_BDP_PROBE, 0);
   narrow.SetInt(GRPC_ARG_USE_LOCAL_SUBCHANNEL_POOL, 1);
   auto const stub = pb::velmsdk_service::NewStub(
      grpc::CreateCustomChannel(agent().address(), grpc::InsecureChannelCredentials(), narrow));
   auto const stream = listen(*stub);
   std::vector<std::string> rtts;
   for (int i = 0; i < sessionCount; ++i) rtts.push_back(simulate("Ethernet1", 16 + i) + "rtt 1 1 1 1 1 1 1");
   constexpr int rounds = 5;
   for (int round = 1; round <= rounds; ++round) {
      world(rtts);  // more than all windows on the way take, and nobody reads
      auto const drained = [&] {
         auto const tasks = show("show switch tasks");
         return tasks["tasks"]["bfdRttBacklog"]["work_count"].GetInt() == round * sessionCount;
      };
      ASSERT_TRUE(eventually(drained));
   }
   world({simulate("Ethernet2", 7) + "status 3"});
   ASSERT_TRUE(
      eventually([&] { return show("show switch tasks")["tasks"]["BfdSendAliveBulk"]["runs"].GetInt() == 1; }));
   int before = 0;
   int after = 0;
   for (bool told = false; before + after < rounds * sessionCount || !told;) {
      auto const batch = stream->next();
      ASSERT_TRUE(batch);
      if (batch->bulk(0).has_status()) {
         EXPECT_THAT(wordsOf(batch), ElementsAre("Ethernet2/7=3", "end"));
         told = true;
      } else {
         (told ? after : before) += batch->bulk_size();
      }
   }
   EXPECT_LT(before, 2 * sessionCount);
   EXPECT_EQ(before + after, rounds * sessionCount);
}

}  // namespace
}  // namespace VelmSdkRpc
