#include "cbf/CbfRuleReader.h"

#include <algorithm>
#include <string>
#include <utility>

#include "platform/qor/Assert.h"
#include "rpc/ProcessTrace.h"

namespace VelmSdkRpc {
namespace {

constexpr auto className = "CbfNhgRedirectProgrammer";  // for which operators look, whatever file the line is from

/// A rule as far as it has been read. A defect makes the rule no redirect but does not end the reading: an operator who
/// mends a policy map by hand is to see all that is wrong at once. The texts name the place: the rule's number, its
/// class map, the number in that.
class RuleReader {
 public:
   RuleReader(std::uint32_t seq, velm::class_map_mgr const& classMapMgr, velm::acl_mgr const& aclMgr)
      : seq_(seq), classMapMgr_(classMapMgr), aclMgr_(aclMgr) {}

   std::optional<CbfRule> read(velm::policy_map_rule_t const& rule) {
      readActions(rule.actions());
      readClassMap(rule.class_map_key());
      return bad_ ? std::nullopt : std::optional(std::move(rule_));
   }

 private:
   // A rule with several actions redirects nowhere, so a second name cannot come; the test stands for the day it can.
   void readActions(std::set<velm::policy_map_action_t> const& actions) {
      auto& redirect = rule_.key.redirectNexthopGroup;
      if (actions.size() == 1) {
         for (auto const& action : actions) {
            if (redirect.empty()) {
               redirect = action.nexthop_group_name();
            } else if (redirect != action.nexthop_group_name()) {
               defect("Error: policy-map seq {} contradicting redirect NexthopGroups", seq_);
            }
         }
      }
      if (redirect.empty()) defect("Error: policy-map seq {} missing redirect NexthopGroup", seq_);
   }

   void readClassMap(velm::policy_map_key_t const& key) {
      if (classMapMgr_.exists(key)) {
         auto const classMap = classMapMgr_.class_map(key);
         for (auto const& [cmSeq, rule] : classMap.rules()) readAcl(key.name(), cmSeq, rule.acl_key());
      } else {
         defect("Error: policy-map seq {} class-map {} missing", seq_, key.name());
      }
      if (rule_.key.matchNexthopGroup.empty()) {
         defect("Error: policy-map seq {} missing match NexthopGroup", seq_);
      }
   }

   void readAcl(std::string const& classMap, std::uint32_t cmSeq, velm::acl_key_t const& key) {
      auto const [definitions, values] = familyOf(classMap, cmSeq, key);
      if (!values->empty()) {
         defect("Error: policy-map seq {} class-map {} seq {} existing DSCP values", seq_, classMap, cmSeq);
      }
      auto& match = rule_.key.matchNexthopGroup;
      for (auto it = aclMgr_.acl_rule_ip_iter(key); it; ++it) {
         auto const& rule = (*it).second;
         if (match.empty()) {
            match = rule.nexthop_group();
         } else if (match != rule.nexthop_group()) {
            defect("Error: policy-map seq {} class-map {} seq {} contradicting match NexthopGroups {} {}", seq_,
                   classMap, cmSeq, match, rule.nexthop_group());
         }
         values->push_back(definitions->dscpOf(rule.priority_value()));
      }
      std::ranges::sort(*values);  // as a request's are, with which they will be compared
   }

   /// How the ACL carries its values, and where these go.
   std::pair<AfDefinitions const*, CbfDscpValues::Values*> familyOf(std::string const& classMap, std::uint32_t cmSeq,
                                                                    velm::acl_key_t const& key) {
      switch (key.acl_type()) {
         case velm::acl_type_t::ipv4: return {&ipv4Definitions, &rule_.dscpValues.ipv4};
         case velm::acl_type_t::ipv6: return {&ipv6Definitions, &rule_.dscpValues.ipv6};
         default: break;
      }
      defect("Error: policy-map seq {} class-map {} seq {} unexpected acl-type {} acl {}", seq_, classMap, cmSeq,
             static_cast<unsigned>(key.acl_type()), key.acl_name());
      Qor::assertionFailed("af");
   }

   template <class... Args>
   void defect(std::type_identity_t<TraceFormat<Args...>> text, Args const&... args) {
      trace(className, 0, text, args...);
      bad_ = true;
   }

   std::uint32_t const seq_;
   velm::class_map_mgr const& classMapMgr_;
   velm::acl_mgr const& aclMgr_;
   CbfRule rule_;
   bool bad_ = false;
};

}  // namespace

std::optional<CbfRule> readCbfRule(std::uint32_t seq, velm::policy_map_rule_t const& rule,
                                   velm::class_map_mgr const& classMapMgr, velm::acl_mgr const& aclMgr) {
   return RuleReader(seq, classMapMgr, aclMgr).read(rule);
}

}  // namespace VelmSdkRpc
