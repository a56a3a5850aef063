// A label lives in one form: what the programmer calls to keep it so, and that it does, over the whole space of labels.
#include <functional>
#include <optional>

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
using ::testing::ElementsAreArray;
using ::testing::Matcher;

enum class Form { nexthop, group, vrf };
Form formAfter(Form form) { return static_cast<Form>((static_cast<int>(form) + 1) % 3); }

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

mpls_route_msg deletion(std::uint32_t label = 100) {
   auto request = create(Form::vrf, label);  // a choice that a delete does not look at
   request.set_request_delete(true);
   return request;
}

struct OrderCase {
   char const* name;
   mpls_route_msg request;
   bool routeExists;
   bool bareViaExists;
   char const* vrf;  // of the label, before
   rpc_status_msg::rpc_status_value_enum status;
   std::vector<std::string> calls;
};

class MplsOrderTest : public ProgrammerTest, public ::testing::WithParamInterface<OrderCase> {};

TEST_P(MplsOrderTest, OneStepInThisOrder) {
   auto const& param = GetParam();
   using key = velm::mpls_route_key_t;
   using via = velm::mpls_route_via_t;
   ON_CALL(mplsRoutes, exists(Matcher<key const&>(::testing::_))).WillByDefault(noted("exists", param.routeExists));
   ON_CALL(mplsRoutes, exists(via(key(velm::mpls_label_t(100), 0))))
      .WillByDefault(noted("via exists", param.bareViaExists));
   ON_CALL(mplsRoutes, mpls_route_set).WillByDefault(noted("set"));
   ON_CALL(mplsRoutes, mpls_route_del).WillByDefault(noted("del"));
   ON_CALL(mplsRoutes, mpls_route_via_set).WillByDefault(noted("via set"));
   ON_CALL(mplsRoutes, mpls_route_via_del).WillByDefault(noted("via del"));
   velm::mpls_vrf_label_t const entry(velm::mpls_label_t(100), param.vrf);
   ON_CALL(vrfLabels, mpls_vrf_label).WillByDefault(noted("vrf read", entry));
   ON_CALL(vrfLabels, mpls_vrf_label_set).WillByDefault(noted("vrf set"));
   ON_CALL(vrfLabels, mpls_vrf_label_del).WillByDefault(noted("vrf del"));
   init();
   MplsRouteProgrammer programmer(client, &mplsRoutes, &vrfLabels);
   rpc_status_msg status;
   programmer.processMPLSRouteRequest(param.request, status);
   EXPECT_EQ(status.status(), param.status);
   EXPECT_EQ(status.debug_string(), "");
   EXPECT_THAT(takeCalls(), ElementsAreArray(param.calls));
}

constexpr auto success = rpc_status_msg::STATUS_SUCCESS;
INSTANTIATE_TEST_SUITE_P(
   Mpls, MplsOrderTest,
   ::testing::Values(
      OrderCase{
         "FreshRoute", create(Form::nexthop), false, false, "", success, {"exists", "set", "via set", "vrf read"}},
      OrderCase{"RepeatedRoute",
                create(Form::group),
                true,
                false,
                "",
                success,
                {"exists", "del", "set", "via set", "vrf read"}},
      OrderCase{"RouteForVrf",
                create(Form::group),
                false,
                false,
                "red",
                success,
                {"exists", "set", "via set", "vrf read", "vrf del"}},
      OrderCase{"FreshVrf", create(Form::vrf), false, false, "", success, {"vrf set", "exists"}},
      OrderCase{"VrfForRoute",
                create(Form::vrf),
                true,
                true,
                "",
                success,
                {"vrf set", "exists", "del", "via exists", "via del"}},
      OrderCase{"DeleteRoute", deletion(), true, false, "red", success, {"exists", "del", "via exists"}},
      OrderCase{"DeleteVrf", deletion(), false, false, "red", success, {"exists", "vrf read", "vrf del"}},
      OrderCase{"DeleteNone", deletion(), false, false, "", rpc_status_msg::STATUS_NOT_FOUND, {"exists", "vrf read"}}),
   [](auto const& info) { return info.param.name; });

class MplsRouteTest : public ProgrammerTest {
 protected:
   MplsRouteTest() {
      init();
      traceHandle->levelsIs(1);  // level 0: a line for each of a million labels would be most of the work
   }

   rpc_status_msg process(mpls_route_msg const& request) {
      rpc_status_msg status;
      programmer.processMPLSRouteRequest(request, status);
      return status;
   }
   std::optional<Form> formOf(std::uint32_t label) {
      velm::mpls_label_t const asLabel(label);
      velm::mpls_route_key_t const key(asLabel, 0);
      auto const* route = routes.table().find(velm::embedded::MplsRowKey(key));
      bool const vrf = labels.table().contains(asLabel);
      EXPECT_FALSE(route != nullptr && vrf) << "label " << label;
      if (route == nullptr) return vrf ? std::optional(Form::vrf) : std::nullopt;
      auto const vias = route->vias.list(key);
      EXPECT_EQ(vias.size(), 1) << "label " << label;
      return vias.front().nexthop_group().empty() ? Form::nexthop : Form::group;
   }

   velm::embedded::CallLedger ledger;
   velm::embedded::MainLoop loop{Loom::TaskSchedulerRoot::findOrCreateScheduler()};
   velm::embedded::MplsRouteMgr routes{ledger, loop};
   velm::embedded::MplsVrfLabelMgr labels{ledger};
   MplsRouteProgrammer programmer{client, &routes, &labels};
};

TEST_F(MplsRouteTest, EveryLabelLivesInOneFormAndThenInTheNext) {
   constexpr std::uint32_t most = velm::mpls_label_t::max;
   auto const firstForm = [](std::uint32_t label) { return static_cast<Form>(label % 3); };
   for (std::uint32_t label = 0; label <= most; ++label) process(create(firstForm(label), label));
   for (std::uint32_t label = 0; label <= most; ++label) process(create(formAfter(firstForm(label)), label));
   for (std::uint32_t label = 0; label <= most; ++label) {
      ASSERT_EQ(formOf(label), formAfter(firstForm(label))) << "label " << label;
   }
   EXPECT_EQ(process(create(Form::vrf, most + 1)).status(), rpc_status_msg::STATUS_ERROR);
   for (std::uint32_t label = 0; label <= most; ++label) {
      ASSERT_EQ(process(deletion(label)).status(), success) << "label " << label;
   }
   EXPECT_TRUE(routes.table().empty() && labels.table().empty());
}

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
