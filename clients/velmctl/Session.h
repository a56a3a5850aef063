#pragma once

#include <google/protobuf/message.h>

#include <optional>
#include <string>
#include <string_view>

#include "clients/velmctl/Connection.h"
#include "clients/velmctl/Output.h"
#include "clients/velmctl/Terminal.h"

namespace VelmSdkRpc::ctl {

/// Options that every command takes.
struct Options {
   std::string address = "127.0.0.1:9543";
   std::optional<double> timeoutSeconds;
   Output::Form form = Output::Form::table;
   Color color = Color::automatic;
};

/// One run of velmctl: where it talks to, and how.
class Session {
 public:
   Session(Options options, Interrupt& interrupt)
      : options_(std::move(options)),
        interrupt_(interrupt),
        standardOutput_(stdout, options_.color),
        standardError_(stderr, options_.color),
        output_(options_.form, standardOutput_) {}

   Output& output() { return output_; }
   Terminal const& standardError() const { return standardError_; }
   Interrupt& interrupt() { return interrupt_; }
   /// Made when it is first asked for. Throws UsageError.
   Connection& connection();

   /// How long a call of the method may take: what the user asked for, or else ten seconds for a unary one and no limit
   /// for a stream.
   Timeout timeoutFor(MethodDescriptor const& method) const;

   /// A line for people, beside the result.
   void note(std::string_view text) const;

   /// The answer of a unary method. Throws as Connection::call.
   std::unique_ptr<google::protobuf::Message> ask(MethodDescriptor const& method,
                                                  google::protobuf::Message const& request);
   /// Asks, and makes the answer the result. Throws as ask does, and Refused once a refusal has been written.
   void askAndShow(MethodDescriptor const& method, google::protobuf::Message const& request);

 private:
   Options options_;
   Interrupt& interrupt_;
   Terminal standardOutput_;
   Terminal standardError_;
   Output output_;
   std::optional<Connection> connection_;
};

/// A call of a generated type.
template <class Response>
Response ask(Session& session, std::string_view method, google::protobuf::Message const& request) {
   return dynamic_cast<Response&>(*session.ask(methodNamed(method), request));
}

}  // namespace VelmSdkRpc::ctl
