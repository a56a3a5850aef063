#pragma once

#include "proto/remote/intf_counter.pb.h"

namespace velm {
class intf_counters_t;
class intf_traffic_rates_t;
}  // namespace velm

namespace VelmSdkRpc::types {

/// What an interface counted, field by field.
velm::remote::IntfCounters convert(velm::intf_counters_t counters);
velm::remote::IntfTrafficRates convert(velm::intf_traffic_rates_t rates);

}  // namespace VelmSdkRpc::types
