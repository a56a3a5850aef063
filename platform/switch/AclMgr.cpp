#include "platform/switch/AclMgr.h"

#include <memory>
#include <utility>

// The life of an edit:
//
//    acl_rule_set, acl_rule_del ---> staged: the whole ACL as it will be ---+
//    acl_del ----------------------> staged: that the ACL goes -------------+
//                                                                           |  acl_commit, one transaction
//                                                                           v
//    reads look at the staged edit first, then at ------------------> the committed ACLs, in the folder as well
//
// An edit is the whole ACL and not a list of steps, so that a read replays nothing. Only edited ACLs are staged, so
// that neither an edit nor a commit costs more because of the ACLs that stay as they are. An edit that changes nothing
// is not kept.
//
// When the folder refuses a commit, all edits stay staged and the commit can be tried again. Edits that wait for a
// commit end with the process.
namespace velm::embedded {
namespace {

void check(acl_key_t const& key, acl_rule_ip_t const& rule) {
   if (key.acl_name().empty()) throw invalid_argument_error("an ACL needs a name");
   check_lengths(rule);
}

acl_rule_ip_t const* ruleOf(Acl const* acl, std::uint32_t sequence) {
   if (acl == nullptr) return nullptr;
   auto const it = acl->rules.find(sequence);
   return it == acl->rules.end() ? nullptr : &it->second;
}

/// Walks the rules of an ACL, which it looks up anew for every step: edits, commits and the end of the ACL may come in
/// between.
class AclRuleIter : public iter_impl<acl_rule_ip_entry_t> {
 public:
   AclRuleIter(AclMgr const& mgr, acl_key_t const& key) : mgr_(mgr), key_(key) {
      arrive([](auto const& rules) { return rules.begin(); });
   }

   std::unique_ptr<iter_impl> clone() const override { return std::make_unique<AclRuleIter>(*this); }
   acl_rule_ip_entry_t const* current() const override { return entry_ ? &*entry_ : nullptr; }
   void advance() override {
      sdk_scoped_lock const lock;
      if (!entry_) return;
      arrive([sequence = entry_->first](auto const& rules) { return rules.upper_bound(sequence); });
   }

 private:
   template <class Place>
   void arrive(Place place) {
      entry_.reset();
      Acl const* acl = mgr_.find(key_);
      if (acl == nullptr) return;
      if (auto const it = place(acl->rules); it != acl->rules.end()) entry_.emplace(*it);
   }

   AclMgr const& mgr_;
   acl_key_t const key_;
   std::optional<acl_rule_ip_entry_t> entry_;
};

}  // namespace

AclMgr::AclMgr(CallLedger& ledger) : operations_(ledger) {}

Acl const* AclMgr::find(acl_key_t const& key) const {
   Edit const* edit = staged_.find(key);
   if (edit == nullptr) return committed_.find(key);
   return *edit ? &**edit : nullptr;
}

void AclMgr::storeIs(Store& store) { committed_.storeIs(store, StoredTable::acls); }

bool AclMgr::acl_exists(acl_key_t const& key) const {
   Call const call(operations_);
   return find(key) != nullptr;
}

void AclMgr::acl_del(acl_key_t const& key) {
   Call const call(operations_);
   if (committed_.contains(key)) {
      staged_.set(call, key, std::nullopt);
   } else {
      staged_.del(call, key);
   }
}

void AclMgr::acl_rule_set(acl_key_t const& key, std::uint32_t sequence, acl_rule_ip_t const& rule) {
   Call const call(operations_);
   check(key, rule);
   Acl const* const acl = find(key);
   // A client that repeats what it has set must not make the commit write it again.
   if (acl_rule_ip_t const* present = ruleOf(acl, sequence); present != nullptr && *present == rule) return;
   staged_.update(call, key, [&](Edit& edit) {
      if (!edit) edit = acl == nullptr ? Acl() : *acl;
      edit->rules[sequence] = rule;
   });
}

void AclMgr::acl_rule_del(acl_key_t const& key, std::uint32_t sequence) {
   Call const call(operations_);
   Acl const* const acl = find(key);
   if (ruleOf(acl, sequence) == nullptr) return;
   staged_.update(call, key, [&](Edit& edit) {
      if (!edit) edit = *acl;
      edit->rules.erase(sequence);
   });
}

acl_rule_ip_iter_t AclMgr::acl_rule_ip_iter(acl_key_t const& key) const {
   Call const call(operations_);
   return acl_rule_ip_iter_t(std::make_unique<AclRuleIter>(*this, key));
}

void AclMgr::acl_commit() {
   Call const call(operations_);
   Transaction transaction(call);
   staged_.each([&](acl_key_t const& key, Edit const& edit) {
      if (edit) {
         committed_.set(transaction, key, *edit);
      } else {
         committed_.del(transaction, key);
      }
   });
   staged_.clear(transaction);
   transaction.commit();
}

void AclMgr::committedRuleIs(acl_key_t const& key, std::uint32_t sequence, acl_rule_ip_t const& rule) {
   check(key, rule);
   Inside const inside(operations_.ledger());
   Transaction transaction(inside);
   committed_.update(transaction, key, [&](Acl& acl) { acl.rules[sequence] = rule; });
   if (Edit const* edit = staged_.find(key); edit != nullptr && *edit) {
      Edit next = *edit;
      next->rules[sequence] = rule;
      staged_.set(transaction, key, std::move(next));
   }
   transaction.commit();
}

}  // namespace velm::embedded
