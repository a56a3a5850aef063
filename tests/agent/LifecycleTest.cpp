#include <sys/wait.h>

#include <csignal>
#include <cstdio>
#include <fstream>
#include <thread>
#include <unistd.h>

#include "tests/agent/AgentTest.h"

namespace VelmSdkRpc {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

class LifecycleTest : public AgentTest {
 protected:
   LifecycleTest() : AgentTest(std::vector<std::string>()) {}
};

/// An agent that need not come up.
class Start {
 public:
   explicit Start(std::vector<std::string> arguments, std::string listen = {})
      : agent_({AGENT_PROGRAM, std::move(listen), std::move(arguments)}) {}

   AgentProcess& operator*() { return agent_; }
   AgentProcess* operator->() { return &agent_; }
   bool hasWritten(std::string const& text) {
      return eventually([&] { return agent_.stderrText().find(text) != std::string::npos; });
   }
   int exitStatus(std::chrono::milliseconds timeout = std::chrono::seconds(20)) {
      auto const status = agent_.waitForEnd(timeout);
      return status && WIFEXITED(*status) ? WEXITSTATUS(*status) : -1;
   }

 private:
   AgentProcess agent_;
};

struct BadOption {
   std::vector<std::string> arguments;
   std::string message;
};

TEST(StartTest, WhatIsNoOptionIsRefusedWithStatusTwo) {
   std::vector<BadOption> const rows{{{"--frobnicate"}, "--frobnicate"},
                                     {{"stray"}, "stray"},
                                     {{"--listen", "unix:/tmp/second"}, "--listen"},  // only the first is the agent's
                                     {{"--trace", "VelmSdkRpc/x"}, "'x'"},
                                     {{"--trace", "VelmSdkRpc"}, "'VelmSdkRpc'"},
                                     {{"--switch-config", "/does/not/exist"}, "/does/not/exist"},
                                     {{"--switch-dataplane", "none"}, "simulated"},
                                     {{"--switch-state", "/tmp/f\xfcr"}, "its name is not UTF-8"}};
   for (auto const& row : rows) {
      Start start(row.arguments);
      EXPECT_EQ(start.exitStatus(), 2);
      EXPECT_THAT(start->stderrText(), HasSubstr(row.message));
   }
   EXPECT_EQ(Start({"--version"}).exitStatus(), 0);
   EXPECT_EQ(Start({"--help"}).exitStatus(), 0);
}

TEST(StartTest, AConfigurationThatFailsNamesItsLine) {
   std::string path = ::testing::TempDir() + "config-XXXXXX";
   close(mkstemp(path.data()));
   struct Row {
      char const* text;
      char const* message;
   };
   for (auto const& [text, message] :
        {Row{"! ports\ninterface Loopback0\n  description uplink\n\nshutdwn\n",
             ":5: command 3 of 3 'shutdwn' failed: invalid command"},
         Row{"! f\xfcr\ninterface Loopback0\ndescription f\xfcr\n", ":3: the line is not UTF-8\n"}}) {
      std::ofstream(path) << text;
      Start start({"--switch-config", path});
      EXPECT_EQ(start.exitStatus(), 2);
      EXPECT_THAT(start->stderrText(), HasSubstr(path + message));
   }
   std::remove(path.c_str());
}

TEST(StartTest, APortInUseIsToldAndTheAgentStillStops) {
   HeldPort const held;
   Start start({}, held.address());
   EXPECT_TRUE(start.hasWritten("cannot listen on " + held.address() + ": Address already in use\n"));
   start->signal(SIGTERM);
   EXPECT_EQ(start.exitStatus(std::chrono::seconds(2)), 0);
   EXPECT_THAT(start->stderrText(), Not(HasSubstr("grpc")));  // that one line says it all
}

TEST(StartTest, SigtermRightAfterConstructionEndsInOrder) {
   for (int i = 0; i < 20; ++i) {
      Start start({});
      ASSERT_TRUE(start.hasWritten("Agent constructed"));
      start->signal(i % 2 == 0 ? SIGTERM : SIGINT);
      EXPECT_EQ(start.exitStatus(std::chrono::seconds(2)), 0);
      EXPECT_THAT(start->stderrText(), HasSubstr("Shutdown complete"));
   }
}

TEST_F(LifecycleTest, TheTraceTellsTheStoryOfTheProcess) {
   EXPECT_EQ(stop(SIGTERM), 0);
   auto const text = agent().stderrText();
   std::size_t place = 0;
   for (auto const* step : {"Agent Agent Agent constructed", "Agent on_initialized Agent Initialized",
                            "Agent on_initialized Server listening on unix:",
                            "Agent on_agent_enabled Shutting down agent", "Agent on_agent_enabled Shutdown complete"}) {
      place = text.find(std::string(" ") + step, place);
      EXPECT_NE(place, std::string::npos) << step << " in\n" << text;
   }
}

/// An agent whose server thread is in a show command that takes its time.
class BusyTest : public LifecycleTest {
 protected:
   void beginLongCall(int milliseconds) {
      world({fmt::format("simulate vapi delay {}", milliseconds)});
      auto const show = [this](std::chrono::milliseconds timeout) {
         return answer("VapiMgrService.run_show_cmd: command: 'show version'", timeout);
      };
      caller_ = std::thread([show] { show(std::chrono::minutes(1)); });
      EXPECT_TRUE(eventually([&] { return show(std::chrono::milliseconds(100)) == "open"; }));
   }
   bool handlesSigterm() {
      std::ifstream status(fmt::format("/proc/{}/status", agent().pid()));
      std::string word;
      while (status >> word && word != "SigCgt:") continue;
      std::uint64_t caught = 0;
      status >> std::hex >> caught;
      return (caught >> (SIGTERM - 1) & 1) != 0;
   }
   void TearDown() override {
      agent().signal(SIGKILL);
      caller_.join();
   }

