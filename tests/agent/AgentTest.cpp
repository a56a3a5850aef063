#include "tests/agent/AgentTest.h"

#include <absl/strings/escaping.h>
#include <absl/strings/str_join.h>
#include <sys/wait.h>

#include <csignal>

#include "tests/support/NativeMessages.h"

namespace VelmSdkRpc {
namespace {

std::string textOf(pb::watch_sbfd_echo_session_status_msg const& batch) {
   std::vector<std::string> words;
   for (auto const& element : batch.bulk()) {
      auto const& key = element.session_key();
      auto const name = fmt::format("{}/{}", key.outgoing_interface(), key.labels_size() == 0 ? 0 : key.labels(0));
      auto const& rtt = element.rtt();
      if (element.has_status()) {
         words.push_back(fmt::format("{}={}", name, element.status().status()));
      } else if (element.has_rtt()) {
         words.push_back(fmt::format("{} rtt {} {} {} {} {} {} {}", name, rtt.last_rtt(), rtt.min_rtt(), rtt.avg_rtt(),
                                     rtt.max_rtt(), rtt.snapshot_min_rtt(), rtt.snapshot_avg_rtt(),
                                     rtt.snapshot_max_rtt()));
      } else {
         words.emplace_back(element.end_of_status_batch() && !element.has_session_key() ? "end" : "nothing");
      }
   }
   return absl::StrJoin(words, " ");
}

}  // namespace

std::string withAddresses(std::string const& text) {
   auto const begin = text.find('<');
   auto const end = text.find('>', begin);
   if (begin == text.npos || end == text.npos) return text;
   auto const inside = text.substr(begin + 1, end - begin - 1);
   bool const isPrefix = inside.find('/') != inside.npos;
   auto const message = prefixMsg(isPrefix ? inside : inside + (inside.find(':') == inside.npos ? "/32" : "/128"));
   auto const written = isPrefix ? "{ " + message.ShortDebugString() + " }" : '"' + absl::CEscape(message.addr()) + '"';
   return text.substr(0, begin) + written + withAddresses(text.substr(end + 1));
}

google::protobuf::MethodDescriptor const* methodOf(std::string const& name) {
   return methodNamed(name.find('.') == name.npos ? "velmsdk_service." + name : name);
}

std::string textOf(google::protobuf::Message const& message) {
   if (auto const* batch = dynamic_cast<pb::watch_sbfd_echo_session_status_msg const*>(&message)) return textOf(*batch);
   auto text = message.ShortDebugString();
   return text.empty() ? "{}" : text;
}

AgentTest::AgentTest(std::vector<std::string> arguments) : arguments_(std::move(arguments)) {}

void AgentTest::restart() {
   agent_.reset();
   agent_ = std::make_unique<AgentProcess>(AgentProcess::Options{AGENT_PROGRAM, {}, arguments_});
   channel_ = agent_->channel();
   console_.emplace(channel_);
   ASSERT_TRUE(channel_->WaitForConnected(std::chrono::system_clock::now() + std::chrono::seconds(20)))
      << agent_->stderrText();
}

void AgentTest::TearDown() {
   if (HasFailure()) fmt::print(stderr, "the agent wrote:\n{}\n", agent_->stderrText());
}

int AgentTest::stop(int signal) {
   agent_->signal(signal);
   return waitForEnd();
}

int AgentTest::waitForEnd(std::chrono::milliseconds timeout) {
   auto const status = agent_->waitForEnd(timeout);
   EXPECT_TRUE(status.has_value()) << "the agent has not ended";
   if (!status) return -1000;
   return WIFEXITED(*status) ? WEXITSTATUS(*status) : -WTERMSIG(*status);
}

std::string AgentTest::answer(std::string const& call, std::chrono::milliseconds timeout) {
   auto const colon = call.find(':');
   auto const* const method = methodOf(call.substr(0, colon));
   if (method == nullptr) return "no such method";
   auto const outcome = anyCall(channel_, *method, withAddresses(call.substr(colon + 1)), timeout);
   std::vector<std::string> words;
   for (auto const& response : outcome.responses) words.push_back(textOf(*response));
   auto const code = outcome.status.error_code();
   if (code == grpc::StatusCode::DEADLINE_EXCEEDED) {
      words.emplace_back("open");
   } else if (code != grpc::StatusCode::OK) {
      words.push_back(fmt::format("error {} {}", code, outcome.status.error_message()));
   }
   return absl::StrJoin(words, " ; ");
}

std::vector<std::string> AgentTest::watches(std::string const& handler) {
   std::vector<std::string> keys;
   auto const json = show("show switch watches");
   if (json["watches"].HasMember(handler.c_str())) {
      for (auto const& key : json["watches"][handler.c_str()].GetArray()) keys.emplace_back(key.GetString());
   }
   return keys;
}

}  // namespace VelmSdkRpc
