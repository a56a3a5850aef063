#pragma once

#include <absl/container/btree_map.h>
#include <absl/container/flat_hash_map.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <random>
#include <vector>

#include "platform/switch/Dataplane.h"
#include "platform/switch/MainLoop.h"
#include "platform/velm/bfd.h"

namespace velm::embedded {

/// sBFD echo without packets: a session is up while its interface is, and down once its interface has been gone for as
/// long as the session needs to notice; an interface that comes back before that is not missed.
///
/// All sessions share one wheel of 10 ms ticks. A tick that somebody waits for is one event of the loop for every 256
/// sessions, so that neither their number nor their intervals make timers or long events, and an interface takes work
/// by its own sessions only.
class SimulatedSbfd {
 public:
   SimulatedSbfd(MainLoop& loop, SbfdReports& reports) : loop_(loop), reports_(reports) {}

   // On the main loop, in the order of the changes.
   void sessionIs(sbfd_echo_session_key_t const& key, sbfd_interval_t interval, bool rttEnabled);
   void sessionDel(sbfd_echo_session_key_t const& key);
   /// The interface came up or ceased to be up.
   void intfIs(intf_id_t intf, bool up);

   /// Whether sessions report by themselves; they do at first. Off holds from the call on; on again makes every session
   /// report where it stands by then. Any thread, under the SDK lock.
   void automaticIs(bool on);

 private:
   using Clock = std::chrono::steady_clock;
   using Tick = std::int64_t;  // since the clock's epoch
   static constexpr std::chrono::milliseconds tickLength{10};
   static constexpr Tick ticksASecond = std::chrono::seconds(1) / tickLength;
   static constexpr std::size_t visitsAnEvent = 256;
   static constexpr Tick never = -1;

   /// The round trips of a session so far.
   struct Measured {
      std::uint32_t min = 0;
      std::uint32_t max = 0;
      std::uint64_t sum = 0;
      std::uint64_t count = 0;

      void add(std::uint32_t rtt);
      std::uint32_t avg() const { return static_cast<std::uint32_t>(sum / count); }
   };
   struct Session {
      sbfd_echo_session_key_t key;
      std::chrono::milliseconds detection{};
      Clock::time_point since{};  // when it was set
      bool gone = false;          // deleted, though the wheel may still hold it
      bool rttEnabled = false;
      Tick reportDue = never;  // when it reports its status; the last plan counts
      Tick rttDue = never;
      Measured measured{};
   };
   using SessionPtr = std::shared_ptr<Session>;
   struct Intf {
      bool up = false;
      Clock::time_point downSince;
      absl::btree_map<sbfd_echo_session_key_t, SessionPtr> sessions;
   };
   using Visits = std::vector<SessionPtr>;

   static Tick tickAfter(Clock::time_point time);
   void planReport(Intf const& intf, SessionPtr const& session);
   void planRtt(SessionPtr const& session);
   void plan(SessionPtr const& session, Tick tick);
   void turn(Tick tick, std::shared_ptr<Visits> const& visits);
   void visit(SessionPtr const& session, Tick tick);
   void reportRtt(Session& session);

   MainLoop& loop_;
   SbfdReports& reports_;
   // Guarded by the SDK lock.
   bool automatic_ = true;
   absl::flat_hash_map<intf_id_t, Intf> intfs_;            // those that are up, and those that have sessions
   absl::btree_map<Tick, std::shared_ptr<Visits>> wheel_;  // by tick, the event that still has room
   Tick spread_ = 0;
   std::minstd_rand random_;  // of the same seed every time
};

}  // namespace velm::embedded
