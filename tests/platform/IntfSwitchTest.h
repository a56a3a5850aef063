#pragma once

#include <string>
#include <utility>
#include <vector>

#include "tests/platform/SwitchTest.h"

namespace velm::embedded {

/// Writes down every event of interfaces and of all that hangs on them, one line each, in the order in which they come.
struct IntfRecorder : intf_handler, ip_intf_handler, eth_lag_intf_handler, macsec_handler {
   explicit IntfRecorder(Switch& device)
      : intf_handler(&device.intfs),
        ip_intf_handler(&device.ipIntfs),
        eth_lag_intf_handler(&device.ethLagIntfs),
        macsec_handler(&device.macsec) {}

   void watchAll(bool on) {
      intf_handler::watch_all_intfs(on);
      watch_all_ip_intfs(on);
      watch_all_eth_lag_intfs(on);
      macsec_handler::watch_all_intfs(on);
   }

   void on_intf_create(intf_id_t intf) override { note(intf, "created"); }
   void on_intf_delete(intf_id_t intf) override { note(intf, "deleted"); }
   void on_oper_status(intf_id_t intf, oper_status_t status) override {
      note(intf, "oper " + std::to_string(static_cast<int>(status)));
   }
   void on_admin_enabled(intf_id_t intf, bool enabled) override { note(intf, enabled ? "enabled" : "disabled"); }
   void on_intf_description(intf_id_t intf, std::string const& text) override { note(intf, "is " + text); }
   void on_ip_addr_add(intf_id_t intf, ip_addr_mask_t const& addr) override { note(intf, "+" + addr.to_string()); }
   void on_ip_addr_del(intf_id_t intf, ip_addr_mask_t const& addr) override { note(intf, "-" + addr.to_string()); }
   void on_internal_vlan_id(intf_id_t intf, unsigned short vlan) override {
      note(intf, "vlan " + std::to_string(vlan));
   }
   void on_eth_lag_intf_create(intf_id_t lag) override { note(lag, "lag created"); }
   void on_eth_lag_intf_delete(intf_id_t lag) override { note(lag, "lag deleted"); }
   void on_lag_member_set(intf_id_t lag, intf_id_t member) override { note(lag, "has " + member.to_string()); }
   void on_lag_member_del(intf_id_t lag, intf_id_t member) override { note(lag, "lost " + member.to_string()); }
   void on_lag_intf_speed(intf_id_t lag, std::uint64_t speed) override { note(lag, "speed " + std::to_string(speed)); }
   void on_intf_status(intf_id_t intf, macsec_intf_status_t const& status) override {
      note(intf, "macsec " + std::to_string(static_cast<int>(status.key_status())) + ' ' +
                    std::to_string(static_cast<int>(status.traffic_status())));
   }

   void note(intf_id_t intf, std::string const& what) { seen.push_back(intf.to_string() + ' ' + what); }

   std::vector<std::string> seen;
};

/// A switch all of whose interfaces are watched.
class IntfSwitchTest : public SwitchTest {
 protected:
   IntfSwitchTest() { recorder.watchAll(true); }

   /// What was raised since the last time.
   std::vector<std::string> events() {
      deliver();
      return std::exchange(recorder.seen, {});
   }
   std::vector<std::string> eventsOf(std::vector<std::string> const& commands) {
      world(commands);
      return events();
   }
   static intf_id_t eth(int number) { return intf_id_t("Ethernet" + std::to_string(number)); }
   static intf_id_t po(int number) { return intf_id_t("Port-Channel" + std::to_string(number)); }

   IntfRecorder recorder{device};
};

}  // namespace velm::embedded
