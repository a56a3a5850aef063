#pragma once

#include "proto/remote/intf_counter.pb.h"

namespace velm {
class intf_counters_t;
class intf_traffic_rates_t;
}  // namespace velm

namespace VelmSdkRpc::types {

/// The counters of an interface since it exists, and when they were read.
velm::remote::IntfCounters convert(velm::intf_counters_t counters);
/// Packets and bits a second, and when they were read.
velm::remote::IntfTrafficRates convert(velm::intf_traffic_rates_t rates);

}  // namespace VelmSdkRpc::types
