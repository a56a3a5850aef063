#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <ranges>
#include <string>
#include <string_view>
#include <vector>

#include "clients/demo/Chapters.h"
#include "clients/demo/Checks.h"
#include "clients/demo/CommandLine.h"
#include "clients/demo/Controller.h"
#include "clients/demo/Narration.h"
#include "clients/demo/Resync.h"
#include "clients/demo/SessionListener.h"

namespace VelmSdkRpc::demo {
namespace {

/// A chapter a method.
class Monitor {
 public:
   explicit Monitor(Stage& stage)
      : stage_(stage),
        controller_(stage.agent.channel()),
        commands_(stage.agent.channel()),
        listener_(stage.agent.channel()),
        intf_(stage.plan.sessions[0].key.intf) {}

   void play() {
      roundTripTimesArrive();
      aResyncTellsWhereAllStand();
      aLinkFails();
      theLinkComesBack();
      oneSessionIsDeleted();
      theStreamEndsWithTheAgent();
   }

 private:
   void roundTripTimesArrive() {
      stage_.chapter("Round-trip times, live (watch_sbfd_echo_session_status_msgs)");
      auto const measured = keysOfThose([](Session const& session) { return session.rtt; });
      auto const rtts = listener_.expectRtts(measured);
      say("The new controller opens the stream too. Sessions that were asked to measure report once a second. These");
      say("are the first reports, as they arrived:");
      show(tableOf(rtts));
      say("They are in the switch's own unit. The other {} sessions report none.",
          stage_.plan.sessions.size() - measured.size());
   }

   void aResyncTellsWhereAllStand() {
      stage_.chapter("The end of a resync tells where every session stands");
      auto& plan = stage_.plan;
      auto const givenUp = plan.sessions.back().key;
      plan.sessions = laterSessions(plan.sessions);
      expectSuccess(controller_.startResync(), "RESYNC_START");
      repeat(controller_, plan);
      expectSuccess(controller_.endResync(), "RESYNC_END");
      listener_.expectOneBatch(keysOf(plan.sessions), SessionStatus::up);
      stage_.awaitSessions();
      stage_.expectPlan();
      stage_.expectRedirects();
      say("The stream tells changes, and these sessions came up before it was opened. So the controller opens a");
      say("resync and repeats all but the session {}. RESYNC_END", textOf(givenUp));
      say("deletes that one and sends one batch, the statuses of the {} others and an end marker: all are up.",
          plan.sessions.size());
   }

   void aLinkFails() {
      stage_.chapter(fmt::format("A link fails (run_config_cmds \"{}\")", linkCommand("down")));
      say("A session that tracks its interface is down as soon as that is. The others first miss their packets.");
      auto const start = Clock::now();
      commands_.configure(linkCommand("down"));
      auto const atOnce = listener_.expectOneBatch(trackingKeys(), SessionStatus::down);
      auto const detected = listener_.expectEach(keysThere(), SessionStatus::down);
      Table table({"session", "tracks its interface", "told down after"});
      for (auto const& session : stage_.plan.sessions) {
         if (!isThere(session)) continue;
         auto const time = (session.tracksIntf ? atOnce : detected.at(session.key)) - start;
         expect(session.tracksIntf || time >= session.detection(),
                fmt::format("{} is not down before it has missed its packets", textOf(session.key)));
         table.add({textOf(session.key), session.tracksIntf ? "yes" : "no",
                    fmt::format("{:.1f} ms", Milliseconds(time).count())});
      }
      show(table);
      say("The first {} came in one batch, before all else. The sessions over other interfaces were not touched.",
          trackingKeys().size());
   }

   void theLinkComesBack() {
      stage_.chapter(fmt::format("The link comes back (\"{}\")", linkCommand("up")));
      auto const start = Clock::now();
      commands_.configure(linkCommand("up"));
      auto const times = listener_.expectEach(keysThere(), SessionStatus::up);
      Milliseconds const time = std::ranges::max(std::views::values(times)) - start;
      stage_.awaitSessions();
      say("The stream told that the {} are up again, the last one {:.0f} ms after the command was sent.", times.size(),
          time.count());
   }

   void oneSessionIsDeleted() {
      stage_.chapter("A session is deleted (sbfd_echo_session)");
      auto const deleted = trackingKeys().front();
      expectSuccess(controller_.deleteSession(deleted), "the deletion of a session");
      std::erase_if(stage_.plan.sessions, [&](Session const& session) { return session.key == deleted; });
      auto const left = stage_.awaitSessions();
      say("{} is gone, and these are left:", textOf(deleted));
      show(tableOf(left));
      commands_.configure(linkCommand("down"));
      auto const stillTracking = trackingKeys();
      listener_.expectOneBatch(stillTracking, SessionStatus::down);
      say("When the link fails once more, the stream tells at once that {}", textOf(stillTracking.front()));
      say("is down, and nothing of the deleted one.");
   }

   void theStreamEndsWithTheAgent() {
      stage_.chapter("The end of the stream (SIGTERM)");
      stage_.stopAgent();
      listener_.expectEnd();
      say("The agent ends in order, and with it the stream: so the controller learns that the agent has gone.");
   }

   bool isThere(Session const& session) const { return session.key.intf == intf_; }

   template <class Predicate>
   std::vector<SessionKey> keysOfThose(Predicate predicate) const {
      std::vector<Session> those;
      std::ranges::copy_if(stage_.plan.sessions, std::back_inserter(those), predicate);
      return keysOf(those);
   }
   std::vector<SessionKey> keysThere() const {
      return keysOfThose([this](Session const& session) { return isThere(session); });
   }
   std::vector<SessionKey> trackingKeys() const {
      return keysOfThose([this](Session const& session) { return isThere(session) && session.tracksIntf; });
   }

   std::string linkCommand(std::string_view state) const {
      return fmt::format("simulate interface {} oper {}", intf_, state);
   }

   Stage& stage_;
   Controller controller_;
   CommandLine commands_;
   SessionListener listener_;
   std::string const intf_;  // whose link fails
};

}  // namespace

void playMonitor(Stage& stage) { Monitor(stage).play(); }

}  // namespace VelmSdkRpc::demo
