#include "bench/IntfStorm.h"

#include <stdexcept>

namespace VelmSdkRpc::Bench {

IntfStorm::IntfStorm(Client& client, Server const& agent, std::size_t keys)
   : client_(client), agent_(agent), loopbacks_(client, agent, keys) {}

void IntfStorm::listen(std::size_t end) {
   final_ = Loopbacks::descriptionOf(end / loopbacks_.count() - 1);
   states_.assign(loopbacks_.count(), {});
   complete_ = 0;
   heard_ = {};
   watch_ =
      std::make_unique<IntfWatch>(client_, agent_.newChannel(), [this](IntfWatch::Event const& event) { hear(event); });
}

Storm::Heard IntfStorm::hearOut() {
   client_.runUntil([this] { return complete_ == states_.size(); });
   watch_.reset();
   return heard_;
}

void IntfStorm::hear(IntfWatch::Event const& event) {
   auto const key = Loopbacks::described(event);
   if (!key) return;
   heard_ = {.messages = heard_.messages + 1, .last = Clock::now()};
   auto& state = states_.at(*key);
   if (state == final_) throw std::runtime_error("an event behind the last: " + event.ShortDebugString());
   state = event.description();
   if (state == final_) ++complete_;
}

}  // namespace VelmSdkRpc::Bench
