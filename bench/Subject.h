#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <vector>

#include "bench/Bulk.h"
#include "bench/Caller.h"
#include "bench/Places.h"
#include "bench/Server.h"

namespace VelmSdkRpc::Bench {

/// Builds the requests that add the entries at the places, outside the time, and gives the work inside it: the calls.
using Prepare = std::function<std::function<void()>(PlaceList const& places)>;

/// What is programmed, and by calls of what form. Its calls throw std::runtime_error if one fails.
class Subject {
 public:
   Subject() = default;
   Subject(Subject const&) = delete;
   Subject& operator=(Subject const&) = delete;
   virtual ~Subject() = default;

   /// The entries, in words.
   virtual char const* name() const = 0;
   /// How many different keys an entry can have.
   virtual std::size_t keys() const = 0;
   /// Adds and deletes entries by bulk: what surrounds the measured calls.
   virtual void add(Server& agent, PlaceList const& places) const = 0;
   virtual void remove(Server& agent, PlaceList const& places) const = 0;
   /// Adds a table of that size.
   void fill(Server& agent, std::size_t size) const { add(agent, Places(size, keys()).table()); }
   /// The measured calls to one server, that many outstanding.
   virtual Prepare prepareFor(Server& server, std::size_t outstanding) const = 0;
};

/// Elements of a bulk request, unless it is said otherwise.
inline constexpr std::size_t bulkSize = 1000;

/// Requests of a bulk method, with `size` elements, which (kind.*make)(place) makes; the last one may have fewer.
template <auto method, class Kind, class Element>
auto inBulk(Kind const& kind, Element (Kind::*make)(Place) const, PlaceList const& places,
            std::size_t size = bulkSize) {
   std::vector<typename CalledMethod<decltype(method)>::Request> requests;
   requests.reserve(places.size() / size + 1);
   for (std::size_t i = 0; i < places.size(); ++i) {
      if (i % size == 0) requests.emplace_back();
      *elementsOf(requests.back()).Add() = (kind.*make)(places[i]);
   }
   return requests;
}

/// The bulk method that deletes entries of a kind: the one that adds them, unless the kind says otherwise.
template <class Kind>
inline constexpr auto removalMethod = [] {
   if constexpr (requires { Kind::removalMethod; }) {
      return Kind::removalMethod;
   } else {
      return Kind::method;
   }
}();

/// Entries of a kind, so many to a call.
template <class Kind>
class BulkSubject : public Subject {
 public:
   /// The kind is the caller's and may still change before the first use.
   explicit BulkSubject(Kind const& kind, std::size_t size = bulkSize) : kind_(kind), size_(size) {}

   char const* name() const override { return kind_.name(); }
   std::size_t keys() const override { return Kind::keys; }
   void add(Server& agent, PlaceList const& places) const override { program<Kind::method>(agent, &Kind::add, places); }
   void remove(Server& agent, PlaceList const& places) const override {
      program<removalMethod<Kind>>(agent, &Kind::removal, places);
   }
   Prepare prepareFor(Server& server, std::size_t outstanding) const override {
      auto const caller = std::make_shared<Caller<Kind::method>>(server.channel(), outstanding);
      return [this, caller](PlaceList const& places) {
         return [caller, requests = inBulk<Kind::method>(kind_, &Kind::add, places, size_)] { caller->call(requests); };
      };
   }

 protected:
   Kind const& kind() const { return kind_; }

 private:
   template <auto method, class Element>
   void program(Server& agent, Element (Kind::*make)(Place) const, PlaceList const& places) const {
      Caller<method>(agent.channel(), 2).call(inBulk<method>(kind_, make, places, size_));
   }

   Kind const& kind_;
   std::size_t const size_;
};

}  // namespace VelmSdkRpc::Bench
