// bench: how fast an agent answers, by calls that change nothing unless one is asked for that does.
//
// All calls are carried on by one thread. With many under way, the time of an answer includes its wait for those that
// came before it, as it would for any client of one thread. When the time is over no call is begun, and those under way
// are waited for and counted.

#include <fmt/format.h>

#include <cmath>
#include <memory>
#include <vector>

#include "clients/support/Call.h"
#include "clients/support/Percentiles.h"
#include "clients/support/Wire.h"
#include "clients/velmctl/Candidates.h"
#include "clients/velmctl/Commands.h"
#include "clients/velmctl/Errors.h"
#include "clients/velmctl/RequestSource.h"

namespace VelmSdkRpc::ctl {
namespace {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

struct Arguments {
   std::string method = "velmsdk_service.get_rpc_server_state";
   std::vector<std::string> request;
   double seconds = 3;
   std::size_t outstanding = 1;
};

/// Figures of three decimals: more would only look exact.
double rounded(double value) { return std::round(value * 1000) / 1000; }

void tell(Session& session, Arguments const& arguments, std::vector<double> const& latencies, double seconds) {
   if (latencies.empty()) return;
   auto const [p50, p99, max] = percentilesOf(latencies);
   JsonDocument document(rapidjson::kObjectType);
   auto& allocator = document.GetAllocator();
   addMember(document, "method", arguments.method, allocator);
   addMember(document, "outstanding", Json(arguments.outstanding), allocator);
   addMember(document, "calls", Json(latencies.size()), allocator);
   auto const rate = static_cast<std::uint64_t>(static_cast<double>(latencies.size()) / seconds);
   addMember(document, "calls_per_second", Json(rate), allocator);
   addMember(document, "median_ms", Json(rounded(p50)), allocator);
   addMember(document, "p99_ms", Json(rounded(p99)), allocator);
   addMember(document, "max_ms", Json(rounded(max)), allocator);
   session.output().result(document);
}

void bench(Session& session, Arguments const& arguments) {
   auto const& method = methodNamed(arguments.method);
   if (method.server_streaming()) throw UsageError(fmt::format("{} is a stream", nameOf(method)));
   if (!isOneRequest(arguments.request)) throw UsageError("one request is sent again and again");
   auto const request = toWire(*requestOf(arguments.request, *method.input_type()));

   std::vector<double> latencies;  // in milliseconds
   grpc::Status failure;
   auto const start = Clock::now();
   auto const end =
      start + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(arguments.seconds));
   session.connection().callMany(
      method, arguments.outstanding, session.timeoutFor(method),
      [&] { return Clock::now() < end ? std::optional(request) : std::nullopt; },
      [&](AsyncCalls::Reply const& reply) {
         if (!reply.status.ok()) {
            failure = reply.status;
         } else {
            latencies.push_back(Milliseconds(reply.answered - reply.begun).count());
         }
      });
   tell(session, arguments, latencies, std::chrono::duration<double>(Clock::now() - start).count());
   session.interrupt().check();
   if (!failure.ok()) throw CallError(failure);
}

}  // namespace

void addBenchCommand(Commands const& commands) {
   auto const arguments = std::make_shared<Arguments>();
   auto& app = commands.add(
      "bench", "Call again and again, and tell the rate and how long an answer took",
      [arguments](Session& session) { bench(session, *arguments); }, callCandidates);
   app.add_option("METHOD", arguments->method, "What is called (velmsdk_service.get_rpc_server_state)")
      ->option_text(" ");
   app.add_option("REQUEST", arguments->request, "As that of call")->option_text("...");
   app.add_option("--seconds", arguments->seconds, "For how long (3)")->check(CLI::PositiveNumber)->option_text("N");
   app.add_option("--outstanding", arguments->outstanding, "Calls under way at a time (1)")
      ->check(CLI::Range(1, 1024))
      ->option_text("N");
}

}  // namespace VelmSdkRpc::ctl
