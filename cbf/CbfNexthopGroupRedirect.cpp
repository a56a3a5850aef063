#include "cbf/CbfNexthopGroupRedirect.h"

#include "native/Programmer.h"

namespace VelmSdkRpc {
namespace {

constexpr auto className = "CbfNhgRedirectProgrammer";
constexpr auto what = "CBF redirects";

}  // namespace

CbfNhgRedirectProgrammer::CbfNhgRedirectProgrammer(ClientInit const& clientInit) : clientInit_(clientInit) {}

void CbfNhgRedirectProgrammer::processCbfNhgRedirectRequest(pb::cbf_nexthop_group_redirect_msg const& request,
                                                            pb::rpc_status_msg& status) {
   answerUnbuilt(clientInit_, className, request, status, what);
}

void CbfNhgRedirectProgrammer::processCbfNhgRedirectBulkRequest(pb::cbf_nexthop_group_redirect_bulk_msg const& request,
                                                                pb::rpc_status_bulk_msg& status) {
   answerEach(request.cbf_nexthop_group_redirect(), status,
              [&](auto const& element, auto& answered) { processCbfNhgRedirectRequest(element, answered); });
}

bool CbfNhgRedirectProgrammer::cbrPolicyMapNameIs(std::string const& name) {
   bool const inForce = name == policyMapName_;
   policyMapName_ = name;
   return inForce;
}

}  // namespace VelmSdkRpc
