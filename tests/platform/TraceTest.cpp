// Which lines are written, how they look, and what becomes of them when nobody reads.
#include <fmt/format.h>
#include <gmock/gmock.h>

#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "platform/pesko/ProcessTrace.h"
#include "platform/pesko/Trace.h"
#include "platform/pesko/TraceOutput.h"
#include "platform/velm/tracer.h"

namespace Pesko {
namespace {

using ::testing::ElementsAre;

constexpr std::size_t timeSize = 27;  // and the blank behind it

TEST(TraceLevelsTest, OneGrammarForAllOfThem) {
   EXPECT_EQ(Pesko::parseLevels("01"), 0b11U);
   EXPECT_EQ(Pesko::parseLevels("0-3,6"), 0b1001111U);
   EXPECT_EQ(Pesko::parseLevels("0-26-79"), 0b1011000111U);
   EXPECT_EQ(Pesko::parseLevels(""), 0U);
   for (auto const* text : {"a", "-3", "3-", "3-1", "1,,2", ",1", "1,", "1--2", "1 2"}) {
      EXPECT_THROW(Pesko::parseLevels(text), std::invalid_argument) << text;
   }
   auto const early = Pesko::Platform::getDebugHandler("levels-test", false);
   EXPECT_TRUE(early->enabled(1) && !early->enabled(2));
   Pesko::Platform::setupPeskoDebug("levels-test/2");
   EXPECT_TRUE(!early->enabled(1) && early->enabled(2));
   EXPECT_EQ(Pesko::Platform::getDebugHandler("levels-test", true), early);
   EXPECT_FALSE(Pesko::Platform::getDebugHandler("quiet-test", true)->enabled(0));
}

TEST(FunctionNameTest, IsThatOfTheFunctionAroundALambda) {
   for (auto const& [signature, name] : {
           std::pair{"std::uint32_t N::{anonymous}::S::f(const std::map<int, N::T>&)", "f"},
           {"N::S::f(N::T)::<lambda(auto:1)>::<lambda()> [with auto:1 = int]", "f"},
           {"auto N::S::f(W&&) [with W = main()::<lambda()>]", "f"},
           {"N::S::S()", "S"},
           {"bool N::S::operator()(N::T)::<lambda()>", "operator()"},
        }) {
      EXPECT_EQ(VelmSdkRpc::shortFunctionName(signature), name);
   }
}

/// What stderr gets of the work, line by line, without the times.
template <class Work>
std::vector<std::string> linesOf(Work&& work) {
   ::testing::internal::CaptureStderr();
   work();
   TraceOutput::instance().flush();
   std::istringstream text(::testing::internal::GetCapturedStderr());
   std::vector<std::string> lines;
   for (std::string line; std::getline(text, line);) lines.push_back(line.erase(0, timeSize));
   return lines;
}

TEST(TraceLineTest, ACallIsOneLineWhateverAClientCallsThings) {
   Platform::DebugHandler const handler("test", 1);
   velm::tracer const tracer("trace-test");
   std::string const name = "a\n2026-11-24T00:00:00.000000 test 0 Agent:1 Agent stop Shutdown complete";
   auto const one = linesOf([&] {
      fmtrace(handler, 0, "Unit", "work", 7, "Class", "Delete {}", name);
      tracer.trace(0, "Adding %s", name.c_str());
      Platform::writeTrace(handler, 0, {}, "\x1b[1m" + name);
      fmtrace(handler, 0, "Unit", "work", 7, "Class", "Set alarm for handler {}\n", 3);
   });
   auto const shown = "a\\n" + name.substr(2);
   EXPECT_THAT(one, ElementsAre("test 0 Unit:7 Class work Delete " + shown, "trace-test 0 -:0 - - Adding " + shown,
                                "test 0 -:0 - - \\x1b[1m" + shown, "test 0 Unit:7 Class work Set alarm for handler 3"));
}

TEST(TraceLineTest, OneOfMegabytesIsCut) {
   Platform::DebugHandler const handler("test", 1);
   for (auto const& [piece, whole] : {std::pair{"x", 8192}, {"€", 2730}, {"\x1b", 2048}}) {
      std::string name;
      for (int i = 0; i < 1000000; ++i) name += piece;
      auto const lines = linesOf([&] { fmtrace(handler, 0, "Unit", "work", 7, "Class", "{}", name); });
      ASSERT_EQ(lines.size(), 1);
      EXPECT_LT(lines[0].size(), 8300);
      EXPECT_EQ(lines[0].substr(lines[0].rfind("… ")),
                fmt::format("… ({} bytes more)", name.size() - std::string(piece).size() * whole));
   }
}

}  // namespace
}  // namespace Pesko
