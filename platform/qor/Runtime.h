#pragma once

#include <string>
#include <string_view>
#include <typeinfo>

namespace Qor {

/// A run of bytes.
class Bytes {
 public:
   Bytes() = default;
   explicit Bytes(std::string_view bytes) : bytes_(bytes) {}
   std::string const& stdString() const { return bytes_; }

 private:
   std::string bytes_;
};

/// The readable name of a type, for example "VelmSdkRpc::pb::ip_route_msg".
std::string demangle(std::type_info const& type);

/// A length of time, in seconds.
using Seconds = double;

/// How the process counts the references to its counted objects.
class VFPtrInterface {
 public:
   /// Whether the counts are atomic. Set once, while there is one thread; off at first.
   static void threadSafePointersIs(bool threadSafe) { threadSafePointers_ = threadSafe; }
   static bool threadSafePointers() { return threadSafePointers_; }

 private:
   static inline bool threadSafePointers_ = false;
};

/// How the runtime's event loop waits. The loop of this platform always uses epoll and always treats a failure of
/// epoll_ctl as fatal, whatever is asked for here.
class ActivityManagerConfig {
 public:
   void useEpollIs(bool /*use*/) {}
   void allEpollCtlFailuresAreFatalIs(bool /*fatal*/) {}
};

class ActivityFacility {
 public:
   static ActivityManagerConfig& activityManagerConfig();
};

}  // namespace Qor
