#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "proto/velmsdk.grpc.pb.h"
#include "trials/chaos/AnyElement.h"
#include "trials/storm/Findings.h"

namespace VelmSdkRpc::chaos {

/// Times in milliseconds.
class Latencies {
 public:
   void add(double milliseconds) { values_.push_back(milliseconds); }
   void add(Latencies const& other) { values_.insert(values_.end(), other.values_.begin(), other.values_.end()); }
   double worst() const;
   std::string text() const;

 private:
   std::vector<double> values_;
};

/// A controller that programs keys of its own over a connection of its own, and knows what it was told. Used by one
/// thread at a time.
class Controller {
 public:
   using Stub = pb::velmsdk_service::Stub;

   Controller(std::string address, unsigned number, std::uint32_t seed, storm::Findings& findings);

   /// A new connection. The one before is closed, whatever is open on it.
   void connect();
   /// False if there is no answer.
   bool init(std::string const& map = policyMap);
   std::optional<pb::rpc_status_msg> resync(pb::rpc_server_resync_state_enum state);

   /// Programs, and checks the answers. False if there are none, the agent having ended: the batch is then open. What
   /// fails by a fault of the switch that was set is repeated until it is done, as far as it can have left anything.
   bool send(Batch const& batch, bool checked = true);
   bool sendAny(int most, bool redirects = true) { return send(any.batch(most, redirects), true); }
   /// As send, but the client goes before the answer: nobody knows whether it is done.
   void sendAndVanish(Batch const& batch);
   /// Elements of one kind each in batches of one call.
   static std::vector<Batch> batchesOf(std::vector<Element> const& elements, std::size_t most);

   unsigned answers() const { return answers_; }
   std::uint64_t faults() const { return faults_; }

   AnyElement any;
   Model model;
   Batch open;
   bool purging = false;  // the end of a resync is open
   Latencies latencies;

 private:
   template <class Request>
   std::optional<pb::rpc_status_bulk_msg> call(Batch const& batch);
   void take(Element const& element, pb::rpc_status_msg const& answer);
   void repeat(Element const& element);

   std::string const address_;
   storm::Findings& findings_;
   std::unique_ptr<Stub> stub_;
   std::atomic<unsigned> answers_ = 0;
   std::uint64_t faults_ = 0;
};

/// The text of every fault that a test sets.
constexpr auto faultText = "set-by-chaos";

}  // namespace VelmSdkRpc::chaos
