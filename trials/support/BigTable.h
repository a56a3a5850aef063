#pragma once

#include <fmt/format.h>

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "clients/support/Call.h"
#include "proto/remote/ip_route.grpc.pb.h"
#include "proto/velmsdk.grpc.pb.h"

namespace VelmSdkRpc::trials {

/// Many host routes, told apart by their numbers, up to 2^24 of them in one network of eight bits.
class BigTable {
 public:
   BigTable(std::shared_ptr<grpc::Channel> const& channel, unsigned char network, std::size_t size, std::uint32_t tag)
      : native_(pb::velmsdk_service::NewStub(channel)),
        mirror_(velm::remote::IpRouteMgrService::NewStub(channel)),
        network_(static_cast<char>(network)),
        size_(size),
        tag_(tag) {}

   std::size_t size() const { return size_; }

   /// Sets the routes from the first on in one bulk, each to the group that groupOf(number) names, or not if that is
   /// empty. Throws std::runtime_error if one is not accepted.
   template <class GroupOf>
   void set(std::size_t first, std::size_t end, GroupOf&& groupOf) {
      pb::ip_route_bulk_msg bulk;
      for (auto number = first; number < end; ++number) {
         std::string group = groupOf(number);
         if (group.empty()) continue;
         auto& route = *bulk.add_ip_route();
         route.mutable_prefix()->set_addr(
            {network_, static_cast<char>(number >> 16U), static_cast<char>(number >> 8U), static_cast<char>(number)});
         route.mutable_prefix()->set_prefix_length(32);
         route.set_nexthop_group(std::move(group));
         route.set_tag(tag_);
      }
      auto const answer = call(*native_, &pb::velmsdk_service::Stub::ip_route_bulk, bulk, patient);
      int accepted = 0;
      for (auto const& status : answer.status()) accepted += status.status() == pb::rpc_status_msg::STATUS_SUCCESS;
      if (accepted != bulk.ip_route_size()) {
         throw std::runtime_error(fmt::format("{} of {} routes accepted", accepted, bulk.ip_route_size()));
      }
   }

   /// For each route whether the switch has it, read by the mirror, one a message. Throws CallError.
   std::vector<bool> found() const {
      std::vector<bool> found(size_, false);
      grpc::ClientContext context;
      context.set_deadline(std::chrono::system_clock::now() + patient.timeout);
      auto const reader = mirror_->ip_routes(&context, {});
      velm::remote::IpRoutesResponse read;
      while (reader->Read(&read)) {
         auto const& address = read.ip_route().key().prefix().ip_addr();
         if (address.size() != 4 || address[0] != network_) continue;
         std::size_t number = 0;
         for (unsigned char const byte : address.substr(1)) number = number << 8U | byte;
         if (number < size_) found[number] = true;
      }
      throwUnlessOk(reader->Finish(), "ip_routes");
      return found;
   }

 private:
   static constexpr CallOptions patient{.timeout = std::chrono::minutes(5), .waitsForAgent = false};

   std::unique_ptr<pb::velmsdk_service::Stub> const native_;
   std::unique_ptr<velm::remote::IpRouteMgrService::Stub> const mirror_;
   char const network_;
   std::size_t const size_;
   std::uint32_t const tag_;
};

}  // namespace VelmSdkRpc::trials
