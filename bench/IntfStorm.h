#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "bench/Client.h"
#include "bench/Loopbacks.h"
#include "bench/Server.h"
#include "bench/Storm.h"
#include "bench/Watch.h"

namespace VelmSdkRpc::Bench {

/// Over interfaces. Their events tell the state, so what is heard last of each is checked.
class IntfStorm final : public Storm {
 public:
   /// Makes the interfaces. Client and agent stay the caller's.
   IntfStorm(Client& client, Server const& agent, std::size_t keys);

   void change(std::size_t first, std::size_t changes) override { loopbacks_.change(first, changes); }
   void listen(std::size_t end) override;
   Heard hearOut() override;

 private:
   void hear(IntfWatch::Event const& event);

   Client& client_;
   Server const& agent_;
   Loopbacks loopbacks_;
   std::string final_{};                // description that each has in the end
   std::vector<std::string> states_{};  // of which the watch has told
   std::size_t complete_ = 0;           // how many of them are the final one
   Heard heard_{};
   std::unique_ptr<IntfWatch> watch_{};
};

}  // namespace VelmSdkRpc::Bench
