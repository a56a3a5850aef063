#pragma once

#include <algorithm>
#include <string_view>
#include <vector>

namespace VelmSdkRpc::ctl {

/// The parts between any of the separators; empty ones are left out.
inline std::vector<std::string_view> split(std::string_view text, std::string_view separators) {
   std::vector<std::string_view> parts;
   while (!text.empty()) {
      auto const part = text.substr(0, text.find_first_of(separators));
      if (!part.empty()) parts.push_back(part);
      text.remove_prefix(std::min(part.size() + 1, text.size()));
   }
   return parts;
}

}  // namespace VelmSdkRpc::ctl
