#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "bench/Client.h"
#include "bench/CommandLine.h"
#include "bench/Server.h"
#include "bench/ShowLine.h"
#include "bench/Storm.h"
#include "bench/Watch.h"

namespace VelmSdkRpc::Bench {

/// Over the IPv4 BGP paths of one peer. Their events tell that a path changed, but not how, so nothing in a message
/// says that it is the last: a path of its own, changed behind all the others, and the agent's backlog tell that.
class BgpPathStorm final : public Storm {
 public:
   /// Client and agent stay the caller's.
   BgpPathStorm(Client& client, Server const& agent, std::size_t keys);

   void change(std::size_t first, std::size_t changes) override;
   void listen(std::size_t end) override;
   Heard hearOut() override;

 private:
   void hear(BgpPathWatch::Event const& event);
   void changeMarker();
   bool backlogEmpty();

   Client& client_;
   Server const& agent_;
   std::size_t const keys_;
   CommandLine commandLine_;
   ShowLine showLine_;
   std::size_t markers_ = 0;       // changes of the marker
   std::size_t markersHeard_ = 0;  // of them
   std::vector<bool> known_{};     // the keys of which the watch has told
   Heard heard_{};
   std::unique_ptr<BgpPathWatch> watch_{};
};

}  // namespace VelmSdkRpc::Bench
