#include "platform/switch/SimulatedSbfd.h"

#include <algorithm>
#include <utility>

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
   if (fresh) session = std::make_shared<Session>(Session{.key = key, .since = Clock::now()});
   std::chrono::milliseconds const detection(interval.min_tx() * interval.multiplier());
   bool const otherDetection = std::exchange(session->detection, detection) != detection;
   bool const otherRtt = std::exchange(session->rttEnabled, rttEnabled) != rttEnabled;
   if (!automatic_) return;
   // What has been reported does not change with the interval.
   if (fresh || (otherDetection && session->reportDue != never)) planReport(intf, session);
   if (otherRtt) planRtt(session);
}

void SimulatedSbfd::sessionDel(sbfd_echo_session_key_t const& key) {
   auto const intf = intfs_.find(key.nexthop_intf());
   if (intf == intfs_.end()) return;
   auto& sessions = intf->second.sessions;
   if (auto const it = sessions.find(key); it != sessions.end()) {
      it->second->gone = true;
      sessions.erase(it);
   }
   if (sessions.empty() && !intf->second.up) intfs_.erase(intf);
}

void SimulatedSbfd::intfIs(intf_id_t id, bool up) {
   auto& intf = intfs_[id];
   intf.up = up;
   if (!up) intf.downSince = Clock::now();
   if (automatic_) {
      for (auto const& [key, session] : intf.sessions) planReport(intf, session);
   }
   if (intf.sessions.empty() && !up) intfs_.erase(id);
}

void SimulatedSbfd::automaticIs(bool on) {
   if (std::exchange(automatic_, on) == on) return;
   for (auto const& [id, intf] : intfs_) {
      for (auto const& [key, session] : intf.sessions) {
         session->reportDue = never;
         session->rttDue = never;
         if (!on) continue;
         planReport(intf, session);
         planRtt(session);
      }
   }
}

SimulatedSbfd::Tick SimulatedSbfd::tickAfter(Clock::time_point time) {
   auto const passed = time.time_since_epoch();
   return passed / tickLength + 1;
}

void SimulatedSbfd::planReport(Intf const& intf, SessionPtr const& session) {
   auto const now = Clock::now();
   auto const due = intf.up ? now : std::max(now, std::max(intf.downSince, session->since) + session->detection);
   session->reportDue = tickAfter(due);
   plan(session, session->reportDue);
}

// The first report of each goes to a place of the second of its own, whence they follow each other second by second.
void SimulatedSbfd::planRtt(SessionPtr const& session) {
   session->rttDue = never;
   if (!session->rttEnabled) return;
   constexpr Tick stride = 37;  // has no divisor in common with the ticks of a second
   spread_ = (spread_ + stride) % ticksASecond;
   session->rttDue = tickAfter(Clock::now()) + 1 + spread_;
   plan(session, session->rttDue);
}

void SimulatedSbfd::plan(SessionPtr const& session, Tick tick) {
   auto& visits = wheel_[tick];
   if (visits == nullptr || visits->size() == visitsAnEvent) {
      visits = std::make_shared<Visits>();
      Clock::time_point const due(tick * tickLength);
      loop_.postAfter(due - Clock::now(), [this, tick, visits = visits] { turn(tick, visits); });
   }
   visits->push_back(session);
}

void SimulatedSbfd::turn(Tick tick, std::shared_ptr<Visits> const& visits) {
   if (auto const it = wheel_.find(tick); it != wheel_.end() && it->second == visits) wheel_.erase(it);
   for (auto const& session : *visits) visit(session, tick);
}

void SimulatedSbfd::visit(SessionPtr const& session, Tick tick) {
   if (session->gone || !automatic_) return;
   if (session->reportDue == tick) {
      session->reportDue = never;
      bool const up = intfs_.at(session->key.nexthop_intf()).up;
      reports_.sbfdStatus(session->key, up ? bfd_session_status_t::up : bfd_session_status_t::down);
   }
   if (session->rttDue == tick) {
      // Late or not, it keeps its place in the second: sessions that a busy loop brought together must part again.
      Tick const late = tickAfter(Clock::now()) - tick;
      session->rttDue = tick + (late / ticksASecond + 1) * ticksASecond;
      plan(session, session->rttDue);
      if (intfs_.at(session->key.nexthop_intf()).up) reportRtt(*session);
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
