#include "tests/native/ProgrammerTest.h"

namespace VelmSdkRpc {

ProgrammerTest::ProgrammerTest()
   : sessions(noSessions()),
     service(nullptr, nullptr, sessions.get(), &intfs, nullptr, &ipRoutes, &mplsRoutes, &vrfLabels, &groups, &tunnels,
             nullptr),
     client(service, &ipRoutes, &mplsRoutes, &vrfLabels, &groups, &tunnels) {
   ON_CALL(ipRoutes, ip_route_iter).WillByDefault([] { return emptyIter<velm::ip_route_t>(); });
   ON_CALL(mplsRoutes, mpls_route_iter).WillByDefault([] { return emptyIter<velm::mpls_route_t>(); });
   ON_CALL(vrfLabels, mpls_vrf_label_iter).WillByDefault([] { return emptyIter<velm::mpls_vrf_label_t>(); });
   ON_CALL(groups, nexthop_group_iter).WillByDefault([] { return emptyIter<velm::nexthop_group_t>(); });
   ON_CALL(tunnels, nexthop_group_tunnel_iter).WillByDefault([] { return emptyIter<velm::nexthop_group_tunnel_t>(); });
}

ProgrammerTest::~ProgrammerTest() = default;

std::unique_ptr<ProgrammerTest::Sessions> ProgrammerTest::noSessions() {
   auto sessions = std::make_unique<Sessions>();
   ON_CALL(*sessions, sbfd_echo_session_iter).WillByDefault([] { return emptyIter<velm::sbfd_echo_session_key_t>(); });
   ON_CALL(*sessions, sbfd_echo_session_default_interval).WillByDefault([] { return velm::sbfd_interval_t(300, 3); });
   return sessions;
}

}  // namespace VelmSdkRpc
