#include "sbfd/Bfd.h"

#include <absl/hash/hash.h>

#include <cstdlib>
#include <forward_list>
#include <utility>

#include "convert/Utils.h"
#include "native/ClientInit.h"
#include "native/Programmer.h"
#include "native/VelmSdkRpcService.h"
#include "platform/loom/TaskScheduler.h"
#include "platform/qor/HashMap2018Iterator.h"
#include "platform/velm/format.h"
#include "rpc/ProcessTrace.h"
#include "sbfd/BfdRttBacklogSm.h"
#include "sbfd/BfdSendAliveBulkMsgTask.h"

// Three kinds of update leave here, each on a road of its own:
//
//   a status that the switch reports    aliveBulkMsg_, then a task: what one turn of the loop brings is one batch
//   statuses that are worked out here   a batch at once: the end of a resync, an interface that changed its state
//   figures of round-trip times         the backlog: of each session only the newest, drained slice by slice
//
// All end in VelmSdkRpcService, which hands them to the open streams.
//
// A resync is an epoch: its start raises the number, each request stamps its session with it, and its end deletes what
// bears another number. That is why a session is remembered at all.

namespace VelmSdkRpc {
namespace {

constexpr auto className = "BfdProgrammer";
constexpr std::uint32_t maxDscp = 255;
constexpr std::uint32_t maxMplsExp = 7;

using Batch = pb::watch_sbfd_echo_session_status_msg;
using WireStatus = pb::sbfd_echo_session_oper_status_msg_status_enum;

template <class Enum>
unsigned numberOf(Enum value) {
   return static_cast<unsigned>(value);
}

// The wire knows four states. Any other number of the switch's, such as one of a newer switch, is unknown to the
// client.
WireStatus wireStatus(velm::bfd_session_status_t status) {
   auto const number = static_cast<int>(status);
   return static_cast<WireStatus>(number >= 1 && number <= 4 ? number : 0);
}

void addStatus(Batch& batch, velm::sbfd_echo_session_key_t const& key, velm::bfd_session_status_t status) {
   auto& element = *batch.add_bulk();
   convertKey(key, element.mutable_session_key());
   element.mutable_status()->set_status(wireStatus(status));
}

pb::sbfd_echo_session_rtt_msg rttOf(velm::sbfd_echo_session_rtt_stats_t const& stats) {
   pb::sbfd_echo_session_rtt_msg rtt;
   rtt.set_last_rtt(stats.last_rtt());
   rtt.set_min_rtt(stats.min_rtt());
   rtt.set_avg_rtt(stats.avg_rtt());
   rtt.set_max_rtt(stats.max_rtt());
   rtt.set_snapshot_min_rtt(stats.snapshot_min_rtt());
   rtt.set_snapshot_avg_rtt(stats.snapshot_avg_rtt());
   rtt.set_snapshot_max_rtt(stats.snapshot_max_rtt());
   return rtt;
}

velm::sbfd_echo_session_key_t keyOf(pb::sbfd_echo_session_key_msg const& message) {
   std::forward_list<velm::mpls_label_t> labels;
   auto last = labels.before_begin();
   for (auto const label : message.labels()) last = labels.insert_after(last, velm::mpls_label_t(label));
   return {ipAddressToIpAddr(message.nexthop()), velm::intf_id_t(message.outgoing_interface()), std::move(labels),
           static_cast<unsigned char>(message.dscp()), static_cast<unsigned char>(message.mpls_exp())};
}

}  // namespace

std::size_t BfdProgrammer::IntfHash::operator()(velm::intf_id_t const& intf) const { return absl::HashOf(intf); }

BfdProgrammer::BfdProgrammer(ClientInit const& clientInit, velm::bfd_session_mgr* bfdSessionMgr,
                             velm::intf_mgr* intfMgr, VelmSdkRpcService& service)
   : bfd_session_handler(bfdSessionMgr),
     intf_handler(intfMgr),
     service_(&service),
     clientInit_(clientInit),
     bfdSessionMgr_(bfdSessionMgr),
     intfMgr_(intfMgr),
     rttBacklogSm_(BfdRttBacklogSm::BfdRttBacklogSmIs(Loom::TaskSchedulerRoot::findOrCreateScheduler(), service_)),
     rttBacklogTask_(rttBacklogSm_->rttBacklogTask()),
     aliveTask_(BfdSendAliveBulkMsgTask::make(service_, &aliveBulkMsg_)) {
   watch_all_sbfd_echo_sessions(true);
   // A quarter of the usual time a run: figures come without end, and nobody waits for one.
   rttBacklogTask_->taskQuantumIs(rttBacklogTask_->taskQuantum() * 0.25);
   // Sessions of an agent before this one have epoch 0, so that the first resync takes those that it does not repeat.
   for (auto it = bfdSessionMgr_->sbfd_echo_session_iter(); it; ++it) epochIs(Key(*it));
}

BfdProgrammer::~BfdProgrammer() = default;

void BfdProgrammer::processSbfdEchoSessionRequest(pb::sbfd_echo_session_msg const& request,
                                                  pb::rpc_status_msg& status) {
   answer(clientInit_, className, request, status, [&](std::string& error) { return process(request, error); });
}

void BfdProgrammer::processSbfdEchoSessionBulkRequest(pb::sbfd_echo_session_bulk_msg const& request,
                                                      pb::rpc_status_bulk_msg& status) {
   answerEach(request.sbfd_echo_session(), status,
              [&](auto const& element, auto& answered) { processSbfdEchoSessionRequest(element, answered); });
}

// The order of the checks decides which error a client reads. Those of the key's widths stand before the deletion, so
// that a deletion with a bad key fails; that of the interval stands after it, for a deletion has none.
std::uint32_t BfdProgrammer::process(pb::sbfd_echo_session_msg const& request, std::string& error) {
   trace(className, 1, "Process sBFD request: {}", request);
   auto const& wireKey = request.session_key();
   if (wireKey.dscp() > maxDscp) {
      return refuse(className, error, fmt::format("Error: invalid DSCP value {} request {}", wireKey.dscp(), request));
   }
   if (wireKey.mpls_exp() > maxMplsExp) {
      return refuse(className, error,
                    fmt::format("Error: invalid MPLS exp value {} request {}", wireKey.mpls_exp(), request));
   }
   auto key = keyOf(wireKey);
   if (request.request_delete()) {
      velm::sdk_scoped_lock const lock;
      doDelete(key);
      return pb::rpc_status_msg::STATUS_SUCCESS;
   }
   if ((request.min_tx() == 0) != (request.detection_multiplier() == 0)) {
      return refuse(className, error,
                    fmt::format("Error: Must specify either both min_tx and detectionMultiplier or none of them. "
                                "Request {}",
                                request));
   }
   program(request, std::move(key));
   return pb::rpc_status_msg::STATUS_SUCCESS;
}

void BfdProgrammer::program(pb::sbfd_echo_session_msg const& request, Key&& key) {
   velm::sdk_scoped_lock const lock;
   bfdSessionMgr_->sbfd_echo_session_set(key);
   // Cut to the switch's widths, unchecked; without an interval a repeated request puts the default back.
   auto const interval = request.min_tx() != 0
                            ? velm::sbfd_interval_t(static_cast<unsigned short>(request.min_tx()),
                                                    static_cast<unsigned char>(request.detection_multiplier()))
                            : bfdSessionMgr_->sbfd_echo_session_default_interval();
   bfdSessionMgr_->sbfd_echo_session_interval_is(key, interval);
   bfdSessionMgr_->sbfd_echo_session_rtt_enabled_is(key, request.rtt_enabled());
   auto const& held = epochIs(std::move(key));
   request.track_interface_state() ? intfToKeySetIs(held) : intfToKeySetDel(held);
}

// The switch first: where it fails, the session is still known here and can be deleted again. What waits of its figures
// goes with it, so that no update comes after its end.
void BfdProgrammer::doDelete(Key const& key) {
   bfdSessionMgr_->sbfd_echo_session_del(key);
   rttBacklogSm_->backlogDel(key);
   sessionEpochs_.deleteMemberG(key);
   intfToKeySetDel(key);
}

BfdProgrammer::Key const& BfdProgrammer::epochIs(Key&& key) {
   auto* const node = sessionEpochs_.lookupNodeG(key);
   if (node == nullptr) return sessionEpochs_.newMemberG(std::move(key), epoch_).key();
   node->value() = epoch_;
   return node->key();
}

void BfdProgrammer::intfToKeySetIs(Key const& key) {
   auto const [it, isNew] = intfToKeySet_.try_emplace(key.nexthop_intf());
   if (isNew) watch_intf(key.nexthop_intf(), true);
   it->second.insert(key);
}

void BfdProgrammer::intfToKeySetDel(Key const& key) {
   auto const it = intfToKeySet_.find(key.nexthop_intf());
   if (it == intfToKeySet_.end()) return;
   it->second.erase(key);
   if (!it->second.empty()) return;
   intfToKeySet_.erase(it);
   watch_intf(key.nexthop_intf(), false);
}

void BfdProgrammer::resyncStart() {
   velm::sdk_scoped_lock const lock;
   ++epoch_;
}

void BfdProgrammer::resyncEnd() {
   bool const silent = std::getenv("TERNAGENT_NOBFD") != nullptr;
   // Held to the end, so that no event of the switch comes between the statuses and the batch that carries them.
   velm::sdk_scoped_lock const lock;
   Batch batch;
   batch.mutable_bulk()->Reserve(static_cast<int>(sessionEpochs_.members()) + 1);
   for (Qor::HashMap2018IteratorGeneric it(sessionEpochs_); it; it.advance()) {
      auto const& key = it.currNodeMaybeStale();  // the iterator's own: doDelete takes the member away
      auto const epoch = it.currNodeNonStale().value();
      if (epoch != epoch_) {
         trace(className, 1, "Purging {} has stale epoch {} != {}", key, epoch, epoch_);
         doDelete(key);
      } else if (!silent) {
         auto const status = bfdSessionMgr_->sbfd_echo_session_status(key);
         addStatus(batch, key, status);
         trace(className, 1, "key={} status={}", key, numberOf(status));
      }
   }
   sendStatusBatch(std::move(batch));
}

// An end marker alone says nothing, so that an empty batch is not sent.
void BfdProgrammer::sendStatusBatch(Batch&& batch) {
   if (batch.bulk().empty()) return;
   batch.add_bulk()->set_end_of_status_batch(true);
   service_->sendSbfdAliveUpdate(std::move(batch));
}

// Nothing is looked up: what the switch reports is passed on, also of another agent's session and, late, of one that
// has been deleted.
void BfdProgrammer::on_sbfd_echo_session_status(Key const& key, velm::bfd_session_status_t status) {
   addStatus(aliveBulkMsg_, key, status);
   trace(className, 1, "key={} status={}", key, numberOf(status));
   aliveTask_->scheduleTask();
}

void BfdProgrammer::on_sbfd_echo_session_rtt(Key const& key, velm::sbfd_echo_session_rtt_stats_t const& stats) {
   trace(className, 4, "key={} rtt={}", key, stats);
   rttBacklogSm_->backlogIs(key, rttOf(stats));
   rttBacklogTask_->scheduleTask();
}

void BfdProgrammer::on_intf_create(velm::intf_id_t /*intf*/) {}

void BfdProgrammer::on_intf_delete(velm::intf_id_t intf) {
   handleIntfStateChange(intf, false, velm::oper_status_t::down);
}

void BfdProgrammer::on_oper_status(velm::intf_id_t intf, velm::oper_status_t oper) {
   handleIntfStateChange(intf, intfMgr_->admin_enabled(intf), oper);
}

void BfdProgrammer::on_admin_enabled(velm::intf_id_t intf, bool admin) {
   handleIntfStateChange(intf, admin, intfMgr_->oper_status(intf));
}

// An interface is up if it is enabled and not known to be down. One whose state the switch does not know yet says
// nothing about its sessions, unless it is disabled.
void BfdProgrammer::handleIntfStateChange(velm::intf_id_t const& intf, bool admin, velm::oper_status_t oper) {
   if (admin && oper == velm::oper_status_t::unknown) return;
   bool const up = admin && oper != velm::oper_status_t::down;
   auto const it = intfToKeySet_.find(intf);
   if (it == intfToKeySet_.end()) {
      trace(className, 2, "intf={} admin={} oper={} no sBFD session track intf state", intf, admin, numberOf(oper));
      return;
   }
   Batch batch;
   batch.mutable_bulk()->Reserve(static_cast<int>(it->second.size()) + 1);
   for (auto const& key : it->second) {
      auto status = bfdSessionMgr_->sbfd_echo_session_status(key);
      if (status == velm::bfd_session_status_t::down) {  // which the client has been told already
         trace(className, 2, "key={} status={} on intf state change admin={} oper={} skip", key, numberOf(status),
               admin, numberOf(oper));
         continue;
      }
      if (!up) status = velm::bfd_session_status_t::down;
      addStatus(batch, key, status);
      trace(className, 1, "key={} status={} on intf state change admin={} oper={}", key, numberOf(status), admin,
            numberOf(oper));
   }
   sendStatusBatch(std::move(batch));
}

}  // namespace VelmSdkRpc
