// call and watch: any method, by the schemas alone.
//
//    call METHOD FIELD=VALUE...   one request, one result
//    call METHOD @FILE            all requests are read first, so that nothing is sent of a file with a mistake
//    call METHOD -                each request is sent as its line comes, for a program at the other end of a pipe
//
// Among many requests one that fails does not stop those after it, and the exit status is that of the first failure; an
// agent that is out of reach does stop them, since each would fail alike. A watch that is interrupted has ended well as
// far as its output goes: the list is closed.

#include <fmt/format.h>

#include <exception>
#include <functional>
#include <memory>

#include "clients/support/Call.h"
#include "clients/velmctl/Candidates.h"
#include "clients/velmctl/Commands.h"
#include "clients/velmctl/Errors.h"
#include "clients/velmctl/Failure.h"
#include "clients/velmctl/MessageWriter.h"
#include "clients/velmctl/Refusal.h"
#include "clients/velmctl/RequestSource.h"
#include "proto/velmsdk.pb.h"

namespace VelmSdkRpc::ctl {
namespace {

using google::protobuf::Message;

struct Called {
   std::string method;
   std::vector<std::string> request;
};

struct Followed : Called {
   bool reconnect = false;
   std::uint64_t count = 0;  // 0: until it ends
};

void showElement(Session& session, Message const& message) {
   JsonDocument document;
   session.output().element(writeMessage(message, document.GetAllocator()));
}

/// Calls with many requests, whose answers are one list. A request that fails does not stop those after it, unless the
/// agent is out of reach.
class Sequence {
 public:
   Sequence(Session& session, MethodDescriptor const& method) : session_(session), method_(method) {
      session_.output().beginList(Output::List::rows);
   }

   void operator()(Message const& request) {
      try {
         session_.connection().call(method_, request, session_.timeoutFor(method_), [&](Message const& message) {
            showElement(session_, message);
            throwIfRefused(message);
            return true;
         });
      } catch (Refused const& e) {
         keep(e);  // the answer shows it
      } catch (CallError const& e) {
         if (e.status().error_code() == grpc::StatusCode::UNAVAILABLE) throw;
         keep(e);
         session_.output().elementFailure(failureOf(e).error);
      }
      session_.output().flush();
      ++number_;
   }

   /// Throws what the first request that failed threw.
   void end() {
      session_.output().endList();
      if (first_) std::rethrow_exception(first_);
   }

 private:
   void keep(std::exception const& failure) {
      session_.note(fmt::format("velmctl: request {}: {}", number_, failure.what()));
      if (!first_) first_ = std::current_exception();
   }

   Session& session_;
   MethodDescriptor const& method_;
   std::size_t number_ = 1;
   std::exception_ptr first_;
};

void callWithMany(Session& session, MethodDescriptor const& method, std::string const& source) {
   if (source == "-") {
      Sequence sequence(session, method);
      eachRequestOfInput(*method.input_type(), session.interrupt(), std::ref(sequence));
      return sequence.end();
   }
   auto const requests = requestsOfFile(source.substr(1), *method.input_type());
   if (requests.size() == 1 && !method.server_streaming()) return session.askAndShow(method, *requests[0]);
   Sequence sequence(session, method);
   for (auto const& request : requests) sequence(*request);
   sequence.end();
}

void call(Session& session, Called const& arguments) {
   auto const& method = methodNamed(arguments.method);
   if (!isOneRequest(arguments.request)) return callWithMany(session, method, arguments.request[0]);
   auto const request = requestOf(arguments.request, *method.input_type());
   if (!method.server_streaming()) return session.askAndShow(method, *request);
   session.output().beginList(Output::List::rows);
   session.connection().call(method, *request, session.timeoutFor(method), [&](Message const& message) {
      showElement(session, message);
      return true;
   });
   session.output().endList();
}

/// Shows what the messages of a stream tell, of each what `show` gives to the output: how many elements that were.
template <class Show>
void follow(Session& session, Followed const& arguments, Show show) {
   auto const& method = methodNamed(arguments.method);
   if (!method.server_streaming()) {
      throw UsageError(fmt::format("{} is no stream; `velmctl call` calls it", nameOf(method)));
   }
   if (!isOneRequest(arguments.request)) throw UsageError("a watch takes one request");
   auto const request = requestOf(arguments.request, *method.input_type());
   session.output().beginList(Output::List::news);
   std::uint64_t seen = 0;
   auto const onMessage = [&](Message const& message) {
      seen += show(message);
      return arguments.count == 0 || seen < arguments.count;
   };
   for (;;) {
      try {
         session.connection().call(method, *request, session.timeoutFor(method), onMessage);
         break;
      } catch (Interrupted const&) {
         session.output().endList();  // as good an end as any
         throw;
      } catch (CallError const& e) {
         if (!arguments.reconnect || e.status().error_code() != grpc::StatusCode::UNAVAILABLE) throw;
         session.note(fmt::format("velmctl: {}; waiting for the agent", e.what()));
         session.connection().awaitAgent();
         session.note("velmctl: connected again");
      }
   }
   session.output().endList();
}

void watch(Session& session, Followed const& arguments) {
   follow(session, arguments, [&](Message const& message) {
      showElement(session, message);
      return 1U;
   });
}

/// Sessions come in batches; they are shown one by one, without the mark at the end of a batch.
void watchSessions(Session& session, Followed const& arguments) {
   follow(session, arguments, [&](Message const& message) {
      auto const& batch = dynamic_cast<pb::watch_sbfd_echo_session_status_msg const&>(message);
      unsigned shown = 0;
      for (auto const& update : batch.bulk()) {
         if (update.has_end_of_status_batch()) continue;
         showElement(session, update);
         ++shown;
      }
      return shown;
   });
}

void addArguments(CLI::App& app, Called& arguments) {
   app.add_option("METHOD", arguments.method, "SERVICE.METHOD, as `velmctl list` tells it")
      ->required()
      ->option_text(" ");
   app.add_option("REQUEST", arguments.request, "A JSON object, or FIELD=VALUE for each field")->option_text("...");
}

void addFollowing(CLI::App& app, Followed& arguments) {
   app.add_flag("--reconnect", arguments.reconnect, "Wait for an agent that has gone, and watch again");
   app.add_option("--count", arguments.count, "End after so many messages")->option_text("N");
}

}  // namespace

void addCallCommands(Commands const& commands) {
   auto const called = std::make_shared<Called>();
   auto& callCommand = commands.add(
      "call", "Call any method", [called](Session& session) { call(session, *called); }, callCandidates);
   addArguments(callCommand, *called);
   callCommand.footer(
      "@FILE as the request stands for the JSON documents in a file, - for those on standard input, one a line;\n"
      "their answers are one list.");

   auto const watched = std::make_shared<Followed>();
   auto& watchCommand = commands.add(
      "watch", "Show what a stream tells, until Ctrl-C", [watched](Session& session) { watch(session, *watched); },
      callCandidates);
   addArguments(watchCommand, *watched);
   addFollowing(watchCommand, *watched);
}

void addSessionWatch(Commands const& commands) {
   auto const watched = std::make_shared<Followed>();
   watched->method = "velmsdk_service.watch_sbfd_echo_session_status_msgs";
   auto& command = commands.group("sbfd", {})
                      .add("watch", "Show what becomes of the sessions, until Ctrl-C",
                           [watched](Session& session) { watchSessions(session, *watched); });
   addFollowing(command, *watched);
}

}  // namespace VelmSdkRpc::ctl
