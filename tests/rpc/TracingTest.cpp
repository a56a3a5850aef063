#include <gmock/gmock.h>

#include "rpc/EventSource.h"
#include "rpc/ProcessTrace.h"
#include "rpc/Tracing.h"

namespace VelmSdkRpc::Test {
namespace {

TEST(TracingTest, ACorruptEventSourceIsNoticedOnlyWhereItIsFormatted) {
   EXPECT_EQ(fmt::format("{} {} {}", EventSource::None, EventSource::Alarm, EventSource::Write), "NONE ALARM WRITE");
   velm::tracer const quiet("rpc_test_quiet");
   auto const corrupt = static_cast<EventSource>(3);
   EXPECT_NO_THROW(trace(quiet, 9, "process handler {} source {}", 1, corrupt));
   EXPECT_THROW((void)fmt::format("{}", corrupt), std::logic_error);
}

TEST(FunctionNameTest, IsThatOfTheFunctionAroundALambda) {
   for (auto const& [signature, name] : {
           std::pair{"std::uint32_t N::{anonymous}::S::f(const std::map<int, N::T>&)", "f"},
           {"N::S::f(N::T)::<lambda(auto:1)>::<lambda()> [with auto:1 = int]", "f"},
           {"auto N::S::f(W&&) [with W = main()::<lambda()>]", "f"},
           {"N::S::S()", "S"},
           {"bool N::S::operator()(N::T)::<lambda()>", "operator()"},
        }) {
      EXPECT_EQ(shortFunctionName(signature), name);
   }
}

}  // namespace
}  // namespace VelmSdkRpc::Test
