#pragma once

#include <absl/container/btree_map.h>
#include <absl/container/btree_set.h>
#include <absl/container/flat_hash_map.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/linux/bpf/Layout.h"
#include "platform/linux/forwarding/Counters.h"
#include "platform/linux/forwarding/GroupBuckets.h"
#include "platform/linux/forwarding/GroupWays.h"
#include "platform/linux/forwarding/Ids.h"

namespace velm::machine {

/// The nexthop groups of shared memory. A name has an index there as long as anybody knows it, whether there is a group
/// of it or not, so that a route leads to it before it comes, and to the next one of its name. Replacing a group is one
/// store, however many routes lead to it. The SDK lock guards it.
class Groups {
 public:
   using Id = std::uint32_t;

   struct Callbacks {
      std::function<void(std::string const& name, unsigned short version)> programmed;
      std::function<void(std::string const& name, bool active)> active;
      std::function<void(std::string const& name)> gone;
      /// The group stays as it was programmed, although the networks would have it otherwise.
      std::function<void(std::string const& name, std::string const& why)> stuck;
   };

   Groups(std::span<group_word> shared, Exits& exits, Counters& counters, BucketPool& buckets, GracePeriods& periods,
          Surroundings surroundings, Callbacks callbacks);
   ~Groups();
   Groups(Groups const&) = delete;
   Groups& operator=(Groups const&) = delete;

   /// The index of a name, with a user more. Throws velm::error if the table is full.
   Id take(std::string const& name);
   /// The index of a group without a name that has these entries. Throws like take(), and as prepare() does.
   Id takeWays(std::vector<EntryForm> entries);
   /// Of an index that is used: empty for a group without a name.
   std::string const& name(Id id) const { return groups_[id]->name; }
   std::vector<EntryForm> const& entries(Id id) const { return groups_[id]->entries; }
   void retain(Id id) { ++groups_[id]->users; }
   /// After the last word that names it has been replaced.
   void release(Id id);

   /// What setting a group changes, complete but for the words that name it: the group and all that lead through it.
   /// Whoever has one hands it to set() or abandon().
   class Draft;
   /// Judges the group and makes all of that. Throws as entriesOf() does, configuration_error also for a group that
   /// leads through itself, velm::error where there is no room; nothing has changed then.
   Draft* prepare(nexthop_group_t const& group);
   void set(Draft* draft);
   void abandon(Draft* draft);
   void del(std::string const& name);

   /// What went through the entry of a group that there is: of its own, or of all that leave as it does.
   traffic counted(std::string const& name, unsigned short entry) const;

   /// A hop has become usable or unusable.
   void hopChanged(Hops::Id hop);
   /// Which networks the switch is on has changed: where entries name no interface they may lead elsewhere now.
   void networksChanged();

   std::size_t size() const { return byName_.size(); }

 private:
   using Own = absl::btree_map<unsigned short, Counters::Id>;
   struct Group {
      std::string name;  // empty for one without
      std::uint32_t users = 0;
      std::optional<nexthop_group_t> form;  // nothing: there is no group of the name
      std::vector<EntryForm> entries;
      std::unique_ptr<GroupBuckets> buckets;
      Own own;  // counters, by entry, of a group that does not share them
      unsigned short version = 0;
      bool active = false;
   };
   Id make(std::string name);
   Group const* find(std::string const& name) const;
   std::vector<Member> membersOf(std::string const& name, std::vector<EntryForm> const& entries, Own const& own,
                                 Draft const& draft);
   void takeCounters(nexthop_group_t const& group, Draft& draft);
   void ownAre(Id id, Own own);
   void prepareParents(std::string const& child, Draft& draft);
   std::unique_ptr<Draft> drafted(nexthop_group_t const& group);
   void install(Draft& draft);
   void thinParents(std::string const& child);
   void bucketsAre(Id id, std::unique_ptr<GroupBuckets> buckets);
   void publish(Id id);
   void childrenAre(Id id, std::vector<EntryForm> const& entries);

   std::span<group_word> const shared_;
   Exits& exits_;
   Counters& counters_;
   BucketPool& pool_;
   Surroundings const surroundings_;
   Callbacks const callbacks_;
   Ids ids_;
   std::vector<std::unique_ptr<Group>> groups_;  // by id
   absl::flat_hash_map<std::string, Id> byName_;
   absl::flat_hash_map<std::vector<EntryForm>, Id> byEntries_;      // those without a name
   absl::flat_hash_map<Hops::Id, absl::btree_set<Id>> byHop_;       // that have a member by it
   absl::flat_hash_map<std::string, absl::btree_set<Id>> byChild_;  // that lead through it
};

}  // namespace velm::machine
