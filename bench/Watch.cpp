#include "bench/Watch.h"

#include <stdexcept>
#include <utility>

namespace VelmSdkRpc::Bench {

template <class Stub, class Request, class Response>
Watch<Stub, Request, Response>::Watch(Client& client, std::shared_ptr<grpc::Channel> const& channel, Take take)
   : client_(client), take_(std::move(take)), stub_(channel) {
   Request request;
   request.set_all(true);
   request.set_notify_ready(true);
   reader_ = stub_.Asyncwatch(&context_, request, &client_.queue(), this);
   try {
      client_.runUntil([this] { return step_ == Step::reading || step_ == Step::stuck; });
   } catch (...) {
      close();
      throw;
   }
}

template <class Stub, class Request, class Response>
Watch<Stub, Request, Response>::~Watch() {
   close();
}

template <class Stub, class Request, class Response>
void Watch<Stub, Request, Response>::proceed(bool ok) {
   if (step_ == Step::ending) {
      step_ = Step::ended;
      return;
   }
   auto const before = std::exchange(step_, Step::stuck);  // until the next read
   if (!ok) throw std::runtime_error("a watch has ended");
   if (before == Step::opening) return read(Step::gettingReady);
   if (before == Step::reading) take_(event_);
   if (take_) read(Step::reading);
}

template <class Stub, class Request, class Response>
void Watch<Stub, Request, Response>::read(Step step) {
   step_ = step;
   reader_->Read(&event_, this);
}

// Ends what is outstanding first, so that the last event to come is that of the end.
template <class Stub, class Request, class Response>
void Watch<Stub, Request, Response>::close() noexcept {
   context_.TryCancel();
   client_.drainUntil([this] { return step_ == Step::stuck; });
   step_ = Step::ending;
   reader_->Finish(&status_, this);
   client_.drainUntil([this] { return step_ == Step::ended; });
}

template class Watch<velm::remote::IntfMgrService::Stub, velm::remote::WatchIntfRequest,
                     velm::remote::WatchIntfResponse>;
template class Watch<velm::remote::BgpPathMgrService::Stub, velm::remote::BgpPathWatchRequest,
                     velm::remote::BgpPathWatchResponse>;

}  // namespace VelmSdkRpc::Bench
