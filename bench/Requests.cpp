#include "bench/Requests.h"

#include <algorithm>
#include <stdexcept>

#include "clients/support/Call.h"
#include "clients/support/Wire.h"
#include "proto/remote/ip_route.pb.h"
#include "proto/velmsdk.pb.h"

// Every answer is read and judged: a server that refuses an element would otherwise be the fastest. Messages are made
// outside the time and turned into bytes within it, on the client's side, which costs every server the same.
namespace VelmSdkRpc::Bench {
namespace {

using Status = pb::rpc_status_msg;

bool succeeded(Status const& status) { return status.status() == Status::STATUS_SUCCESS; }

/// Reads answers into messages that keep their memory: what the client spends hides differences between servers.
class Judge {
 public:
   explicit Judge(Requests const& requests) : requests_(requests) {}

   void take(AsyncCalls::Reply const& reply) {
      throwUnlessOk(reply.status, requests_.path);
      auto& answer = parse(reply.response);
      if (!isWhole(requests_.list[reply.number].elements)) {
         throw std::runtime_error(requests_.path + " was refused: " + answer.ShortDebugString().substr(0, 300));
      }
   }

 private:
   google::protobuf::Message& parse(grpc::ByteBuffer const& bytes) {
      google::protobuf::Message& answer = requests_.answer == Requests::Answer::status ? status_
                                          : requests_.answer == Requests::Answer::statuses
                                             ? static_cast<google::protobuf::Message&>(statuses_)
                                             : count_;
      if (requests_.answer != Requests::Answer::ok && !fromWire(bytes, answer)) {
         throw std::runtime_error(requests_.path + ": an answer that cannot be parsed");
      }
      return answer;
   }

   bool isWhole(std::size_t elements) const {
      switch (requests_.answer) {
         case Requests::Answer::ok: return true;
         case Requests::Answer::status: return succeeded(status_);
         case Requests::Answer::statuses:
            return static_cast<std::size_t>(statuses_.status_size()) == elements &&
                   std::ranges::all_of(statuses_.status(), succeeded);
         case Requests::Answer::count: return count_.status().code() == 0 && count_.count() == elements;
      }
      return false;
   }

   Requests const& requests_;
   Status status_;
   pb::rpc_status_bulk_msg statuses_;
   velm::remote::BulkIpRouteSetResponse count_;  // those of all mirrors look alike on the wire
};

}  // namespace

void send(Requests const& requests, AsyncClient& client, std::shared_ptr<grpc::Channel> const& channel,
          std::size_t outstanding) {
   Judge judge(requests);
   AsyncCalls calls(client, channel, requests.path, {.outstanding = outstanding},
                    [&](AsyncCalls::Reply& reply) { judge.take(reply); });
   auto next = requests.list.begin();
   calls.run([&]() -> std::optional<grpc::ByteBuffer> {
      if (next == requests.list.end()) return std::nullopt;
      return toWire(*next++->message);
   });
}

}  // namespace VelmSdkRpc::Bench
