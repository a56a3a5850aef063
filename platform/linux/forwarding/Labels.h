#pragma once

#include <absl/container/btree_map.h>
#include <absl/container/inlined_vector.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "platform/linux/bpf/Layout.h"
#include "platform/linux/forwarding/Leaves.h"

namespace velm::machine {

/// What becomes of labels, as packets find it: of all that was set for a label the best. The SDK lock guards it.
///
/// A client changes a label by deleting it and setting it anew under one hold of the lock. So a label that loses its
/// last word keeps it until another one's turn comes, or settle(): then no packet finds it without one in between.
class Labels {
 public:
   /// How good what leads from a label is: of several the least wins. That of a route is its metric.
   using Rank = std::uint16_t;
   static constexpr Rank vrfRank = 256;

   Labels(std::span<label_word> shared, Leaves& leaves) : shared_(shared), leaves_(leaves), ranks_(shared.size()) {}
   Labels(Labels const&) = delete;
   Labels& operator=(Labels const&) = delete;

   /// Sets what becomes of the label in that rank. Takes over the word's leaf.
   void set(std::uint32_t label, Rank rank, label_word word);
   /// One that is not there is no error.
   void del(std::uint32_t label, Rank rank);
   /// Before the lock is given back.
   void settle();
   /// Of a word that was not set.
   void release(label_word word);
   std::size_t size() const { return size_; }

 private:
   struct Candidate {
      Rank rank;
      label_word word;
   };

   void publish(std::uint32_t label, label_word word);

   std::span<label_word> const shared_;
   Leaves& leaves_;
   std::vector<Rank> ranks_;                                                   // by label: of the word in shared memory
   absl::btree_map<std::uint32_t, absl::InlinedVector<Candidate, 1>> others_;  // worse than that, the best first
   std::optional<std::uint32_t> leaving_;                                      // deleted, with its word still there
   std::size_t size_ = 0;
};

}  // namespace velm::machine
