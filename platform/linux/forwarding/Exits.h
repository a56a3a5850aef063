#pragma once

#include <absl/container/inlined_vector.h>
#include <absl/container/node_hash_map.h>

#include <cstdint>
#include <span>
#include <utility>
#include <vector>

#include "platform/linux/bpf/Layout.h"
#include "platform/linux/forwarding/Counters.h"
#include "platform/linux/forwarding/Hops.h"
#include "platform/linux/forwarding/Ids.h"

namespace velm::machine {

/// What is written before a packet that leaves, and to whom it goes.
struct ExitForm {
   Hops::Id hop = 0;
   exit_kind kind = EXIT_PLAIN;
   bool takes = false;                            // the top label of a packet that has one, before anything is written
   std::uint8_t ttl = 0;                          // of the outer header; 0 takes the packet's
   absl::InlinedVector<std::uint32_t, 4> labels;  // outermost first
   bool carriesLabels = true;                     // labels may be added: what is outside announces them
   std::vector<unsigned char> outer;              // header and what follows it before the labels, as on the wire

   bool operator==(ExitForm const&) const = default;
   template <class H>
   friend H AbslHashValue(H hash, ExitForm const& form) {
      return H::combine(std::move(hash), form.hop, form.kind, form.takes, form.ttl, form.labels, form.outer);
   }
};

/// Puts the labels of a way within those of the exit that it leads through, which takes a label of the packet only
/// where the way writes none. False, with nothing changed, if the exit's tunnel carries no labels.
bool pushWithin(ExitForm& exit, ExitForm const& way);

/// Whether a user of an exit wants its neighbour kept resolved, or takes it as the kernel happens to know it.
enum class Interest { kept, passing };

/// The exits of shared memory: one for each form, however many members of groups leave so. An exit lives while somebody
/// uses it, and its hop with it. The SDK lock guards it.
class Exits {
 public:
   using Id = std::uint32_t;

   Exits(std::span<exit_row> shared, Hops& hops, Counters const& counters, GracePeriods& periods)
      : shared_(shared), ids_(static_cast<std::uint32_t>(shared.size()), periods), hops_(hops), counters_(counters) {}
   Exits(Exits const&) = delete;
   Exits& operator=(Exits const&) = delete;

   /// The exit of that form by that neighbour (form.hop says nothing yet), with a user more. Throws unsupported_error
   /// for more labels than there is room for, velm::error if a table is full.
   Id take(Hops::Key const& neighbour, ExitForm form, Interest interest = Interest::kept);
   /// After the last word that names it has been replaced; with the interest with which it was taken.
   void release(Id id, Interest interest = Interest::kept);

   ExitForm const& form(Id id) const { return *users_[id].form; }
   Hops::Key const& neighbour(Id id) const { return hops_.key(hop(id)); }
   Hops::Id hop(Id id) const { return shared_[id].hop; }
   bool usable(Id id) const { return hops_.usable(hop(id)); }

 private:
   struct Users {
      std::uint32_t count = 0;
      ExitForm const* form = nullptr;
   };

   Id taken(ExitForm form);

   std::span<exit_row> const shared_;
   Ids ids_;
   Hops& hops_;
   Counters const& counters_;
   absl::node_hash_map<ExitForm, Id> byForm_;
   std::vector<Users> users_;  // by id
};

}  // namespace velm::machine
