#pragma once

#include "platform/switch/Dataplane.h"
#include "platform/switch/Operations.h"
#include "platform/switch/Table.h"
#include "platform/velm/class_map.h"

namespace velm::embedded {

using ClassMapTable = Table<policy_map_key_t, class_map_t>;

/// Class maps, which only policy maps read.
class ClassMapMgr : public class_map_mgr {
 public:
   explicit ClassMapMgr(CallLedger& ledger);

   /// The dataplane carries the class maps out. Once, before the first operation; it must outlive the last one.
   void dataplaneIs(Dataplane& dataplane) { table_.carrierIs(dataplane.classMaps()); }
   /// Brings the folder's class maps back and keeps every change in it.
   void storeIs(Store& store);
   ClassMapTable const& table() const { return table_; }

   bool exists(policy_map_key_t const& key) const override;
   class_map_t class_map(policy_map_key_t const& key) const override;
   void class_map_is(class_map_t const& class_map) override;
   void class_map_del(policy_map_key_t const& key) override;

   /// For the command line: sets one rule of a class map, which is made if need be. Throws as class_map_is does.
   void ruleIs(policy_map_key_t const& key, std::uint32_t sequence, class_map_rule_t const& rule);

 private:
   ClassMapTable table_;

   Operations<"class_map_mgr", "exists", "class_map", "class_map_is", "class_map_del"> operations_;
};

}  // namespace velm::embedded
