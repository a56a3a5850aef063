#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "platform/linux/bpf/Layout.h"
#include "platform/linux/forwarding/Ids.h"

namespace velm::machine {

/// What packets and octets went through the entries of groups, counted by packets without a lock: each processor has a
/// slice of its own. Every exit has a counter of the same index, which all groups that leave so share; the rest are for
/// groups that want their own. The SDK lock guards it; reading costs packets nothing.
class Counters {
 public:
   using Id = std::uint32_t;

   /// `shared` holds a slice for each processor, `exits` how many counters of each are those of exits.
   Counters(std::span<traffic> shared, std::size_t slices, std::uint32_t exits, GracePeriods& periods)
      : shared_(shared),
        each_(shared.size() / slices),
        exits_(exits),
        own_(static_cast<std::uint32_t>(each_) - exits, periods) {}
   Counters(Counters const&) = delete;
   Counters& operator=(Counters const&) = delete;

   /// One that is nobody else's, at zero; nothing if none is left.
   std::optional<Id> take() {
      auto const id = own_.take();
      if (!id) return std::nullopt;
      reset(exits_ + *id);
      return exits_ + *id;
   }
   /// After the last bucket that names it has been replaced.
   void retire(Id id) { own_.retire(id - exits_); }

   void reset(Id id) const {
      for (std::size_t at = id; at < shared_.size(); at += each_) shared_[at] = {};
   }
   traffic read(Id id) const {
      traffic sum{};
      for (std::size_t at = id; at < shared_.size(); at += each_) {
         sum.packets += shared_[at].packets;
         sum.octets += shared_[at].octets;
      }
      return sum;
   }
   std::uint32_t room() const { return own_.size(); }

 private:
   std::span<traffic> const shared_;
   std::size_t const each_;  // counters of a slice
   std::uint32_t const exits_;
   Ids own_;
};

}  // namespace velm::machine
