#pragma once

#include <grpcpp/grpcpp.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "trials/storm/AgentState.h"

namespace VelmSdkRpc::chaos {

/// A watch of any kind, over all there is to watch.
class AnyWatch {
 public:
   AnyWatch() = default;
   AnyWatch(AnyWatch const&) = delete;
   AnyWatch& operator=(AnyWatch const&) = delete;
   virtual ~AnyWatch() = default;

   /// The next message's events as text; none at the end.
   virtual std::optional<std::vector<std::string>> next() = 0;
   virtual void cancel() = 0;
   virtual grpc::Status finish() = 0;
};

/// Ten kinds: those of the nine mirrors, and the stream of sBFD statuses.
constexpr std::size_t watchKinds = 10;
char const* nameOf(std::size_t kind);
/// The watch's first message, of a mirror the marker, is the caller's to read.
std::unique_ptr<AnyWatch> watch(std::size_t kind, std::shared_ptr<grpc::Channel> const& channel);

/// Each kind has events of four keys. What their last states are: the events of the turn that is the last.
class LastStates {
 public:
   explicit LastStates(std::size_t kind);
   void hear(std::string const& event);
   bool allHeard() const;

 private:
   static constexpr int keys = 4;
   std::vector<std::string> texts_;  // of each key how it shows in an event
   std::vector<std::string> final_;  // and what its last event says
   std::vector<bool> heard_;
};

/// What lets all kinds have their events.
void prepareEvents(storm::Console const& console, std::shared_ptr<grpc::Channel> const& channel);
/// One turn of events of each kind and key; the last one ends a storm.
void raiseEvents(storm::Console const& console, int turn);
void raiseLastEvents(storm::Console const& console);

}  // namespace VelmSdkRpc::chaos
