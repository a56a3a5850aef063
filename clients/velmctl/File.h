#pragma once

#include <string>

namespace VelmSdkRpc::ctl {

/// Reads a file, or standard input if it is called "-", to its end. Throws std::system_error, which names the file.
std::string contentOf(std::string const& path);

}  // namespace VelmSdkRpc::ctl
