#pragma once

#include "convert/Values.h"
#include "rpc/BulkRequestHandler.h"
#include "rpc/IteratorStreamingHandler.h"
#include "rpc/StreamingAdapterHandler.h"
#include "rpc/UnaryRequestHandler.h"

namespace VelmSdkRpc {

// The parts that the methods of the mirrors are written with: the kinds of handlers, the conversions of the values that
// all features share, and the methods that several mirrors have in one form.

/// Opens a resync of the manager: what is not set again before its end goes then. The service keeps nothing of it.
template <auto post>
struct ResyncInitOf : Method<post> {
   template <class Service>
   static void call(Service& service, typename Method<post>::Request const&, typename Method<post>::Response&) {
      service.mgr().resync_init();
   }
};

/// Ends the resync of the manager.
template <auto post>
struct ResyncCompleteOf : Method<post> {
   template <class Service>
   static void call(Service& service, typename Method<post>::Request const&, typename Method<post>::Response&) {
      service.mgr().resync_complete();
   }
};

}  // namespace VelmSdkRpc
