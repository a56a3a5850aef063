#include "trials/support/Controller.h"

#include <fmt/format.h>

#include "clients/support/Call.h"
#include "trials/support/Caller.h"

namespace VelmSdkRpc::trials {
namespace {

using pb::rpc_status_msg;

bool isFault(rpc_status_msg const& answer) {
   return answer.status() == rpc_status_msg::STATUS_ERROR &&
          answer.debug_string().find(Controller::faultText) != std::string::npos;
}

// One operation of the switch each: what fails has changed nothing.
bool isAtomic(Element const& element) {
   return std::holds_alternative<pb::nexthop_group_msg>(element) ||
          std::holds_alternative<pb::nexthop_group_tunnel_msg>(element);
}

// An agent that is told to end cancels what it has not answered.
bool mayEndSo(grpc::StatusCode code) {
   return code == grpc::StatusCode::UNAVAILABLE || code == grpc::StatusCode::CANCELLED;
}

}  // namespace

Controller::Controller(std::string address, NativeKeys keys, std::uint32_t seed, Findings& findings,
                       std::chrono::milliseconds timeout)
   : any(seed, tag, std::move(keys)), address_(std::move(address)), findings_(findings), timeout_(timeout) {
   connect();
}

void Controller::connect() { stub_ = pb::velmsdk_service::NewStub(connectTo(address_)); }

bool Controller::init(std::string const& policyMap) try {
   pb::rpc_server_config_msg config;
   config.set_ip_route_tag(tag);
   config.set_cbf_nexthop_group_redirect_policy_map_name(policyMap);
   auto const answer = call(*stub_, &NativeStub::rpc_server_init, config, {timeout_});
   if (answer.status().status() != 0) findings_.add("init: " + answer.ShortDebugString());
   return true;
} catch (CallError const&) {
   return false;
}

std::optional<rpc_status_msg> Controller::resync(pb::rpc_server_resync_state_enum state) try {
   pb::rpc_server_resync_msg request;
   request.set_resync_state(state);
   auto const answer = call(*stub_, &NativeStub::rpc_server_resync, request, {timeout_});
   ++answers_;
   return answer;
} catch (CallError const&) {
   return std::nullopt;
}

template <class Request>
std::optional<pb::rpc_status_bulk_msg> Controller::ask(Batch const& batch) try {
   using Kind = NativeKind<Request>;
   pb::rpc_status_bulk_msg answer;
   auto const begin = std::chrono::steady_clock::now();
   if (batch.size() == 1) {
      *answer.add_status() = call(*stub_, Kind::one, std::get<Request>(batch.front()), {timeout_});
   } else if constexpr (HasBulk<Request>) {
      answer = call(*stub_, Kind::bulk, bulkOf<Request>(batch, Kind::add), {timeout_});
   }
   latencies.addSince(begin);
   return answer;
} catch (CallError const& e) {
   if (!mayEndSo(e.status().error_code())) findings_.add(textOf(batch.front()) + ": " + e.what());
   return std::nullopt;
}

bool Controller::send(Batch const& batch, bool checked) {
   if (batch.empty()) return true;
   auto const answer =
      std::visit([&]<class Request>(Request const& /*first*/) { return ask<Request>(batch); }, batch.front());
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
      checked ? take(batch[i], answer->status(static_cast<int>(i))) : model.done(batch[i]);
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
   // Nothing is heard any more of a stub whose channel has gone; a request cancelled at once has mostly left already.
   std::visit(
      [&]<class Request>(Request const& /*first*/) {
         if constexpr (HasBulk<Request>) {
            auto const bulk = bulkOf<Request>(batch, NativeKind<Request>::add);
            grpc::ClientContext context;
            context.set_deadline(std::chrono::system_clock::now() + std::chrono::microseconds(any.upTo(2000)));
            pb::rpc_status_bulk_msg answer;
            (*stub_.*NativeKind<Request>::bulk)(&context, bulk, &answer);
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
   bool const deletesLabel = label != nullptr && label->request_delete();
   auto const askOnce = [&]<class Request>(Request const& request) { return ask<Request>({request}); };
   for (int tries = 0; tries < 1000; ++tries) {
      if (redirect != nullptr) {
         auto other = *redirect;
         other.mutable_match_ipv4_dscp()->Add(63);
         other.mutable_match_ipv6_dscp()->Add(63);
         auto const answer = askOnce(other);
         if (!answer || isFault(answer->status(0))) continue;
      }
      auto const answer = std::visit(askOnce, element);
      if (!answer) return;
      auto const& status = answer->status(0);
      if (isFault(status)) continue;
      if (deletesLabel && status.status() == rpc_status_msg::STATUS_SUCCESS) continue;  // there may be another form
      if (!model.apply(element, status.status()) && !deletesLabel) {
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

}  // namespace VelmSdkRpc::trials
