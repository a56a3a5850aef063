#pragma once

#include <string>

namespace VelmSdkRpc {

/// An empty folder of its own, for its owner alone, gone with this object.
class TempFolder {
 public:
   /// Throws std::system_error if there is none to be had.
   TempFolder();
   ~TempFolder();
   TempFolder(TempFolder const&) = delete;
   TempFolder& operator=(TempFolder const&) = delete;

   std::string const& path() const { return path_; }

 private:
   std::string path_;
};

}  // namespace VelmSdkRpc
