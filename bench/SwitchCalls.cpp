#include "bench/SwitchCalls.h"

#include "bench/ShowLine.h"

namespace VelmSdkRpc::Bench {

CallCounts callsOf(Server const& agent) {
   Client client;
   auto const answer = ShowLine(client, agent.channel()).run("show switch calls", "calls");
   CallCounts counts;
   for (auto const& [operation, count] : answer["calls"].GetObject()) counts[operation.GetString()] = count.GetUint64();
   return counts;
}

CallCounts difference(CallCounts after, CallCounts const& before) {
   for (auto const& [operation, count] : before) after[operation] -= count;
   std::erase_if(after, [](auto const& entry) { return entry.second == 0; });
   return after;
}

}  // namespace VelmSdkRpc::Bench
