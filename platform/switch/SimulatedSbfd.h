#pragma once

#include <absl/container/btree_map.h>
#include <absl/container/flat_hash_map.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <random>

#include "platform/switch/Dataplane.h"
#include "platform/switch/MainLoop.h"
#include "platform/switch/TickWheel.h"
#include "platform/velm/bfd.h"

namespace velm::embedded {

/// sBFD echo without packets: a session is up while its interface is, and down once its interface has been gone for as
/// long as the session needs to notice; an interface that comes back before that is not missed.
///
/// All sessions share one wheel of 10 ms ticks, and the wheel one timer of the loop, for its first tick. What is due is
/// one event of the loop for every 256 visits, so that neither the sessions' number nor their intervals make timers or
/// long events, and an interface takes work by its own sessions only. What is held follows what exists: a session has
/// two places in the wheel at most, and none once it is deleted.
class SimulatedSbfd {
 public:
   SimulatedSbfd(MainLoop& loop, SbfdReports& reports) : loop_(loop), reports_(reports) {}

   // On the main loop, in the order of the changes. The interval has no 0 in it.
   void sessionIs(sbfd_echo_session_key_t const& key, sbfd_interval_t interval, bool rttEnabled);
   void sessionDel(sbfd_echo_session_key_t const& key);
   /// The interface came up or ceased to be up.
   void intfIs(intf_id_t intf, bool up);

   /// Whether sessions report by themselves; they do at first. Off holds from the call on; on again makes every session
   /// report where it stands by then. Any thread, under the SDK lock.
   void automaticIs(bool on);

   /// How many visits of sessions lie ahead. Under the SDK lock.
   std::size_t planned() const { return wheel_.size(); }

 private:
   using Clock = std::chrono::steady_clock;
   using Tick = TickWheel::Tick;  // since the clock's epoch
   static constexpr std::chrono::milliseconds tickLength{10};
   static constexpr Tick ticksASecond = std::chrono::seconds(1) / tickLength;
   static constexpr std::size_t visitsAnEvent = 256;
   static constexpr Tick never = TickWheel::never;

   /// The round trips of a session so far.
   struct Measured {
      std::uint32_t min = 0;
      std::uint32_t max = 0;
      std::uint64_t sum = 0;
      std::uint64_t count = 0;

      void add(std::uint32_t rtt);
      std::uint32_t avg() const { return static_cast<std::uint32_t>(sum / count); }
   };
   struct Session;
   struct Visit : TickWheel::Entry {
      explicit Visit(Session& of) : session(of) {}
      Session& session;
   };
   struct Session {
      explicit Session(sbfd_echo_session_key_t const& of) : key(of) {}

      sbfd_echo_session_key_t const key;
      std::chrono::milliseconds detection{};
      Clock::time_point const since = Clock::now();  // when it was set
      bool rttEnabled = false;
      Visit report{*this};  // of its status
      Visit rtt{*this};
      Measured measured{};
   };
   struct Intf {
      bool up = false;
      Clock::time_point downSince;
      absl::btree_map<sbfd_echo_session_key_t, std::unique_ptr<Session>> sessions;
   };

   static Tick tickAfter(Clock::time_point time);
   void planReport(Intf const& intf, Session& session);
   void planRtt(Session& session);
   void plan(Visit& visit, Tick tick);
   void forget(Session& session);
   void startTimer(Tick tick);
   void stopTimer();
   void timeOut();
   void turn(Tick tick);
   void visit(Visit& visit);
   void reportRtt(Session& session);

   MainLoop& loop_;
   SbfdReports& reports_;
   // Guarded by the SDK lock.
   bool automatic_ = true;
   absl::flat_hash_map<intf_id_t, Intf> intfs_;  // those that are up, and those that have sessions
   TickWheel wheel_;
   Tick timerTick_ = never;  // when the timer is due: with the wheel's first tick or, if that was taken out, before it
   MainLoop::Waiting timer_;
   Tick spread_ = 0;
   std::minstd_rand random_;  // of the same seed every time
};

}  // namespace velm::embedded
