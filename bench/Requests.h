#pragma once

#include <google/protobuf/message.h>
#include <grpcpp/grpcpp.h>

#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "bench/Places.h"
#include "clients/support/AsyncClient.h"

namespace VelmSdkRpc::Bench {

/// Requests of one method, made outside the time that is measured.
struct Requests {
   enum class Answer {
      ok,        // that the call ends well says all
      status,    // a status of the native service
      statuses,  // one for each element
      count,     // a mirror's status, and how many elements were carried out
   };
   struct One {
      std::unique_ptr<google::protobuf::Message> message;
      std::size_t elements;
   };

   std::string path;  // "/package.Service/method"
   Answer answer;     // what of an answer says that all was carried out
   std::vector<One> list;
};

/// Requests with one element each: `fill(message, place)` makes it.
template <class Message, class Fill>
Requests oneByOne(std::string path, Requests::Answer answer, PlaceList const& places, Fill fill) {
   Requests requests{std::move(path), answer, {}};
   requests.list.reserve(places.size());
   for (auto const place : places) {
      auto message = std::make_unique<Message>();
      fill(*message, place);
      requests.list.push_back({std::move(message), 1});
   }
   return requests;
}

/// Requests with `size` elements each, which `append` adds and `fill(element, place)` makes; the last may have fewer.
template <class Bulk, class Element, class Fill>
Requests inBulk(std::string path, Requests::Answer answer, Element* (Bulk::*append)(), PlaceList const& places,
                std::size_t size, Fill fill) {
   Requests requests{std::move(path), answer, {}};
   for (auto const place : places) {
      if (requests.list.empty() || requests.list.back().elements == size) {
         requests.list.push_back({std::make_unique<Bulk>(), 0});
      }
      auto& last = requests.list.back();
      fill(*(static_cast<Bulk&>(*last.message).*append)(), place);
      ++last.elements;
   }
   return requests;
}

/// Sends them all over one connection, in order, so many at a time, and returns when all are answered. Throws
/// std::runtime_error for the first one of which anything was not carried out.
void send(Requests const& requests, AsyncClient& client, std::shared_ptr<grpc::Channel> const& channel,
          std::size_t outstanding);

}  // namespace VelmSdkRpc::Bench
