// The sBFD programmer's calls of the switch, the drain of RTT figures run by run, and the task that sends statuses.
#include <fmt/format.h>

#include "platform/loom/TaskScheduler.h"
#include "platform/pesko/Trace.h"
#include "platform/pesko/TraceOutput.h"
#include "sbfd/Bfd.h"
#include "sbfd/BfdRttBacklogSm.h"
#include "sbfd/BfdSendAliveBulkMsgTask.h"
#include "tests/native/ProgrammerTest.h"

namespace VelmSdkRpc {
namespace {

using ::testing::ElementsAre;

velm::sbfd_echo_session_key_t keyOf(std::uint32_t label) {
   return {velm::ip_addr_t("10.0.0.1"), velm::intf_id_t("Ethernet1"), {velm::mpls_label_t(label)}, 0, 0};
}

class BfdTest : public ProgrammerTest {
 protected:
   BfdTest() {
      init();
      ON_CALL(sessions, sbfd_echo_session_set).WillByDefault(noted("set"));
      ON_CALL(sessions, sbfd_echo_session_del).WillByDefault(noted("del"));
      ON_CALL(sessions, sbfd_echo_session_interval_is).WillByDefault([&](auto const&, velm::sbfd_interval_t interval) {
         note(fmt::format("interval {} {}", interval.min_tx(), interval.multiplier()));
      });
      ON_CALL(sessions, sbfd_echo_session_rtt_enabled_is).WillByDefault(noted("rtt"));
   }
};

TEST_F(BfdTest, ASessionIsSetThenItsIntervalThenItsRttUnderOneLock) {
   BfdProgrammer programmer(client, &sessions, &intfs, service);
   pb::sbfd_echo_session_msg request;
   request.mutable_session_key()->mutable_nexthop()->set_addr(std::string(4, '\x0a'));
   for (auto const label : {3, 1, 2}) request.mutable_session_key()->add_labels(label);
   EXPECT_CALL(sessions, sbfd_echo_session_set)
      .WillOnce([&](velm::sbfd_echo_session_key_t const& key) {
         EXPECT_THAT(key.labels(), ElementsAre(velm::mpls_label_t(3), velm::mpls_label_t(1), velm::mpls_label_t(2)));
         note("set");
      })
      .WillRepeatedly(noted("set"));
   pb::rpc_status_msg status;
   programmer.processSbfdEchoSessionRequest(request, status);
   EXPECT_THAT(takeCalls(), ElementsAre("set", "interval 300 3", "rtt"));
   request.set_min_tx(50);
   request.set_detection_multiplier(4);
   programmer.processSbfdEchoSessionRequest(request, status);
   EXPECT_THAT(takeCalls(), ElementsAre("set", "interval 50 4", "rtt"));
   request.set_request_delete(true);
   programmer.processSbfdEchoSessionRequest(request, status);
   EXPECT_THAT(takeCalls(), ElementsAre("del"));
}

class BfdRttBacklogTest : public ProgrammerTest {
 protected:
   BfdRttBacklogTest() : backlog(BfdRttBacklogSm::BfdRttBacklogSmIs(scheduler, &service)) {}

   void put(std::uint32_t label, std::uint32_t rtt = 1) {
      pb::sbfd_echo_session_rtt_msg figures;
      figures.set_last_rtt(rtt);
      backlog->backlogIs(keyOf(label), figures);
      backlog->rttBacklogTask()->scheduleTask();
   }
   /// Whether there was a run to do.
   bool run() {
      velm::sdk_scoped_lock const lock;
      return scheduler->runOne();
   }
   std::uint64_t handled() { return scheduler->taskStats()[0].workCount; }
   std::uint32_t pending() { return scheduler->taskStats()[0].workPending; }

