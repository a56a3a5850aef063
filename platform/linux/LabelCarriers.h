#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "platform/linux/WordCarrier.h"
#include "platform/linux/forwarding/Labels.h"
#include "platform/linux/forwarding/Leaves.h"
#include "platform/linux/forwarding/Vrfs.h"
#include "platform/switch/MplsRouteMgr.h"

namespace velm::machine {

/// Carries out MPLS routes of one label. Of several metrics the lowest forwards.
class LabelCarrier final : public WordCarrier<embedded::MplsRowKey, embedded::MplsRoute> {
 public:
   LabelCarrier(Labels& labels, Leaves& leaves, Resting& rests, Warn warn)
      : WordCarrier({}, rests, std::move(warn)), labels_(labels), leaves_(leaves) {}

 private:
   std::uint64_t take(embedded::MplsRowKey const& key, embedded::MplsRoute const& row) override;
   void giveUp(std::uint64_t word) noexcept override { labels_.release(word); }
   void become(embedded::MplsRowKey const& key, std::uint64_t word) noexcept override;
   void drop(embedded::MplsRowKey const& key) override;
   std::vector<ip_addr_t> hopsOf(embedded::MplsRowKey const& key, embedded::MplsRoute const& row) const override;
   std::string nameOf(embedded::MplsRowKey const& key) const override { return "MPLS route " + key.key().to_string(); }

   Labels& labels_;
   Leaves& leaves_;
};

/// Carries out the labels that are taken off before a lookup in a VRF. A label's route goes before it.
class VrfLabelCarrier final : public WordCarrier<mpls_label_t, mpls_vrf_label_t> {
 public:
   VrfLabelCarrier(Labels& labels, Vrfs& vrfs, Resting& rests, Warn warn)
      : WordCarrier({}, rests, std::move(warn)), labels_(labels), vrfs_(vrfs) {}

 private:
   std::uint64_t take(mpls_label_t const& label, mpls_vrf_label_t const& row) override;
   void giveUp(std::uint64_t) noexcept override {}
   void become(mpls_label_t const& label, std::uint64_t word) noexcept override;
   void drop(mpls_label_t const&) override {}
   std::vector<ip_addr_t> hopsOf(mpls_label_t const&, mpls_vrf_label_t const&) const override { return {}; }
   std::string nameOf(mpls_label_t const& label) const override;

   Labels& labels_;
   Vrfs& vrfs_;
};

}  // namespace velm::machine
