#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/AnyNative.h"
#include "tests/support/NativeModel.h"
#include "trials/support/Findings.h"
#include "trials/support/Latencies.h"

namespace VelmSdkRpc::trials {

/// A controller that programs keys of its own over a connection of its own, and knows what it was told. Used by one
/// thread at a time.
class Controller {
 public:
   /// The tag of all routes.
   static constexpr std::uint32_t tag = 7;
   /// In the text of every fault of the switch that a trial sets.
   static constexpr auto faultText = "set-by-a-trial";

   Controller(std::string address, NativeKeys keys, std::uint32_t seed, Findings& findings,
              std::chrono::milliseconds timeout = std::chrono::seconds(90));

   /// A new connection. The one before is closed, whatever is open on it.
   void connect();
   /// False if there is no answer.
   bool init(std::string const& policyMap = {});
   std::optional<pb::rpc_status_msg> resync(pb::rpc_server_resync_state_enum state);

   /// Programs, and checks the answers. False if there are none, the agent having ended: the batch is then open. What
   /// fails by a fault of the switch that was set is repeated until it is done, as far as it can have left anything.
   bool send(Batch const& batch, bool checked = true);
   bool sendAny(int most, bool redirects = true) { return send(any.batch(most, redirects), true); }
   /// As send, but the client goes before the answer: nobody knows whether it is done.
   void sendAndVanish(Batch const& batch);
   /// The elements in batches of one kind each.
   static std::vector<Batch> batchesOf(std::vector<Element> const& elements, std::size_t most);

   unsigned answers() const { return answers_; }
   std::uint64_t faults() const { return faults_; }

   AnyNative any;
   NativeModel model{tag};
   Batch open;
   bool purging = false;  // the end of a resync is open
   Latencies latencies;   // of all batches

 private:
   template <class Request>
   std::optional<pb::rpc_status_bulk_msg> ask(Batch const& batch);
   void take(Element const& element, pb::rpc_status_msg const& answer);
   void repeat(Element const& element);

   std::string const address_;
   Findings& findings_;
   std::chrono::milliseconds const timeout_;
   std::unique_ptr<NativeStub> stub_;
   std::atomic<unsigned> answers_ = 0;
   std::uint64_t faults_ = 0;
};

}  // namespace VelmSdkRpc::trials
