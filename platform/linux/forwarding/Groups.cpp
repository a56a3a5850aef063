#include "platform/linux/forwarding/Groups.h"

#include <fmt/format.h>

#include <algorithm>
#include <atomic>

#include "platform/linux/forwarding/GroupsDraft.h"
#include "platform/velm/errors.h"

namespace velm::machine {
Groups::Groups(std::span<group_word> shared, Exits& exits, Counters& counters, BucketPool& buckets,
               GracePeriods& periods, Surroundings surroundings, Callbacks callbacks)
   : shared_(shared),
     exits_(exits),
     counters_(counters),
     pool_(buckets),
     surroundings_(std::move(surroundings)),
     callbacks_(std::move(callbacks)),
     ids_(static_cast<std::uint32_t>(shared.size()), periods) {}

Groups::~Groups() = default;

Groups::Id Groups::make(std::string name) {
   auto const id = ids_.take();
   if (!id) throw error(fmt::format("the dataplane has no room for more than {} nexthop groups", ids_.size()));
   if (groups_.size() <= *id) groups_.resize(*id + 1);
   groups_[*id] = std::make_unique<Group>();
   groups_[*id]->name = std::move(name);
   groups_[*id]->users = 1;
   std::atomic_ref(shared_[*id]).store(0, std::memory_order_release);
   return *id;
}

Groups::Id Groups::take(std::string const& name) {
   if (auto const found = byName_.find(name); found != byName_.end()) {
      retain(found->second);
      return found->second;
   }
   auto const id = make(name);
   byName_.emplace(name, id);
   return id;
}

Groups::Id Groups::takeWays(std::vector<EntryForm> entries) {
   if (auto const found = byEntries_.find(entries); found != byEntries_.end()) {
      retain(found->second);
      return found->second;
   }
   auto buckets = std::make_unique<GroupBuckets>(membersOf({}, entries, {}, Draft()), nullptr, exits_, pool_);
   auto const id = make({});
   childrenAre(id, entries);
   groups_[id]->entries = entries;
   byEntries_.emplace(std::move(entries), id);
   bucketsAre(id, std::move(buckets));
   return id;
}

void Groups::release(Id id) {
   auto& group = *groups_[id];
   if (--group.users > 0) return;
   if (group.name.empty()) {
      byEntries_.erase(group.entries);
      childrenAre(id, {});
      bucketsAre(id, nullptr);
   } else {
      byName_.erase(group.name);
   }
   groups_[id].reset();
   ids_.retire(id);
}

Groups::Group const* Groups::find(std::string const& name) const {
   auto const found = byName_.find(name);
   return found == byName_.end() ? nullptr : groups_[found->second].get();
}

std::vector<Member> Groups::membersOf(std::string const& name, std::vector<EntryForm> const& entries, Own const& own,
                                      Draft const& draft) {
   auto ways = waysOf(name, entries, [&](std::string const& child) -> std::vector<EntryForm> const* {
      if (child == draft.form.name()) return &draft.entries;
      auto const* const group = find(child);
      return group == nullptr ? nullptr : &group->entries;
   });
   std::vector<Member> members;
   try {
      for (auto& way : ways) {
         auto const exit = exits_.take(way.neighbour, std::move(way.form));
         // Nobody asks for what went through a group without a name.
         auto const counter = name.empty() ? 0 : own.empty() ? exit : own.at(way.entry);
         members.push_back({exit, way.weight, counter, way.entry});
      }
   } catch (error const&) {
      for (auto const& member : members) exits_.release(member.exit);
      throw;
   }
   return members;
}

Groups::Draft* Groups::prepare(nexthop_group_t const& group) { return drafted(group).release(); }

void Groups::abandon(Draft* draft) { delete draft; }

std::unique_ptr<Groups::Draft> Groups::drafted(nexthop_group_t const& group) {
   auto draft = std::make_unique<Draft>();
   draft->form = group;
   draft->entries = entriesOf(group, surroundings_);
   takeCounters(group, *draft);
   auto members = membersOf(group.name(), draft->entries, draft->own, *draft);
   auto const* const before = find(group.name());
   auto buckets = std::make_unique<GroupBuckets>(std::move(members),
                                                 before == nullptr ? nullptr : before->buckets.get(), exits_, pool_);
   draft->id = take(group.name());
   draft->owner = this;
   draft->buckets.emplace_back(draft->id, std::move(buckets));
   prepareParents(group.name(), *draft);
   return draft;
}

void Groups::prepareParents(std::string const& child, Draft& draft) {
   auto const found = byChild_.find(child);
   if (found == byChild_.end()) return;
   for (auto const id : found->second) {
      if (draft.has(id)) continue;
      auto const& parent = *groups_[id];
      draft.buckets.emplace_back(
         id, std::make_unique<GroupBuckets>(membersOf(parent.name, parent.entries, parent.own, draft),
                                            parent.buckets.get(), exits_, pool_));
      prepareParents(parent.name, draft);
   }
}

void Groups::set(Draft* prepared) {
   std::unique_ptr<Draft> const draft(prepared);
   auto& group = *groups_[draft->id];
   if (!group.form) retain(draft->id);  // by itself, until it is deleted
   group.form = std::move(draft->form);
   ++group.version;
   callbacks_.programmed(group.name, group.version);
   install(*draft);
}

void Groups::install(Draft& draft) {
   childrenAre(draft.id, draft.entries);
   groups_[draft.id]->entries = std::move(draft.entries);
   for (auto& [id, buckets] : draft.buckets) bucketsAre(id, std::move(buckets));
   draft.fresh.clear();
   ownAre(draft.id, std::move(draft.own));
}

void Groups::del(std::string const& name) {
   auto const found = byName_.find(name);
   if (found == byName_.end() || !groups_[found->second]->form) return;
   auto const id = found->second;
   auto& group = *groups_[id];
   childrenAre(id, {});
   group.form.reset();
   group.entries.clear();
   group.version = 0;
   bucketsAre(id, nullptr);
   ownAre(id, {});
   callbacks_.gone(name);
   thinParents(name);
   release(id);
}

// What leads through a deleted group has fewer members now. That needs no room: all their exits are there.
void Groups::thinParents(std::string const& child) {
   auto const found = byChild_.find(child);
   if (found == byChild_.end()) return;
   for (auto const id : found->second) {
      auto const& parent = *groups_[id];
      auto const staying = membersOf(parent.name, parent.entries, parent.own, Draft());
      parent.buckets->keepOnly(staying);
      for (auto const& member : staying) exits_.release(member.exit);
      publish(id);
      thinParents(parent.name);
   }
}

void Groups::childrenAre(Id id, std::vector<EntryForm> const& entries) {
   for (auto const& entry : groups_[id]->entries) {
      auto const found = entry.child.empty() ? byChild_.end() : byChild_.find(entry.child);
      if (found == byChild_.end()) continue;
      found->second.erase(id);
      if (found->second.empty()) byChild_.erase(found);
   }
   for (auto const& entry : entries) {
      if (!entry.child.empty()) byChild_[entry.child].insert(id);
   }
}

void Groups::bucketsAre(Id id, std::unique_ptr<GroupBuckets> buckets) {
   auto& group = *groups_[id];
   auto const old = std::exchange(group.buckets, std::move(buckets));
   if (old != nullptr) {
      for (auto const& member : old->members()) {
         auto const found = byHop_.find(exits_.hop(member.exit));
         if (found == byHop_.end()) continue;
         found->second.erase(id);
         if (found->second.empty()) byHop_.erase(found);
      }
   }
   if (group.buckets != nullptr) {
      for (auto const& member : group.buckets->members()) byHop_[exits_.hop(member.exit)].insert(id);
   }
   publish(id);
}

void Groups::publish(Id id) {
   auto& group = *groups_[id];
   group_word const word = group.buckets == nullptr ? 0 : group.buckets->word();
   std::atomic_ref(shared_[id]).store(word, std::memory_order_release);
   bool const active = (word & GROUP_ALIVE) != 0;
   if (std::exchange(group.active, active) != active && !group.name.empty()) callbacks_.active(group.name, active);
}

void Groups::hopChanged(Hops::Id hop) {
   auto const found = byHop_.find(hop);
   if (found == byHop_.end()) return;
   for (auto const id : found->second) {
      groups_[id]->buckets->refresh();
      publish(id);
   }
}

void Groups::networksChanged() {
   auto const namesNoIntf = [](auto const& indexed) {
      return indexed.second.intf() == intf_id_t() && indexed.second.child_nexthop_group().empty();
   };
   for (std::size_t id = 0; id < groups_.size(); ++id) {
      if (groups_[id] == nullptr || !groups_[id]->form) continue;
      if (std::ranges::none_of(groups_[id]->form->nexthops(), namesNoIntf)) continue;
      auto const form = *groups_[id]->form;
      try {
         install(*drafted(form));
      } catch (error const& e) {
         callbacks_.stuck(form.name(), e.what());
      }
   }
}

}  // namespace velm::machine
