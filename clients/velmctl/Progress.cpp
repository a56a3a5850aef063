#include "clients/velmctl/Progress.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <string>

namespace VelmSdkRpc::ctl {
namespace {

constexpr std::chrono::milliseconds barInterval(100);
constexpr std::chrono::milliseconds lineInterval(500);

}  // namespace

Progress::~Progress() {
   if (hasBar_) fmt::print(stderr, "\r\x1b[K");  // what stays is what is told at the end
}

void Progress::is(std::size_t done) {
   auto const now = Clock::now();
   if (now - told_ < (terminal_.isTerminal() ? barInterval : lineInterval)) return;
   told_ = now;
   if (terminal_.isTerminal()) {
      draw(done);
   } else {
      fmt::print(stderr, "{} of {}, {:.1f} s\n", done, total_, elapsed().count());
   }
}

void Progress::draw(std::size_t done) {
   hasBar_ = true;
   auto const tail = fmt::format(" {}/{} {:.0f}/s", done, total_, static_cast<double>(done) / elapsed().count());
   auto const width = terminal_.width();
   auto const room = width > tail.size() + 3 ? width - tail.size() - 3 : 0;
   auto const full = room * done / std::max<std::size_t>(total_, 1);
   fmt::print(stderr, "\r[{}{}]{}", std::string(full, '#'), std::string(room - full, ' '), tail);
   std::fflush(stderr);
}

}  // namespace VelmSdkRpc::ctl
