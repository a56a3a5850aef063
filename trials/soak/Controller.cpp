#include "trials/soak/Controller.h"

#include <fmt/format.h>

#include <algorithm>
#include <stdexcept>

#include "tests/support/NativeMessages.h"

namespace VelmSdkRpc::soak {
namespace {

using Stub = pb::velmsdk_service::Stub;

std::string groupOf(std::size_t group) { return fmt::format("model{}", group); }

void mustSucceed(pb::rpc_status_msg const& status) {
   if (status.status() != pb::rpc_status_msg::STATUS_SUCCESS) throw std::runtime_error(status.debug_string());
}

}  // namespace

Controller::Controller(std::shared_ptr<grpc::Channel> const& channel, std::size_t routes, Clock::duration sessionLength)
   : stub_(pb::velmsdk_service::NewStub(channel)),
     table_(channel, 77, routes / bulkSize * bulkSize, 0),
     sessionLength_(sessionLength) {}

void Controller::run(std::stop_token const& stop) {
   while (!stop.stop_requested()) {
      beginSession(stop);
      auto const end = Clock::now() + sessionLength_;
      for (std::size_t first = 0; Clock::now() < end;) {
         auto const next = Clock::now() + std::chrono::milliseconds(100);
         setBulk(first);
         first = (first + bulkSize) % table_.size();
         if (first == 0) ++shift_;
         if (!trials::awaitTime(stop, next)) return;
      }
   }
}

void Controller::clear() {
   startSession();
   resyncIs(pb::RESYNC_END);
}

void Controller::beginSession(std::stop_token const& stop) {
   startSession();
   setGroups();
   breaksOff_ = !breaksOff_;
   for (std::size_t first = 0; breaksOff_ && first < table_.size() / 2; first += bulkSize) setBulk(first);
   if (breaksOff_) {
      resyncIs(pb::RESYNC_START);
      setGroups();
   }
   for (std::size_t first = 0; first < table_.size(); first += bulkSize) {
      if (stop.stop_requested()) return;
      setBulk(first);
   }
   resyncIs(pb::RESYNC_END);
   ++resyncs_;
   auto const found = table_.found();
   auto const there = static_cast<std::size_t>(std::ranges::count(found, true));
   if (there != found.size()) {
      throw std::runtime_error(fmt::format("{} of {} routes after a resync", there, found.size()));
   }
}

void Controller::startSession() {
   mustSucceed(call(*stub_, &Stub::rpc_server_init, pb::rpc_server_config_msg()).status());
   resyncIs(pb::RESYNC_START);
}

void Controller::resyncIs(pb::rpc_server_resync_state_enum state) {
   pb::rpc_server_resync_msg request;
   request.set_resync_state(state);
   mustSucceed(call(*stub_, &Stub::rpc_server_resync, request));
}

void Controller::setGroups() {
   for (std::size_t group = 0; group < groups; ++group) {
      mustSucceed(call(*stub_, &Stub::nexthop_group, groupMsg(groupOf(group))));
   }
}

void Controller::setBulk(std::size_t first) {
   auto const begin = Clock::now();
   table_.set(first, first + bulkSize, [&](std::size_t route) { return groupOf((route + shift_) % groups); });
   bulks_.addSince(begin);
   programmed_ += bulkSize;
}

}  // namespace VelmSdkRpc::soak
