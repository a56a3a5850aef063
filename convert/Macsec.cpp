#include "convert/Macsec.h"

#include "convert/BoundaryCheck.h"
#include "convert/Enums.h"
#include "convert/Values.h"
#include "platform/velm/macsec.h"

// Key material passes through these functions. So no text of an error is made of a profile's fields but those numbers
// that are refused.
namespace VelmSdkRpc::types {

velm::macsec_key_t convert(velm::remote::MacsecKey const& message) {
   velm::macsec_key_t key;
   key.cak_is(message.cak());
   key.ckn_is(message.ckn());
   key.encoded_is(message.encoded());
   return key;
}

velm::remote::MacsecKey convert(velm::macsec_key_t const& key) {
   velm::remote::MacsecKey message;
   message.set_cak(key.cak());
   message.set_ckn(key.ckn());
   message.set_encoded(key.encoded());
   return message;
}

velm::macsec_profile_t convert(velm::remote::MacsecProfile const& message) {
   // Before all else, although the name comes first in the message: a client that has several faults reads this one.
   auto const priority = boundaryCheck<unsigned char>(message.key_server_priority(), "Invalid key server priority {}");
   velm::macsec_profile_t profile;
   profile.name_is(message.name());
   profile.primary_key_is(convert(message.primary_key()));
   profile.fallback_key_is(convert(message.fallback_key()));
   profile.key_server_priority_is(priority);
   profile.rekey_period_is(message.rekey_period());
   // These two alone take a zero for "not given" and keep the SDK's default. What comes back shows the default.
   if (message.mka_life_time() != 0) profile.mka_life_time_is(message.mka_life_time());
   if (message.cipher() != 0) profile.cipher_is(convert(message.cipher()));
   profile.dot1x_is(message.dot1x());
   profile.include_sci_is(message.include_sci());
   profile.lldp_bypass_level_is(convert(message.lldp_bypass_level()));
   profile.traffic_policy_is(convert(message.traffic_policy()));
   profile.replay_protection_is(message.replay_protection());
   profile.replay_protection_window_is(message.replay_protection_window());
   profile.key_retirement_immediate_is(message.key_retirement_immediate());
   // Not the interfaces, which the message has only for the way back: a profile comes to an interface by a call of
   // that.
   return profile;
}

velm::remote::MacsecProfile convert(velm::macsec_profile_t const& profile) {
   velm::remote::MacsecProfile message;
   message.set_name(profile.name());
   *message.mutable_primary_key() = convert(profile.primary_key());
   *message.mutable_fallback_key() = convert(profile.fallback_key());
   message.set_key_server_priority(profile.key_server_priority());
   message.set_rekey_period(profile.rekey_period());
   message.set_mka_life_time(profile.mka_life_time());
   message.set_cipher(convert(profile.cipher()));
   message.set_dot1x(profile.dot1x());
   message.set_include_sci(profile.include_sci());
   message.set_lldp_bypass_level(convert(profile.lldp_bypass_level()));
   message.set_traffic_policy(convert(profile.traffic_policy()));
   message.set_replay_protection(profile.replay_protection());
   message.set_replay_protection_window(profile.replay_protection_window());
   message.set_key_retirement_immediate(profile.key_retirement_immediate());
   for (auto const& intf : profile.intfs()) *message.add_intfs() = convert(intf);
   return message;
}

velm::remote::MacsecIntfStatus convert(velm::macsec_intf_status_t const& status) {
   velm::remote::MacsecIntfStatus message;
   message.set_key_status(convert(status.key_status()));
   message.set_traffic_status(convert(status.traffic_status()));
   return message;
}

velm::remote::MacsecIntfCounters convert(velm::macsec_intf_counters_t const& counters) {
   velm::remote::MacsecIntfCounters message;
   message.set_out_pkts_encrypted(counters.out_pkts_encrypted());
   message.set_out_octets_encrypted(counters.out_octets_encrypted());
   message.set_in_pkts_decrypted(counters.in_pkts_decrypted());
   message.set_in_octets_decrypted(counters.in_octets_decrypted());
   message.set_in_pkts_not_valid(counters.in_pkts_not_valid());
   return message;
}

}  // namespace VelmSdkRpc::types
