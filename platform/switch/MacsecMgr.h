#pragma once

#include <forward_list>
#include <string>

#include "platform/switch/IntfMgr.h"
#include "platform/switch/MainLoop.h"
#include "platform/switch/Operations.h"
#include "platform/switch/Table.h"
#include "platform/velm/macsec.h"

namespace velm::embedded {

/// The Macsec side of an interface; one that is as its port came has no row.
struct MacsecIntf {
   std::string profile;
   bool capable = false;

   bool operator==(MacsecIntf const&) const = default;
   static constexpr auto attributes() {
      return std::tuple{attribute{"profile", &MacsecIntf::profile}, attribute{"capable", &MacsecIntf::capable}};
   }
};

/// Macsec profiles and the interfaces that use them. Only capable interfaces use one, and only one that exists.
class MacsecMgr : public macsec_mgr, public IntfFollower {
 public:
   MacsecMgr(CallLedger& ledger, MainLoop& loop, IntfMgr& intfs);

   /// Brings the folder's profiles and their users back, without events and with empty statuses, and keeps every change
   /// in it.
   void storeIs(Store& store);
   Table<std::string, macsec_profile_t> const& profiles() const { return profiles_; }
   /// The interfaces that are not as their ports came.
   Table<intf_id_t, MacsecIntf> const& intfs() const { return rows_; }

   // The world outside; throws configuration_error for an interface that does not exist.

   /// Throws configuration_error also for an interface without a profile, which has no status.
   void reportStatus(intf_id_t intf, macsec_intf_status_t status);
   void countersAre(intf_id_t intf, macsec_intf_counters_t const& counters);
   /// An interface that is no longer capable loses its profile.
   void capableIs(intf_id_t intf, bool capable);

   macsec_profile_iter_t macsec_profile_iter() const override;
   bool exists(std::string const& profile) const override;
   macsec_profile_t profile(std::string const& name) const override;
   void profile_set(macsec_profile_t const& profile) override;
   void profile_del(std::string const& name) override;
   std::string intf_profile(intf_id_t intf) const override;
   void intf_profile_is(intf_id_t intf, std::string const& profile) override;
   bool macsec_capable(intf_id_t intf) const override;
   macsec_intf_status_iter_t macsec_intf_status_iter() const override;
   macsec_intf_status_t intf_status(intf_id_t intf) const override;
   macsec_intf_counters_t intf_counters(intf_id_t intf) const override;

   void intfRemoved(Transaction& transaction, intf_id_t intf) override;

 private:
   std::forward_list<intf_id_t> users(std::string const& profile) const;
   MacsecIntf row(intf_id_t intf) const;
   void rowIs(Transaction& transaction, intf_id_t intf, MacsecIntf const& next);
   macsec_intf_status_t status(intf_id_t intf) const;
   void endStatus(Transaction& transaction, intf_id_t intf);
   void raise(intf_id_t intf, macsec_intf_status_t status);

   MainLoop& loop_;
   IntfMgr& intfs_;
   Table<std::string, macsec_profile_t> profiles_;
   Table<intf_id_t, MacsecIntf> rows_;
   Table<intf_id_t, macsec_intf_status_t> statuses_;    // of those that use a profile; not stored
   Table<intf_id_t, macsec_intf_counters_t> counters_;  // not stored

   Operations<"macsec_mgr", "macsec_profile_iter", "exists", "profile", "profile_set", "profile_del", "intf_profile",
              "intf_profile_is", "macsec_capable", "macsec_intf_status_iter", "intf_status", "intf_counters">
      operations_;
};

}  // namespace velm::embedded
