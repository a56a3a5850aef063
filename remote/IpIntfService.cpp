#include "remote/IpIntfService.h"

#include <set>

#include "platform/velm/errors.h"
#include "platform/velm/format.h"
#include "remote/MirrorMethods.h"
#include "rpc/Tracing.h"

// Events are published as they come, without a backlog: an addition and a deletion of one address must not become one
// event. The order of conversions within a method decides which of several faults is reported.
namespace VelmSdkRpc {
namespace {

using AsyncService = IpIntfService::AsyncService;
using types::convert;

struct Watch : SubscribedWatch<&AsyncService::Requestwatch> {};

struct Exists : Method<&AsyncService::Requestexists> {
   static void call(IpIntfService& service, Request const& request, Response& response) {
      response.set_exists(service.mgr().exists(convert(request.intf())));
   }
};

struct IpAddrs : Method<&AsyncService::Requestip_addrs> {
   static void call(IpIntfService& service, Request const& request, Response& response) {
      for (auto const& addr : service.mgr().ip_addrs(convert(request.intf()))) *response.add_ip_addrs() = convert(addr);
   }
};

// The addresses are read before the interface, so that of two faults it is an address that is reported.
struct IpAddrsIs : Method<&AsyncService::Requestip_addrs_is> {
   static void call(IpIntfService& service, Request const& request, Response&) {
      std::set<velm::ip_addr_mask_t> addrs;
      for (auto const& element : request.ip_addrs()) {
         auto const addr = convert(element);
         trace(service.tracer(), 9, "Adding addr {} to {}", addr, request.intf().name());
         addrs.insert(addr);
      }
      service.mgr().ip_addrs_is(convert(request.intf()), addrs);
   }
};

// The operation is looked at last: it is reported only if interface and address are in order.
struct IpAddrModify : Method<&AsyncService::Requestip_addr_modify> {
   static void call(IpIntfService& service, Request const& request, Response&) {
      auto const intf = convert(request.intf());
      auto const addr = convert(request.addr());
      switch (request.op()) {
         case velm::remote::IP_INTF_ADDR_OP_ADD: service.mgr().ip_addr_add(intf, addr); break;
         case velm::remote::IP_INTF_ADDR_OP_DEL: service.mgr().ip_addr_del(intf, addr); break;
         default: throw velm::invalid_argument_error("Unknown operation");
      }
   }
};

struct IpAddrMergeMode : Method<&AsyncService::Requestip_addr_merge_mode> {
   static void call(IpIntfService& service, Request const& request, Response& response) {
      response.set_merge_mode(service.mgr().ip_addr_merge_mode(convert(request.intf())));
   }
};

struct IpAddrMergeModeIs : Method<&AsyncService::Requestip_addr_merge_mode_is> {
   static void call(IpIntfService& service, Request const& request, Response&) {
      service.mgr().ip_addr_merge_mode_is(convert(request.intf()), request.merge_mode());
   }
};

struct BulkIpAddrsIs : BulkOf<&AsyncService::Requestbulk_ip_addrs_is, IpAddrsIs> {};
struct BulkIpAddrModify : BulkOf<&AsyncService::Requestbulk_ip_addr_modify, IpAddrModify> {};
struct BulkIpAddrMergeModeIs : BulkOf<&AsyncService::Requestbulk_ip_addr_merge_mode_is, IpAddrMergeModeIs> {};

struct InternalVlanId : Method<&AsyncService::Requestinternal_vlan_id> {
   static void call(IpIntfService& service, Request const& request, Response& response) {
      response.set_vlan_id(service.mgr().internal_vlan_id(convert(request.intf())));
   }
};

}  // namespace

void IpIntfService::startHandlers() {
   registerAdapter<StreamingAdapterHandler, Watch>(*this);
   registerAdapter<UnaryRequestHandler, Exists>(*this);
   registerAdapter<UnaryRequestHandler, IpAddrs>(*this);
   registerAdapter<UnaryRequestHandler, IpAddrsIs>(*this);
   registerAdapter<BulkRequestHandler, BulkIpAddrsIs>(*this);
   registerAdapter<UnaryRequestHandler, IpAddrModify>(*this);
   registerAdapter<BulkRequestHandler, BulkIpAddrModify>(*this);
   registerAdapter<UnaryRequestHandler, IpAddrMergeMode>(*this);
   registerAdapter<UnaryRequestHandler, IpAddrMergeModeIs>(*this);
   registerAdapter<BulkRequestHandler, BulkIpAddrMergeModeIs>(*this);
   registerAdapter<UnaryRequestHandler, InternalVlanId>(*this);
}

void IpIntfService::publish(velm::remote::IpIntfEvent const& event) {
   subscriptions().publishA<WatchOf<Watch, IpIntfService>>(event);
}

void IpIntfService::publishAddr(velm::intf_id_t intf, velm::ip_addr_mask_t const& addr, velm::remote::IpIntfAddrOp op) {
   velm::remote::IpIntfEvent event;
   *event.mutable_intf() = convert(intf);
   *event.mutable_ip_addr_event()->mutable_addr() = convert(addr);
   event.mutable_ip_addr_event()->set_op(op);
   publish(event);
}

void IpIntfService::on_ip_addr_add(velm::intf_id_t intf, velm::ip_addr_mask_t const& addr) {
   publishAddr(intf, addr, velm::remote::IP_INTF_ADDR_OP_ADD);
}

void IpIntfService::on_ip_addr_del(velm::intf_id_t intf, velm::ip_addr_mask_t const& addr) {
   publishAddr(intf, addr, velm::remote::IP_INTF_ADDR_OP_DEL);
}

void IpIntfService::on_internal_vlan_id(velm::intf_id_t intf, unsigned short vlan) {
   velm::remote::IpIntfEvent event;
   *event.mutable_intf() = convert(intf);
   event.mutable_internal_vlan_id()->set_vlan_id(vlan);
   publish(event);
}

}  // namespace VelmSdkRpc