   Qor::Ptr<Loom::TaskScheduler> const scheduler{new Loom::TaskScheduler};
   Qor::Ptr<BfdRttBacklogSm> const backlog;
};

TEST_F(BfdRttBacklogTest, FiguresOfOneKeyAreHandledOnceAndAnEmptyRunAsksForNoOther) {
   for (std::uint32_t rtt = 0; rtt < 10; ++rtt) put(16, rtt);
   EXPECT_TRUE(run());
   EXPECT_EQ(handled(), 1);
   EXPECT_FALSE(run());
   EXPECT_EQ(backlog->backlogDel(keyOf(16)).last_rtt(), 0);
   put(16, 7);
   EXPECT_EQ(backlog->backlogDel(keyOf(16)).last_rtt(), 7);
   EXPECT_TRUE(run());
   EXPECT_EQ(handled(), 1);
   EXPECT_FALSE(run());
}

TEST_F(BfdRttBacklogTest, ARunThatMustYieldAtOnceHandlesOneAndGoesOnThereEvenIfThatKeyHasGone) {
   backlog->rttBacklogTask()->taskQuantumIs(0);
   for (std::uint32_t label = 16; label < 26; ++label) put(label);
   EXPECT_TRUE(run());
   EXPECT_EQ(pending(), 9);
   std::uint64_t expected = 1 + 9 + 1;
   for (std::uint32_t label = 16; label < 26; label += 2) {  // perhaps the next one, perhaps the one that went out
      if (backlog->backlogDel(keyOf(label)).last_rtt() != 0) --expected;
   }
   put(100);  // before or after the place of the walk
   for (auto before = handled(); run(); before = handled()) EXPECT_EQ(handled(), before + 1);
   EXPECT_EQ(handled(), expected);
   EXPECT_EQ(pending(), 0);
   put(16);
   EXPECT_TRUE(run());
   EXPECT_EQ(pending(), 0);  // nothing was left over
}

TEST_F(BfdRttBacklogTest, ANewTaskTakesWhatWaitsAndTheOldOneIsLetGo) {
   auto const old = backlog->rttBacklogTask();
   EXPECT_EQ(backlog->rttBacklogTaskIs(scheduler, 3, "bfdRttBacklog"), old);
   put(16);
   auto const next = backlog->rttBacklogTaskIs(scheduler, 4, "bfdRttBacklog");
   EXPECT_NE(next, old);
   EXPECT_EQ(next->taskPriority().value(), 4);
   EXPECT_EQ(backlog->backlogDel(keyOf(16)).last_rtt(), 0);  // went out at once
   EXPECT_TRUE(run());                                       // the old one's, which does nothing
   put(17);
   EXPECT_TRUE(run());
   EXPECT_EQ(backlog->backlogDel(keyOf(17)).last_rtt(), 0);
   EXPECT_EQ(backlog->rttBacklogTaskDel(), next);
   EXPECT_EQ(backlog->rttBacklogTaskDel(), nullptr);
   EXPECT_EQ(backlog->rttBacklogTask(), nullptr);
   backlog->qorDoZombieReactors(true);  // with none to tell
   EXPECT_TRUE(backlog->qorMarkedForDeletion());
}

TEST_F(BfdRttBacklogTest, FiguresThatWereDroppedAreNotSent) {
   put(16);
   put(17);
   backlog->backlogDelAll();
   EXPECT_TRUE(run());
   EXPECT_EQ(handled(), 0);
   EXPECT_EQ(backlog->backlogDel(keyOf(17)).last_rtt(), 0);
}

TEST_F(BfdRttBacklogTest, WithoutNotificationNothingDrains) {
   for (bool const active : {true, false, false}) backlog->hasNotificationActiveIs(active);
   put(16);
   run();
   EXPECT_EQ(handled(), 0);
   backlog->hasNotificationActiveIs(true);
   put(16);
   run();
   EXPECT_EQ(handled(), 1);
}

TEST_F(BfdRttBacklogTest, ABacklogThatDiesDrainsNoMoreUntilItIsBroughtBack) {
   put(16);
   for (bool const zombie : {true, true}) backlog->qorDoZombieReactors(zombie);
   EXPECT_TRUE(backlog->qorMarkedForDeletion());
   run();
   EXPECT_EQ(handled(), 0);
   backlog->qorDoZombieReactors(false);
   put(17);
   EXPECT_TRUE(run());
   EXPECT_EQ(handled(), 2);
}

TEST_F(BfdTest, NothingIsSentOnceTheServiceStops) {
   pb::watch_sbfd_echo_session_status_msg batch;
   batch.add_bulk()->set_end_of_status_batch(true);
   velm::sdk_scoped_lock const lock;
   auto const sent = [&] {
      ::testing::internal::CaptureStderr();
      service.sendSbfdAliveUpdate(pb::watch_sbfd_echo_session_status_msg(batch));
      service.sendSbfdRttUpdate(pb::watch_sbfd_echo_session_status_msg(batch));
      Pesko::TraceOutput::instance().flush();
      auto const lines = ::testing::internal::GetCapturedStderr();
      return std::pair(lines.find("Bulk alive update") != lines.npos, lines.find("Bulk rtt update") != lines.npos);
   };
   Pesko::Platform::setupPeskoDebug("VelmSdkRpc/1,6");
   EXPECT_EQ(sent(), std::pair(true, true));
   service.stop();
   EXPECT_EQ(sent(), std::pair(false, false));
   Pesko::Platform::setupPeskoDebug("VelmSdkRpc/0-1");
}

TEST_F(BfdTest, AnInterfaceThatNoSessionFollowsIsNoNews) {
   BfdProgrammer programmer(client, &sessions, &intfs, service);
   EXPECT_CALL(sessions, sbfd_echo_session_status).Times(0);
   velm::sdk_scoped_lock const lock;
   programmer.on_oper_status(velm::intf_id_t("Ethernet7"), velm::oper_status_t::down);
   programmer.on_intf_delete(velm::intf_id_t("Ethernet7"));
}

TEST_F(BfdTest, TheTaskOfStatusesIsNeverAskedForNothing) {
   pb::watch_sbfd_echo_session_status_msg batch;
   auto const task = BfdSendAliveBulkMsgTask::make(&service, &batch);
   velm::sdk_scoped_lock const lock;
   batch.add_bulk()->mutable_status();
   task->taskRunFromTest();
   EXPECT_EQ(batch.bulk_size(), 0);
   task->taskRunIs(false);
   task->taskRunFromTest();
   task->taskRunIs(true);
   EXPECT_DEATH(task->taskRunFromTest(), "tmpBulkMsg.bulk_size\\(\\) != 0");
}

}  // namespace
}  // namespace VelmSdkRpc
