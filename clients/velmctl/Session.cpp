#include "clients/velmctl/Session.h"

#include <fmt/format.h>

#include <cstdio>

#include "clients/velmctl/MessageWriter.h"
#include "clients/velmctl/Refusal.h"

namespace VelmSdkRpc::ctl {

using google::protobuf::Message;

Connection& Session::connection() {
   if (!connection_) connection_.emplace(options_.address, interrupt_);
   return *connection_;
}

Timeout Session::timeoutFor(MethodDescriptor const& method) const {
   constexpr std::chrono::seconds usual(10);
   if (options_.timeoutSeconds) {
      return std::chrono::milliseconds(static_cast<std::int64_t>(*options_.timeoutSeconds * 1000));
   }
   return method.server_streaming() ? Timeout() : Timeout(usual);
}

void Session::note(std::string_view text) const { fmt::print(stderr, "{}\n", text); }

std::unique_ptr<Message> Session::ask(MethodDescriptor const& method, Message const& request) {
   auto response = newMessage(*method.output_type());
   connection().call(method, request, timeoutFor(method), [&](Message const& message) {
      response->CopyFrom(message);
      return true;
   });
   return response;
}

void Session::askAndShow(MethodDescriptor const& method, Message const& request) {
   auto const response = ask(method, request);
   JsonDocument document;
   output_.result(writeMessage(*response, document.GetAllocator()));
   throwIfRefused(*response);
}

}  // namespace VelmSdkRpc::ctl
