#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <unordered_set>

#include "platform/loom/Task.h"
#include "platform/qor/HashMap2018.h"
#include "platform/velm/bfd.h"
#include "platform/velm/intf.h"
#include "proto/velmsdk.pb.h"

namespace VelmSdkRpc {

class BfdRttBacklogSm;
class BfdSendAliveBulkMsgTask;
class ClientInit;
class VelmSdkRpcService;

/// Programs sBFD echo sessions and passes what becomes of them to the status stream.
///
/// A session's parameters live in the switch, where they outlive this process. Here stands of each session only in
/// which resync it was asked for last, and whether it follows the state of its interface: such a session is reported
/// down as soon as its interface is, and not only when its packets have been missing for the detection time.
///
/// Requests and resyncs run on the server thread and hold the SDK lock where they touch the switch or the members; SDK
/// callbacks and tasks run on the main loop, which holds it for them.
class BfdProgrammer : public velm::bfd_session_handler, public velm::intf_handler {
 public:
   /// The managers stay the caller's. Sessions that the switch has already are taken over: they go with the first
   /// resync that does not repeat them, and follow no interface until a client asks for that again.
   BfdProgrammer(ClientInit const& clientInit, velm::bfd_session_mgr* bfdSessionMgr, velm::intf_mgr* intfMgr,
                 VelmSdkRpcService& service);
   ~BfdProgrammer() override;

   /// Creates or changes the session, or deletes it, whether it exists or not. All that a request does not ask for goes
   /// back to its default. Failures stand in the status; what was done before one stays. An address whose number of
   /// bytes no family has ends the process.
   void processSbfdEchoSessionRequest(pb::sbfd_echo_session_msg const& request, pb::rpc_status_msg& status);
   /// Answers every element in order; none stops the others and nothing is rolled back.
   void processSbfdEchoSessionBulkRequest(pb::sbfd_echo_session_bulk_msg const& request,
                                          pb::rpc_status_bulk_msg& status);

   /// From here on sessions that are asked for count as repeated; the others run on until the end.
   void resyncStart();
   /// Deletes the sessions that were not asked for since the start, and sends the statuses of the others in one batch,
   /// unless TERNAGENT_NOBFD stands in the environment.
   void resyncEnd();

   // Events of the switch, on the main loop. A status joins the batch of the next task's run, figures of round-trip
   // times replace those that wait for the same session. Sessions of others are passed on as well.
   void on_sbfd_echo_session_status(velm::sbfd_echo_session_key_t const& key,
                                    velm::bfd_session_status_t status) override;
   void on_sbfd_echo_session_rtt(velm::sbfd_echo_session_key_t const& key,
                                 velm::sbfd_echo_session_rtt_stats_t const& stats) override;

   // Events of the interfaces that sessions follow. The statuses that result leave at once, ahead of those that wait
   // for the task. A session that is down already is not reported, whichever way its interface goes.
   void on_intf_create(velm::intf_id_t intf) override;
   void on_intf_delete(velm::intf_id_t intf) override;
   void on_oper_status(velm::intf_id_t intf, velm::oper_status_t oper) override;
   void on_admin_enabled(velm::intf_id_t intf, bool admin) override;

 private:
   using Key = velm::sbfd_echo_session_key_t;
   struct SessionKeyHash {
      std::size_t operator()(Key const& key) const { return static_cast<std::uint32_t>(key.hash()); }
   };
   using KeySet = std::unordered_set<Key, SessionKeyHash>;
   struct IntfHash {
      std::size_t operator()(velm::intf_id_t const& intf) const;
   };

   std::uint32_t process(pb::sbfd_echo_session_msg const& request, std::string& error);
   void program(pb::sbfd_echo_session_msg const& request, Key&& key);
   // The rest under the SDK lock.
   void doDelete(Key const& key);
   /// Stamps the session with the present resync, and gives its key as it is held.
   Key const& epochIs(Key&& key);
   void intfToKeySetIs(Key const& key);
   void intfToKeySetDel(Key const& key);
   void handleIntfStateChange(velm::intf_id_t const& intf, bool admin, velm::oper_status_t oper);
   void sendStatusBatch(pb::watch_sbfd_echo_session_status_msg&& batch);

   VelmSdkRpcService* service_;
   ClientInit const& clientInit_;
   velm::bfd_session_mgr* bfdSessionMgr_;
   velm::intf_mgr* intfMgr_;
   // The SDK lock guards all below.
   std::uint32_t epoch_ = 0;  // the number of resyncs that have been started
   // The sessions that follow an interface, by that. No set is empty, and every interface here is watched.
   std::unordered_map<velm::intf_id_t, KeySet, IntfHash> intfToKeySet_;
   // All sessions, with the epoch in which each was asked for last. Only doDelete takes one out.
   Qor::HashMap2018<Qor::HashMap2018Node<Key, std::uint32_t>> sessionEpochs_;
   Qor::Ptr<BfdRttBacklogSm> rttBacklogSm_;
   Qor::Ptr<Loom::Task> rttBacklogTask_;
   pb::watch_sbfd_echo_session_status_msg aliveBulkMsg_;  // status changes that wait for aliveTask_
   std::shared_ptr<BfdSendAliveBulkMsgTask> aliveTask_;
};

}  // namespace VelmSdkRpc
