#pragma once

#include <utility>

#include "platform/loom/TaskScheduler.h"
#include "rpc/GenericBacklog.h"

namespace VelmSdkRpc {

/// Takes an event out of a backlog by letting the service publish it.
template <class Service>
class BacklogPublisher {
 public:
   explicit BacklogPublisher(Service& service) : service_(&service) {}

   template <class Key, class Response>
   void operator()(Key const& /*key*/, Response const& response) const {
      service_->publish(response);
   }

 private:
   Service* service_;  // owns the backlog, and this
};

/// The backlog of a service's watch, on the scheduler of the main loop: an SDK callback puts an event in, and the
/// backlog's task gives it to `service.publish(event)`. Main loop only.
template <class Key, class Event, class Service>
class ServiceBacklog : public GenericBacklog<Key, Event, BacklogPublisher<Service>> {
 public:
   /// `name` is the task's, as the statistics of the scheduler show it. The service may still be under construction.
   ServiceBacklog(Qor::String name, Service& service)
      : ServiceBacklog::GenericBacklog(std::move(name), Loom::TaskSchedulerRoot::findOrCreateScheduler(),
                                       BacklogPublisher<Service>(service)) {}
};

}  // namespace VelmSdkRpc
