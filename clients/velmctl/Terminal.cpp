#include "clients/velmctl/Terminal.h"

#include <fmt/format.h>
#include <sys/ioctl.h>

#include <cstdlib>
#include <unistd.h>

namespace VelmSdkRpc::ctl {
namespace {

bool isWanted(Color color, bool isTerminal) {
   if (color != Color::automatic) return color == Color::always;
   auto const* const refusal = std::getenv("NO_COLOR");
   return isTerminal && (refusal == nullptr || *refusal == '\0');
}

}  // namespace

Terminal::Terminal(std::FILE* stream, Color color)
   : file_(fileno(stream)), isTerminal_(isatty(file_) == 1), hasColor_(isWanted(color, isTerminal_)) {}

std::size_t Terminal::width() const {
   winsize size{};
   return isTerminal_ && ioctl(file_, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

std::string Terminal::styled(std::string_view style, std::string_view text) const {
   return hasColor_ ? fmt::format("\x1b[{}m{}\x1b[0m", style, text) : std::string(text);
}

}  // namespace VelmSdkRpc::ctl
