#include "trials/chaos/Controller.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <random>

#include "trials/chaos/Scale.h"
#include "trials/storm/Caller.h"

namespace VelmSdkRpc::chaos {
namespace {

using pb::rpc_status_msg;
using Stub = Controller::Stub;

template <class Request>
struct Calls;
template <>
struct Calls<pb::nexthop_group_msg> {
   static constexpr auto one = &Stub::nexthop_group;
   static constexpr auto bulk = &Stub::nexthop_group_bulk;
   static constexpr auto add = &pb::nexthop_group_bulk_msg::add_nexthop_group;
};
template <>
struct Calls<pb::nexthop_group_tunnel_msg> {
   static constexpr auto one = &Stub::nexthop_group_tunnel;
   static constexpr auto bulk = &Stub::nexthop_group_tunnel_bulk;
   static constexpr auto add = &pb::nexthop_group_tunnel_bulk_msg::add_nexthop_group_tunnel;
};
template <>
struct Calls<pb::ip_route_msg> {
   static constexpr auto one = &Stub::ip_route;
   static constexpr auto bulk = &Stub::ip_route_bulk;
   static constexpr auto add = &pb::ip_route_bulk_msg::add_ip_route;
};
template <>
struct Calls<pb::mpls_route_msg> {
   static constexpr auto one = &Stub::mpls_route;
   static constexpr auto bulk = &Stub::mpls_route_bulk;
   static constexpr auto add = &pb::mpls_route_bulk_msg::add_mpls_route;
};
template <>
struct Calls<pb::sbfd_echo_session_msg> {
   static constexpr auto one = &Stub::sbfd_echo_session;
   static constexpr auto bulk = &Stub::sbfd_echo_session_bulk;
   static constexpr auto add = &pb::sbfd_echo_session_bulk_msg::add_sbfd_echo_session;
};
template <>
struct Calls<pb::cbf_nexthop_group_redirect_msg> {
   static constexpr auto one = &Stub::cbf_nexthop_group_redirect;
   static constexpr auto bulk = &Stub::cbf_nexthop_group_redirect_bulk;
   static constexpr auto add = &pb::cbf_nexthop_group_redirect_bulk_msg::add_cbf_nexthop_group_redirect;
};
template <>
struct Calls<pb::rpc_server_state_config_msg> {
   static constexpr auto one = &Stub::rpc_server_state;
};

template <class Request, class Bulk>
Bulk bulkOf(Batch const& batch, Request* (Bulk::*add)()) {
   Bulk bulk;
   for (auto const& element : batch) *(bulk.*add)() = std::get<Request>(element);
   return bulk;
}

void setDeadline(grpc::ClientContext& context) {
   context.set_deadline(std::chrono::system_clock::now() + Scale::get().seconds(60));
}

bool isFault(pb::rpc_status_msg const& answer) {
   return answer.status() == rpc_status_msg::STATUS_ERROR && answer.debug_string().find(faultText) != std::string::npos;
}

// One operation of the switch each: what fails has changed nothing.
bool isAtomic(Element const& element) {
   return std::holds_alternative<pb::nexthop_group_msg>(element) ||
          std::holds_alternative<pb::nexthop_group_tunnel_msg>(element);
}

}  // namespace

double Latencies::worst() const { return values_.empty() ? 0 : *std::ranges::max_element(values_); }

std::string Latencies::text() const {
   if (values_.empty()) return "none";
   auto sorted = values_;
   std::ranges::sort(sorted);
   auto const at = [&](double share) { return sorted[static_cast<std::size_t>(share * (sorted.size() - 1))]; };
   return fmt::format("{} of them, half within {:.2f} ms, 99% {:.2f} ms, 99.9% {:.2f} ms, worst {:.2f} ms",
                      sorted.size(), at(0.5), at(0.99), at(0.999), sorted.back());
}

Controller::Controller(std::string address, unsigned number, std::uint32_t seed, storm::Findings& findings)
   : any(seed * 100 + number, number), address_(std::move(address)), findings_(findings) {
   connect();
}

void Controller::connect() { stub_ = pb::velmsdk_service::NewStub(storm::connectTo(address_)); }

bool Controller::init(std::string const& map) {
   pb::rpc_server_config_msg config;
   config.set_ip_route_tag(tag);
   config.set_cbf_nexthop_group_redirect_policy_map_name(map);
   grpc::ClientContext context;
   setDeadline(context);
   pb::rpc_server_init_status_msg answer;
   if (!stub_->rpc_server_init(&context, config, &answer).ok()) return false;
   if (answer.status().status() != 0) findings_.add("init: " + answer.ShortDebugString());
   return true;
}

std::optional<rpc_status_msg> Controller::resync(pb::rpc_server_resync_state_enum state) {
   pb::rpc_server_resync_msg request;
   request.set_resync_state(state);
   grpc::ClientContext context;
   setDeadline(context);
   rpc_status_msg answer;
   if (!stub_->rpc_server_resync(&context, request, &answer).ok()) return std::nullopt;
   ++answers_;
   return answer;
}

template <class Request>
std::optional<pb::rpc_status_bulk_msg> Controller::call(Batch const& batch) {
   grpc::ClientContext context;
   setDeadline(context);
   pb::rpc_status_bulk_msg answer;
   grpc::Status status;
   auto const begin = std::chrono::steady_clock::now();
   if constexpr (requires { Calls<Request>::bulk; }) {
      if (batch.size() != 1) {
         status = (*stub_.*Calls<Request>::bulk)(&context, bulkOf<Request>(batch, Calls<Request>::add), &answer);
      }
   }
   if (batch.size() == 1) {
      status = (*stub_.*Calls<Request>::one)(&context, std::get<Request>(batch.front()), answer.add_status());
   }
   latencies.add(std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin).count());
   // An agent that is told to end cancels what it has not answered.
   bool const mayBeSo = status.ok() || status.error_code() == grpc::StatusCode::UNAVAILABLE ||
                        status.error_code() == grpc::StatusCode::CANCELLED;
   if (!mayBeSo) {
      findings_.add(fmt::format("{}: status {} {}", textOf(batch.front()), static_cast<int>(status.error_code()),
                                status.error_message()));
   }
   return status.ok() ? std::optional(std::move(answer)) : std::nullopt;
}

