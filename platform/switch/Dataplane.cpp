#include "platform/switch/Dataplane.h"

#include "platform/switch/IntfCounterMgr.h"

// What a dataplane answers that has nothing of its own to say.
namespace velm::embedded {

std::optional<IntfTraffic> Dataplane::traffic(intf_id_t /*intf*/) { return std::nullopt; }

std::optional<nexthop_group_entry_counter_t> Dataplane::counter(std::string const& /*group*/,
                                                                unsigned short /*entry*/) {
   return std::nullopt;
}

std::string Dataplane::kernelName(intf_id_t intf) const { return kernel_name(intf); }

intf_id_t Dataplane::intfOfKernelName(std::string const& name) const { return intf_of_kernel_name(name); }

void Dataplane::deviceIs(intf_id_t /*intf*/, std::string const& /*device*/) {
   throw unsupported_error("no interface here is real: there are no devices");
}

void Dataplane::vrfIs(intf_id_t /*intf*/, std::string const& /*vrf*/) {
   throw unsupported_error("no interface here is real: nothing arrives on it");
}

}  // namespace velm::embedded