 private:
   std::thread caller_;
};

TEST_F(BusyTest, WhoConnectsMeanwhileWaits) {
   beginLongCall(1000);
   EXPECT_TRUE(anyCall(agent().channel(), *methodOf("rpc_server_init"), "").status.ok());
}

TEST_F(BusyTest, SigtermWaitsForTheOneLongCall) {
   beginLongCall(1000);
   agent().signal(SIGTERM);
   EXPECT_EQ(waitForEnd(std::chrono::seconds(3)), 0);
}

TEST_F(BusyTest, ASecondSignalDoesNot) {
   beginLongCall(60000);
   EXPECT_TRUE(handlesSigterm());
   agent().signal(SIGTERM);
   EXPECT_TRUE(eventually([&] { return !handlesSigterm(); }));  // two that are pending at once would be one
   agent().signal(SIGTERM);
   EXPECT_EQ(waitForEnd(std::chrono::seconds(3)), -SIGTERM);
}

class PanicTest : public AgentTest {
 protected:
   PanicTest() : AgentTest({"--trace", "VelmSdkRpc/0-5"}) {}
};

TEST_F(PanicTest, AnErrorThatNobodyCaughtIsTracedAndEndsTheProcess) {
   world({"simulate fail agent_mgr.shutdown_complete_is configuration_error \"cannot stop\""});
   EXPECT_EQ(stop(SIGTERM), -SIGABRT);
   EXPECT_THAT(agent().stderrText(), HasSubstr("VelmSdkRpc 5 Agent:"));
   EXPECT_THAT(agent().stderrText(), HasSubstr("Agent panicHandler panic msg cannot stop"));
}

TEST_F(LifecycleTest, AgentDisableAnswersAndThenEnds) {
   world({"agent disable"});
   EXPECT_EQ(waitForEnd(std::chrono::seconds(2)), 0);
}

}  // namespace
}  // namespace VelmSdkRpc
