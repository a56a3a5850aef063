#include "trials/support/Tally.h"

#include <fmt/format.h>

#include <algorithm>

#include "tests/support/AnyCall.h"

namespace VelmSdkRpc::trials {
namespace {

using google::protobuf::MethodDescriptor;

// A session or a resync is one for all clients, and so is the tag of the routes that a resync is about.
bool touchesEverybody(MethodDescriptor const& method) {
   auto const& name = method.name();
   return name == "rpc_server_init" || name == "rpc_server_resync" || name.starts_with("resync_") || name == "tag_is";
}

std::string nameOf(MethodDescriptor const& method) { return method.service()->name() + "." + method.name(); }

}  // namespace

Tally::Tally() : methods_(allMethods()), counts_(methods_.size()) {
   for (std::size_t i = 0; i < methods_.size(); ++i) {
      if (!touchesEverybody(*methods_[i])) calm_.push_back(i);
   }
}

std::size_t Tally::choose(AnyMessage& any, Weather weather) const {
   auto const oneOf = [&] {
      return weather == Weather::calm ? calm_[any.upTo(static_cast<std::uint32_t>(calm_.size()))]
                                      : any.upTo(static_cast<std::uint32_t>(size()));
   };
   auto chosen = oneOf();
   for (int others = any.oneIn(weather == Weather::wild ? 2 : 3) ? 12 : 0; others > 0; --others) {
      if (auto const other = oneOf(); calls(other) < calls(chosen)) chosen = other;
   }
   return chosen;
}

void Tally::add(std::size_t index, End end) {
   auto& count = counts_[index];
   ++(end == End::ok ? count.ok : end == End::refused ? count.refused : count.cancelled);
}

std::uint64_t Tally::calls(std::size_t index) const {
   auto const& count = counts_[index];
   return count.ok + count.refused + count.cancelled;
}

std::uint64_t Tally::total() const {
   std::uint64_t sum = 0;
   for (std::size_t i = 0; i < size(); ++i) sum += calls(i);
   return sum;
}

std::string Tally::table() const {
   auto text = fmt::format("{:<24}{:>8}{:>10}{:>10}{:>10}{:>10}  {}\n", "SERVICE", "METHODS", "CALLS", "OK", "REFUSED",
                           "CANCELLED", "CALLED LEAST");
   for (std::size_t begin = 0, end = 0; begin < size(); begin = end) {
      std::uint64_t ok = 0;
      std::uint64_t refused = 0;
      std::uint64_t cancelled = 0;
      auto least = begin;
      for (end = begin; end < size() && method(end).service() == method(begin).service(); ++end) {
         ok += counts_[end].ok;
         refused += counts_[end].refused;
         cancelled += counts_[end].cancelled;
         if (calls(end) < calls(least)) least = end;
      }
      text += fmt::format("{:<24}{:>8}{:>10}{:>10}{:>10}{:>10}  {} {}\n", method(begin).service()->name(), end - begin,
                          ok + refused + cancelled, ok, refused, cancelled, method(least).name(), calls(least));
   }
   return text;
}

std::string Tally::below(std::uint64_t atLeast) const {
   std::string text;
   for (std::size_t i = 0; i < size(); ++i) {
      if (calls(i) < atLeast) text += fmt::format("{}{} {}", text.empty() ? "" : ", ", nameOf(method(i)), calls(i));
   }
   return text;
}

}  // namespace VelmSdkRpc::trials
