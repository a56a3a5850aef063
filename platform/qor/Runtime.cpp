#include "platform/qor/Runtime.h"

#include <cstdlib>
#include <cxxabi.h>
#include <memory>

namespace Qor {

std::string demangle(std::type_info const& type) {
   int status = 0;
   std::unique_ptr<char, decltype(&std::free)> const name(abi::__cxa_demangle(type.name(), nullptr, nullptr, &status),
                                                          &std::free);
   return status == 0 ? name.get() : type.name();
}

ActivityManagerConfig& ActivityFacility::activityManagerConfig() {
   static ActivityManagerConfig config;
   return config;
}

}  // namespace Qor
