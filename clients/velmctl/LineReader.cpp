#include "clients/velmctl/LineReader.h"

#include <array>
#include <cerrno>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace VelmSdkRpc::ctl {

bool LineReader::next(std::string& line) {
   std::size_t searched = 0;
   for (;;) {
      auto const end = buffer_.find('\n', searched);
      if (end != std::string::npos) {
         line.assign(buffer_, 0, end);
         buffer_.erase(0, end + 1);
         break;
      }
      searched = buffer_.size();
      if (fill()) continue;
      if (buffer_.empty()) return false;
      line = std::exchange(buffer_, {});  // the last line may lack its end
      break;
   }
   ++number_;
   return true;
}

bool LineReader::fill() {
   if (!interrupt_.awaitInput(STDIN_FILENO)) interrupt_.check();
   std::array<char, 65536> bytes{};
   auto const count = read(STDIN_FILENO, bytes.data(), bytes.size());
   if (count < 0) throw std::system_error(errno, std::generic_category(), "cannot read standard input");
   buffer_.append(bytes.data(), static_cast<std::size_t>(count));
   return count > 0;
}

}  // namespace VelmSdkRpc::ctl
