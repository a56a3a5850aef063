#include <gmock/gmock.h>

#include "platform/pesko/Trace.h"
#include "rpc/EventSource.h"
#include "rpc/ProcessTrace.h"
#include "rpc/Tracing.h"

namespace VelmSdkRpc::Test {

struct Costly {
   int* formatted;
};

}  // namespace VelmSdkRpc::Test

template <>
struct fmt::formatter<VelmSdkRpc::Test::Costly> : fmt::formatter<fmt::string_view> {
   template <class FormatContext>
   auto format(VelmSdkRpc::Test::Costly const& value, FormatContext& context) const {
      ++*value.formatted;
      return fmt::formatter<fmt::string_view>::format("costly", context);
   }
};

namespace VelmSdkRpc::Test {
namespace {

TEST(TracingTest, ALevelThatIsOffFormatsNothingAndAPercentSignIsText) {
   Pesko::Platform::setupPeskoDebug("rpc_test_trace/9");
   velm::tracer const tracer("rpc_test_trace");
   int formatted = 0;
   trace(tracer, 8, "{}", Costly{&formatted});
   EXPECT_EQ(formatted, 0);
   trace(tracer, 9, "{} %s%n", Costly{&formatted});
   EXPECT_EQ(formatted, 1);
}

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
