#pragma once

namespace VelmSdkRpc {

/// What a backlog does with an event whose service has nothing else to do about it: the service publishes it. Main
/// loop.
template <class Service>
class BacklogPublisher {
 public:
   /// The service owns the backlog, and this.
   explicit BacklogPublisher(Service& service) : service_(&service) {}

   template <class Key, class Response>
   void operator()(Key const& /*key*/, Response const& response) const {
      service_->publish(response);
   }

 private:
   Service* service_;
};

}  // namespace VelmSdkRpc
