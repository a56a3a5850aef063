#pragma once

#include <cstddef>

#include "bench/FloorCall.h"
#include "bench/StatusNames.h"
#include "remote/agent.grpc.pb.h"

namespace VelmSdkRpc::Bench {

/// One call of `statuses`: so many names, made up, one Write at a time with the agent's write options.
class FloorStatuses final : public FloorEvent {
 public:
   using Service = velm::remote::AgentService::AsyncService;

   FloorStatuses(Service& service, grpc::ServerCompletionQueue& queue, std::size_t count)
      : service_(service), queue_(queue), count_(count), writer_(&context_) {
      gathering_.set_buffer_hint();
      service_.Requeststatuses(&context_, &request_, &writer_, &queue_, &queue_, this);
   }

   void proceed(bool ok) override {
      if (!ok || over_) {
         delete this;
         return;
      }
      if (!arrived_) new FloorStatuses(service_, queue_, count_);
      auto const options = arrived_ ? gathering_ : grpc::WriteOptions();
      arrived_ = true;
      if (sent_ == count_) {
         over_ = true;
         writer_.Finish(grpc::Status::OK, this);
         return;
      }
      velm::remote::AgentStatusesResponse response;
      response.set_name(statusName(sent_++));
      writer_.Write(response, options, this);
   }

 private:
   Service& service_;
   grpc::ServerCompletionQueue& queue_;
   std::size_t const count_;
   grpc::WriteOptions gathering_;
   grpc::ServerContext context_;
   velm::remote::AgentStatusesRequest request_;
   grpc::ServerAsyncWriter<velm::remote::AgentStatusesResponse> writer_;
   std::size_t sent_ = 0;
   bool arrived_ = false;
   bool over_ = false;
};

}  // namespace VelmSdkRpc::Bench
