#pragma once

#include <string>

namespace VelmSdkRpc {

/// A network namespace of its own, which goes with this object and what is open in it. A thread is in a namespace by
/// itself, and a process that it starts begins there.
class NetworkNamespace {
 public:
   /// Throws std::system_error without the rights.
   NetworkNamespace();
   ~NetworkNamespace();
   NetworkNamespace(NetworkNamespace const&) = delete;
   NetworkNamespace& operator=(NetworkNamespace const&) = delete;

   /// Its path for `ip link … netns`, while this object lives.
   std::string path() const;

   /// The thread is in the namespace while this lives, and so is what it opens and starts; they may be nested.
   class Inside {
    public:
      explicit Inside(NetworkNamespace const& space);
      ~Inside();
      Inside(Inside const&) = delete;
      Inside& operator=(Inside const&) = delete;

    private:
      int const before_;
   };

 private:
   int const space_;
};

}  // namespace VelmSdkRpc
