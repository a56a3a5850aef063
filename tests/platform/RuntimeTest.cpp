#include <gmock/gmock.h>

#include <array>
#include <atomic>
#include <functional>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

#include "platform/qor/Text.h"
#include "platform/velm/base_handler.h"
#include "platform/velm/sdk_lock.h"

namespace velm {
namespace {

using ::testing::ElementsAre;

TEST(SdkLockTest, ThreadsGetItInTheOrderInWhichTheyCame) {
   std::vector<int> order;
   std::vector<std::thread> threads;
   std::atomic<int> waiting{0};
   {
      sdk_scoped_lock const outer;
      sdk_scoped_lock const inner;  // recursive
      for (int i = 0; i < 4; ++i) {
         threads.emplace_back([&, i] {
            ++waiting;
            sdk_scoped_lock const lock;
            order.push_back(i);
         });
         // The ticket is drawn right behind the count; a few turns of the scheduler let it happen.
         while (waiting.load() <= i) std::this_thread::yield();
         for (int turns = 0; turns < 2000; ++turns) std::this_thread::yield();
      }
      EXPECT_TRUE(order.empty());
      EXPECT_TRUE(sdk_scoped_lock::held());
   }
   for (auto& thread : threads) thread.join();
   EXPECT_THAT(order, ElementsAre(0, 1, 2, 3));
   EXPECT_FALSE(sdk_scoped_lock::held());
}

class TestMgr;
class TestHandler : public base_handler<TestMgr, TestHandler> {
 public:
   using base_handler::base_handler;
   std::function<void()> onEvent = [] {};
};
class TestMgr : public base_mgr<TestHandler, int> {};

TEST(HandlersTest, TheyMayComeAndGoDuringANotification) {
   TestMgr mgr;
   std::vector<int> called;
   std::array<std::unique_ptr<TestHandler>, 3> handlers;
   auto const add = [&](std::size_t i) {
      handlers[i] = std::make_unique<TestHandler>(&mgr);
      handlers[i]->onEvent = [&called, i] { called.push_back(static_cast<int>(i)); };
      mgr.watch_all(handlers[i].get(), true);
   };
   auto const fire = [&] {
      called.clear();
      mgr.notify(1, [](TestHandler& handler) { handler.onEvent(); });
   };
   add(0);
   add(1);
   // Whichever is called first removes the other, which is then not called any more.
   handlers[0]->onEvent = [&] { called.push_back(0), handlers[1].reset(); };
   handlers[1]->onEvent = [&] { called.push_back(1), handlers[0].reset(); };
   fire();
   EXPECT_EQ(called.size(), 1);
   auto& left = handlers[0] ? handlers[0] : handlers[1];
   left->onEvent = [&] { add(2); };
   fire();  // whether the new one is met depends on its place; the walk survives it
   left->onEvent = [&] { called.push_back(9); };
   fire();
   EXPECT_THAT(called, ::testing::UnorderedElementsAre(2, 9));
}

TEST(TextTest, Utf8IsTold) {
   for (auto const* text : {"", "plain and long", "\x7f", "\xc2\x80", "\xdf\xbf", "\xe0\xa0\x80", "\xed\x9f\xbf",
                            "\xee\x80\x80", "\xf0\x90\x80\x80", "\xf4\x8f\xbf\xbf", "a\xe2\x82\xac"}) {
      EXPECT_TRUE(Qor::isUtf8(text)) << text;
   }
   for (auto const* text :
        {"\x80", "plain and long\xff", "\xc3", "\xc3(", "\xc1\xbf", "\xe0\x9f\xbf", "\xe2\x82", "\xe2\x82(",
         "\xed\xa0\x80", "\xf0\x8f\xbf\xbf", "\xf4\x90\x80\x80", "\xf8\x88\x80\x80\x80"}) {
      EXPECT_FALSE(Qor::isUtf8(text)) << text;
   }
}

TEST(TextTest, WithinALineNothingEndsOrDisturbsIt) {
   for (auto const& [text, expected] : {
           std::pair{"a name", "a name"},
           {"a\nb\r\n\tc", R"(a\nb\r\n\tc)"},
           {"\x1b[2J\x7f", R"(\x1b[2J\x7f)"},
           {"\xc2\x9b", R"(\xc2\x9b)"},  // a control character, too
           {"é€😀", "é€😀"},
           {"\xe2\x82", R"(\xe2\x82)"},                          // not all of it
           {"\xc1\x81\xe0\x9f\xbf", R"(\xc1\x81\xe0\x9f\xbf)"},  // longer than need be
           {"\xed\xa0\x80", R"(\xed\xa0\x80)"},                  // half of one
           {"\xf4\x90\x80\x80\xff", R"(\xf4\x90\x80\x80\xff)"},  // beyond the last one
           {"0123456789012345678901234567", "01234567890123456789… (8 bytes more)"},
           {"0123456789012345678€…", "0123456789012345678… (6 bytes more)"},
           {"\1\2\3\4\5\6", R"(\x01\x02\x03\x04\x05… (1 bytes more))"},
        }) {
      fmt::memory_buffer line;
      Qor::appendWithinLine(line, text, 20);
      EXPECT_EQ(fmt::to_string(line), expected);
   }
}

}  // namespace
}  // namespace velm
