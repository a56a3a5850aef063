#include "clients/demo/SessionListener.h"

#include <algorithm>
#include <set>

#include "clients/demo/Checks.h"

namespace VelmSdkRpc::demo {
namespace {

std::vector<SessionReport> reportsOf(std::vector<SessionKey> const& keys, SessionStatus status) {
   std::vector<SessionReport> reports;
   reports.reserve(keys.size());
   for (auto const& key : keys) reports.push_back({key, status});
   return reports;
}

template <class T>
bool contains(std::vector<T> const& all, T const& one) {
   return std::ranges::find(all, one) != all.end();
}

}  // namespace

Clock::time_point SessionListener::expectOneBatch(std::vector<SessionKey> const& keys, SessionStatus status) {
   auto const batch = nextStatuses();
   expectSame(batch.statuses, reportsOf(keys, status), "the statuses of one batch");
   return batch.arrival;
}

std::map<SessionKey, Clock::time_point> SessionListener::expectEach(std::vector<SessionKey> const& keys,
                                                                    SessionStatus status) {
   auto const expected = reportsOf(keys, status);
   std::map<SessionKey, Clock::time_point> times;
   while (times.size() < keys.size()) {
      auto const batch = nextStatuses();
      for (auto const& report : batch.statuses) {
         expect(contains(expected, report), fmt::format("the stream tells nothing but {}, and not\n{}", textOf(status),
                                                        tableOf(batch.statuses).text(indent)));
         times[report.key] = batch.arrival;
      }
   }
   return times;
}

std::vector<SessionRtt> SessionListener::expectRtts(std::vector<SessionKey> const& keys) {
   std::set<SessionKey> measured;
   std::vector<SessionRtt> rtts;
   while (rtts.size() < keys.size()) {
      for (auto const& rtt : nextRtts().rtts) {
         expect(contains(keys, rtt.key), "only sessions that ask for it have round-trip times");
         expect(rtt.min <= rtt.last && rtt.last <= rtt.max && rtt.min <= rtt.avg && rtt.avg <= rtt.max,
                "the last and the mean round-trip time lie between the bounds");
         if (measured.insert(rtt.key).second) rtts.push_back(rtt);
      }
   }
   return rtts;
}

void SessionListener::expectEnd() {
   auto const deadline = Clock::now() + waitLimit;
   while (stream_.next(deadline)) {
   }
   expect(stream_.over(), "the agent ends the stream when it stops");
}

template <class Part>
SessionBatch SessionListener::nextWith(Part SessionBatch::*part, std::string_view kind) {
   auto const deadline = Clock::now() + waitLimit;
   for (;;) {
      auto batch = stream_.next(deadline);
      expect(batch.has_value(),
             fmt::format("the stream tells {} within {} seconds, and does not end", kind, waitLimit.count()));
      if (!((*batch).*part).empty()) return *std::move(batch);
   }
}

SessionBatch SessionListener::nextStatuses() {
   auto batch = nextWith(&SessionBatch::statuses, "statuses");
   expect(batch.closed, "a batch of statuses ends with its end marker");
   return batch;
}

SessionBatch SessionListener::nextRtts() { return nextWith(&SessionBatch::rtts, "round-trip times"); }

}  // namespace VelmSdkRpc::demo
