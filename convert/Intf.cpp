#include "convert/Intf.h"

#include "platform/velm/intf.h"

namespace VelmSdkRpc::types {

velm::remote::IntfCounters convert(velm::intf_counters_t counters) {
   velm::remote::IntfCounters message;
   message.set_out_ucast_pkts(counters.out_ucast_pkts());
   message.set_out_multicast_pkts(counters.out_multicast_pkts());
   message.set_out_broadcast_pkts(counters.out_broadcast_pkts());
   message.set_in_ucast_pkts(counters.in_ucast_pkts());
   message.set_in_multicast_pkts(counters.in_multicast_pkts());
   message.set_in_broadcast_pkts(counters.in_broadcast_pkts());
   message.set_out_octets(counters.out_octets());
   message.set_in_octets(counters.in_octets());
   message.set_out_discards(counters.out_discards());
   message.set_out_errors(counters.out_errors());
   message.set_in_discards(counters.in_discards());
   message.set_in_errors(counters.in_errors());
   message.set_sample_time(counters.sample_time());
   return message;
}

velm::remote::IntfTrafficRates convert(velm::intf_traffic_rates_t rates) {
   velm::remote::IntfTrafficRates message;
   message.set_out_pkts_rate(rates.out_pkts_rate());
   message.set_in_pkts_rate(rates.in_pkts_rate());
   message.set_out_bits_rate(rates.out_bits_rate());
   message.set_in_bits_rate(rates.in_bits_rate());
   message.set_sample_time(rates.sample_time());
   return message;
}

}  // namespace VelmSdkRpc::types
