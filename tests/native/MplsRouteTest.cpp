// A label lives in one form: what the programmer calls to keep it so, and that it does.
#include <fmt/ranges.h>

#include "native/MplsRoute.h"
#include "platform/loom/TaskScheduler.h"
#include "platform/switch/MplsRouteMgr.h"
#include "rpc/ProcessTrace.h"
#include "tests/native/ProgrammerTest.h"

namespace VelmSdkRpc {
namespace {

using pb::mpls_route_msg;
using pb::nexthop_msg;
using pb::rpc_status_msg;
using ::testing::Matcher;

enum class Form { nexthop, group, vrf };

mpls_route_msg create(Form form, std::uint32_t label = 100) {
   mpls_route_msg request;
   request.set_label(label);
   switch (form) {
      case Form::nexthop:
         request.mutable_nexthop()->set_nexthop_interface("Ethernet1");
         request.mutable_nexthop()->set_mpls_operation(nexthop_msg::MPLS_OP_SWAP_ALT1);
         request.mutable_nexthop()->add_labels(200);
         break;
      case Form::group: request.mutable_forward_nexthop_group()->set_nexthop_group("g"); break;
      case Form::vrf: request.set_pop_and_forward_vrf_name("red"); break;
   }
   return request;
}

mpls_route_msg deletion() {
   auto request = create(Form::vrf);  // a choice that a delete does not look at
   request.set_request_delete(true);
   return request;
}

constexpr auto success = rpc_status_msg::STATUS_SUCCESS;

struct OrderCase {
   char const* before;  // "route", "via" for a route whose bare via is there, "vrf"; several at once
   mpls_route_msg request;
   char const* calls;
};

class MplsOrderTest : public ProgrammerTest {};

TEST_F(MplsOrderTest, EachRequestIsOneStepInThisOrder) {
   using key = velm::mpls_route_key_t;
   using via = velm::mpls_route_via_t;
   ON_CALL(mplsRoutes, mpls_route_set).WillByDefault(noted("set"));
   ON_CALL(mplsRoutes, mpls_route_del).WillByDefault(noted("del"));
   ON_CALL(mplsRoutes, mpls_route_via_set).WillByDefault(noted("via set"));
   ON_CALL(mplsRoutes, mpls_route_via_del).WillByDefault(noted("via del"));
   ON_CALL(vrfLabels, mpls_vrf_label_set).WillByDefault(noted("vrf set"));
   ON_CALL(vrfLabels, mpls_vrf_label_del).WillByDefault(noted("vrf del"));
   init();
   MplsRouteProgrammer programmer(client, &mplsRoutes, &vrfLabels);
   for (auto const& [before, request, calls] :
        {OrderCase{"", create(Form::nexthop), "exists, set, via set, vrf read"},
         {"route", create(Form::group), "exists, del, set, via set, vrf read"},
         {"vrf", create(Form::group), "exists, set, via set, vrf read, vrf del"},
         {"", create(Form::vrf), "vrf set, exists"},
         {"route via", create(Form::vrf), "vrf set, exists, del, via exists, via del"},
         {"route vrf", deletion(), "exists, del, via exists"},
         {"vrf", deletion(), "exists, vrf read, vrf del"},
         {"", deletion(), "exists, vrf read"}}) {
      SCOPED_TRACE(calls);
      std::string const there(before);
      auto const has = [&](char const* what) { return there.find(what) != std::string::npos; };
      velm::mpls_label_t const label(100);
      ON_CALL(mplsRoutes, exists(Matcher<key const&>(::testing::_))).WillByDefault(noted("exists", has("route")));
      ON_CALL(mplsRoutes, exists(via(key(label, 0)))).WillByDefault(noted("via exists", has("via")));
      ON_CALL(vrfLabels, mpls_vrf_label)
         .WillByDefault(noted("vrf read", velm::mpls_vrf_label_t(label, has("vrf") ? "red" : "")));
      rpc_status_msg status;
      programmer.processMPLSRouteRequest(request, status);
      bool const nothingToDelete = request.request_delete() && there.empty();
      EXPECT_EQ(status.status(), nothingToDelete ? rpc_status_msg::STATUS_NOT_FOUND : success);
      EXPECT_EQ(status.debug_string(), "");
      EXPECT_EQ(fmt::format("{}", fmt::join(takeCalls(), ", ")), calls);
   }
}

class MplsRouteTest : public ProgrammerTest {
 protected:
   MplsRouteTest() {
      init();
      traceHandle->levelsIs(1);  // level 0: no line for each of the labels
   }

