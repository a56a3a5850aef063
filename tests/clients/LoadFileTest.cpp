#include <fmt/format.h>
#include <gmock/gmock.h>

#include <fstream>

#include "clients/support/TempFolder.h"
#include "clients/velmctl/Errors.h"
#include "clients/velmctl/LoadFile.h"
#include "clients/velmctl/Nexthop.h"

namespace VelmSdkRpc::ctl {
namespace {

class LoadFileTest : public testing::Test {
 protected:
   std::string const& file(std::string_view content) {
      path_ = folder_.path() + "/routes";
      std::ofstream(path_) << content;
      return path_;
   }

 private:
   TempFolder folder_;
   std::string path_;
};

TEST_F(LoadFileTest, HoldsGroupsAndRoutesWithTheirLines) {
   LoadFile const loaded(
      file("# a comment\n\n  10.0.0.0/8\tto-core # and why\r\nnhg to-core Ethernet1 10.0.0.1@Ethernet2\n"
           "2001:db8::/32 -"));
   ASSERT_EQ(loaded.groups().size(), 1);
   EXPECT_EQ(loaded.groups()[0].message.name(), "to-core");
   EXPECT_EQ(loaded.groups()[0].message.nexthop_size(), 2);
   ASSERT_EQ(loaded.routes().size(), 2);
   EXPECT_EQ(loaded.routes()[0].group, "to-core");
   EXPECT_EQ(loaded.routes()[0].prefixLength, 8);
   EXPECT_EQ(std::string(loaded.routes()[0].address, loaded.routes()[0].addressSize), std::string("\x0a\0\0\0", 4));
   EXPECT_EQ(loaded.routes()[1].group, "");
   EXPECT_EQ(loaded.routes()[1].addressSize, 16);
   EXPECT_EQ(loaded.line(loaded.routes()[1].line), "2001:db8::/32 -");
   EXPECT_TRUE(LoadFile(file("")).routes().empty());
}

TEST_F(LoadFileTest, RefusesAWrongLineWithItsPlace) {
   for (auto const& [line, error] : std::initializer_list<std::pair<char const*, char const*>>{
           {"10.0.0.0/8", R"(expected PREFIX GROUP, not "10.0.0.0/8")"},
           {"10.0.0.0/8 a b", R"(expected PREFIX GROUP, not "10.0.0.0/8 a b")"},
           {"10.0.0.0 a", R"(expected a prefix like "10.0.0.0/8", not "10.0.0.0")"},
           {"10.0.0.0/33 a", R"(expected a prefix like "10.0.0.0/8", not "10.0.0.0/33")"},
           {"10.0.0.0/8x a", R"(expected a prefix like "10.0.0.0/8", not "10.0.0.0/8x")"},
           {"10.0.0.0/256 a", R"(expected a prefix like "10.0.0.0/8", not "10.0.0.0/256")"},
           {"nhg a", "expected nhg NAME NEXTHOP..."},
           {"nhg a Ethernet1,heavy",
            R"(nexthop "Ethernet1,heavy": expected push=LABELS, pop, swap=LABEL or weight=N, not "heavy")"}}) {
      try {
         LoadFile const loaded(file(fmt::format("10.0.0.0/8 a\n{}\n", line)));
         ADD_FAILURE() << line;
      } catch (UsageError const& e) {
         EXPECT_THAT(e.what(), testing::EndsWith(fmt::format("/routes:2: {}", error)));
      }
   }
   EXPECT_THROW(LoadFile("/nowhere"), std::system_error);
}

TEST(NexthopTest, IsReadAsItIsTyped) {
   for (auto const& [text, expected] : std::initializer_list<std::pair<char const*, char const*>>{
           {"Ethernet1", R"(nexthop_interface: "Ethernet1" replicate_count: 1)"},
           {"10.0.0.1", R"(nexthop_ip { addr: "\n\000\000\001" } replicate_count: 1)"},
           {"10.0.0.1@Ethernet3/1,weight=3,push=1/2",
            R"(nexthop_ip { addr: "\n\000\000\001" } nexthop_interface: "Ethernet3/1" mpls_operation: MPLS_OP_PUSH )"
            R"(labels: 1 labels: 2 replicate_count: 3)"},
           {"Ethernet1,pop", R"(nexthop_interface: "Ethernet1" mpls_operation: MPLS_OP_POP replicate_count: 1)"}}) {
      EXPECT_EQ(nexthopOf(text).ShortDebugString(), expected) << text;
   }
   for (auto const* wrong : {"", ",pop", "10.0.0@Ethernet1", "Ethernet1,push=", "Ethernet1,push=x", "Ethernet1,pop=1",
                             "Ethernet1,pop,swap=3", "Ethernet1,weight=-1"}) {
      EXPECT_THROW(nexthopOf(wrong), UsageError) << wrong;
   }
}

}  // namespace
}  // namespace VelmSdkRpc::ctl
