#pragma once

#include <absl/container/flat_hash_map.h>

#include "platform/switch/Dataplane.h"
#include "platform/switch/MainLoop.h"
#include "platform/switch/Operations.h"
#include "platform/switch/Store.h"
#include "platform/switch/Table.h"
#include "platform/velm/bfd.h"

namespace velm::embedded {

inline constexpr sbfd_interval_t defaultSbfdInterval{300, 3};

/// The wishes for an sBFD echo session, stored under its key.
struct SbfdSession {
   sbfd_interval_t interval = defaultSbfdInterval;
   bool rttEnabled = false;

   /// The interval that is carried out: the one asked for, with the default's part where that is 0.
   sbfd_interval_t effectiveInterval() const {
      return {interval.min_tx() == 0 ? defaultSbfdInterval.min_tx() : interval.min_tx(),
              interval.multiplier() == 0 ? defaultSbfdInterval.multiplier() : interval.multiplier()};
   }

   static constexpr auto attributes() {
      return std::tuple{attribute{"interval", &SbfdSession::interval},
                        attribute{"rtt_enabled", &SbfdSession::rttEnabled}};
   }
};
using SbfdSessionTable = Table<sbfd_echo_session_key_t, SbfdSession>;

/// sBFD echo sessions: what was asked for, and beside it what the dataplane reported. There are no plain BFD sessions.
class BfdSessionMgr : public bfd_session_mgr, public SbfdReports {
 public:
   BfdSessionMgr(CallLedger& ledger, MainLoop& loop);

   /// The dataplane carries the sessions out. Once, before the first operation; it must outlive the last one.
   void dataplaneIs(Dataplane& dataplane) { table_.carrierIs(dataplane.sbfdSessions()); }
   /// Sessions come back and are carried out anew; statuses do not.
   void storeIs(Store& store);
   SbfdSessionTable const& table() const { return table_; }

   sbfd_echo_session_iter_t sbfd_echo_session_iter() const override;
   void sbfd_echo_session_set(sbfd_echo_session_key_t const& key) override;
   void sbfd_echo_session_del(sbfd_echo_session_key_t const& key) override;
   sbfd_interval_t sbfd_echo_session_default_interval() const override;
   void sbfd_echo_session_interval_is(sbfd_echo_session_key_t const& key, sbfd_interval_t interval) override;
   void sbfd_echo_session_rtt_enabled_is(sbfd_echo_session_key_t const& key, bool enabled) override;
   bfd_session_status_t sbfd_echo_session_status(sbfd_echo_session_key_t const& key) const override;

   // Dropped are reports about a session that does not exist any more, a status that is known already, and the RTT of a
   // session that is not up.
   void sbfdStatus(sbfd_echo_session_key_t const& key, bfd_session_status_t status) override;
   void sbfdRtt(sbfd_echo_session_key_t const& key, sbfd_echo_session_rtt_stats_t const& stats) override;

   // The world outside, for the command line.

   /// Raises the event whatever the status was, even for a session that does not exist, of which nothing is kept.
   void simulateStatus(sbfd_echo_session_key_t const& key, bfd_session_status_t status);
   /// Raises the event, whatever there is.
   void simulateRtt(sbfd_echo_session_key_t const& key, sbfd_echo_session_rtt_stats_t const& stats);

 private:
   /// Changes a session that must exist; nothing happens where it is so already.
   template <class T>
   void change(Call const& call, sbfd_echo_session_key_t const& key, T SbfdSession::*part, T const& value);
   template <class Fn>
   void raise(Fn fn);
   void raiseStatus(sbfd_echo_session_key_t const& key, bfd_session_status_t status);
   bool isUp(sbfd_echo_session_key_t const& key) const;

   SbfdSessionTable table_;
   // The statuses of sessions that exist; others are unknown. By hash: a link that fails asks for those of all its
   // sessions.
   absl::flat_hash_map<sbfd_echo_session_key_t, bfd_session_status_t> statuses_;
   MainLoop& loop_;

   Operations<"bfd_session_mgr", "sbfd_echo_session_iter", "sbfd_echo_session_set", "sbfd_echo_session_del",
              "sbfd_echo_session_default_interval", "sbfd_echo_session_interval_is", "sbfd_echo_session_rtt_enabled_is",
              "sbfd_echo_session_status">
      operations_;
};

}  // namespace velm::embedded
