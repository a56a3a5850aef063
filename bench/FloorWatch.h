#pragma once

#include <deque>
#include <unordered_set>

#include "bench/FloorCall.h"
#include "proto/remote/intf.grpc.pb.h"

namespace VelmSdkRpc::Bench {

/// One call of the interfaces' watch, whatever it selects. It stays open until a Write fails.
class FloorWatch final : public FloorEvent {
 public:
   using Service = velm::remote::IntfMgrService::AsyncService;
   using Response = velm::remote::WatchIntfResponse;
   /// The calls that are open; must outlive the queue.
   using Open = std::unordered_set<FloorWatch*>;

   FloorWatch(Service& service, grpc::ServerCompletionQueue& queue, Open& open)
      : service_(service), queue_(queue), open_(open), writer_(&context_) {
      service_.Requestwatch(&context_, &request_, &writer_, &queue_, &queue_, this);
   }
   ~FloorWatch() override { open_.erase(this); }

   void proceed(bool ok) override {
      if (!ok) {
         delete this;
      } else if (arrived_) {
         writing_ = false;
         if (!waiting_.empty()) {
            write(waiting_.front());
            waiting_.pop_front();
         }
      } else {
         arrive();
      }
   }

   void send(Response const& response) {
      if (writing_) {
         waiting_.push_back(response);
      } else {
         write(response);
      }
   }

 private:
   void arrive() {
      arrived_ = true;
      new FloorWatch(service_, queue_, open_);
      open_.insert(this);
      if (!request_.notify_ready()) return;
      Response marker;
      marker.set_ready(true);
      send(marker);
   }
   void write(Response const& response) {
      writing_ = true;
      writer_.Write(response, this);
   }

   Service& service_;
   grpc::ServerCompletionQueue& queue_;
   Open& open_;
   grpc::ServerContext context_;
   velm::remote::WatchIntfRequest request_;
   grpc::ServerAsyncWriter<Response> writer_;
   std::deque<Response> waiting_;  // behind the Write in flight
   bool writing_ = false;
   bool arrived_ = false;
};

}  // namespace VelmSdkRpc::Bench
