#include "remote/EthLagIntfService.h"

#include <utility>

#include "convert/BoundaryCheck.h"
#include "convert/Enums.h"
#include "convert/EthLagIntf.h"
#include "convert/Values.h"
#include "platform/loom/TaskScheduler.h"
#include "remote/StreamedElements.h"
#include "rpc/BulkRequestHandler.h"
#include "rpc/IteratorStreamingHandler.h"
#include "rpc/StreamingAdapterHandler.h"
#include "rpc/UnaryRequestHandler.h"

namespace VelmSdkRpc {
namespace {

using Async = EthLagIntfService::AsyncService;
using Mgr = velm::eth_lag_intf_mgr;
using types::convert;

/// A row that reads an attribute of an interface: the manager's getter, and what the response does with the value.
template <auto post, auto get, auto write>
struct Getter : Method<post> {
   using typename Method<post>::Request;
   using typename Method<post>::Response;
   static Response call(EthLagIntfService& service, Request const& request) {
      Response response;
      write(response, (service.mgr().*get)(convert(request.intf())));
      return response;
   }
};

/// A row that sets one: what it reads of the request, checked ahead of the interface's name, and the manager's setter.
template <auto post, auto read, auto set>
struct Setter : Method<post> {
   using typename Method<post>::Request;
   static typename Method<post>::Response call(EthLagIntfService& service, Request const& request) {
      auto const value = read(request);
      (service.mgr().*set)(convert(request.intf()), value);
      return {};
   }
};

/// A row that is about an interface and nothing else.
template <auto post, auto operation>
struct Action : Method<post> {
   static typename Method<post>::Response call(EthLagIntfService& service,
                                               typename Method<post>::Request const& request) {
      (service.mgr().*operation)(convert(request.intf()));
      return {};
   }
};

struct Watch : SubscribedWatch<&Async::Requestwatch> {};

struct EthLagIntfs : StreamedIntfs<&Async::Requesteth_lag_intfs> {
   static auto call(EthLagIntfService& service, Request const& /*request*/) {
      return service.mgr().eth_lag_intf_iter();
   }
};

struct EthLagIntfMembers : StreamedIntfs<&Async::Requesteth_lag_intf_members> {
   static auto call(EthLagIntfService& service, Request const& request) {
      return service.mgr().eth_lag_intf_member_iter(convert(request.intf()));
   }
};

// clang-format off
struct Exists : Getter<&Async::Requestexists, &Mgr::exists, [](auto& r, bool v) { r.set_exists(v); }> {};
struct EthLagIntf : Getter<&Async::Requesteth_lag_intf, &Mgr::eth_lag_intf, [](auto& r, auto const& v) { *r.mutable_eth_lag_intf() = convert(v); }> {};
struct Speed : Getter<&Async::Requestspeed, &Mgr::speed, [](auto& r, auto v) { r.set_speed(v); }> {};
struct MinLinks : Getter<&Async::Requestmin_links, &Mgr::min_links, [](auto& r, auto v) { r.set_min_links(v); }> {};
struct FallbackType : Getter<&Async::Requestfallback_type, &Mgr::fallback_type, [](auto& r, auto v) { r.set_fallback_type(convert(v)); }> {};
struct FallbackTimeout : Getter<&Async::Requestfallback_timeout, &Mgr::fallback_timeout, [](auto& r, auto v) { r.set_fallback_timeout(v); }> {};
struct FallbackTimeoutDefault : Getter<&Async::Requestfallback_timeout_default, &Mgr::fallback_timeout_default, [](auto& r, auto v) { r.set_fallback_timeout_default(v); }> {};
struct Membership : Getter<&Async::Requestmembership, &Mgr::membership, [](auto& r, auto const& v) { *r.mutable_eth_lag_intf_id() = convert(v); }> {};
struct MembershipStatus : Getter<&Async::Requestmembership_status, &Mgr::membership_status, [](auto& r, auto const& v) { *r.mutable_membership() = convert(v); }> {};
struct MemberPriority : Getter<&Async::Requestmember_priority, &Mgr::member_priority, [](auto& r, auto v) { r.set_priority(v); }> {};
struct MemberMode : Getter<&Async::Requestmember_mode, &Mgr::member_mode, [](auto& r, auto v) { r.set_mode(convert(v)); }> {};
struct MemberTimeout : Getter<&Async::Requestmember_timeout, &Mgr::member_timeout, [](auto& r, auto v) { r.set_timeout(convert(v)); }> {};
struct MemberActive : Getter<&Async::Requestmember_active, &Mgr::member_active, [](auto& r, bool v) { r.set_active(v); }> {};
struct MemberTime : Getter<&Async::Requestmember_time, &Mgr::member_time, [](auto& r, double v) { r.set_member_time(v); }> {};
struct MemberReason : Getter<&Async::Requestmember_reason, &Mgr::member_reason, [](auto& r, auto const& v) { r.set_reason(v); }> {};

struct EthLagIntfIs : Action<&Async::Requesteth_lag_intf_is, &Mgr::eth_lag_intf_is> {};
struct EthLagIntfDel : Action<&Async::Requesteth_lag_intf_del, &Mgr::eth_lag_intf_del> {};
struct MembershipDel : Action<&Async::Requestmembership_del, &Mgr::membership_del> {};

struct MinLinksIs : Setter<&Async::Requestmin_links_is, [](auto const& r) { return r.min_links(); }, &Mgr::min_links_is> {};
struct FallbackTypeIs : Setter<&Async::Requestfallback_type_is, [](auto const& r) { return convert(r.fallback_type()); }, &Mgr::fallback_type_is> {};
// Cut to 16 bits, unlike a priority, which is checked.
struct FallbackTimeoutIs : Setter<&Async::Requestfallback_timeout_is, [](auto const& r) { return static_cast<unsigned short>(r.fallback_timeout()); }, &Mgr::fallback_timeout_is> {};
struct MemberPriorityIs : Setter<&Async::Requestmember_priority_is, [](auto const& r) { return boundaryCheck<unsigned short>(r.priority(), "priority {} is out of range"); }, &Mgr::member_priority_is> {};
struct MemberModeIs : Setter<&Async::Requestmember_mode_is, [](auto const& r) { return convert(r.mode()); }, &Mgr::member_mode_is> {};
struct MemberTimeoutIs : Setter<&Async::Requestmember_timeout_is, [](auto const& r) { return convert(r.timeout()); }, &Mgr::member_timeout_is> {};
// clang-format on

struct MembershipSet : Method<&Async::Requestmembership_set> {
   static Response call(EthLagIntfService& service, Request const& request) {
      auto const mode = convert(request.mode());
      auto const intf = convert(request.intf());
      service.mgr().membership_set(intf, convert(request.eth_lag_intf_id()), mode);
      return {};
   }
};

struct BulkEthLagIntfIs : BulkOf<&Async::Requestbulk_eth_lag_intf_is, EthLagIntfIs> {};
struct BulkEthLagIntfDel : BulkOf<&Async::Requestbulk_eth_lag_intf_del, EthLagIntfDel> {};
struct BulkMinLinksIs : BulkOf<&Async::Requestbulk_min_links_is, MinLinksIs> {};
struct BulkFallbackTypeIs : BulkOf<&Async::Requestbulk_fallback_type_is, FallbackTypeIs> {};
struct BulkFallbackTimeoutIs : BulkOf<&Async::Requestbulk_fallback_timeout_is, FallbackTimeoutIs> {};
struct BulkMembershipSet : BulkOf<&Async::Requestbulk_membership_set, MembershipSet> {};
struct BulkMembershipDel : BulkOf<&Async::Requestbulk_membership_del, MembershipDel> {};
struct BulkMemberPriorityIs : BulkOf<&Async::Requestbulk_member_priority_is, MemberPriorityIs> {};
struct BulkMemberModeIs : BulkOf<&Async::Requestbulk_member_mode_is, MemberModeIs> {};
struct BulkMemberTimeoutIs : BulkOf<&Async::Requestbulk_member_timeout_is, MemberTimeoutIs> {};

velm::remote::EthLagIntfWatchResponse eventOf(velm::remote::EthLagIntfEventType type, velm::intf_id_t const& lag) {
   velm::remote::EthLagIntfWatchResponse event;
   event.set_event_type(type);
   *event.mutable_intf() = convert(lag);
   return event;
}

}  // namespace

EthLagIntfService::EthLagIntfService(velm::eth_lag_intf_mgr* mgr)
   : GrpcService("eth-lag-intf"),
     eth_lag_intf_handler(mgr),
     lagBacklog_("EthLagIntfBacklog", Loom::TaskSchedulerRoot::findOrCreateScheduler(), EthLagIntfBacklog(*this)),
     memberBacklog_("EthLagIntfMemberBacklog", Loom::TaskSchedulerRoot::findOrCreateScheduler(),
                    EthLagIntfMemberBacklog(*this)) {}

void EthLagIntfService::registerRpcService(grpc::ServerBuilder& builder) { builder.RegisterService(&asyncService_); }

void EthLagIntfService::startHandlers() {
   registerAdapter<StreamingAdapterHandler, Watch>(*this);
   registerAdapter<IteratorStreamingHandler, EthLagIntfs>(*this);
   registerAdapter<UnaryRequestHandler, Exists>(*this);
   registerAdapter<IteratorStreamingHandler, EthLagIntfMembers>(*this);
   registerAdapter<UnaryRequestHandler, EthLagIntfIs>(*this);
   registerAdapter<BulkRequestHandler, BulkEthLagIntfIs>(*this);
   registerAdapter<UnaryRequestHandler, EthLagIntf>(*this);
   registerAdapter<UnaryRequestHandler, EthLagIntfDel>(*this);
   registerAdapter<BulkRequestHandler, BulkEthLagIntfDel>(*this);
   registerAdapter<UnaryRequestHandler, Speed>(*this);
   registerAdapter<UnaryRequestHandler, MinLinks>(*this);
   registerAdapter<UnaryRequestHandler, MinLinksIs>(*this);
   registerAdapter<BulkRequestHandler, BulkMinLinksIs>(*this);
   registerAdapter<UnaryRequestHandler, FallbackTypeIs>(*this);
   registerAdapter<BulkRequestHandler, BulkFallbackTypeIs>(*this);
   registerAdapter<UnaryRequestHandler, FallbackType>(*this);
   registerAdapter<UnaryRequestHandler, FallbackTimeoutIs>(*this);
   registerAdapter<BulkRequestHandler, BulkFallbackTimeoutIs>(*this);
   registerAdapter<UnaryRequestHandler, FallbackTimeout>(*this);
   registerAdapter<UnaryRequestHandler, FallbackTimeoutDefault>(*this);
   registerAdapter<UnaryRequestHandler, MembershipSet>(*this);
   registerAdapter<BulkRequestHandler, BulkMembershipSet>(*this);
   registerAdapter<UnaryRequestHandler, MembershipDel>(*this);
   registerAdapter<BulkRequestHandler, BulkMembershipDel>(*this);
   registerAdapter<UnaryRequestHandler, Membership>(*this);
   registerAdapter<UnaryRequestHandler, MembershipStatus>(*this);
   registerAdapter<UnaryRequestHandler, MemberPriorityIs>(*this);
   registerAdapter<BulkRequestHandler, BulkMemberPriorityIs>(*this);
   registerAdapter<UnaryRequestHandler, MemberPriority>(*this);
   registerAdapter<UnaryRequestHandler, MemberModeIs>(*this);
   registerAdapter<BulkRequestHandler, BulkMemberModeIs>(*this);
   registerAdapter<UnaryRequestHandler, MemberMode>(*this);
   registerAdapter<UnaryRequestHandler, MemberTimeoutIs>(*this);
   registerAdapter<BulkRequestHandler, BulkMemberTimeoutIs>(*this);
   registerAdapter<UnaryRequestHandler, MemberTimeout>(*this);
   registerAdapter<UnaryRequestHandler, MemberActive>(*this);
   registerAdapter<UnaryRequestHandler, MemberTime>(*this);
   registerAdapter<UnaryRequestHandler, MemberReason>(*this);
}

void EthLagIntfService::publish(Event const& response) {
   subscriptions_.publishA<WatchOf<Watch, EthLagIntfService>>(response);
}

void EthLagIntfService::on_eth_lag_intf_create(velm::intf_id_t lag) {
   lagBacklog_.put(lag, eventOf(velm::remote::ETH_LAG_INTF_EVENT_TYPE_CREATE, lag));
}

void EthLagIntfService::on_eth_lag_intf_delete(velm::intf_id_t lag) {
   lagBacklog_.put(lag, eventOf(velm::remote::ETH_LAG_INTF_EVENT_TYPE_DELETE, lag));
}

void EthLagIntfService::on_lag_member_set(velm::intf_id_t lag, velm::intf_id_t member) {
   auto event = eventOf(velm::remote::ETH_LAG_INTF_EVENT_TYPE_MEMBER_SET, lag);
   *event.mutable_member() = convert(member);
   memberBacklog_.put(member, std::move(event));
}

void EthLagIntfService::on_lag_member_del(velm::intf_id_t lag, velm::intf_id_t member) {
   auto event = eventOf(velm::remote::ETH_LAG_INTF_EVENT_TYPE_MEMBER_DELETE, lag);
   *event.mutable_member() = convert(member);
   memberBacklog_.put(member, std::move(event));
}

void EthLagIntfService::on_lag_intf_speed(velm::intf_id_t lag, std::uint64_t speed) {
   auto event = eventOf(velm::remote::ETH_LAG_INTF_EVENT_TYPE_SPEED, lag);
   event.set_speed(speed);
   lagBacklog_.put(lag, std::move(event));
}

}  // namespace VelmSdkRpc
