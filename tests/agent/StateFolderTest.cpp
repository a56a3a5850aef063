#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <string>

#include "tests/agent/AgentTest.h"

namespace VelmSdkRpc {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

class StateFolderTest : protected StateFolder, public AgentTest {
 protected:
   StateFolderTest() : AgentTest({"--trace", "macsec/0-9", "--switch-state", folder}) {}
};

TEST_F(StateFolderTest, AFolderThatCannotBeUsedEndsTheStartWithOneLine) {
   AgentProcess second({AGENT_PROGRAM, {}, {"--switch-state", folder}});
   EXPECT_EQ(second.waitForEnd(), 2 << 8);
   EXPECT_THAT(second.stderrText(),
               HasSubstr("VelmSdkRpc: state folder " + folder + ": it is in use by another process\n"));
   EXPECT_EQ(answer("AgentService.status_set: name: 'a'"), "{}");  // the first one is not disturbed
}

TEST_F(StateFolderTest, KeyMaterialStaysWithTheSwitchAndItsClients) {
   std::string const keys = "name: 'm' primary_key { cak: '5ec2e7' } fallback_key { cak: '5ec2e8' }";
   EXPECT_THAT(answer("MacsecMgrService.bulk_profile_set: requests { profile { " + keys + " } } requests { profile { " +
                      keys + " cipher: 9 } }"),
               AllOf(HasSubstr("count: 1"), Not(HasSubstr("5ec2"))));
   EXPECT_THAT(console().show("show macsec"), Not(HasSubstr("5ec2")));
   EXPECT_THAT(answer("MacsecMgrService.profile: name: 'm'"), HasSubstr("fallback_key { cak: \"5ec2e8\" }"));
   struct stat status {};
   ASSERT_EQ(::stat(folder.c_str(), &status), 0);
   EXPECT_EQ(status.st_mode & 0777, 0700);
   EXPECT_EQ(stop(SIGTERM), 0);
   EXPECT_THAT(agent().stderrText(), Not(HasSubstr("5ec2")));
}

}  // namespace
}  // namespace VelmSdkRpc
