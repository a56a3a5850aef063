#pragma once

#include <functional>
#include <memory>

#include "bench/Client.h"
#include "proto/remote/bgp_path.grpc.pb.h"
#include "proto/remote/intf.grpc.pb.h"

namespace VelmSdkRpc::Bench {

/// A client's watch of all that a mirror service tells of. Watch.cpp instantiates it for the services below.
template <class Stub, class Request, class Response>
class Watch final : public Operation {
 public:
   using Event = Response;
   using Take = std::function<void(Event const&)>;

   /// Opens it and waits until it is ready. From then on `take` gets every event; without one nothing more is read, so
   /// that the server is stuck with what it sends. Whoever runs the client is thrown std::runtime_error if the watch
   /// ends by itself.
   Watch(Client& client, std::shared_ptr<grpc::Channel> const& channel, Take take);
   /// Cancels the watch and waits until that is done on this side.
   ~Watch() override;

   void proceed(bool ok) override;

 private:
   enum class Step { opening, gettingReady, reading, stuck, broken, ending, ended };

   void close() noexcept;
   void finish(Step step);
   void read(Step step);

   Client& client_;
   Take const take_;
   Stub stub_;
   grpc::ClientContext context_;
   std::unique_ptr<grpc::ClientAsyncReader<Event>> reader_;
   Event event_;
   grpc::Status status_;
   Step step_ = Step::opening;
};

using IntfWatch =
   Watch<velm::remote::IntfMgrService::Stub, velm::remote::WatchIntfRequest, velm::remote::WatchIntfResponse>;
using BgpPathWatch =
   Watch<velm::remote::BgpPathMgrService::Stub, velm::remote::BgpPathWatchRequest, velm::remote::BgpPathWatchResponse>;

}  // namespace VelmSdkRpc::Bench
