#include "trials/soak/Controller.h"

#include <fmt/format.h>

#include <stdexcept>

#include "tests/support/AgentTest.h"
#include "trials/soak/Call.h"

namespace VelmSdkRpc::soak {
namespace {

constexpr char firstByte = 77;

std::string prefixOf(std::size_t route) {
   return {firstByte, static_cast<char>(route >> 16U), static_cast<char>(route >> 8U), static_cast<char>(route)};
}

std::string groupOf(std::size_t group) { return fmt::format("model{}", group); }

void mustSucceed(std::string const& what, pb::rpc_status_msg const& status) {
   if (status.status() != pb::rpc_status_msg::STATUS_SUCCESS) {
      throw std::runtime_error(fmt::format("{}: {}", what, status.debug_string()));
   }
}

}  // namespace

Controller::Controller(std::shared_ptr<grpc::Channel> const& channel, std::size_t routes, Clock::duration sessionLength,
                       storm::Findings& findings)
   : channel_(channel),
     stub_(pb::velmsdk_service::NewStub(channel)),
     routes_(routes / bulkSize * bulkSize),
     sessionLength_(sessionLength),
     findings_(findings) {}

void Controller::run(Halt const& halt) {
   try {
      while (!halt.isNow()) {
         beginSession(halt);
         auto const end = Clock::now() + sessionLength_;
         for (auto first = std::size_t{0}; Clock::now() < end;) {
            auto const next = Clock::now() + std::chrono::milliseconds(100);
            setBulk(first);
            first = (first + bulkSize) % routes_;
            if (first == 0) ++shift_;
            if (!halt.awaitTime(next)) return;
         }
      }
   } catch (std::exception const& e) {
      findings_.add(fmt::format("the controller: {}", e.what()));
   }
}

void Controller::clear() {
   try {
      startResync();
      setResync(pb::RESYNC_END);
   } catch (std::exception const& e) {
      findings_.add(fmt::format("the last resync: {}", e.what()));
   }
}

void Controller::startResync() {
   pb::rpc_server_config_msg request;
   if (call(*stub_, &Stub::rpc_server_init, request).status().status() != pb::rpc_status_msg::STATUS_SUCCESS) {
      throw std::runtime_error("rpc_server_init was refused");
   }
   setResync(pb::RESYNC_START);
}

void Controller::beginSession(Halt const& halt) {
   startResync();
   setGroups();
   breaksOff_ = !breaksOff_;
   if (breaksOff_) {
      if (!setRoutes(0, routes_ / 2, halt)) return;
      setResync(pb::RESYNC_START);
      setGroups();
   }
   if (!setRoutes(0, routes_, halt)) return;
   setResync(pb::RESYNC_END);
   ++resyncs_;
   checkRoutes();
}

void Controller::setResync(pb::rpc_server_resync_state_enum state) {
   pb::rpc_server_resync_msg request;
   request.set_resync_state(state);
   mustSucceed("rpc_server_resync", call(*stub_, &Stub::rpc_server_resync, request));
}

void Controller::setGroups() {
   for (std::size_t group = 0; group < groups; ++group) {
      mustSucceed("nexthop_group", call(*stub_, &Stub::nexthop_group, groupMsg(groupOf(group))));
   }
}

bool Controller::setRoutes(std::size_t first, std::size_t count, Halt const& halt) {
   for (auto const end = first + count; first < end; first += bulkSize) {
      if (halt.isNow()) return false;
      setBulk(first);
   }
   return true;
}

void Controller::setBulk(std::size_t first) {
   pb::ip_route_bulk_msg request;
   for (auto route = first; route < first + bulkSize; ++route) {
      auto& added = *request.add_ip_route();
      added.mutable_prefix()->set_addr(prefixOf(route));
      added.mutable_prefix()->set_prefix_length(32);
      added.set_nexthop_group(groupOf((route + shift_) % groups));
   }
   auto const begin = Clock::now();
   auto const answer = call(*stub_, &Stub::ip_route_bulk, request);
   bulks_.add(millisecondsSince(begin));
   for (auto const& status : answer.status()) mustSucceed("ip_route_bulk", status);
   programmed_ += bulkSize;
}

// Read by the mirror, one route a message.
void Controller::checkRoutes() {
   grpc::ClientContext context;
   setDeadline(context);
   auto const mirror = velm::remote::IpRouteMgrService::NewStub(channel_);
   auto const reader = mirror->ip_routes(&context, {});
   velm::remote::IpRoutesResponse read;
   std::size_t ours = 0;
   while (reader->Read(&read)) {
      auto const& address = read.ip_route().key().prefix().ip_addr();
      bool const isProbes = address.ends_with("\xff\xff\xff");
      if (address.size() == 4 && address[0] == firstByte && !isProbes) ++ours;
   }
   checkStatus("ip_routes", reader->Finish());
   if (ours != routes_) throw std::runtime_error(fmt::format("{} routes after a resync, not {}", ours, routes_));
}

}  // namespace VelmSdkRpc::soak
