#pragma once

#include "rpc/Method.h"

namespace VelmSdkRpc {

/// The methods that open and close a resync of the service's manager; the service keeps nothing of it.
template <auto post>
struct ResyncInitOf : Method<post> {
   template <class Service>
   static typename Method<post>::Response call(Service& service, typename Method<post>::Request const& /*request*/) {
      service.mgr().resync_init();
      return {};
   }
};

template <auto post>
struct ResyncCompleteOf : Method<post> {
   template <class Service>
   static typename Method<post>::Response call(Service& service, typename Method<post>::Request const& /*request*/) {
      service.mgr().resync_complete();
      return {};
   }
};

}  // namespace VelmSdkRpc
