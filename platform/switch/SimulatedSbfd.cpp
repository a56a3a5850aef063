#include "platform/switch/SimulatedSbfd.h"

#include <algorithm>
#include <utility>

// A session has two reasons to be visited: its status is to be reported, or its next round-trip times are. Each has a
// place in the wheel of its own.
//
//    its status                                         its round-trip times, if they are enabled
//    ----------                                         -----------------------------------------
//    set, or its interface changed                      enabled
//       |  planReport                                      |  planRtt: a place in the second of its own
//       v                                                  v
//    in the wheel, due: up ---> at once                 in the wheel
//                       down -> after its detection        |  due: told if up, planned a whole second on
//       |  due                                             |<-----------------------------------------+
//       v                                                  v                                          |
//    reported; in the wheel no more                     in the wheel until disabled ------------------+
//
// A detection time counts from whatever came last, the interface's fall or the session's beginning. A change of the
// interface plans the report anew, so that a flap starts the time again and needs no undoing. A deleted session leaves
// the wheel at once. The manager drops a status that is known already, so that a report too many is harmless.
//
// A timer for each session was the other way: thousands of timers of the loop, each with an event of its own, where a
// tick of the wheel makes one event for 256 visits.
namespace velm::embedded {

void SimulatedSbfd::Measured::add(std::uint32_t rtt) {
   min = count == 0 ? rtt : std::min(min, rtt);
   max = std::max(max, rtt);
   sum += rtt;
   ++count;
}

void SimulatedSbfd::sessionIs(sbfd_echo_session_key_t const& key, sbfd_interval_t interval, bool rttEnabled) {
   auto& intf = intfs_[key.nexthop_intf()];
   auto& session = intf.sessions[key];
   bool const fresh = session == nullptr;
   if (fresh) session = std::make_unique<Session>(key);
   std::chrono::milliseconds const detection(interval.min_tx() * interval.multiplier());
   bool const otherDetection = std::exchange(session->detection, detection) != detection;
   bool const otherRtt = std::exchange(session->rttEnabled, rttEnabled) != rttEnabled;
   if (!automatic_) return;
   // A status that has been reported does not change with the interval.
   if (fresh || (otherDetection && session->report.tick() != never)) planReport(intf, *session);
   if (otherRtt) planRtt(*session);
}

void SimulatedSbfd::sessionDel(sbfd_echo_session_key_t const& key) {
   auto const intf = intfs_.find(key.nexthop_intf());
   if (intf == intfs_.end()) return;
   auto& sessions = intf->second.sessions;
   if (auto const it = sessions.find(key); it != sessions.end()) {
      forget(*it->second);
      sessions.erase(it);
   }
   if (sessions.empty() && !intf->second.up) intfs_.erase(intf);
}

void SimulatedSbfd::intfIs(intf_id_t id, bool up) {
   auto& intf = intfs_[id];
   intf.up = up;
   if (!up) intf.downSince = Clock::now();
   if (automatic_) {
      for (auto const& [key, session] : intf.sessions) planReport(intf, *session);
   }
   if (intf.sessions.empty() && !up) intfs_.erase(id);
}

void SimulatedSbfd::automaticIs(bool on) {
   if (std::exchange(automatic_, on) == on) return;
   for (auto const& [id, intf] : intfs_) {
      for (auto const& [key, session] : intf.sessions) {
         if (on) {
            planReport(intf, *session);
            planRtt(*session);
         } else {
            forget(*session);
         }
      }
   }
}

SimulatedSbfd::Tick SimulatedSbfd::tickAfter(Clock::time_point time) {
   auto const passed = time.time_since_epoch();
   return passed / tickLength + 1;
}

void SimulatedSbfd::planReport(Intf const& intf, Session& session) {
   auto const now = Clock::now();
   auto const due = intf.up ? now : std::max(now, std::max(intf.downSince, session.since) + session.detection);
   plan(session.report, tickAfter(due));
}

// Each session gets a place of its own in the second, and its reports follow each other there, second by second.
void SimulatedSbfd::planRtt(Session& session) {
   if (!session.rttEnabled) {
      wheel_.del(session.rtt);
      return;
   }
   constexpr Tick stride = 37;  // has no divisor in common with the ticks of a second
   spread_ = (spread_ + stride) % ticksASecond;
   plan(session.rtt, tickAfter(Clock::now()) + 1 + spread_);
}

void SimulatedSbfd::plan(Visit& visit, Tick tick) {
   wheel_.set(visit, tick);
   if (tick < timerTick_) startTimer(tick);
}

void SimulatedSbfd::forget(Session& session) {
   wheel_.del(session.report);
   wheel_.del(session.rtt);
   if (wheel_.empty()) stopTimer();
}

void SimulatedSbfd::startTimer(Tick tick) {
   stopTimer();
   timerTick_ = tick;
   timer_ = loop_.postAfter(Clock::time_point(tick * tickLength) - Clock::now(), [this] { timeOut(); });
}

void SimulatedSbfd::stopTimer() {
   if (std::exchange(timerTick_, never) != never) loop_.takeBack(timer_);
}

// All that is due is queued at once, in front of what it raises: the reports of a tick stay one burst.
void SimulatedSbfd::timeOut() {
   stopTimer();  // there may be another one, started when this one could not be taken back any more
   Tick const now = tickAfter(Clock::now()) - 1;
   auto const due = wheel_.countUntil(now);
   for (std::size_t queued = 0; queued < due; queued += visitsAnEvent) loop_.post([this, now] { turn(now); });
   if (Tick const next = wheel_.firstAfter(now); next != never) startTimer(next);
}

void SimulatedSbfd::turn(Tick tick) {
   for (std::size_t i = 0; i < visitsAnEvent && !wheel_.empty() && wheel_.front().tick() <= tick; ++i) {
      visit(static_cast<Visit&>(wheel_.front()));
   }
}

void SimulatedSbfd::visit(Visit& visit) {
   auto& session = visit.session;
   Tick const tick = visit.tick();
   bool const up = intfs_.at(session.key.nexthop_intf()).up;
   if (&visit == &session.report) {
      wheel_.del(visit);
      reports_.sbfdStatus(session.key, up ? bfd_session_status_t::up : bfd_session_status_t::down);
   } else {
      // Late or not, it keeps its place in the second: sessions that a busy loop brought together must part again.
      Tick const late = tickAfter(Clock::now()) - tick;
      plan(visit, tick + (late / ticksASecond + 1) * ticksASecond);
      if (up) reportRtt(session);
   }
}

void SimulatedSbfd::reportRtt(Session& session) {
   constexpr std::uint32_t shortest = 200;
   constexpr std::uint32_t span = 100;
   constexpr int echoes = 4;
   Measured snapshot;
   std::uint32_t last = 0;
   for (int i = 0; i < echoes; ++i) {
      last = shortest + static_cast<std::uint32_t>(random_()) % span;
      snapshot.add(last);
      session.measured.add(last);
   }
   auto const& all = session.measured;
   reports_.sbfdRtt(session.key, sbfd_echo_session_rtt_stats_t(last, all.min, all.avg(), all.max, snapshot.min,
                                                               snapshot.avg(), snapshot.max));
}

}  // namespace velm::embedded
