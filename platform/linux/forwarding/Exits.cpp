#include "platform/linux/forwarding/Exits.h"

#include <arpa/inet.h>
#include <fmt/format.h>

#include <algorithm>
#include <cstring>

#include "platform/velm/errors.h"

namespace velm::machine {
namespace {

constexpr unsigned labelShift = 12;
constexpr std::uint32_t bottomOfStack = 1U << 8;

exit_row rowOf(ExitForm const& form) {
   exit_row row{};
   row.hop = form.hop;
   row.kind = form.kind;
   row.labels = static_cast<std::uint8_t>(form.labels.size());
   row.length = static_cast<std::uint8_t>(form.outer.size() + form.labels.size() * sizeof(std::uint32_t));
   row.ttl = form.ttl;
   row.takes = form.takes ? 1 : 0;
   auto* to = std::ranges::copy(form.outer, row.push).out;
   for (std::size_t i = 0; i < form.labels.size(); ++i, to += sizeof(std::uint32_t)) {
      auto const word = htonl(form.labels[i] << labelShift | (i + 1 == form.labels.size() ? bottomOfStack : 0));
      std::memcpy(to, &word, sizeof word);
   }
   return row;
}

}  // namespace

bool pushWithin(ExitForm& exit, ExitForm const& way) {
   bool const writes = !way.labels.empty();
   if (writes && !exit.carriesLabels) return false;
   exit.takes = way.takes || (exit.takes && !writes);
   exit.labels.insert(exit.labels.end(), way.labels.begin(), way.labels.end());
   if (writes && exit.kind == EXIT_PLAIN) exit.kind = EXIT_LABELS;
   return true;
}

Exits::Id Exits::take(Hops::Key const& neighbour, ExitForm form, Interest interest) {
   // Says that no label is wanted, and is on no packet.
   form.labels.erase(std::ranges::remove(form.labels, std::uint32_t{IMPLICIT_NULL}).begin(), form.labels.end());
   if (form.labels.empty() && form.kind == EXIT_LABELS) form.kind = EXIT_PLAIN;
   if (form.labels.size() > MAX_LABELS) {
      throw unsupported_error(
         fmt::format("the dataplane pushes at most {} labels, not {}", MAX_LABELS, form.labels.size()));
   }
   form.hop = hops_.take(neighbour);
   auto const id = taken(std::move(form));
   if (interest == Interest::kept) hops_.want(hop(id));
   return id;
}

// Takes over a use of the form's hop.
Exits::Id Exits::taken(ExitForm form) {
   if (auto const found = byForm_.find(form); found != byForm_.end()) {
      hops_.release(form.hop);  // the exit has it already
      ++users_[found->second].count;
      return found->second;
   }
   auto const id = ids_.take();
   if (!id) {
      hops_.release(form.hop);
      throw error(fmt::format("the dataplane has no room for more than {} ways out", ids_.size()));
   }
   auto const& kept = byForm_.try_emplace(std::move(form), *id).first->first;
   if (users_.size() <= *id) users_.resize(*id + 1);
   users_[*id] = {1, &kept};
   shared_[*id] = rowOf(kept);
   counters_.reset(*id);
   return *id;
}

void Exits::release(Id id, Interest interest) {
   if (interest == Interest::kept) hops_.unwant(hop(id));
   auto& users = users_[id];
   if (--users.count > 0) return;
   hops_.release(hop(id));
   byForm_.erase(*users.form);
   users.form = nullptr;
   ids_.retire(id);
}

}  // namespace velm::machine
