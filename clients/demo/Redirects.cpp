#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "clients/demo/Chapters.h"
#include "clients/demo/Checks.h"
#include "clients/demo/Controller.h"
#include "clients/demo/Narration.h"

namespace VelmSdkRpc::demo {
namespace {

bool isOfRedirects(CallCount const& call) {
   constexpr std::array<std::string_view, 3> managers{"acl_mgr.", "class_map_mgr.", "policy_map_mgr."};
   return std::ranges::any_of(managers, [&](auto const& manager) { return call.operation.starts_with(manager); });
}

/// The calls to the managers that redirects are made of, from this object's construction on.
class RedirectCalls {
 public:
   explicit RedirectCalls(SwitchView& view) : view_(view) {
      for (auto const& call : view_.calls()) before_[call.operation] = call.count;
   }

   std::vector<CallCount> soFar() {
      auto calls = view_.calls();
      for (auto& call : calls) call.count -= before_[call.operation];
      std::erase_if(calls, [](auto const& call) { return call.count == 0 || !isOfRedirects(call); });
      return calls;
   }

 private:
   SwitchView& view_;
   std::map<std::string, std::uint64_t> before_;
};

/// A chapter a method.
class Redirects {
 public:
   explicit Redirects(Stage& stage)
      : stage_(stage), controller_(stage.agent.channel()), redirect_(stage.plan.redirects.at(0)) {}

   void play() {
      someOfAGroupsPacketsLeaveByAnother();
      otherValuesTouchTheAclsAlone();
      aRemovalIsTakenBack();
   }

 private:
   void someOfAGroupsPacketsLeaveByAnother() {
      stage_.chapter("Some packets of a group leave by another (cbf_nexthop_group_redirect_bulk)");
      say("Packets of some classes deserve a way of their own. The controller names two groups, and the values of the");
      say("DSCP field whose packets leave by the other one:");
      auto const& redirects = stage_.plan.redirects;
      expectSuccess(controller_.setRedirects(redirects), redirects.size(), "cbf_nexthop_group_redirect_bulk");
      auto const held = stage_.expectRedirects();
      show(tableOf(redirects));
      say("The agent makes a class of packets of each redirect, picked by the rules of two ACLs, and a rule of the");
      say("policy map that sends the class elsewhere. `show policy-map`, `show class-map` and `show acl`:");
      show(tableOf(held.policyRules), tableOf(held.classRules), tableOf(held.aclRules));
      say("IPv6 has its DSCP two bits higher, in the traffic class.");
   }

   void otherValuesTouchTheAclsAlone() {
      stage_.chapter("Other values for a redirect (cbf_nexthop_group_redirect)");
      redirect_.ipv4Dscp = {46};
      redirect_.ipv6Dscp = {46, 48};
      RedirectCalls calls(stage_.view);
      expectSuccess(controller_.setRedirect(redirect_), "the change of DSCP values");
      auto const made = calls.soFar();
      expectSame(made,
                 {{"acl_mgr.acl_commit", 1},
                  {"acl_mgr.acl_rule_del", 1},
                  {"acl_mgr.acl_rule_ip_iter", 2},
                  {"acl_mgr.acl_rule_set", 3}},
                 "the calls to the switch");
      auto const held = stage_.expectRedirects();
      say("Those of `{}` become {} for IPv4, and {} for IPv6. The agent rewrites its ACLs, and commits that once:",
          redirect_.match, fmt::join(redirect_.ipv4Dscp, " and "), fmt::join(redirect_.ipv6Dscp, " and "));
      show(tableOf(held.aclRules), tableOf(made));
      say(
         "`show switch calls` counts what the agent asks of the switch. It wrote no class map and no policy map: what");
      say("changes is no more than the values.");
   }

   void aRemovalIsTakenBack() {
      stage_.chapter("A removal is taken back in time");
      RedirectCalls calls(stage_.view);
      expectSuccess(controller_.deleteRedirect(redirect_), "the removal of a redirect");
      expectSuccess(controller_.setRedirect(redirect_), "the redirect that is asked for again");
      say("A removal waits for a second, and goes with all others of that second in one step. Here the controller");
      say("removes its redirect and asks for it again before that. When the second is over nothing is removed:");
      // What closes the second.
      std::vector<CallCount> const nothingRemoved{{"acl_mgr.acl_commit", 1}, {"policy_map_mgr.policy_map_is", 1}};
      auto const made =
         awaitRows([&] { return calls.soFar(); }, [&](auto const& rows) { return rows == nothingRemoved; }, "calls");
      stage_.expectRedirects();
      show(tableOf(made));
      say("The policy map is written as it was. No ACL and no class map was touched, and no packet lost its way.");
   }

   Stage& stage_;
   Controller controller_;
   Redirect& redirect_;  // the plan's
};

}  // namespace

void playRedirects(Stage& stage) { Redirects(stage).play(); }

}  // namespace VelmSdkRpc::demo
