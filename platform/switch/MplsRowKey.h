#pragma once

#include <absl/container/inlined_vector.h>
#include <absl/types/span.h>

#include <tuple>
#include <utility>
#include <vector>

#include "platform/switch/RadixKeys.h"
#include "platform/velm/attribute.h"
#include "platform/velm/mpls_route.h"

namespace velm::embedded {

/// The key of an MPLS route as the table has it: ordered and stored as the key itself, but in one piece, since the
/// memory that it reads is nearly all that a lookup among a million routes costs.
class MplsRowKey {
 public:
   MplsRowKey() = default;
   explicit MplsRowKey(mpls_route_key_t const& key)
      : labels_(key.labels().begin(), key.labels().end()), metric_(key.metric()) {}

   mpls_route_key_t key() const {
      return labels_.size() == 1 ? mpls_route_key_t(labels_.front(), metric_)
                                 : mpls_route_key_t(std::vector(labels_.begin(), labels_.end()), metric_);
   }
   absl::Span<mpls_label_t const> labels() const { return labels_; }
   unsigned char metric() const { return metric_; }

   bool operator==(MplsRowKey const&) const = default;
   template <class H>
   friend H AbslHashValue(H state, MplsRowKey const& key) {
      return H::combine(std::move(state), key.labels_, key.metric_);
   }
   static constexpr auto attributes() {
      return std::tuple{attribute{"labels", &MplsRowKey::labels_}, attribute{"metric", &MplsRowKey::metric_}};
   }

 private:
   absl::InlinedVector<mpls_label_t, 4> labels_;
   unsigned char metric_ = 0;
};

/// A word for each label, with a bit before it that sorts more labels after fewer, and one for the metric.
template <>
struct RadixWords<MplsRowKey> {
   static std::uint64_t word(MplsRowKey const& key, std::size_t index) {
      auto const labels = key.labels();
      if (index < labels.size()) return std::uint64_t{1} << 60 | RadixWords<mpls_label_t>::word(labels[index], 0);
      return index == labels.size() ? static_cast<std::uint64_t>(key.metric()) << 52 : 0;
   }
};

}  // namespace velm::embedded
