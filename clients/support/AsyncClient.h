#pragma once

#include <grpcpp/generic/generic_stub.h>
#include <grpcpp/grpcpp.h>

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

/// A client whose calls and streams are all carried on by one thread, while it waits for some of them: no hand-over
/// between threads adds to what an answer takes. Messages are bytes (Wire.h), so that it serves every method, and what
/// reads them decides how much of them it parses.
namespace VelmSdkRpc {

/// Something that is under way; its address is the tag of its events.
class AsyncOperation {
 public:
   AsyncOperation() = default;
   AsyncOperation(AsyncOperation const&) = delete;
   AsyncOperation& operator=(AsyncOperation const&) = delete;
   virtual ~AsyncOperation() = default;
   /// Takes the event of the operation that it has begun; `ok` is gRPC's word for whether that went well. It may throw;
   /// then it has no other event outstanding.
   virtual void proceed(bool ok) = 0;
};

/// The queue of the events. Not thread-safe; it outlives its operations.
class AsyncClient {
 public:
   using Clock = std::chrono::steady_clock;
   using Patience = std::optional<std::chrono::milliseconds>;

   /// Waits so long for one event, or without an end.
   explicit AsyncClient(Patience patience = std::chrono::minutes(1)) : patience_(patience) {}

   grpc::CompletionQueue& queue() { return queue_; }

   /// Takes events until `done` says so. Throws what an operation throws, and std::runtime_error if nothing happens.
   template <class Done>
   void runUntil(Done const& done) {
      while (!done()) runOne();
   }
   /// runUntil for destructors: there is no one left to tell that what was cancelled has failed.
   template <class Done>
   void drainUntil(Done const& done) noexcept {
      while (!done()) drainOne();
   }

 private:
   void runOne();
   void drainOne() noexcept;

   grpc::CompletionQueue queue_;
   Patience const patience_;
};

/// Calls of one unary method over one connection, as many under way at a time as it has slots.
class AsyncCalls {
 public:
   using Clock = AsyncClient::Clock;

   struct Options {
      std::size_t outstanding = 1;
      std::optional<std::chrono::milliseconds> timeout{};  // of each call
      /// Asked for each call; what it gives is held until the call has been answered, for whoever may cancel it.
      std::function<std::shared_ptr<void>(grpc::ClientContext&)> hold{};
   };
   struct Reply {
      std::size_t number;  // of the call, from 0
      grpc::Status status;
      grpc::ByteBuffer response;  // empty unless the status is OK
      Clock::time_point begun;
      Clock::time_point answered;
   };

   /// `onReply` gets the replies as they come; what it throws, whoever runs the client is thrown.
   AsyncCalls(AsyncClient& client, std::shared_ptr<grpc::Channel> const& channel, std::string path, Options options,
              std::function<void(Reply&)> onReply);
   /// Cancels what is under way, and waits for its end without telling of it.
   ~AsyncCalls();

   /// Begins a call; fewer than `outstanding` must be under way. Its reply comes while somebody runs the client.
   void begin(grpc::ByteBuffer const& request);
   std::size_t underWay() const { return slots_.size() - free_.size(); }

   /// Keeps all slots busy with the requests that `next` gives, until it gives none, and then waits for those under
   /// way.
   void run(std::function<std::optional<grpc::ByteBuffer>()> const& next);

 private:
   class Slot;

   AsyncClient& client_;
   grpc::GenericStub stub_;
   std::string const path_;
   Options const options_;
   std::function<void(Reply&)> onReply_;
   std::vector<std::unique_ptr<Slot>> slots_;
   std::vector<Slot*> free_;
   std::size_t begun_ = 0;
};

/// One call of a method that answers with a stream.
class AsyncStream final : public AsyncOperation {
 public:
   /// Begins the call. `take` gets every message. Whoever runs the client is thrown what it throws, and CallError when
   /// the stream ends, well or not.
   AsyncStream(AsyncClient& client, std::shared_ptr<grpc::Channel> const& channel, std::string const& path,
               grpc::ByteBuffer const& request, std::function<void(grpc::ByteBuffer&)> take);
   /// Cancels the call and waits for its end.
   ~AsyncStream() override;

   /// Whether the request has gone out: a call that is begun now over the same channel reaches the agent after it.
   bool isOpen() const { return step_ == Step::reading; }

   void proceed(bool ok) override;

 private:
   enum class Step { opening, asking, reading, finishing, finished, none };

   void finish();

   AsyncClient& client_;
   grpc::GenericStub stub_;
   std::string const path_;
   grpc::ByteBuffer const request_;
   std::function<void(grpc::ByteBuffer&)> take_;
   grpc::ClientContext context_;
   std::unique_ptr<grpc::GenericClientAsyncReaderWriter> stream_;
   grpc::ByteBuffer message_;
   grpc::Status status_;
   Step step_ = Step::opening;  // the operation whose event is outstanding
};

}  // namespace VelmSdkRpc
