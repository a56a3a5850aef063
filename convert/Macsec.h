#pragma once

#include "proto/remote/macsec.pb.h"

namespace velm {
class macsec_intf_counters_t;
class macsec_intf_status_t;
class macsec_key_t;
class macsec_profile_t;
}  // namespace velm

namespace VelmSdkRpc::types {

// Keys pass as they are, and no error shows any part of one.

velm::macsec_key_t convert(velm::remote::MacsecKey const& message);
velm::remote::MacsecKey convert(velm::macsec_key_t const& key);

/// A life time or cipher of 0 is left at the SDK's default; every other field is written through, zeros as well. The
/// interfaces are not read.
///
/// Throws invalid_argument_error for a priority above 255, then for an unknown cipher, bypass level or traffic policy;
/// of several faults the first in this order is the one reported.
velm::macsec_profile_t convert(velm::remote::MacsecProfile const& message);
/// The whole profile with its interfaces, in their order. Throws invalid_argument_error for an enum's unknown number.
velm::remote::MacsecProfile convert(velm::macsec_profile_t const& profile);

/// Throws invalid_argument_error for a status that this program does not know, that of the key first.
velm::remote::MacsecIntfStatus convert(velm::macsec_intf_status_t const& status);
velm::remote::MacsecIntfCounters convert(velm::macsec_intf_counters_t const& counters);

}  // namespace VelmSdkRpc::types
