#pragma once

#include <grpcpp/grpcpp.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <vector>

#include "bench/Bulk.h"
#include "velmsdk.grpc.pb.h"

namespace VelmSdkRpc::Bench {

/// Whether the answer says that all of the request was carried out.
template <class Request>
bool succeeded(Request const&, pb::rpc_status_msg const& answer) {
   return answer.status() == pb::rpc_status_msg::STATUS_SUCCESS;
}
template <class Bulk>
bool succeeded(Bulk const& request, pb::rpc_status_bulk_msg const& answer) {
   if (answer.status_size() != elementsOf(request).size()) return false;
   for (auto const& status : answer.status()) {
      if (status.status() != pb::rpc_status_msg::STATUS_SUCCESS) return false;
   }
   return true;
}

/// An asynchronous client of one method: one connection, one completion queue, one thread. It does as little as it can
/// between two calls, for what the client spends hides differences between servers.
template <class Request, class Response>
class Caller {
 public:
   using Reader = grpc::ClientAsyncResponseReader<Response>;
   /// The generated `Async<method>` member of the stub.
   using Method = std::unique_ptr<Reader> (pb::velmsdk_service::Stub::*)(grpc::ClientContext*, Request const&,
                                                                         grpc::CompletionQueue*);

   Caller(std::shared_ptr<grpc::Channel> const& channel, Method method, std::size_t outstanding)
      : stub_(channel), method_(method), slots_(outstanding) {}

   /// Makes one call for each request, in order, and keeps as many outstanding as there are slots. Returns once all are
   /// answered; throws std::runtime_error for the first that did not succeed.
   void call(std::span<Request const> requests) {
      auto next = requests.begin();
      std::size_t pending = 0;
      for (auto& slot : slots_) {
         if (next == requests.end()) break;
         begin(slot, *next++);
         ++pending;
      }
      void* tag = nullptr;
      bool ok = false;
      for (; pending > 0 && queue_.Next(&tag, &ok); --pending) {
         auto& slot = *static_cast<Slot*>(tag);
         if (!slot.status.ok() || !succeeded(*slot.request, slot.response)) fail(slot, pending - 1);
         if (next == requests.end()) continue;
         begin(slot, *next++);
         ++pending;
      }
   }

 private:
   struct Slot {
      std::optional<grpc::ClientContext> context;
      std::unique_ptr<Reader> reader;
      Request const* request = nullptr;
      Response response;  // used again, with the memory that it has
      grpc::Status status;
   };

   void begin(Slot& slot, Request const& request) {
      slot.reader.reset();
      slot.context.emplace();
      slot.request = &request;
      slot.reader = (stub_.*method_)(&*slot.context, request, &queue_);
      slot.reader->Finish(&slot.response, &slot.status, &slot);
   }

   // gRPC still writes into the slots of the other calls, so these must end first.
   [[noreturn]] void fail(Slot const& slot, std::size_t pending) {
      auto const what = "a call failed: " + slot.status.error_message() + slot.response.ShortDebugString();
      void* tag = nullptr;
      bool ok = false;
      while (pending-- > 0 && queue_.Next(&tag, &ok)) continue;
      throw std::runtime_error(what);
   }

   pb::velmsdk_service::Stub stub_;
   Method method_;
   grpc::CompletionQueue queue_;
   std::vector<Slot> slots_;
};

}  // namespace VelmSdkRpc::Bench
