#include "platform/linux/forwarding/Labels.h"

#include <algorithm>
#include <atomic>
#include <utility>

namespace velm::machine {

// What was found before is released after the store that replaced it.
void Labels::publish(std::uint32_t label, label_word word) {
   auto const before = shared_[label];
   std::atomic_ref(shared_[label]).store(word, std::memory_order_release);
   size_ += (word != 0) - (before != 0);
   release(before);
}

void Labels::release(label_word word) {
   auto const action = label_action_of(word);
   if (action == LABEL_KEEP || action == LABEL_POP) leaves_.release(static_cast<std::uint32_t>(word));
}

void Labels::settle() {
   if (leaving_) publish(*std::exchange(leaving_, std::nullopt), 0);
}

void Labels::set(std::uint32_t label, Rank rank, label_word word) {
   if (leaving_ != label) settle();
   bool const isFree = shared_[label] == 0 || leaving_ == label;
   leaving_.reset();
   if (isFree || rank == ranks_[label]) {
      ranks_[label] = rank;
      return publish(label, word);
   }
   auto& others = others_[label];
   if (rank < ranks_[label]) {
      others.insert(others.begin(), {ranks_[label], shared_[label]});
      ranks_[label] = rank;
      std::atomic_ref(shared_[label]).store(word, std::memory_order_release);
      return;
   }
   auto const place = std::ranges::lower_bound(others, rank, {}, &Candidate::rank);
   if (place != others.end() && place->rank == rank) {
      release(std::exchange(place->word, word));
   } else {
      others.insert(place, {rank, word});
   }
}

void Labels::del(std::uint32_t label, Rank rank) {
   if (leaving_ == label) return;
   settle();
   if (shared_[label] == 0) return;
   auto const found = others_.find(label);
   if (rank != ranks_[label]) {
      if (found == others_.end()) return;
      auto& others = found->second;
      auto const place = std::ranges::find(others, rank, &Candidate::rank);
      if (place == others.end()) return;
      release(place->word);
      others.erase(place);
   } else if (found == others_.end()) {
      leaving_ = label;
      return;
   } else {
      auto const next = found->second.front();
      found->second.erase(found->second.begin());
      ranks_[label] = next.rank;
      publish(label, next.word);
   }
   if (found->second.empty()) others_.erase(found);
}

}  // namespace velm::machine
