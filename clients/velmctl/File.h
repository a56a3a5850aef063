#pragma once

#include <string>

namespace VelmSdkRpc::ctl {

/// All of a file; of standard input if it is called "-". Throws std::system_error that names it.
std::string contentOf(std::string const& path);

}  // namespace VelmSdkRpc::ctl