bool Controller::send(Batch const& batch, bool checked) {
   if (batch.empty()) return true;
   auto const answer =
      std::visit([&]<class Request>(Request const& /*first*/) { return call<Request>(batch); }, batch.front());
   if (!answer) {
      open = batch;
      return false;
   }
   ++answers_;
   if (answer->status_size() != static_cast<int>(batch.size())) {
      findings_.add(fmt::format("{} answers to {} elements", answer->status_size(), batch.size()));
      return true;
   }
   for (std::size_t i = 0; i < batch.size(); ++i) {
      checked ? take(batch[i], answer->status(static_cast<int>(i))) : model.apply(batch[i]);
   }
   return true;
}

void Controller::take(Element const& element, rpc_status_msg const& answer) {
   if (isFault(answer)) {
      ++faults_;
      if (!isAtomic(element)) repeat(element);
   } else if (!model.apply(element, answer.status())) {
      findings_.add(fmt::format("{} is answered {}", textOf(element), answer.ShortDebugString()));
   }
}

void Controller::sendAndVanish(Batch const& batch) {
   // Of a stub whose channel has gone nothing is heard any more; a request cancelled at once has mostly left already.
   std::visit(
      [&]<class Request>(Request const& /*first*/) {
         if constexpr (requires { Calls<Request>::bulk; }) {
            auto const bulk = bulkOf<Request>(batch, Calls<Request>::add);
            grpc::ClientContext context;
            context.set_deadline(std::chrono::system_clock::now() + std::chrono::microseconds(any.upTo(2000)));
            pb::rpc_status_bulk_msg answer;
            (*stub_.*Calls<Request>::bulk)(&context, bulk, &answer);
         }
      },
      batch.front());
   open = batch;
   connect();
}

// Until there is no fault, and nothing of earlier ones left: a label is deleted in each of its forms, and a redirect is
// given other values before, since those of a failed update count as written, and rules of a failed addition stay.
void Controller::repeat(Element const& element) {
   auto const* const label = std::get_if<pb::mpls_route_msg>(&element);
   auto const* const redirect = std::get_if<pb::cbf_nexthop_group_redirect_msg>(&element);
   auto const sendOnce = [&]<class Request>(Request const& request) { return call<Request>({request}); };
   for (int tries = 0; tries < 1000; ++tries) {
      if (redirect != nullptr) {
         auto other = *redirect;
         other.mutable_match_ipv4_dscp()->Add(63);
         other.mutable_match_ipv6_dscp()->Add(63);
         auto const answer = sendOnce(other);
         if (!answer || isFault(answer->status(0))) continue;
      }
      auto const answer = std::visit(sendOnce, element);
      if (!answer) return;
      auto const& status = answer->status(0);
      if (isFault(status)) continue;
      bool const hasOtherForm =
         label != nullptr && label->request_delete() && status.status() == rpc_status_msg::STATUS_SUCCESS;
      if (hasOtherForm) continue;
      bool const isRight = model.apply(element, status.status());
      if (!isRight && !(label != nullptr && label->request_delete())) {
         findings_.add(fmt::format("{} is at last answered {}", textOf(element), status.ShortDebugString()));
      }
      return;
   }
   findings_.add("repeated in vain: " + textOf(element));
}

std::vector<Batch> Controller::batchesOf(std::vector<Element> const& elements, std::size_t most) {
   std::vector<Batch> batches;
   for (auto const& element : elements) {
      bool const fits =
         !batches.empty() && batches.back().size() < most && batches.back().front().index() == element.index();
      if (!fits) batches.emplace_back();
      batches.back().push_back(element);
   }
   return batches;
}

}  // namespace VelmSdkRpc::chaos
