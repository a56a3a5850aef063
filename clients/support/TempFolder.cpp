#include "clients/support/TempFolder.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace VelmSdkRpc {

TempFolder::TempFolder() : path_((std::filesystem::temp_directory_path() / "agent-XXXXXX").string()) {
   if (mkdtemp(path_.data()) == nullptr) throw std::system_error(errno, std::generic_category(), path_);
}

TempFolder::~TempFolder() {
   std::error_code ignored;
   std::filesystem::remove_all(path_, ignored);
}

}  // namespace VelmSdkRpc
