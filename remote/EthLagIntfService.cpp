#include "remote/EthLagIntfService.h"

#include <concepts>
#include <string>
#include <type_traits>
#include <utility>

#include "convert/BoundaryCheck.h"
#include "convert/Enums.h"
#include "convert/EthLagIntf.h"
#include "remote/MirrorMethods.h"

// Nearly every method is an attribute of an interface, so the rows below name what is particular to each: the method,
// the manager's operation, and the field of the message that holds the value. A row that is more than that is written
// out.

namespace VelmSdkRpc {
namespace {

using AsyncService = EthLagIntfService::AsyncService;
using Mgr = velm::eth_lag_intf_mgr;
using types::convert;
namespace wire = velm::remote;

// A number or a text is the same on both sides; all else is converted.
template <class Value>
auto crossed(Value const& value) {
   if constexpr (std::is_arithmetic_v<Value> || std::same_as<Value, std::string>) {
      return value;
   } else {
      return convert(value);
   }
}

// Reads an attribute of an interface by the manager's getter `get`, into the response's field: by its `set_`, or by its
// `mutable_` where it is a message or a text.
template <auto post, auto get, auto field>
struct Getter : Method<post> {
   using typename Method<post>::Response;
   static void call(EthLagIntfService& service, typename Method<post>::Request const& request, Response& response) {
      auto value = crossed((service.mgr().*get)(convert(request.intf())));
      if constexpr (std::invocable<decltype(field), Response&>) {
         *(response.*field)() = std::move(value);
      } else {
         (response.*field)(value);
      }
   }
};

// Sets an attribute of an interface to the request's field. Its value is converted before the interface's name, so that
// of two faults it is the value's that is reported.
template <auto post, auto set, auto field>
struct Setter : Method<post> {
   static void call(EthLagIntfService& service, typename Method<post>::Request const& request,
                    typename Method<post>::Response&) {
      auto const value = crossed((request.*field)());
      (service.mgr().*set)(convert(request.intf()), value);
   }
};

// Does something to an interface that takes no value.
template <auto post, auto operation>
struct Action : Method<post> {
   static void call(EthLagIntfService& service, typename Method<post>::Request const& request,
                    typename Method<post>::Response&) {
      (service.mgr().*operation)(convert(request.intf()));
   }
};

struct Watch : SubscribedWatch<&AsyncService::Requestwatch> {};

struct EthLagIntfs : Method<&AsyncService::Requesteth_lag_intfs> {
   static auto call(EthLagIntfService& service, Request const&) { return service.mgr().eth_lag_intf_iter(); }
   static void fill(Response& response, velm::intf_id_t const& intf) { *response.mutable_intf() = convert(intf); }
};

struct Exists : Getter<&AsyncService::Requestexists, &Mgr::exists, &wire::EthLagIntfExistsResponse::set_exists> {};

struct EthLagIntfMembers : Method<&AsyncService::Requesteth_lag_intf_members> {
   static auto call(EthLagIntfService& service, Request const& request) {
      return service.mgr().eth_lag_intf_member_iter(convert(request.intf()));
   }
   static void fill(Response& response, velm::intf_id_t const& intf) { *response.mutable_intf() = convert(intf); }
};

struct EthLagIntfIs : Action<&AsyncService::Requesteth_lag_intf_is, &Mgr::eth_lag_intf_is> {};

struct EthLagIntf
   : Getter<&AsyncService::Requesteth_lag_intf, &Mgr::eth_lag_intf, &wire::EthLagIntfResponse::mutable_eth_lag_intf> {};

struct EthLagIntfDel : Action<&AsyncService::Requesteth_lag_intf_del, &Mgr::eth_lag_intf_del> {};

struct Speed : Getter<&AsyncService::Requestspeed, &Mgr::speed, &wire::EthLagIntfSpeedResponse::set_speed> {};
struct MinLinks
   : Getter<&AsyncService::Requestmin_links, &Mgr::min_links, &wire::EthLagIntfMinLinksResponse::set_min_links> {};
struct MinLinksIs
   : Setter<&AsyncService::Requestmin_links_is, &Mgr::min_links_is, &wire::EthLagIntfMinLinksIsRequest::min_links> {};
struct FallbackTypeIs : Setter<&AsyncService::Requestfallback_type_is, &Mgr::fallback_type_is,
                               &wire::EthLagIntfFallbackTypeIsRequest::fallback_type> {};
struct FallbackType : Getter<&AsyncService::Requestfallback_type, &Mgr::fallback_type,
                             &wire::EthLagIntfFallbackTypeResponse::set_fallback_type> {};

// Cut to the SDK's 16 bits, unlike a priority, which is checked: clients count on either.
struct FallbackTimeoutIs : Method<&AsyncService::Requestfallback_timeout_is> {
   static void call(EthLagIntfService& service, Request const& request, Response&) {
      auto const timeout = static_cast<unsigned short>(request.fallback_timeout());
      service.mgr().fallback_timeout_is(convert(request.intf()), timeout);
   }
};

struct FallbackTimeout : Getter<&AsyncService::Requestfallback_timeout, &Mgr::fallback_timeout,
                                &wire::EthLagIntfFallbackTimeoutResponse::set_fallback_timeout> {};

struct FallbackTimeoutDefault : Method<&AsyncService::Requestfallback_timeout_default> {
   static void call(EthLagIntfService& service, Request const& request, Response& response) {
      response.set_fallback_timeout_default(service.mgr().fallback_timeout_default(convert(request.intf())));
   }
};

// If several are wrong, the mode's fault is reported, then that of the member's name, then that of the LAG's.
struct MembershipSet : Method<&AsyncService::Requestmembership_set> {
   static void call(EthLagIntfService& service, Request const& request, Response&) {
      auto const mode = convert(request.mode());
      auto const intf = convert(request.intf());
      service.mgr().membership_set(intf, convert(request.eth_lag_intf_id()), mode);
   }
};

struct MembershipDel : Action<&AsyncService::Requestmembership_del, &Mgr::membership_del> {};

struct Membership : Getter<&AsyncService::Requestmembership, &Mgr::membership,
                           &wire::EthLagIntfMembershipResponse::mutable_eth_lag_intf_id> {};
struct MembershipStatus : Getter<&AsyncService::Requestmembership_status, &Mgr::membership_status,
                                 &wire::EthLagIntfMembershipStatusResponse::mutable_membership> {};

struct MemberPriorityIs : Method<&AsyncService::Requestmember_priority_is> {
   static void call(EthLagIntfService& service, Request const& request, Response&) {
      auto const priority = boundaryCheck<unsigned short>(request.priority(), "priority {} is out of range");
      service.mgr().member_priority_is(convert(request.intf()), priority);
   }
};

struct MemberPriority : Getter<&AsyncService::Requestmember_priority, &Mgr::member_priority,
                               &wire::EthLagIntfMemberPriorityResponse::set_priority> {};
struct MemberModeIs
   : Setter<&AsyncService::Requestmember_mode_is, &Mgr::member_mode_is, &wire::EthLagIntfMemberModeIsRequest::mode> {};
struct MemberMode
   : Getter<&AsyncService::Requestmember_mode, &Mgr::member_mode, &wire::EthLagIntfMemberModeResponse::set_mode> {};
struct MemberTimeoutIs : Setter<&AsyncService::Requestmember_timeout_is, &Mgr::member_timeout_is,
                                &wire::EthLagIntfMemberTimeoutIsRequest::timeout> {};
struct MemberTimeout : Getter<&AsyncService::Requestmember_timeout, &Mgr::member_timeout,
                              &wire::EthLagIntfMemberTimeoutResponse::set_timeout> {};
struct MemberActive : Getter<&AsyncService::Requestmember_active, &Mgr::member_active,
                             &wire::EthLagIntfMemberActiveResponse::set_active> {};
struct MemberTime : Getter<&AsyncService::Requestmember_time, &Mgr::member_time,
                           &wire::EthLagIntfMemberTimeResponse::set_member_time> {};
struct MemberReason : Getter<&AsyncService::Requestmember_reason, &Mgr::member_reason,
                             &wire::EthLagIntfMemberReasonResponse::mutable_reason> {};

struct BulkEthLagIntfIs : BulkOf<&AsyncService::Requestbulk_eth_lag_intf_is, EthLagIntfIs> {};
struct BulkEthLagIntfDel : BulkOf<&AsyncService::Requestbulk_eth_lag_intf_del, EthLagIntfDel> {};
struct BulkMinLinksIs : BulkOf<&AsyncService::Requestbulk_min_links_is, MinLinksIs> {};
struct BulkFallbackTypeIs : BulkOf<&AsyncService::Requestbulk_fallback_type_is, FallbackTypeIs> {};
struct BulkFallbackTimeoutIs : BulkOf<&AsyncService::Requestbulk_fallback_timeout_is, FallbackTimeoutIs> {};
struct BulkMembershipSet : BulkOf<&AsyncService::Requestbulk_membership_set, MembershipSet> {};
struct BulkMembershipDel : BulkOf<&AsyncService::Requestbulk_membership_del, MembershipDel> {};
struct BulkMemberPriorityIs : BulkOf<&AsyncService::Requestbulk_member_priority_is, MemberPriorityIs> {};
struct BulkMemberModeIs : BulkOf<&AsyncService::Requestbulk_member_mode_is, MemberModeIs> {};
struct BulkMemberTimeoutIs : BulkOf<&AsyncService::Requestbulk_member_timeout_is, MemberTimeoutIs> {};

EthLagIntfService::Event eventOf(wire::EthLagIntfEventType type, velm::intf_id_t const& lag) {
   EthLagIntfService::Event event;
   event.set_event_type(type);
   *event.mutable_intf() = convert(lag);
   return event;
}

}  // namespace

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

void EthLagIntfService::publish(Event const& event) {
   subscriptions().publishA<WatchOf<Watch, EthLagIntfService>>(event);
}

void EthLagIntfService::on_eth_lag_intf_create(velm::intf_id_t lag) {
   lagBacklog_.put(lag, eventOf(wire::ETH_LAG_INTF_EVENT_TYPE_CREATE, lag));
}

void EthLagIntfService::on_eth_lag_intf_delete(velm::intf_id_t lag) {
   lagBacklog_.put(lag, eventOf(wire::ETH_LAG_INTF_EVENT_TYPE_DELETE, lag));
}

void EthLagIntfService::on_lag_member_set(velm::intf_id_t lag, velm::intf_id_t member) {
   auto event = eventOf(wire::ETH_LAG_INTF_EVENT_TYPE_MEMBER_SET, lag);
   *event.mutable_member() = convert(member);
   memberBacklog_.put(member, std::move(event));
}

void EthLagIntfService::on_lag_member_del(velm::intf_id_t lag, velm::intf_id_t member) {
   auto event = eventOf(wire::ETH_LAG_INTF_EVENT_TYPE_MEMBER_DELETE, lag);
   *event.mutable_member() = convert(member);
   memberBacklog_.put(member, std::move(event));
}

void EthLagIntfService::on_lag_intf_speed(velm::intf_id_t lag, std::uint64_t speed) {
   auto event = eventOf(wire::ETH_LAG_INTF_EVENT_TYPE_SPEED, lag);
   event.set_speed(speed);
   lagBacklog_.put(lag, std::move(event));
}

}  // namespace VelmSdkRpc
