#pragma once

#include <grpcpp/grpcpp.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <vector>

#include "bench/Bulk.h"
#include "proto/velmsdk.grpc.pb.h"

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
template <class Bulk, class Answer>
requires requires(Answer const& answer) { answer.count(); }
bool succeeded(Bulk const& request, Answer const& answer) {
   return answer.status().code() == 0 && answer.count() == static_cast<std::size_t>(elementsOf(request).size());
}

/// What the type of a generated `Async<method>` member of a stub tells of its method.
template <class AsyncFn>
struct CalledMethod;

template <class StubClass, class RequestMessage, class ResponseMessage>
struct CalledMethod<std::unique_ptr<grpc::ClientAsyncResponseReader<ResponseMessage>> (StubClass::*)(
   grpc::ClientContext*, RequestMessage const&, grpc::CompletionQueue*)> {
   using Stub = StubClass;
   using Request = RequestMessage;
   using Response = ResponseMessage;
};

/// An asynchronous client of one method, named by such a member: one connection, one completion queue, one thread. It
/// does as little as it can between two calls, for what the client spends hides differences between servers.
template <auto method>
class Caller {
 public:
   using Request = typename CalledMethod<decltype(method)>::Request;
   using Response = typename CalledMethod<decltype(method)>::Response;

   Caller(std::shared_ptr<grpc::Channel> const& channel, std::size_t outstanding)
      : stub_(channel), slots_(outstanding) {}

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
      std::unique_ptr<grpc::ClientAsyncResponseReader<Response>> reader;
      Request const* request = nullptr;
      Response response;  // used again, with the memory that it has
      grpc::Status status;
   };

   void begin(Slot& slot, Request const& request) {
      slot.reader.reset();
      slot.context.emplace();
      slot.request = &request;
      slot.reader = (stub_.*method)(&*slot.context, request, &queue_);
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

   typename CalledMethod<decltype(method)>::Stub stub_;
   grpc::CompletionQueue queue_;
   std::vector<Slot> slots_;
};

}  // namespace VelmSdkRpc::Bench
