#include "trials/chaos/ChaosTest.h"

#include <fmt/format.h>
#include <sys/wait.h>

#include <csignal>
#include <functional>
#include <set>

namespace VelmSdkRpc::chaos {
namespace {

constexpr unsigned controllerCount = 3;

}  // namespace

std::unique_ptr<Controller> ChaosTest::newController(unsigned number) {
   return std::make_unique<Controller>(agent_.address(), NativeKeys::of(number), Scale::get().seed * 100 + number,
                                       findings_, Scale::get().seconds(60));
}

void ChaosTest::SetUp() {
   for (unsigned i = 0; i < controllerCount; ++i) {
      controllers_.push_back(newController(i));
   }
   ASSERT_TRUE(agent_.waitUntilServing(Scale::get().seconds(20)));
   console_.emplace(newChannel());
   for (auto& controller : controllers_) ASSERT_TRUE(controller->init(policyMap));
   before_ = trials::AgentState::of(agent_, console());
   memoryIsUsual();
}

void ChaosTest::TearDown() {
   if (!HasFatalFailure()) {
      empty();
      expectRest();
      expectMemoryBack();
      controllers_.clear();
      EXPECT_EQ(end(SIGTERM, Scale::get().seconds(2)), 0);
   }
   for (auto const& text : findings_.texts()) ADD_FAILURE() << text;
   auto const words = agent_.stderrText();
   EXPECT_EQ(trials::alarmIn(words), std::string::npos);
   if (!HasFailure()) return;
   auto const& scale = Scale::get();
   fmt::print(stderr, "the agent wrote last:\n{}\nagain: CHAOS_SEED={} CHAOS_ROUNDS={} {} --gtest_filter={}.{}\n",
              words.substr(words.size() - std::min<std::size_t>(words.size(), 1500)), scale.seed, scale.rounds,
              "trials/chaos/chaos", ::testing::UnitTest::GetInstance()->current_test_info()->test_suite_name(),
              ::testing::UnitTest::GetInstance()->current_test_info()->name());
}

void ChaosTest::restart() {
   agent_.restart();
   ASSERT_TRUE(agent_.waitUntilServing(Scale::get().seconds(20))) << agent_.stderrText();
   console_.emplace(newChannel());
   for (auto& controller : controllers_) controller->connect();
   ASSERT_TRUE(controller().init(policyMap));
}

void ChaosTest::whileAllProgram(int most, bool redirects, std::function<void()> const& work) {
   std::vector<std::jthread> threads;
   for (auto& controller : controllers_) {
      threads.push_back(again([=, &controller] { return controller->sendAny(most, redirects); }));
   }
   work();
}

void ChaosTest::awaitAnswers(unsigned count, std::atomic<bool> const& over) {
   auto const answers = [&] {
      unsigned sum = 0;
      for (auto const& controller : controllers_) sum += controller->answers();
      return sum;
   };
   auto const until = answers() + count;
   EXPECT_TRUE(eventually([&] { return over || answers() >= until; }, Scale::get().seconds(60)));
}

int ChaosTest::end(int signal, std::chrono::milliseconds grace) {
   agent_.signal(signal);
   auto const status = agent_.waitForEnd(grace);
   EXPECT_TRUE(status) << "the agent has not ended in time";
   if (!status) {
      agent_.signal(SIGKILL);
      agent_.waitForEnd();
   }
   return status.value_or(-1);
}

void ChaosTest::expectExplained() {
   auto const found = tables();
   std::set<std::string> known;
   for (auto const& controller : controllers_) {
      auto const all = controller->model.during(controller->open, controller->purging);
      std::set<std::string> keys;
      for (auto const& tables : all) {
         for (auto const& [key, text] : tables) keys.insert(key);
      }
      Tables own;
      for (auto const& key : keys) {
         if (auto const it = found.find(key); it != found.end()) own.insert(*it);
      }
      bool const explained =
         std::ranges::any_of(all, [&](auto const& tables) { return differenceOf(own, tables).empty(); });
      EXPECT_TRUE(explained) << "before the open batch " << differenceOf(own, all.front()) << "after it "
                             << differenceOf(own, all.back()) << "which begins with "
                             << (controller->open.empty() ? "nothing" : textOf(controller->open.front())) << " of "
                             << controller->open.size();
      known.merge(keys);
   }
   for (auto const& [key, text] : found)
      EXPECT_TRUE(known.contains(key)) << key << " is '" << text << "', and nobody's";
}

void ChaosTest::expectExact() {
   Tables expected;
   for (auto const& controller : controllers_) expected.merge(controller->model.tables());
   std::string difference;
   eventually(
      [&] {
         difference = differenceOf(tables(), expected);
         return difference.empty();
      },
      Scale::get().seconds(5));
   EXPECT_EQ(difference, "");
}

bool ChaosTest::resync(std::function<bool(Element const&)> const& repeats) {
   auto const started = controller().resync(pb::RESYNC_START);
   if (!started) return false;
   EXPECT_EQ(started->debug_string(), "");
   for (auto& controller : controllers_) controller->model.startResync();
   for (auto& controller : controllers_) {
      // Requests that were open may have been done in part: they are sent again as well, whatever is answered.
      auto const again = std::exchange(controller->open, {});
      if (!controller->send(again, false)) return false;
      std::vector<Element> elements;
      for (auto& element : controller->model.held()) {
         if (repeats(element)) elements.push_back(std::move(element));
      }
      for (auto const& batch : Controller::batchesOf(elements, 1 + controller->any.upTo(20))) {
         if (!controller->send(batch)) return false;
      }
   }
   for (auto& controller : controllers_) controller->purging = true;
   auto const ended = controller().resync(pb::RESYNC_END);
   if (!ended) return false;
   EXPECT_EQ(ended->debug_string(), "");
   for (auto& controller : controllers_) {
      controller->purging = false;
      controller->model.endResync();
   }
   return true;
}

void ChaosTest::empty() {
   pb::rpc_server_state_config_msg request;
   for (auto& controller : controllers_) {
      controller->open.clear();
      for (auto const& [key, text] : controller->model.tables()) {
         if (key.starts_with("pair ")) request.add_delete_()->set_key(key.substr(5));
      }
      controller->model = NativeModel(Controller::tag);
   }
   EXPECT_TRUE(controller().send({request}));
   EXPECT_TRUE(resync());
   expectExact();
}

void ChaosTest::expectRest() {
   raiseMore();
   EXPECT_EQ(trials::excessOfClients(agent_, console(), *before_), "");
}

void ChaosTest::expectMemoryBack() const {
   auto const bound = 1.25 * memoryBefore_ + 64 * Scale::get().patience;
   EXPECT_TRUE(eventually([&] { return memory() <= bound; })) << memory() << " MiB, not " << memoryBefore_;
   fmt::print("memory {:.0f} MiB, before {:.0f}\n", memory(), memoryBefore_);
}

}  // namespace VelmSdkRpc::chaos
