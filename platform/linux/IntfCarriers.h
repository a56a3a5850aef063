#pragma once

#include <functional>
#include <vector>

#include "platform/linux/Ports.h"
#include "platform/switch/Carrier.h"
#include "platform/switch/IntfMgr.h"
#include "platform/switch/IpIntfMgr.h"

namespace velm::machine {

/// The machine's ports, once they are followed.
using PortsNow = std::function<Ports*()>;

/// Sets the links of interfaces to what clients want of them. The machine does it in prepare, and what it refuses is
/// refused; what it has already done stays done if the change then fails elsewhere, and is told as any news of its own.
class IntfCarrier : public embedded::Carrier<intf_id_t, embedded::Intf> {
 public:
   explicit IntfCarrier(PortsNow ports) : ports_(std::move(ports)) {}

   /// Throws unsupported_error for an interface that the machine does not have.
   embedded::Room prepare(intf_id_t const& intf, embedded::Intf const* now, embedded::Intf const& next) override;
   void carryOut(intf_id_t const&, embedded::Intf const*, embedded::Room) noexcept override {}
   /// What the folder says of a link is past: the machine's state holds.
   void restore(intf_id_t const& intf, embedded::Intf const&) override { restored_.push_back(intf); }
   /// Those that the folder knew.
   std::vector<intf_id_t> const& restored() const { return restored_; }

 private:
   PortsNow const ports_;
   std::vector<intf_id_t> restored_;
};

/// Sets the addresses of interfaces, likewise. Those that the kernel made by itself are not the switch's to take away.
class IpIntfCarrier : public embedded::Carrier<intf_id_t, embedded::IpIntf> {
 public:
   explicit IpIntfCarrier(PortsNow ports) : ports_(std::move(ports)) {}

   embedded::Room prepare(intf_id_t const& intf, embedded::IpIntf const* now, embedded::IpIntf const& next) override;
   void carryOut(intf_id_t const&, embedded::IpIntf const*, embedded::Room) noexcept override {}
   void restore(intf_id_t const&, embedded::IpIntf const&) override {}

 private:
   PortsNow const ports_;
};

/// What has passed the interface, as the kernel counts.
embedded::IntfTraffic trafficOf(Ports& ports, netlink::Link const& link);

}  // namespace velm::machine
