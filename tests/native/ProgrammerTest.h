#pragma once

#include <gmock/gmock.h>

#include <string>
#include <utility>
#include <vector>

#include "native/ClientInit.h"
#include "native/VelmSdkRpcService.h"
#include "tests/support/MockManagers.h"

namespace VelmSdkRpc {

/// The programmers above managers that do nothing, to see which of their operations are called, in which order, and
/// whether under the SDK lock.
class ProgrammerTest : public ::testing::Test {
 protected:
   // Out of line: what makes and takes down so many mocks is slow to compile.
   ProgrammerTest();
   ~ProgrammerTest() override;

   pb::rpc_server_init_status_msg init() {
      pb::rpc_server_init_status_msg answer;
      client.processInitRequest({}, answer);
      return answer;
   }
   pb::rpc_status_msg resync(pb::rpc_server_resync_state_enum state) {
      pb::rpc_server_resync_msg request;
      request.set_resync_state(state);
      pb::rpc_status_msg answer;
      client.processResync(request, answer);
      return answer;
   }

   ManagerParts parts;
   velm::embedded::IntfMgr intfs{parts.ledger, parts.loop};
   ::testing::NiceMock<MockBfdSessionMgr> sessions;
   ::testing::NiceMock<MockIpRouteMgr> ipRoutes;
   ::testing::NiceMock<MockMplsRouteMgr> mplsRoutes;
   ::testing::NiceMock<MockMplsVrfLabelMgr> vrfLabels;
   ::testing::NiceMock<MockNexthopGroupMgr> groups;
   ::testing::NiceMock<MockNexthopGroupTunnelMgr> tunnels;
   VelmSdkRpcService service;
   ClientInit client;

   /// Notes a call, in brackets if it came without the lock.
   void note(std::string const& name) { calls_.push_back(velm::sdk_scoped_lock::held() ? name : "(" + name + ")"); }
   /// An action that does so.
   auto noted(std::string name) {
      return [this, name = std::move(name)](auto&&...) { note(name); };
   }
   template <class Result>
   auto noted(std::string name, Result result) {
      return [this, name = std::move(name), result = std::move(result)](auto&&...) {
         note(name);
         return result;
      };
   }
   /// The calls noted since the last time.
   std::vector<std::string> takeCalls() { return std::exchange(calls_, {}); }

 private:
   std::vector<std::string> calls_;
};

}  // namespace VelmSdkRpc
