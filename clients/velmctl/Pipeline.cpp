#include "clients/velmctl/Pipeline.h"

#include <grpcpp/generic/generic_stub.h>

#include <memory>
#include <utility>

#include "clients/velmctl/Wire.h"

namespace VelmSdkRpc::ctl {
namespace {

using Clock = std::chrono::steady_clock;

struct Call {
   Call(Interrupt& interrupt, std::size_t callNumber) : guard(interrupt, context) { reply.number = callNumber; }

   grpc::ClientContext context;
   Interrupt::Guard const guard;
   Pipeline::Reply reply{};
   Clock::time_point started = Clock::now();
   std::unique_ptr<grpc::GenericClientAsyncResponseReader> reader;
};

}  // namespace

Pipeline::Pipeline(Connection& connection, MethodDescriptor const& method, std::size_t outstanding, Timeout timeout)
   : connection_(connection), method_(method), outstanding_(outstanding), timeout_(timeout) {}

void Pipeline::run(std::function<std::optional<grpc::ByteBuffer>()> const& next,
                   std::function<void(Reply&)> const& onReply) {
   grpc::GenericStub stub(connection_.channel());
   grpc::CompletionQueue queue;
   auto const path = pathOf(method_);
   std::size_t started = 0;
   std::size_t open = 0;
   bool goesOn = true;
   auto const fill = [&] {
      while (goesOn && open < outstanding_ && !connection_.interrupt().isRaised()) {
         auto const request = next();
         if (!request) {
            goesOn = false;
            return;
         }
         auto call = std::make_unique<Call>(connection_.interrupt(), started++);
         if (timeout_) call->context.set_deadline(std::chrono::system_clock::now() + *timeout_);
         call->reader = stub.PrepareUnaryCall(&call->context, path, *request, &queue);
         call->reader->StartCall();
         auto& reply = call->reply;
         call->reader->Finish(&reply.response, &reply.status, call.get());
         call.release();  // the queue has it until its event
         ++open;
      }
   };
   for (fill(); open > 0; fill()) {
      void* tag = nullptr;
      bool ok = false;
      queue.Next(&tag, &ok);
      std::unique_ptr<Call> const call(static_cast<Call*>(tag));
      --open;
      call->reply.latency = Clock::now() - call->started;
      goesOn = goesOn && call->reply.status.ok();
      onReply(call->reply);
   }
}

}  // namespace VelmSdkRpc::ctl
