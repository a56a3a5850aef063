#pragma once

#include "proto/remote/macsec.pb.h"

namespace velm {
class macsec_intf_counters_t;
class macsec_intf_status_t;
class macsec_key_t;
class macsec_profile_t;
}  // namespace velm

namespace VelmSdkRpc::types {

// Macsec profiles and what becomes of them. Key material passes as it is, unchecked, and no error shows any part of it.

velm::macsec_key_t convert(velm::remote::MacsecKey const& message);
velm::remote::MacsecKey convert(velm::macsec_key_t const& key);

/// A life time or cipher of 0 means the SDK's default; every other field is written through, zeros as well. The
/// interfaces are not read: which ones use a profile is set at the interface.
///
/// Throws invalid_argument_error for the first of these that is wrong: a key server priority above 255, an unknown
/// cipher, bypass level or traffic policy.
velm::macsec_profile_t convert(velm::remote::MacsecProfile const& message);
/// The whole profile as it is in force, defaults filled in, with its interfaces in the SDK's order. Throws
/// invalid_argument_error for an unknown value of an enum.
velm::remote::MacsecProfile convert(velm::macsec_profile_t const& profile);

/// Throws invalid_argument_error for a status that this program does not know: the key's first, then the traffic's.
velm::remote::MacsecIntfStatus convert(velm::macsec_intf_status_t const& status);
/// Packets and octets since the interface exists.
velm::remote::MacsecIntfCounters convert(velm::macsec_intf_counters_t const& counters);

}  // namespace VelmSdkRpc::types
