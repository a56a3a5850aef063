#pragma once

#include <memory>
#include <string>
#include <vector>

#include "clients/support/SwitchConsole.h"
#include "tests/support/AnyCall.h"

namespace VelmSdkRpc::chaos {

/// The kinds of watches: those of the nine mirrors, and the stream of sBFD statuses.
constexpr std::size_t watchKinds = 10;
char const* nameOf(std::size_t kind);
/// A watch over all there is of the kind. With `begun` every event from now on is heard.
std::unique_ptr<AnyStream> watch(std::size_t kind, std::shared_ptr<grpc::Channel> const& channel, bool begun = false);

/// Each kind has events of four keys. Looks out for the last state of each, which the turn that is the last brings.
class LastStates {
 public:
   explicit LastStates(std::size_t kind);
   /// A message of a watch, which may hold several events.
   void hear(google::protobuf::Message const& message);
   bool allHeard() const;

 private:
   std::vector<std::string> texts_;  // how each key shows in an event
   std::vector<std::string> final_;  // what its last event says
   std::vector<bool> heard_;
};

/// Sets up what the events of all kinds need.
void prepareEvents(SwitchConsole const& console, std::shared_ptr<grpc::Channel> const& channel);
/// One turn of events of each kind and key; the last one ends a storm.
void raiseEvents(SwitchConsole const& console, int turn);
void raiseLastEvents(SwitchConsole const& console);

}  // namespace VelmSdkRpc::chaos
