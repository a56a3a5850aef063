#include "platform/switch/MacsecMgr.h"

#include <fmt/format.h>

#include "platform/switch/Iterators.h"

// Profiles are rows as they were given; the interfaces that use a profile are found by walking the interfaces, not kept
// in it, so that there is one truth about who uses what.
//
// An interface has a row only where it differs from how its port came, so that ports that come and go need no care, and
// a status exactly while it uses a profile. rowIs() is the one place that writes a row and keeps both rules. A status
// that ends, with its profile, its capability or its interface, is told as the empty one, unless it was empty already.
namespace velm::embedded {
namespace {

MacsecIntf asItCame(intf_id_t intf) { return {.profile = {}, .capable = intf.kind() == intf_id_t::kind_t::ethernet}; }

}  // namespace

MacsecMgr::MacsecMgr(CallLedger& ledger, MainLoop& loop, IntfMgr& intfs)
   : loop_(loop), intfs_(intfs), operations_(ledger) {
   intfs_.followerIs(*this);
}

void MacsecMgr::storeIs(Store& store) {
   profiles_.storeIs(store, StoredTable::macsecProfiles);
   rows_.storeIs(store, StoredTable::macsecIntfs);
   Inside const inside(operations_.ledger());
   rows_.each([&](intf_id_t const& intf, MacsecIntf const& row) {
      if (!row.profile.empty()) statuses_.set(inside, intf, {});
   });
}

std::forward_list<intf_id_t> MacsecMgr::users(std::string const& profile) const {
   std::forward_list<intf_id_t> users;
   auto last = users.before_begin();
   rows_.each([&](intf_id_t const& intf, MacsecIntf const& row) {
      if (row.profile == profile) last = users.insert_after(last, intf);
   });
   return users;
}

MacsecIntf MacsecMgr::row(intf_id_t intf) const {
   MacsecIntf const* const row = rows_.find(intf);
   return row == nullptr ? asItCame(intf) : *row;
}

void MacsecMgr::rowIs(Transaction& transaction, intf_id_t intf, MacsecIntf const& next) {
   if (next == asItCame(intf)) {
      rows_.del(transaction, intf);
   } else {
      rows_.set(transaction, intf, next);
   }
   if (next.profile.empty()) {
      endStatus(transaction, intf);
   } else if (!statuses_.contains(intf)) {
      statuses_.set(transaction, intf, {});
   }
}

macsec_intf_status_t MacsecMgr::status(intf_id_t intf) const {
   macsec_intf_status_t const* const status = statuses_.find(intf);
   return status == nullptr ? macsec_intf_status_t() : *status;
}

void MacsecMgr::endStatus(Transaction& transaction, intf_id_t intf) {
   bool const changed = status(intf) != macsec_intf_status_t();
   statuses_.del(transaction, intf);
   if (changed) transaction.then([this, intf] { raise(intf, {}); });
}

void MacsecMgr::raise(intf_id_t intf, macsec_intf_status_t status) {
   loop_.post(
      [this, intf, status] { notify(intf, [&](macsec_handler& handler) { handler.on_intf_status(intf, status); }); });
}

void MacsecMgr::intfRemoved(Transaction& transaction, intf_id_t intf) {
   rowIs(transaction, intf, asItCame(intf));
   counters_.del(transaction, intf);
}

void MacsecMgr::reportStatus(intf_id_t intf, macsec_intf_status_t status) {
   intfs_.demand(intf);
   if (!statuses_.contains(intf)) throw configuration_error(fmt::format("{} uses no Macsec profile", intf.to_string()));
   if (status == this->status(intf)) return;
   Inside const inside(operations_.ledger());
   statuses_.amend(inside, intf, [&](macsec_intf_status_t& present) { present = status; });
   raise(intf, status);
}

void MacsecMgr::countersAre(intf_id_t intf, macsec_intf_counters_t const& counters) {
   intfs_.demand(intf);
   Inside const inside(operations_.ledger());
   counters_.set(inside, intf, counters);
}

void MacsecMgr::capableIs(intf_id_t intf, bool capable) {
   intfs_.demand(intf);
   auto next = row(intf);
   next.capable = capable;
   if (!capable) next.profile.clear();
   Inside const inside(operations_.ledger());
   Transaction transaction(inside);
   rowIs(transaction, intf, next);
   transaction.commit();
}

macsec_profile_iter_t MacsecMgr::macsec_profile_iter() const {
   Call const call(operations_);
   return makeTableIter(profiles_, [](std::string const& name, macsec_profile_t const&) { return name; });
}

bool MacsecMgr::exists(std::string const& profile) const {
   Call const call(operations_);
   return profiles_.contains(profile);
}

macsec_profile_t MacsecMgr::profile(std::string const& name) const {
   Call const call(operations_);
   macsec_profile_t const* const row = profiles_.find(name);
   if (row == nullptr) throw invalid_argument_error(fmt::format("no such Macsec profile {}", name));
   auto profile = *row;
   profile.intfs_is(users(name));
   return profile;
}

void MacsecMgr::profile_set(macsec_profile_t const& profile) {
   Call const call(operations_);
   if (profile.name().empty()) throw invalid_argument_error("a Macsec profile needs a name");
   auto kept = profile;
   kept.intfs_is({});
   profiles_.set(call, profile.name(), std::move(kept));
}

void MacsecMgr::profile_del(std::string const& name) {
   Call const call(operations_);
   Transaction transaction(call);
   if (!profiles_.del(transaction, name)) return;
   // Who uses a profile is capable. The rows that users() reads change only with the commit.
   for (auto const& intf : users(name)) rowIs(transaction, intf, {.profile = {}, .capable = true});
   transaction.commit();
}

std::string MacsecMgr::intf_profile(intf_id_t intf) const {
   Call const call(operations_);
   return row(intf).profile;
}

void MacsecMgr::intf_profile_is(intf_id_t intf, std::string const& profile) {
   Call const call(operations_);
   intfs_.demand(intf);
   auto next = row(intf);
   if (!profile.empty()) {
      if (!profiles_.contains(profile)) throw configuration_error(fmt::format("no such Macsec profile {}", profile));
      if (!next.capable) throw configuration_error(fmt::format("{} is not capable of Macsec", intf.to_string()));
   }
   next.profile = profile;
   Transaction transaction(call);
   rowIs(transaction, intf, next);
   transaction.commit();
}

bool MacsecMgr::macsec_capable(intf_id_t intf) const {
   Call const call(operations_);
   return intfs_.table().contains(intf) && row(intf).capable;
}

macsec_intf_status_iter_t MacsecMgr::macsec_intf_status_iter() const {
   Call const call(operations_);
   return makeTableIter(statuses_, [](intf_id_t const& intf, macsec_intf_status_t const&) { return intf; });
}

macsec_intf_status_t MacsecMgr::intf_status(intf_id_t intf) const {
   Call const call(operations_);
   return status(intf);
}

macsec_intf_counters_t MacsecMgr::intf_counters(intf_id_t intf) const {
   Call const call(operations_);
   macsec_intf_counters_t const* const row = counters_.find(intf);
   return row == nullptr ? macsec_intf_counters_t() : *row;
}

}  // namespace velm::embedded
