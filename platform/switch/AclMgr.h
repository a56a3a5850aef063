#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <tuple>

#include "platform/switch/Dataplane.h"
#include "platform/switch/Operations.h"
#include "platform/switch/Table.h"
#include "platform/velm/acl.h"

namespace velm::embedded {

/// The rules of an ACL by sequence number.
struct Acl {
   std::map<std::uint32_t, acl_rule_ip_t> rules;

   static constexpr auto attributes() { return std::tuple{attribute{"rules", &Acl::rules}}; }
};
using AclTable = Table<acl_key_t, Acl>;

/// ACLs: what is committed, and over it those ACLs alone that edits have touched since, so that neither an edit nor a
/// commit costs more for the ACLs that stay as they are.
class AclMgr : public acl_mgr {
 public:
   explicit AclMgr(CallLedger& ledger);

   /// The dataplane carries what is committed out. Once, before the first operation; it must outlive the last one.
   void dataplaneIs(Dataplane& dataplane) { committed_.carrierIs(dataplane.acls()); }
   /// Brings the folder's ACLs back and keeps every commit in it. What is staged is not kept.
   void storeIs(Store& store);
   AclTable const& committed() const { return committed_; }
   /// Whether anything waits for a commit.
   bool staged() const { return !staged_.empty(); }
   /// The ACL as all reads see it, staged edits included; null for none.
   Acl const* find(acl_key_t const& key) const;

   bool acl_exists(acl_key_t const& key) const override;
   void acl_del(acl_key_t const& key) override;
   void acl_rule_set(acl_key_t const& key, std::uint32_t sequence, acl_rule_ip_t const& rule) override;
   void acl_rule_del(acl_key_t const& key, std::uint32_t sequence) override;
   acl_rule_ip_iter_t acl_rule_ip_iter(acl_key_t const& key) const override;
   void acl_commit() override;

   /// For the command line: writes a rule into the committed copy, and into the staged one where that has edits of the
   /// ACL, so that the next commit does not take it away again; the other staged edits go on waiting. Throws as
   /// acl_rule_set does.
   void committedRuleIs(acl_key_t const& key, std::uint32_t sequence, acl_rule_ip_t const& rule);

 private:
   /// An ACL as the next commit makes it: its new rules, or nothing where it goes.
   using Edit = std::optional<Acl>;

   AclTable committed_;
   Table<acl_key_t, Edit> staged_;

   Operations<"acl_mgr", "acl_exists", "acl_del", "acl_rule_set", "acl_rule_del", "acl_rule_ip_iter", "acl_commit">
      operations_;
};

}  // namespace velm::embedded
