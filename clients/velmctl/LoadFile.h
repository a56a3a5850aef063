#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "proto/velmsdk.pb.h"

namespace VelmSdkRpc::ctl {

/// A text file of nexthop groups and routes, a line each:
///
///     nhg to-core 10.0.0.1@Ethernet1,push=1001 Ethernet2
///     10.0.0.0/8 to-core
///     10.1.0.0/16 -          # deletes it
///
/// Blanks separate words, and # begins a comment. Groups are sent before all routes, wherever they stand.
class LoadFile {
 public:
   struct Route {
      std::uint32_t line;
      std::uint8_t addressSize;   // 4 or 16
      std::uint8_t prefixLength;  // in bits
      char address[16];
      std::string_view group;  // empty: the route is deleted
   };
   struct Group {
      std::uint32_t line;
      pb::nexthop_group_msg message;
   };

   /// Reads all of it. Throws UsageError with file, line and what was expected there, and std::system_error for a file
   /// that cannot be read.
   explicit LoadFile(std::string const& path);

   std::vector<Group> const& groups() const { return groups_; }
   std::vector<Route> const& routes() const { return routes_; }
   /// The line as it stands in the file; they are numbered from 1.
   std::string_view line(std::uint32_t number) const;

 private:
   void read(std::string_view line);
   void readRoute(std::string_view prefix, std::string_view group);

   std::string content_;
   std::vector<std::size_t> lines_;  // where each begins
   std::vector<Group> groups_;
   std::vector<Route> routes_;
};

}  // namespace VelmSdkRpc::ctl
