#pragma once

#include <absl/container/btree_map.h>

#include <array>
#include <cstdint>
#include <functional>
#include <span>
#include <string>

#include "platform/linux/bpf/Layout.h"
#include "platform/linux/forwarding/Groups.h"
#include "platform/linux/forwarding/Ids.h"

namespace velm::machine {

/// Where a packet goes instead that would leave through a group: by family, IPv4 first, and DSCP the name of another
/// group; empty where it leaves as it would.
using DscpRedirects = std::array<std::array<std::string, 64>, 2>;
/// By the group that it would leave through.
using PolicyRedirects = absl::btree_map<std::string, DscpRedirects>;

/// The redirects of one policy as packets find them: a row for each group that packets would leave through. Changed in
/// place, word by word. The SDK lock guards it.
class Redirects {
 public:
   using Id = std::uint32_t;

   /// The program finds a row of this policy by the group, or finds none any more.
   struct Finding {
      std::function<void(redirect_key const&, std::uint32_t row)> is;
      std::function<void(redirect_key const&)> del;
   };
   /// Rows for all policies.
   struct Rows {
      std::span<redirect_row> shared;
      Ids ids;
      Finding finding;
   };

   Redirects(Id policy, Rows& rows, Groups& groups) : policy_(policy), rows_(rows), groups_(groups) {}
   ~Redirects() { set({}); }
   Redirects(Redirects const&) = delete;
   Redirects& operator=(Redirects const&) = delete;

   Id policy() const { return policy_; }
   /// Throws velm::error if there is no room; then some of it is carried out.
   void set(PolicyRedirects const& redirects);

 private:
   struct Row {
      Groups::Id group;
      std::uint32_t index;
   };
   Row& rowOf(std::string const& group);
   void fill(Row const& row, DscpRedirects const& redirects);
   void drop(Row const& row);

   Id const policy_;
   Rows& rows_;
   Groups& groups_;
   absl::btree_map<std::string, Row> byGroup_;
};

}  // namespace velm::machine
