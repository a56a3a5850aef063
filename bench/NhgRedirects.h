#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "bench/Places.h"
#include "bench/Server.h"
#include "bench/Subject.h"
#include "bench/SwitchCalls.h"
#include "proto/velmsdk.grpc.pb.h"

namespace VelmSdkRpc::Bench {

/// A kind of entries: redirects of DSCP values from one nexthop group to another, each with two groups of its own, for
/// the switch does not ask whether there are such.
struct NhgRedirects {
   using Element = pb::cbf_nexthop_group_redirect_msg;
   static constexpr auto method = &pb::velmsdk_service::Stub::Asynccbf_nexthop_group_redirect_bulk;
   static constexpr std::size_t keys = std::size_t{1} << 20U;

   std::size_t values = 4;  // of each family, for a redirect

   static char const* name() { return "redirects"; }
   Element add(Place place) const;
   Element removal(Place place) const;

   /// The calls to the managers that redirects are made of, ACLs, class maps and policy maps: what the agent has made
   /// since its start, and what a single bulk of so many makes that are new, or that are there already.
   static CallCounts callsOf(Server const& agent);
   CallCounts callsForNew(std::size_t redirects) const;
   static CallCounts callsForRepeated();
   /// The same of the rpc_server_init that reads so many back.
   static CallCounts callsForRestored(std::size_t redirects);
};

/// Redirects that are gone when their removal has returned: the agent takes a second for it, behind its answer.
class RedirectSubject : public BulkSubject<NhgRedirects> {
 public:
   using BulkSubject::BulkSubject;

   void remove(Server& agent, PlaceList const& places) const override;
};

}  // namespace VelmSdkRpc::Bench