   rpc_status_msg process(mpls_route_msg const& request) {
      rpc_status_msg status;
      programmer.processMPLSRouteRequest(request, status);
      return status;
   }

   velm::embedded::CallLedger ledger;
   velm::embedded::MainLoop loop{Loom::TaskSchedulerRoot::findOrCreateScheduler()};
   velm::embedded::MplsRouteMgr routes{ledger, loop};
   velm::embedded::MplsVrfLabelMgr labels{ledger};
   MplsRouteProgrammer programmer{client, &routes, &labels};
};

struct CountCase {
   nexthop_msg::mpls_operation_enum operation;
   int labels;
   char const* refusal;  // empty where the labels fit
};

TEST_F(MplsRouteTest, TheLabelsOfANexthopFitItsOperation) {
   for (auto const& [operation, count, refusal] : {
           CountCase{nexthop_msg::MPLS_OP_NONE, 0, "action none not supported"},
           CountCase{nexthop_msg::MPLS_OP_PUSH, 0, "action push label count 0 != 1"},
           CountCase{nexthop_msg::MPLS_OP_PUSH, 1, ""},
           CountCase{nexthop_msg::MPLS_OP_PUSH, 2, "action push label count 2 != 1"},
           CountCase{nexthop_msg::MPLS_OP_POP, 0, ""},
           CountCase{nexthop_msg::MPLS_OP_POP, 1, "action pop label count 1 != 0"},
           CountCase{nexthop_msg::MPLS_OP_SWAP, 1, ""},
           CountCase{nexthop_msg::MPLS_OP_SWAP_ALT1, 0, "action swap label count 0 != 1"},
           CountCase{nexthop_msg::MPLS_OP_SWAP_ALT2, 3, "action swap label count 3 != 1"},
        }) {
      auto request = create(Form::nexthop);
      request.mutable_nexthop()->set_mpls_operation(operation);
      request.mutable_nexthop()->mutable_labels()->Resize(count, 7);
      auto const status = process(request);
      bool const refused = *refusal != '\0';
      EXPECT_EQ(status.status(), refused ? rpc_status_msg::STATUS_ERROR : success);
      EXPECT_EQ(status.debug_string(), refused ? std::string("Error: MPLS label 100 ") + refusal : "");
      EXPECT_EQ(routes.table().empty(), refused);
      process(deletion());
   }
}

TEST_F(MplsRouteTest, ARequestMustChooseAForm) {
   mpls_route_msg request;
   request.set_label(100);
   EXPECT_EQ(process(request).debug_string(),
             "Error: MPLS label 100 must specify nexthop_msg, nexthop_group_msg or popAndForward");
   auto forward = create(Form::group);
   forward.mutable_forward_nexthop_group()->set_mpls_operation(
      static_cast<pb::mpls_route_msg_forward_nexthop_group_msg::mpls_operation_enum>(2));
   EXPECT_DEATH(process(forward), "assertion failed: false ");
}

TEST_F(MplsRouteTest, ALabelThatIsNoneIsToldBeforeAnyOtherFault) {
   auto const label = velm::mpls_label_t::max + 1;
   auto nexthop = create(Form::nexthop, label);
   nexthop.mutable_nexthop()->set_nexthop_interface("no interface");
   auto forward = create(Form::group, label);
   forward.mutable_forward_nexthop_group()->set_mpls_operation(
      static_cast<pb::mpls_route_msg_forward_nexthop_group_msg::mpls_operation_enum>(2));
   for (auto const& request : {nexthop, forward}) {
      EXPECT_THAT(process(request).debug_string(), ::testing::HasSubstr(" exception MPLS label 1048576 "));
   }
}

}  // namespace
}  // namespace VelmSdkRpc
