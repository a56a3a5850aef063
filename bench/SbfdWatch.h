#pragma once

#include <grpcpp/generic/generic_stub.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <memory>

#include "bench/Client.h"
#include "bench/CommandLine.h"
#include "bench/SbfdEchoSessions.h"
#include "proto/velmsdk.grpc.pb.h"

namespace VelmSdkRpc::Bench {

/// A message of the stream of sBFD updates, as it came: parsing costs as much as all that the agent does for it, so
/// only as much of it is done as somebody asks for.
class SbfdBatch {
 public:
   using Update = pb::watch_sbfd_echo_session_status_msg;

   explicit SbfdBatch(grpc::ByteBuffer& bytes) : bytes_(bytes) {}

   /// How many updates it holds, the end marker of statuses among them.
   std::size_t size() const;
   Update first() const;
   Update parse() const;

 private:
   grpc::ByteBuffer& bytes_;
};

/// A client's stream of sBFD updates.
class SbfdWatch final : public Operation {
 public:
   using Take = std::function<void(SbfdBatch const&)>;

   /// Begins to open it; hears() tells when that is done, for the agent answers with nothing but updates. `take` gets
   /// every batch. Whoever runs the client is thrown std::runtime_error if the stream ends by itself.
   SbfdWatch(Client& client, std::shared_ptr<grpc::Channel> const& channel, Take take);
   /// Cancels the stream and waits until that is done on this side.
   ~SbfdWatch() override;

   /// Whether anything has come.
   bool hears() const { return hears_; }

   void proceed(bool ok) override;

 private:
   enum class Step { opening, asking, reading, stuck, ending, ended };

   Client& client_;
   Take const take_;
   grpc::GenericStub stub_;
   grpc::ClientContext context_;
   std::unique_ptr<grpc::GenericClientAsyncReaderWriter> stream_;
   grpc::ByteBuffer batch_;
   grpc::Status status_;
   Step step_ = Step::opening;
   bool hears_ = false;
};

/// Has statuses raised, of a session that there is not, until all of the watches hear of it.
template <class Watches>
void awaitOpen(CommandLine& commandLine, Watches const& watches) {
   CommandLine::Commands commands;
   commands.add_commands(SbfdEchoSessions::simulateStatus(SbfdEchoSessions::keys, 3));
   while (!std::ranges::all_of(watches, &SbfdWatch::hears)) commandLine.run(commands);
}

}  // namespace VelmSdkRpc::Bench
