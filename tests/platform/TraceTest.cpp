// Which lines are written, how they look, and what becomes of them when nobody reads.
#include <fmt/format.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <fcntl.h>
#include <memory>
#include <poll.h>
#include <sstream>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

#include "platform/pesko/Trace.h"
#include "platform/pesko/TraceOutput.h"
#include "platform/velm/tracer.h"

namespace Pesko {
namespace {

using ::testing::ElementsAre;

constexpr std::size_t timeSize = 27;  // and the blank behind it

struct Counted {
   int* formatted;
};

}  // namespace
}  // namespace Pesko

template <>
struct fmt::formatter<Pesko::Counted> : fmt::formatter<int> {
   template <class FormatContext>
   auto format(Pesko::Counted const& value, FormatContext& context) const {
      return fmt::formatter<int>::format((*value.formatted)++, context);
   }
};

namespace Pesko {
namespace {

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

/// A pipe in the place of stderr, full at first.
class TraceQueueTest : public ::testing::Test {
 protected:
   TraceQueueTest() : stderr_(dup(STDERR_FILENO)) {
      EXPECT_EQ(pipe(pipe_.data()), 0);
      auto const size = static_cast<std::size_t>(fcntl(pipe_[1], F_SETPIPE_SZ, 4096));
      expected.emplace_back(size - 1 - timeSize, '-');
      EXPECT_EQ(::write(pipe_[1], (std::string(size - 1, '-') + '\n').data(), size), size);
      dup2(pipe_[1], STDERR_FILENO);
      close(pipe_[1]);
      Platform::setupPeskoDebug("full/0");
      for (int i = 0; i < 10000 && write(); ++i) continue;
   }
   ~TraceQueueTest() override {
      TraceOutput::instance().flush();
      dup2(stderr_, STDERR_FILENO);
      close(stderr_);
      close(pipe_[0]);
   }

   /// Whether a line was taken, which is expected then.
   bool write() {
      auto const before = formatted;
      fmtrace(*handler, 0, "Unit", "work", 7, "Class", "line {}", Counted{&formatted});
      if (formatted == before) return false;
      expected.push_back(fmt::format("full 0 Unit:7 Class work line {}", before));
      return true;
   }

   /// The lines up to this one, without their times; fewer, if it does not come.
   std::vector<std::string> linesTo(std::string const& last) {
      std::vector<std::string> lines;
      while (lines.empty() || lines.back() != last) {
         auto const end = unread_.find('\n');
         if (end != std::string::npos) {
            lines.push_back(unread_.substr(0, end).erase(0, timeSize));
            unread_.erase(0, end + 1);
         } else if (!readMore()) {
            break;
         }
      }
      return lines;
   }

   std::shared_ptr<Platform::DebugHandler> const handler = Platform::getDebugHandler("full", false);
   int formatted = 0;
   std::vector<std::string> expected;

 private:
   bool readMore() {
      std::array<char, 4096> bytes;
      pollfd in{.fd = pipe_[0], .events = POLLIN, .revents = 0};
      auto const count = poll(&in, 1, 5000) == 1 ? read(pipe_[0], bytes.data(), bytes.size()) : 0;
      unread_.append(bytes.data(), std::max<ssize_t>(count, 0));
      return count > 0;
   }

   int const stderr_;
   std::array<int, 2> pipe_{};
   std::string unread_;
};

TEST_F(TraceQueueTest, AFullOneKeepsWhatItHasAndFormatsNothingMore) {
   EXPECT_EQ(formatted, 8192);
   write();
   velm::tracer("full").trace(0, "not this");
   EXPECT_EQ(formatted, 8192);
   expected.push_back("3 trace lines dropped");
   EXPECT_EQ(linesTo(expected.back()), expected);
}

TEST_F(TraceQueueTest, WhatIsMissingIsToldWhereItIsMissing) {
   auto all = linesTo(expected[1]);
   EXPECT_FALSE(write());
   auto const half = linesTo(expected[4096]);
   all.insert(all.end(), half.begin(), half.end());
   int refused = 2;
   auto const deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
   while (!write() && std::chrono::steady_clock::now() < deadline) ++refused;
   expected.insert(expected.end() - 1, fmt::format("{} trace lines dropped", refused));
   auto const rest = linesTo(expected.back());
   all.insert(all.end(), rest.begin(), rest.end());
   EXPECT_EQ(all, expected);
}

}  // namespace
}  // namespace Pesko
