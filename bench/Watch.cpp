#include "bench/Watch.h"

#include <fmt/format.h>

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
   auto const before = std::exchange(step_, Step::stuck);  // until the next read
   if (before == Step::ending || before == Step::broken) step_ = Step::ended;
   if (before == Step::ending) return;
   if (before == Step::broken) {
      throw std::runtime_error(fmt::format("a watch has ended: status {} {}", static_cast<int>(status_.error_code()),
                                           status_.error_message()));
   }
   if (!ok) return finish(Step::broken);
   if (before == Step::opening) return read(Step::gettingReady);
   if (before == Step::reading) take_(event_);
   if (take_) read(Step::reading);
}

template <class Stub, class Request, class Response>
void Watch<Stub, Request, Response>::read(Step step) {
   step_ = step;
   reader_->Read(&event_, this);
}

template <class Stub, class Request, class Response>
void Watch<Stub, Request, Response>::finish(Step step) {
   step_ = step;
   reader_->Finish(&status_, this);
}

// Ends what is outstanding first, so that the last event to come is that of the end.
template <class Stub, class Request, class Response>
void Watch<Stub, Request, Response>::close() noexcept {
   context_.TryCancel();
   client_.drainUntil([this] { return step_ == Step::stuck || step_ == Step::ended; });
   if (step_ == Step::ended) return;
   finish(Step::ending);
   client_.drainUntil([this] { return step_ == Step::ended; });
}

template class Watch<velm::remote::IntfMgrService::Stub, velm::remote::WatchIntfRequest,
                     velm::remote::WatchIntfResponse>;
template class Watch<velm::remote::BgpPathMgrService::Stub, velm::remote::BgpPathWatchRequest,
                     velm::remote::BgpPathWatchResponse>;

}  // namespace VelmSdkRpc::Bench
