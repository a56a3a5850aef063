#include "clients/support/AsyncClient.h"

#include <exception>
#include <stdexcept>
#include <utility>

#include "clients/support/Call.h"

// The steps of a stream; step_ names the operation whose event is outstanding:
//
//    opening ---> asking ---> reading ---> take(message), and reading again
//       |           |            |
//       +-----------+------------+--- not ok ---> finishing ---> finished: CallError is thrown
//
// Between two of them it is `none`. There it stays if `take` throws, and then the destructor finishes the call itself:
// gRPC wants every call finished before its context goes. For the same reason both destructors cancel and then take
// events until theirs have come. They may come among those of other operations, which proceed as if somebody ran the
// client.
namespace VelmSdkRpc {

void AsyncClient::runOne() {
   void* tag = nullptr;
   bool ok = false;
   auto deadline = std::chrono::system_clock::time_point::max();
   if (patience_) deadline = std::chrono::system_clock::now() + *patience_;
   if (queue_.AsyncNext(&tag, &ok, deadline) != grpc::CompletionQueue::GOT_EVENT) {
      throw std::runtime_error("nothing has happened for so long that the client gives up");
   }
   static_cast<AsyncOperation*>(tag)->proceed(ok);
}

void AsyncClient::drainOne() noexcept {
   try {
      runOne();
   } catch (std::exception const&) {
      // Whoever is being destroyed has been told of what came first.
   }
}

class AsyncCalls::Slot final : public AsyncOperation {
 public:
   explicit Slot(AsyncCalls& calls) : calls_(calls) {}

   // In this order: gRPC's reader lives in the context's call, and what is held knows the context.
   void begin(std::size_t number, grpc::ByteBuffer const& request) {
      reader_.reset();
      held_.reset();
      context_.emplace();
      if (calls_.options_.timeout) context_->set_deadline(std::chrono::system_clock::now() + *calls_.options_.timeout);
      if (calls_.options_.hold) held_ = calls_.options_.hold(*context_);
      reply_.number = number;
      reply_.begun = Clock::now();
      reader_ = calls_.stub_.PrepareUnaryCall(&*context_, calls_.path_, request, &calls_.client_.queue());
      reader_->StartCall();
      reader_->Finish(&reply_.response, &reply_.status, this);
   }

   void cancel() {
      if (context_) context_->TryCancel();
   }

   // The slot is free before its reply is told, so that whoever is told may begin the next call at once.
   void proceed(bool /*ok*/) override {
      reply_.answered = Clock::now();
      held_.reset();
      calls_.free_.push_back(this);
      auto reply = std::move(reply_);
      reply_ = {};
      if (calls_.onReply_) calls_.onReply_(reply);
   }

 private:
   AsyncCalls& calls_;
   std::optional<grpc::ClientContext> context_;
   std::shared_ptr<void> held_;
   std::unique_ptr<grpc::GenericClientAsyncResponseReader> reader_;
   Reply reply_{};
};

AsyncCalls::AsyncCalls(AsyncClient& client, std::shared_ptr<grpc::Channel> const& channel, std::string path,
                       Options options, std::function<void(Reply&)> onReply)
   : client_(client),
     stub_(channel),
     path_(std::move(path)),
     options_(std::move(options)),
     onReply_(std::move(onReply)) {
   for (std::size_t i = 0; i < options_.outstanding; ++i) {
      free_.push_back(slots_.emplace_back(std::make_unique<Slot>(*this)).get());
   }
}

AsyncCalls::~AsyncCalls() {
   onReply_ = nullptr;  // whoever it belongs to may be going, too
   for (auto const& slot : slots_) slot->cancel();
   client_.drainUntil([this] { return underWay() == 0; });
}

void AsyncCalls::begin(grpc::ByteBuffer const& request) {
   auto* const slot = free_.back();
   free_.pop_back();
   slot->begin(begun_++, request);
}

void AsyncCalls::run(std::function<std::optional<grpc::ByteBuffer>()> const& next) {
   for (bool goesOn = true;;) {
      while (goesOn && !free_.empty()) {
         auto const request = next();
         goesOn = request.has_value();
         if (goesOn) begin(*request);
      }
      auto const before = underWay();
      if (before == 0) return;
      client_.runUntil([&] { return underWay() < before; });
   }
}

AsyncStream::AsyncStream(AsyncClient& client, std::shared_ptr<grpc::Channel> const& channel, std::string const& path,
                         grpc::ByteBuffer const& request, std::function<void(grpc::ByteBuffer&)> take)
   : client_(client), stub_(channel), path_(path), request_(request), take_(std::move(take)) {
   stream_ = stub_.PrepareCall(&context_, path_, &client_.queue());
   stream_->StartCall(this);
}

// The operation that is outstanding ends first, so that the last event to come is that of Finish.
AsyncStream::~AsyncStream() {
   take_ = nullptr;
   context_.TryCancel();
   client_.drainUntil([this] { return step_ == Step::none || step_ == Step::finished; });
   if (step_ == Step::none) finish();
   client_.drainUntil([this] { return step_ == Step::finished; });
}

void AsyncStream::proceed(bool ok) {
   auto const before = std::exchange(step_, Step::none);
   if (before == Step::finishing) {
      step_ = Step::finished;
      throw CallError(status_, path_ + " has ended");
   }
   if (!ok) return finish();  // to learn why
   if (before == Step::opening) {
      step_ = Step::asking;
      stream_->WriteLast(request_, grpc::WriteOptions(), this);
      return;
   }
   if (before == Step::reading && take_) take_(message_);
   step_ = Step::reading;
   stream_->Read(&message_, this);
}

void AsyncStream::finish() {
   step_ = Step::finishing;
   stream_->Finish(&status_, this);
}

}  // namespace VelmSdkRpc
