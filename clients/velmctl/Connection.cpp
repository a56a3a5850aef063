#include "clients/velmctl/Connection.h"

#include <fmt/format.h>
#include <grpcpp/generic/generic_stub.h>

#include "clients/support/Call.h"
#include "clients/support/Wire.h"
#include "clients/velmctl/Errors.h"

// Calls are made by descriptors of the compiled schemas, as bytes, so that velmctl needs no generated stub for any
// method. call() has one operation under way at a time and waits for it: its queue needs no tags. callMany() is for
// throughput, and leaves the order of the replies to the agent.
namespace VelmSdkRpc::ctl {
namespace {

using google::protobuf::Message;

std::shared_ptr<grpc::Channel> channelTo(std::string const& address) {
   if (address.find(':') == std::string::npos) {
      throw UsageError(fmt::format("--address: expected HOST:PORT or unix:PATH, not \"{}\"", address));
   }
   grpc::ChannelArguments arguments;
   arguments.SetMaxReceiveMessageSize(-1);
   arguments.SetUserAgentPrefix("velmctl");
   // An agent that comes back is to be found soon.
   arguments.SetInt(GRPC_ARG_INITIAL_RECONNECT_BACKOFF_MS, 100);
   arguments.SetInt(GRPC_ARG_MAX_RECONNECT_BACKOFF_MS, 1000);
   return grpc::CreateCustomChannel(address, grpc::InsecureChannelCredentials(), arguments);
}

/// One call of whatever kind, each step of which is waited for. A unary call is made as a stream of one message, which
/// is the same on the wire, so that one class serves both.
class Call {
 public:
   Call(std::shared_ptr<grpc::Channel> const& channel, Interrupt& interrupt, MethodDescriptor const& method,
        Timeout timeout)
      : guard_(interrupt, context_) {
      if (timeout) context_.set_deadline(std::chrono::system_clock::now() + *timeout);
      stream_ = grpc::GenericStub(channel).PrepareCall(&context_, pathOf(method), &queue_);
   }

   void start(Message const& request) {
      stream_->StartCall(nullptr);
      if (!await()) return;
      stream_->WriteLast(toWire(request), grpc::WriteOptions(), nullptr);
      await();  // a call that has ended tells why when it is finished
   }

   bool read(Message& message) {
      grpc::ByteBuffer buffer;
      stream_->Read(&buffer, nullptr);
      return await() && fromWire(buffer, message);
   }

   void cancel() { context_.TryCancel(); }

   grpc::Status finish() {
      grpc::Status status;
      stream_->Finish(&status, nullptr);
      await();
      return status;
   }

 private:
   bool await() {
      void* tag = nullptr;
      bool ok = false;
      return queue_.Next(&tag, &ok) && ok;
   }

   grpc::CompletionQueue queue_;
   grpc::ClientContext context_;
   Interrupt::Guard const guard_;
   std::unique_ptr<grpc::GenericClientAsyncReaderWriter> stream_;
};

}  // namespace

std::unique_ptr<Message> newMessage(Descriptor const& type) {
   return std::unique_ptr<Message>(google::protobuf::MessageFactory::generated_factory()->GetPrototype(&type)->New());
}

Connection::Connection(std::string const& address, Interrupt& interrupt)
   : interrupt_(interrupt), channel_(channelTo(address)) {}

void Connection::call(MethodDescriptor const& method, Message const& request, Timeout timeout,
                      std::function<bool(Message const&)> const& onMessage) {
   Call call(channel_, interrupt_, method, timeout);
   call.start(request);
   auto const message = newMessage(*method.output_type());
   bool enough = false;
   while (!enough && call.read(*message)) enough = !onMessage(*message) && method.server_streaming();
   if (enough) call.cancel();
   auto const status = call.finish();
   interrupt_.check();
   if (!enough && !status.ok()) throw CallError(status);
}

void Connection::callMany(MethodDescriptor const& method, std::size_t outstanding, Timeout timeout,
                          std::function<std::optional<grpc::ByteBuffer>()> const& next,
                          std::function<void(AsyncCalls::Reply&)> const& onReply) {
   AsyncClient client(std::nullopt);
   bool failed = false;
   AsyncCalls calls(
      client, channel_, pathOf(method),
      {.outstanding = outstanding,
       .timeout = timeout,
       .hold =
          [this](grpc::ClientContext& context) { return std::make_shared<Interrupt::Guard>(interrupt_, context); }},
      [&](AsyncCalls::Reply& reply) {
         failed = failed || !reply.status.ok();
         onReply(reply);
      });
   calls.run([&] { return failed || interrupt_.isRaised() ? std::nullopt : next(); });
}

void Connection::awaitAgent() {
   while (!channel_->WaitForConnected(std::chrono::system_clock::now() + std::chrono::milliseconds(100))) {
      interrupt_.check();
   }
}

}  // namespace VelmSdkRpc::ctl
