#pragma once

#include <grpcpp/grpcpp.h>

#include <chrono>
#include <memory>
#include <string>

#include "tests/rpc/TinyService.h"
#include "tests/support/Eventually.h"
#include "tests/support/ServiceServer.h"

namespace VelmSdkRpc::Test {

/// A server of one TinyService.
class TinyServer : public ServiceServer<TinyService> {
 public:
   explicit TinyServer(std::unique_ptr<TinyService> service = std::make_unique<TinyService>(),
                       std::string address = freshAddress())
      : ServiceServer(std::move(service), std::move(address)) {}

   std::unique_ptr<tiny::Tiny::Stub> client() const { return tiny::Tiny::NewStub(channel()); }

   /// Every call has been answered and erased, and one handler waits per method.
   bool settles(std::size_t besides = 0) const {
      return eventually([&] { return service().handlerCount() == TinyService::methods + besides; });
   }
};

/// A client's context that waits for the server to come up, with a deadline.
struct CallContext : grpc::ClientContext {
   CallContext() {
      set_wait_for_ready(true);
      set_deadline(std::chrono::system_clock::now() + std::chrono::seconds(20));
   }
};

struct Answer {
   grpc::Status status;
   std::string text;
};

inline Answer echo(tiny::Tiny::Stub& client, std::string const& text = "hello") {
   CallContext context;
   tiny::EchoRequest request;
   request.set_text(text);
   tiny::EchoResponse response;
   auto const status = client.echo(&context, request, &response);
   return {status, response.text()};
}

}  // namespace VelmSdkRpc::Test
