#include <gmock/gmock.h>

#include <string>

#include "agent/Argv.h"

namespace VelmSdkRpc::argv {
namespace {

using ::testing::ElementsAre;

struct Row {
   std::vector<std::string> arguments;
   std::string value;
   std::vector<std::string> left;
};

TEST(ArgvTest, AnOptionIsTakenOutWithItsValue) {
   std::vector<Row> const rows{
      {{"agent"}, "default", {"agent"}},
      {{"agent", "--listen"}, "default", {"agent"}},  // swallowed, and the default holds
      {{"agent", "--listen", "a", "--listen", "b"}, "a", {"agent", "--listen", "b"}},
      {{"agent", "--listen", "--grpc-trace", "x"}, "--grpc-trace", {"agent", "x"}},
      {{"agent", "--listen", ""}, "", {"agent"}},
      {{"agent", "--listen=a", "--listened", "b"}, "default", {"agent", "--listen=a", "--listened", "b"}}};
   for (auto row : rows) {
      std::vector<char*> pointers;
      for (auto& argument : row.arguments) pointers.push_back(argument.data());
      auto args = vectorize(static_cast<int>(pointers.size()), pointers.data());
      EXPECT_EQ(getOptionValue(args, "--listen", "default"), row.value);
      EXPECT_EQ(std::vector<std::string>(args.begin(), args.end()), row.left);
   }
}

TEST(ArgvTest, NullsCountAsEmptyText) {
   std::string option = "--grpc-trace";
   std::vector<char*> args{nullptr, option.data(), nullptr};
   EXPECT_EQ(getOptionValue(args, "--grpc-trace", "default").data(), nullptr);
   EXPECT_THAT(args, ElementsAre(nullptr));
   EXPECT_TRUE(vectorize(0, nullptr).empty());
}

}  // namespace
}  // namespace VelmSdkRpc::argv
