#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "bench/Places.h"
#include "bench/Server.h"
#include "proto/velmsdk.grpc.pb.h"

namespace VelmSdkRpc::Bench {

/// A kind of entries: sBFD echo sessions on one interface, whose state they follow. A label tells them apart.
struct SbfdEchoSessions {
   using Element = pb::sbfd_echo_session_msg;
   static constexpr auto method = &pb::velmsdk_service::Stub::Asyncsbfd_echo_session_bulk;
   static constexpr std::size_t keys = std::size_t{1} << 19U;

   static char const* name() { return "sBFD sessions"; }
   Element add(Place place) const;
   Element removal(Place place) const;

   static Place placeOf(pb::sbfd_echo_session_key_msg const& key);
   /// Commands of the switch. The session at the place need not exist.
   static std::string simulateStatus(Place place, int status);
   static std::string simulateRtt(Place place, std::uint32_t rtt);  // all figures the same
   static std::string simulateLink(bool up);
};

/// Opens the client's session, on a switch that from now on reports nothing of an sBFD session by itself. Throws
/// std::runtime_error on failure.
void openQuietSession(Server& agent);

}  // namespace VelmSdkRpc::Bench
