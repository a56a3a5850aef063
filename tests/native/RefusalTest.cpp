// Where the trace says that a request was refused: a place of the programmer's own, not one that all of them share.
#include <sstream>

#include "cbf/CbfNexthopGroupRedirect.h"
#include "native/IpRoute.h"
#include "native/MplsRoute.h"
#include "native/NexthopGroup.h"
#include "native/NhgTunnel.h"
#include "native/Opaque.h"
#include "platform/pesko/Trace.h"
#include "platform/pesko/TraceOutput.h"
#include "sbfd/Bfd.h"
#include "tests/native/ProgrammerTest.h"

namespace VelmSdkRpc {
namespace {

using ::testing::ElementsAre;

class RefusalTest : public ProgrammerTest {
 protected:
   RefusalTest() {
      Pesko::Platform::setupPeskoDebug("VelmSdkRpc/0");
      ON_CALL(agent, status).WillByDefault(::testing::Throw(velm::error("broken")));
   }

   /// File, class and function of each failure that the work traces.
   template <class Work>
   std::vector<std::string> placesOf(Work&& work) {
      ::testing::internal::CaptureStderr();
      work();
      Pesko::TraceOutput::instance().flush();
      std::istringstream lines(::testing::internal::GetCapturedStderr());
      std::vector<std::string> places;
      std::string time, facility, level, file, className, function, text;
      while (lines >> time >> facility >> level >> file >> className >> function && std::getline(lines, text)) {
         places.push_back(file.substr(0, file.find(':')) + ' ' + className + ' ' + function);
      }
      return places;
   }

   ::testing::NiceMock<MockAgentMgr> agent;
   IpRouteProgrammer routes{client, &ipRoutes};
   MplsRouteProgrammer labels{client, &mplsRoutes, &vrfLabels};
   NexthopGroupProgrammer nexthopGroups{client, &groups};
   NhgTunnelProgrammer endpoints{client, &tunnels};
   OpaqueProgrammer pairs{client, &agent};
   CbfNhgRedirectProgrammer redirects{client, nullptr, nullptr, nullptr, nullptr};
   BfdProgrammer echoes{client, sessions.get(), &intfs, service};
   pb::rpc_status_msg status;
};

TEST_F(RefusalTest, IsToldWhereItIsDecidedAndAnErrorWhereItIsCaught) {
   auto const places = placesOf([&] {
      endpoints.processNhgTunnelRequest({}, status);
      init();
      pb::mpls_route_msg label;
      labels.processMPLSRouteRequest(label, status);
      label.mutable_nexthop();
      labels.processMPLSRouteRequest(label, status);
      label.set_label(velm::mpls_label_t::max + 1);
      labels.processMPLSRouteRequest(label, status);
      nexthopGroups.processNexthopGroupRequest({}, status);
      redirects.processCbfNhgRedirectRequest({}, status);
      pb::sbfd_echo_session_msg session;
      session.mutable_session_key()->set_dscp(256);
      echoes.processSbfdEchoSessionRequest(session, status);
      routes.ipRouteTagIs(7);
      pb::ip_route_msg route;
      route.set_nexthop_group("g");
      routes.processIpRouteRequest(route, status);
      pb::rpc_server_state_status_msg wanted, answer;
      wanted.add_value();
      pairs.processOpaqueStateGetRequest(wanted, answer);
      EXPECT_CALL(ipRoutes, resync_init).WillOnce(::testing::Throw(velm::error("broken")));
      for (auto const state : {pb::RESYNC_END, pb::RESYNC_START}) resync(state);
      EXPECT_CALL(ipRoutes, ip_route_iter).WillOnce(::testing::Throw(velm::error("broken")));
      init();
   });
   EXPECT_THAT(
      places,
      ElementsAre("NhgTunnel NhgTunnelProgrammer processNhgTunnelRequest", "MplsRoute MplsRouteProgrammer program",
                  "MplsRoute MplsRouteProgrammer processMplsRouteWithNexthop",
                  "MplsRoute MplsRouteProgrammer processMPLSRouteRequest",
                  "NexthopGroup NexthopGroupProgrammer addUpdateNhg",
                  "CbfNexthopGroupRedirect CbfNhgRedirectProgrammer process", "Bfd BfdProgrammer process",
                  "IpRoute IpRouteProgrammer addRibRoute", "Opaque OpaqueProgrammer processOpaqueStateGetRequest",
                  "ClientInit ClientInit processResync",  // no resync to end
                  "ClientInit ClientInit startResync",    // its beginning is told, too
                  "ClientInit ClientInit processResync", "ClientInit ClientInit processInitRequest"));
}

}  // namespace
}  // namespace VelmSdkRpc
